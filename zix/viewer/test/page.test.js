// The page in a browser. ZIX and LOFTBAY name the programs, VIEWER the built page; scripts/check-viewer sets them.

import assert from "node:assert/strict";
import {execFileSync} from "node:child_process";
import {mkdtempSync, readFileSync, rmSync, writeFileSync} from "node:fs";
import {tmpdir} from "node:os";
import {join} from "node:path";
import {after, before, test} from "node:test";
import {fileURLToPath} from "node:url";
import {Browser, canvasPicture, settle, until} from "./browser.js";
import {rack} from "./make_rack.js";
import {colorDifference, outlineOnRows, overlap, readPng, seeThroughOutline} from "./picture.js";
import {SceneBuilder, boxOf} from "./scene_builder.js";

const {ZIX, LOFTBAY} = process.env;
const SAMPLES = fileURLToPath(new URL("../../../samples/", import.meta.url));
const WIDTH = 480;
const HEIGHT = 360;

let browser;
let folder;

/** A page of a scene; `extra` are more arguments of the export. */
function pageOf(name, scene, ...extra) {
  const path = join(folder, `${name}.zix`);
  if (typeof scene === "string") execFileSync(LOFTBAY, [scene, path, "--lines", "--points", "--quiet"], {env: {...process.env, MERIDAN_TEMP_PATH: folder}});
  else writeFileSync(path, scene);
  const out = join(folder, `${name}.html`);
  execFileSync(ZIX, ["export", path, out, ...extra], {stdio: "pipe"});
  return out;
}

before(async () => {
  assert.ok(ZIX && LOFTBAY, "run this with scripts/check-viewer");
  folder = mkdtempSync(join(tmpdir(), "zix-pages-"));
  browser = await Browser.start();
});
after(async () => {
  await browser?.stop();
  if (folder) rmSync(folder, {recursive: true, force: true});
});

/** Nothing on the console, nothing asked of a network. */
function assertQuiet({messages, requests}) {
  assert.deepEqual(messages, []);
  assert.deepEqual(requests, []);
}

const BOX_UNIT = "inch";

/** A box of 30 x 40 x 20 beside a thin bar, mirrored and at twice the size; and a name that would like to be markup. */
function boxes() {
  const b = new SceneBuilder();
  b.root = b.node("root");
  b.property(0xffffffff, "unit", BOX_UNIT);
  b.property(0xffffffff, "unit_metres", "0.0254");
  const {points, indices, lengths} = boxOf([30, 40, 20]);
  const arrays = [b.coordinates(b.floats(points)), b.indices(b.numbers(indices)), b.indices(b.numbers(lengths))];
  const red = b.material([0.8, 0.1, 0.1, 0]);
  const green = b.material([0.1, 0.6, 0.1, 0]);
  const big = b.node("big <img src=x onerror=alert(1)>", {parent: b.root, placement: b.transform([0, 0, 0], [1, 0, 0], 0, [-2, 2, 2])});
  b.property(big, "<b>mass</b>", "</script><script>alert(2)</script>");
  b.mesh(b.shape("shape", {parent: big}), 0, ...arrays, red);
  const small = b.node("small", {parent: b.root, placement: b.transform([20, 0, 0])});
  b.mesh(b.shape("shape", {parent: small}), 0, ...arrays, green);
  b.view("top", [0, 0, 500], [0, 40, 0], [0, 1, 0], 200);
  b.view("right", [500, 40, 20], [0, 40, 20], [0, 0, 1], 200);
  return b.bytes();
}

/** Where a point of the world is on the screen. */
const onScreen = (page, point) => page.evaluate((p) => {
  const {x, y} = window.zixPage.app.camera.project(p);
  return [x, y];
}, point);
const click = async (page, point) => {
  const [x, y] = await onScreen(page, point);
  await page.mouse.move(x, y);
  await page.mouse.click(x, y);
  await settle(page);
};
const named = (page, name) => page.evaluate((wanted) => window.zixPage.model.entries.findIndex((entry) => entry.name.startsWith(wanted)), name);
/** Red, green, blue, opacity of the canvas at a point of the world. */
const colorAt = (page, point) => page.evaluate((p) => {
  const {app} = window.zixPage;
  app.drawing.render(app.camera);
  const gl = app.drawing.renderer.getContext();
  const {x, y} = app.camera.project(p);
  const pixel = new Uint8Array(4);
  gl.readPixels(Math.round(x), Math.round(app.camera.pixels - y), 1, 1, gl.RGBA, gl.UNSIGNED_BYTE, pixel);
  return [...pixel];
}, point);

