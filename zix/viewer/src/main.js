// Where the page begins: unpacks the scene, reads it, shows it, or says why not.

import {App} from "./app.js";
import {byId, iconButton} from "./dom.js";
import {Model} from "./model.js";
import {Scene} from "./reader.js";
import {readReport, reportParts} from "./report.js";
import {countOf, countText, decode, shown} from "./text.js";
import {takeBlock} from "./unpack.js";

/** @param {Model} model */
function findings(model) {
  const found = [];
  if (model.leftOut > 0) found.push(`${countText(model.leftOut)} elements are not whole or not finite`);
  if (model.misplaced > 0) found.push(`${countText(model.misplaced)} meshes have a placement that is not finite`);
  if (model.instances.length === 0) found.push("The scene has no mesh.");
  return found;
}

/** @param {Model} model @param {Uint8Array | null} bytes */
function showReport(model, bytes) {
  let report = readReport(null);
  const found = findings(model);
  try {
    report = readReport(bytes);
  } catch {
    found.push("The conversion's report cannot be read.");
  }
  if (document.getElementById("zix-damaged") !== null) found.push("The scene's file is damaged; the page was made all the same.");
  const parts = reportParts(report, found);
  if (parts === null) return;
  const sheet = /** @type {HTMLDialogElement} */ (byId("report"));
  byId("report-body").append(...parts);
  const isLoss = report.skipped.length + found.length > 0;
  const button = iconButton("warning", isLoss ? "Something was left out" : "Notes of the conversion", () => sheet.showModal());
  button.classList.toggle("loss", isLoss);
  button.id = "report-button";
  byId("right-tools").prepend(button);
}

async function begin() {
  const message = byId("message");
  const status = byId("data");
  try {
    const name = await takeBlock("zix-name");
    const report = await takeBlock("zix-report");
    const bytes = await takeBlock("zix-scene");
    if (bytes === null) throw new Error("This page holds no model: it is the viewer alone.");
    performance.mark("unpacked");
    const scene = new Scene(bytes);
    const model = new Model(scene);
    performance.mark("read");
    const file = name === null ? "" : decode(name).replace(/\.zix$/i, "");
    const title = file || model.entries[0]?.name || scene.modelName || "Model";
    document.title = shown(title, 200);
    byId("title").textContent = shown(title, 200);
    byId("subtitle").textContent = [countOf(model.totals[0], "triangle"), countOf(model.instances.length, "placed part")].join(" · ");
    const app = new App(model, title);
    performance.mark("built");
    showReport(model, report);
    message.hidden = true;
    status.dataset.state = "shown";
    // For tests and for the curious.
    Object.assign(window, {zixPage: {app, model, scene}});
  } catch (error) {
    status.dataset.state = "failed";
    message.hidden = false;
    message.classList.add("failure");
    message.textContent = `The model cannot be shown: ${error instanceof Error ? error.message : String(error)}`;
  }
}

begin();
