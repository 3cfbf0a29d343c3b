// Drives Debian's Chromium without a screen and without a graphics card.

import {mkdtempSync, rmSync} from "node:fs";
import {tmpdir} from "node:os";
import {join} from "node:path";
import {pathToFileURL} from "node:url";
import {chromium} from "playwright-core";

const FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
               "--disable-component-update", "--disable-sync", "--use-angle=swiftshader", "--enable-unsafe-swiftshader"];
// Without a graphics card the browser itself reads each picture back to show it, and says so.
const OF_THE_BROWSER = /GL Driver Message .*GPU stall due to ReadPixels/;

/** On a busy machine without a graphics card a large model takes long. */
const PATIENCE_MS = 300000;

export class Browser {
  static async start() {
    const browser = new Browser();
    browser.folder = mkdtempSync(join(tmpdir(), "zix-viewer-"));
    browser.context = await chromium.launchPersistentContext(browser.folder, {
      executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium", headless: true, args: FLAGS, chromiumSandbox: false,
      viewport: {width: 1100, height: 700}, reducedMotion: "reduce", colorScheme: "light", hasTouch: true,
    });
    browser.context.setDefaultTimeout(PATIENCE_MS);
    return browser;
  }

  /** Opens a file; `seen` collects what it should not do. @param {string} path @param {(() => void)} [before]  runs in the page first */
  async open(path, before) {
    const page = await this.context.newPage();
    const seen = {messages: [], requests: []};
    page.on("console", (message) => { if (!OF_THE_BROWSER.test(message.text())) seen.messages.push(`${message.type()}: ${message.text()}`); });
    page.on("pageerror", (error) => seen.messages.push(`error: ${error.stack}`));
    const own = pathToFileURL(path).href;
    page.on("request", (request) => { if (request.url() !== own && !request.url().startsWith("data:")) seen.requests.push(request.url()); });
    if (before) await page.addInitScript(before);
    await page.goto(own);
    await until(page, () => document.getElementById("data").dataset.state !== "loading");
    return {page, seen};
  }

  /** Opens a page that must show its model; waits until all of it is there. @param {string} path */
  async show(path) {
    const opened = await this.open(path);
    const message = await opened.page.evaluate(() => (window.zixPage === undefined ? document.getElementById("message").textContent : ""));
    if (message !== "") throw new Error(message);
    await until(opened.page, () => window.zixPage.app.isComplete);
    return opened;
  }

  async stop() {
    await this.context.close();
    rmSync(this.folder, {recursive: true, force: true});
  }
}

/** Waits until a condition holds in the page. The library's own way is an eval, which the page's policy refuses. */
export async function until(page, condition, value) {
  const end = Date.now() + PATIENCE_MS;
  while (!(await page.evaluate(condition, value))) {
    if (Date.now() > end) throw new Error(`not so after ${PATIENCE_MS / 1000} s: ${condition}`);
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

/** The canvas alone, as PNG, as the page shows one of its views. */
export async function canvasPicture(page, viewName, width, height) {
  const url = await page.evaluate(([name, w, h]) => {
    const {app, scene} = window.zixPage;
    const {camera, drawing} = app;
    camera.setSize(w, h, {x: 0, y: 0, width: w, height: h});
    drawing.resize(w, h, 1);
    camera.isParallel = true;
    app.goTo(scene.views.find((view) => view.name === name), false);
    drawing.render(camera);
    return drawing.canvas.toDataURL("image/png");
  }, [viewName, width, height]);
  return Buffer.from(url.slice(url.indexOf(",") + 1), "base64");
}

/** Waits until the page has drawn what was asked for. */
export const settle = (page) => page.evaluate(() => new Promise((resolve) => requestAnimationFrame(() => requestAnimationFrame(resolve))));