test("the page shows what zix render shows", async () => {
  const pictures = {};
  for (const sample of ["beam_engine", "survey", "flange_joint"]) {
    const path = pageOf(sample, join(SAMPLES, `${sample}.jt`));
    const {page, seen} = await browser.show(path);
    await page.evaluate(() => window.zixPage.app.setEdges(false));
    for (const view of ["front", "top", "iso"]) {
      const png = join(folder, "render.png");
      execFileSync(ZIX, ["render", path.replace(/html$/, "zix"), png, "--size", `${WIDTH}x${HEIGHT}`, "--view", view]);
      const own = readPng(await canvasPicture(page, view, WIDTH, HEIGHT));
      const other = readPng(readFileSync(png));
      const [a, b] = [seeThroughOutline(own), outlineOnRows(other)];
      const share = overlap(a, b, WIDTH);
      const color = colorDifference(own, a, other, b);
      console.log(`${sample}, ${view}: ${share.toFixed(2)} % of the outline in common, colours differ by ${color.toFixed(1)} of 255`);
      assert.ok(share > 97, `${share} %`);
      assert.ok(color < 10, `colours differ by ${color}`);
      pictures[`${sample} ${view}`] = a;
    }
    assertQuiet(seen);
    await page.close();
  }
  // The comparison can tell pictures apart.
  assert.ok(overlap(pictures["beam_engine front"], pictures["beam_engine top"], WIDTH) < 90);
});

test("850 placed parts, 1.2 million placed triangles: first picture, and calls", async () => {
  const {page, seen} = await browser.show(pageOf("rack", rack()));
  const {first, calls, meshes, marks} = await page.evaluate(() => ({
    first: window.zixPage.app.firstFrame, calls: window.zixPage.app.drawing.calls, meshes: window.zixPage.model.meshes.length,
    marks: performance.getEntriesByType("mark").map(({name, startTime}) => `${name} after ${Math.round(startTime)} ms`).join(", ")}));
  console.log(`first frame: ${(first / 1000).toFixed(2)} s after navigation (${marks}); ${calls} calls for ${meshes} distinct meshes`);
  assert.ok(first > 0);
  assert.ok(calls <= 2 * meshes, `${calls} calls for ${meshes} meshes`);
  assertQuiet(seen);
  await page.close();
});

test("tree and model select the same part, with name, path, properties, counts and size", async () => {
  const {page, seen} = await browser.show(pageOf("boxes", boxes()));
  await page.keyboard.press("1");
  await settle(page);
  const middle = [30, 20, 20];  // of the small box, seen from above
  const before = await colorAt(page, middle);
  assert.ok(before[1] > 2 * before[2], `green: ${before}`);
  await page.click(`[data-entry="${await named(page, "small")}"] .name`);
  await settle(page);
  const marked = await colorAt(page, middle);
  assert.ok(marked[2] > marked[1], `marked: ${marked}`);
  const text = await page.textContent("#details");
  for (const part of ["small", "root", "Triangles12", "Size30 × 40 × 20 in"]) assert.ok(text.includes(part), `${part} in ${text}`);
  await click(page, [-20, 20, 40]);
  assert.equal(await page.evaluate(() => window.zixPage.app.selected), await named(page, "big"));
  assert.equal(await page.getAttribute(".row.selected", "aria-selected"), "true");
  assert.ok((await page.textContent("#details")).includes("Size60 × 80 × 40 in"));
  await click(page, [30, 60, 0]);  // beside both
  assert.equal(await page.evaluate(() => window.zixPage.app.selected), -1);
  assertQuiet(seen);
  await page.close();
});

test("names and properties stay text", async () => {
  const {page, seen} = await browser.show(pageOf("markup", boxes()));
  await page.evaluate((entry) => window.zixPage.app.select(entry), await named(page, "big"));
  const text = await page.textContent("#details");
  assert.ok(text.includes("big <img src=x onerror=alert(1)>") && text.includes("<b>mass</b>") && text.includes("</script><script>alert(2)"));
  assert.equal(await page.locator("img, b").count(), 0);
  assertQuiet(seen);
  await page.close();
});

test("hide, show, isolate, transparency", async () => {
  const {page, seen} = await browser.show(pageOf("hide", boxes()));
  await page.keyboard.press("1");
  await settle(page);
  const middle = [30, 20, 20];
  const small = await named(page, "small");
  await page.hover(`[data-entry="${small}"]`);
  await page.click(`[data-entry="${small}"] .eye`);
  assert.equal((await colorAt(page, middle))[3], 0);
  assert.ok((await page.getAttribute(`[data-entry="${small}"]`, "class")).includes("hidden"));
  assert.equal(await page.textContent("#hidden-count"), "1 hidden");
  await page.keyboard.press("a");
  assert.equal((await colorAt(page, middle))[3], 255);
  await page.evaluate((entry) => window.zixPage.app.select(entry), small);
  await page.keyboard.press("t");
  await page.keyboard.press("Escape");
  const clear = (await colorAt(page, middle))[3];
  assert.ok(clear > 0 && clear < 255, `opacity ${clear}`);
  // Seen from the right, the red box stands behind the green one.
  await page.keyboard.press("2");
  await settle(page);
  const through = await colorAt(page, [50, 20, 10]);
  assert.ok(through[0] > through[1] && through[1] > 1.2 * through[2] && through[3] === 255, `${through}`);
  await page.keyboard.press("a");
  await settle(page);
  const solid = await colorAt(page, [50, 20, 10]);
  assert.ok(solid[1] > 2 * solid[0], `${solid}`);
  await page.keyboard.press("1");
  await page.evaluate((entry) => window.zixPage.app.select(entry), small);
  await page.keyboard.press("i");
  await page.keyboard.press("Escape");
  assert.equal((await colorAt(page, middle))[3], 255);
  assert.equal((await colorAt(page, [-20, 20, 40]))[3], 0);
  assertQuiet(seen);
  await page.close();
});

test("measure gives the true length between two picked points, in the scene's unit", async () => {
  const {page, seen} = await browser.show(pageOf("measure", boxes()));
  for (const isParallel of [false, true]) {
    await page.evaluate((on) => window.zixPage.app.setParallel(on), isParallel);
    await page.keyboard.press("1");
    await page.keyboard.press("m");
    await settle(page);
    // Two corners of the top of the big box, a little inside, so that they are hit: they snap to the corners.
    await click(page, [-0.4, 0.4, 40]);
    await click(page, [-59.6, 79.6, 40]);
    assert.equal(await page.textContent("#measure b"), "100 in");
    await page.keyboard.press("m");
  }
  // Points on a face that are no corners.
  await page.keyboard.press("m");
  await click(page, [-20, 20, 40]);
  await click(page, [-40, 20, 40]);
  const length = await page.evaluate(() => window.zixPage.app.overlay.length);
  // A pixel is about a fifth of an inch here, and the pointer stands on whole ones.
  assert.ok(Math.abs(length - 20) < 0.5, `${length}`);
  assertQuiet(seen);
  await page.close();
});

test("a section cuts what is beyond it, for the eye and for the pointer", async () => {
  const {page, seen} = await browser.show(pageOf("section", boxes()));
  await page.keyboard.press("1");
  await settle(page);
  await page.keyboard.press("s");
  await page.click(".axis-button >> text=X");
  await page.evaluate(() => { Object.assign(window.zixPage.app.section, {isFlipped: false}); });
  await page.fill("input.number", "10");
  await page.press("input.number", "Enter");
  await settle(page);
  assert.equal((await colorAt(page, [30, 20, 20]))[3], 0);
  assert.equal((await colorAt(page, [-20, 20, 40]))[3], 255);
  await page.click("#title");
  await click(page, [30, 20, 20]);
  assert.equal(await page.evaluate(() => window.zixPage.app.selected), -1);
  await page.click("[aria-label='Other side']");
  await settle(page);
  assert.equal((await colorAt(page, [30, 20, 20]))[3], 255);
  assert.equal((await colorAt(page, [-20, 20, 40]))[3], 0);
  assertQuiet(seen);
  await page.close();
});

test("keyboard, and the tree for screen readers", async () => {
  const {page, seen} = await browser.show(pageOf("keys", boxes()));
  await page.focus("#tree");
  await page.keyboard.press("ArrowDown");
  await page.keyboard.press("ArrowDown");
  const selected = await page.evaluate(() => window.zixPage.app.selected);
  assert.equal(selected, 1);
  assert.equal(await page.getAttribute("#tree", "aria-activedescendant"), `row-${selected}`);
  assert.equal(await page.getAttribute(`#row-${selected}`, "aria-level"), "2");
  await page.keyboard.press("ArrowLeft");
  await page.keyboard.press("ArrowLeft");
  assert.equal(await page.getAttribute("#row-0", "aria-expanded"), "false");
  assert.equal(await page.locator(".row").count(), 1);
  await page.keyboard.press("/");
  await page.keyboard.type("SMA");
  assert.equal(await page.textContent("#found"), "1 found");
  assert.equal(await page.locator(".row.match").count(), 1);
  await page.keyboard.press("Escape");
  await page.focus("#canvas");
  const turn = () => page.evaluate(() => window.zixPage.app.camera.turn.toArray().join());
  const before = await turn();
  await page.keyboard.press("ArrowLeft");
  assert.notEqual(await turn(), before);
  await page.keyboard.press("p");
  assert.equal(await page.getAttribute("[aria-label='Parallel projection']", "aria-pressed"), "true");
  await page.keyboard.press("d");
  assert.equal(await page.getAttribute("html", "data-theme"), "dark");
  await page.keyboard.press("?");
  assert.ok(await page.isVisible("#help"));
  await page.keyboard.press("Escape");
  assert.ok(!(await page.isVisible("#help")));
  assertQuiet(seen);
  await page.close();
});

test("mouse and touch move the camera; the wheel zooms to the pointer", async () => {
  const {page, seen} = await browser.show(pageOf("touch", boxes()));
  const camera = () => page.evaluate(() => {
    const {turn, target, height} = window.zixPage.app.camera;
    return {turn: turn.toArray(), target: target.toArray(), height};
  });
  const start = await camera();
  const corner = [-60, 0, 40];
  const [x, y] = await onScreen(page, corner);
  await page.mouse.move(x, y);
  await page.mouse.wheel(0, -300);
  await until(page, (height) => window.zixPage.app.camera.height < height, start.height);
  const [x2, y2] = await onScreen(page, corner);
  assert.ok(Math.hypot(x2 - x, y2 - y) < 12, `the corner has moved by ${x2 - x}, ${y2 - y}`);
  const drag = async (button) => {
    const before = await camera();
    await page.mouse.move(550, 300);
    await page.mouse.down({button});
    await page.mouse.move(590, 320, {steps: 3});
    await page.mouse.up({button});
    return [before, await camera()];
  };
  const [a, b] = await drag("left");
  assert.notDeepEqual(b.turn, a.turn);
  const [c, d] = await drag("right");
  assert.deepEqual(d.turn, c.turn);
  assert.notDeepEqual(d.target, c.target);
  const client = await page.context().newCDPSession(page);
  const touch = (type, ...points) => client.send("Input.dispatchTouchEvent", {type, touchPoints: points.map(([px, py], id) => ({x: px, y: py, id}))});
  const one = await camera();
  await touch("touchStart", [550, 300]);
  await touch("touchMove", [580, 300]);
  await touch("touchMove", [600, 320]);
  await touch("touchEnd");
  const turned = await camera();
  assert.notDeepEqual(turned.turn, one.turn);
  await touch("touchStart", [500, 300], [600, 300]);
  await touch("touchMove", [450, 300], [650, 300]);
  await touch("touchEnd");
  const pinched = await camera();
  assert.deepEqual(pinched.turn, turned.turn);
  assert.ok(Math.abs(pinched.height / turned.height - 0.5) < 0.05, `${pinched.height / turned.height}`);
  assertQuiet(seen);
  await page.close();
});

test("a report's losses are shown", async () => {
  const report = join(folder, "report.json");
  writeFileSync(report, JSON.stringify({skipped: [{part: "bolt </script>", reason: "damaged <i>"}], notes: ["3 lines left out"]}));
  const {page, seen} = await browser.show(pageOf("report", boxes(), "--report", report));
  await page.click("#report-button");
  const text = await page.textContent("#report");
  assert.ok(text.includes("bolt </script>") && text.includes("damaged <i>") && text.includes("3 lines left out"));
  assertQuiet(seen);
  await page.close();
});

test("what cannot be shown is said", async () => {
  const path = pageOf("broken", boxes());
  const text = readFileSync(path, "utf8");
  const broken = join(folder, "broken2.html");
  // A letter of the packed scene.
  const at = text.indexOf(">", text.indexOf('id="zix-scene"')) + 200;
  writeFileSync(broken, text.slice(0, at) + (text[at] === "A" ? "B" : "A") + text.slice(at + 1));
  const damaged = await browser.open(broken);
  assert.match(await damaged.page.textContent("#message"), /cannot be shown/);
  assert.deepEqual(damaged.seen.requests, []);
  await damaged.page.close();
  const old = await browser.open(path, () => { delete window.DecompressionStream; });
  assert.match(await old.page.textContent("#message"), /too old/);
  await old.page.close();
});
