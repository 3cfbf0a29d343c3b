// The page's parts put together: what the user does, and what that changes.

import {Quaternion, Vector3} from "three";
import {Camera} from "./camera.js";
import {Details} from "./details.js";
import {byId, icon, iconButton, make, setPressed} from "./dom.js";
import {Drawing, Shown} from "./drawing.js";
import {Overlay} from "./overlay.js";
import {Picker} from "./pick.js";
import {listenToPointers} from "./pointer.js";
import {countText, lengthText, shown, unitSign} from "./text.js";
import {Tree} from "./tree.js";

const TURN = 0.008;  // radians per pixel
const AXES = ["x", "y", "z"];
const MOST_FITTED = 3_000_000;  // points

/** The seven views, for scenes that have none of their own. */
const SIDES = /** @type {[string, number[], number[]][]} */ ([
  ["front", [0, -1, 0], [0, 0, 1]], ["back", [0, 1, 0], [0, 0, 1]], ["left", [-1, 0, 0], [0, 0, 1]], ["right", [1, 0, 0], [0, 0, 1]],
  ["top", [0, 0, 1], [0, 1, 0]], ["bottom", [0, 0, -1], [0, -1, 0]], ["iso", [1, -1, 1], [0, 0, 1]]]);

export class App {
  /** @param {import("./model.js").Model} model @param {string} title */
  constructor(model, title) {
    this.model = model;
    this.sign = model.scene.unit === "" ? "" : shown(unitSign(model.scene.unit), 12);
    this.camera = new Camera(model.bounds);
    this.drawing = new Drawing(/** @type {HTMLCanvasElement} */ (byId("canvas")), model);
    this.canvas = this.drawing.canvas;
    this.picker = new Picker(model, this.drawing, this.camera);
    this.overlay = new Overlay(/** @type {any} */ (byId("overlay")), this.camera, model, this.sign);
    this.selected = -1;
    this.isMeasuring = false;
    this.section = {isOn: false, axis: 0, at: model.bounds.centre.slice(), isFlipped: false};
    this.views = model.scene.views.length > 0 ? model.scene.views : SIDES.map(([name, position, up]) => ({
      name, position: position.map((v, k) => model.bounds.centre[k] + v), target: model.bounds.centre, up, height: 0}));
    this.pivot = new Vector3();
    this.firstFrame = 0;
    this.frames = 0;
    const actions = {
      select: (/** @type {number} */ entry) => this.select(entry),
      toggle: (/** @type {number} */ entry) => this.toggle(entry),
      fit: (/** @type {number} */ entry) => this.fit(entry),
    };
    this.tree = new Tree(byId("tree"), /** @type {HTMLInputElement} */ (byId("search")), byId("found"), model, this.drawing.shown, actions);
    this.details = new Details(byId("details"), model, title, this.sign, {
      ...actions, close: () => this.showPanel("details", false), isolate: (entry) => this.isolate(entry), clear: (entry) => this.clear(entry),
      state: (entry) => this.stateOf(entry), showAll: () => this.showAll()});
    this.makeTools();
    this.makeSectionTools();
    this.listen();
    this.setTheme(matchMedia("(prefers-color-scheme: dark)").matches);
    this.details.show(-1);
    if (innerWidth < 800) {
      this.showPanel("details", false);
      this.showPanel("side", false);
    }
    this.resize();
    this.goTo(this.views.find(({name}) => name === "iso") ?? this.views[0], false);
  }

  // --- tools ---------------------------------------------------------------------------------------------------

  makeTools() {
    const views = make("select", "views");
    views.id = "views";
    views.setAttribute("aria-label", "View");
    views.append(new Option("View", ""), ...this.views.map(({name}, number) => new Option(shown(name, 40) || `view ${number + 1}`, String(number))));
    views.addEventListener("change", () => {
      const view = this.views[Number(views.value)];
      if (views.value !== "" && view !== undefined) this.goTo(view, true);
      views.value = "";
      this.canvas.focus();
    });
    this.tools = {
      fit: iconButton("fit", "Fit", () => this.fit(this.selected), "F"),
      projection: iconButton("parallel", "Parallel projection", () => this.setParallel(!this.camera.isParallel), "P"),
      edges: iconButton("edges", "Edges", () => this.setEdges(!this.drawing.edgesOn), "E"),
      section: iconButton("section", "Section", () => this.setSection(!this.section.isOn), "S"),
      measure: iconButton("measure", "Measure", () => this.setMeasuring(!this.isMeasuring), "M"),
      all: iconButton("all", "Show all", () => this.showAll(), "A"),
    };
    byId("tools").append(this.tools.fit, views, make("span", "gap"), this.tools.projection, this.tools.edges, make("span", "gap"),
                         this.tools.section, this.tools.measure, make("span", "gap"), this.tools.all);
    this.themeButton = iconButton("moon", "Dark or light", () => this.setTheme(!this.isDark), "D");
    this.treeButton = iconButton("tree", "Tree", () => this.showPanel("side"), "B");
    this.detailsButton = iconButton("info", "Details", () => this.showPanel("details"), "N");
    byId("left-tools").append(this.treeButton);
    byId("right-tools").append(this.detailsButton, this.themeButton, iconButton("help", "Keys and gestures", () => this.showHelp(), "?"));
    setPressed(this.treeButton, true);
    setPressed(this.detailsButton, true);
    setPressed(this.tools.projection, false);
    setPressed(this.tools.edges, true);
    setPressed(this.tools.section, false);
    setPressed(this.tools.measure, false);
  }

  makeSectionTools() {
    const {low, high} = this.model.bounds;
    const axes = AXES.map((name, axis) => {
      const button = make("button", "axis-button", name.toUpperCase());
      button.type = "button";
      button.setAttribute("aria-label", `Section along ${name}`);
      button.addEventListener("click", () => {
        this.section.axis = axis;
        this.cutNearSide();
      });
      return button;
    });
    this.sectionAxes = axes;
    this.slider = make("input");
    Object.assign(this.slider, {type: "range", min: "0", max: "1000", step: "1"});
    this.slider.setAttribute("aria-label", "Place of the section");
    this.slider.addEventListener("input", () => {
      const {axis, at} = this.section;
      at[axis] = low[axis] + ((high[axis] - low[axis]) * Number(this.slider?.value)) / 1000;
      this.applySection();
    });
    this.sectionNumber = make("input", "number");
    Object.assign(this.sectionNumber, {type: "text", inputMode: "decimal", autocomplete: "off", spellcheck: false});
    this.sectionNumber.setAttribute("aria-label", "Coordinate of the section");
    this.sectionNumber.addEventListener("change", () => {
      const value = Number(this.sectionNumber?.value.replace(",", "."));
      if (Number.isFinite(value)) this.section.at[this.section.axis] = value;
      this.applySection();
    });
    const flip = iconButton("flip", "Other side", () => {
      this.section.isFlipped = !this.section.isFlipped;
      this.applySection();
    });
    byId("section").append(...axes, this.slider, this.sectionNumber, make("span", "unit", this.sign), flip);
  }

  // --- listening -----------------------------------------------------------------------------------------------

  listen() {
    const {camera} = this;
    listenToPointers(this.canvas, {
      begin: (x, y) => {
        this.stopMotion();
        this.pivot.copy(camera.target);
        const hit = this.picker.at(x, y);
        if (hit !== null) this.pivot.set(hit.point[0], hit.point[1], hit.point[2]);
        else if (camera.target.distanceTo(camera.centre) < camera.radius) this.pivot.copy(camera.target);
      },
      orbit: (dx, dy) => this.changed(() => camera.orbit(-dx * TURN, dy * TURN, this.pivot)),
      pan: (dx, dy) => this.changed(() => camera.pan(dx, dy)),
      zoom: (factor, x, y) => this.changed(() => camera.zoom(factor, x, y)),
      click: (x, y) => this.click(x, y),
      doubleClick: (x, y) => {
        const hit = this.picker.at(x, y);
        if (!this.isMeasuring) this.fit(hit === null ? -1 : this.model.instances[hit.instance].entry);
      },
      hover: (x, y) => this.hover(x, y),
    });
    addEventListener("resize", () => this.resize());
    addEventListener("keydown", (event) => this.key(event));
    for (const dialog of document.querySelectorAll("dialog")) {
      dialog.addEventListener("click", (event) => { if (event.target === dialog) dialog.close(); });
      dialog.querySelector(".close")?.addEventListener("click", () => dialog.close());
    }
    this.canvas.addEventListener("webglcontextlost", (event) => {
      event.preventDefault();
      this.say("The graphics card has dropped the picture; waiting for it …");
    });
    this.canvas.addEventListener("webglcontextrestored", () => {
      this.say("");
      this.redraw();
    });
  }

  /** @param {KeyboardEvent} event */
  key(event) {
    const {target} = event;
    if (event.ctrlKey || event.metaKey || event.altKey || document.querySelector("dialog[open]")) return;
    if (target instanceof HTMLInputElement && target.type !== "range") {
      if (event.key === "Escape") this.canvas.focus();
      return;
    }
    if (target instanceof HTMLSelectElement || (target instanceof HTMLInputElement && event.key.startsWith("Arrow"))) return;
    const {camera} = this;
    const turn = Math.PI / 24;
    const step = 40;
    /** @param {number} x @param {number} y */
    const move = (x, y) => this.changed(() => (event.shiftKey ? camera.pan(-x * step, -y * step) : camera.orbit(x * turn, -y * turn, camera.target)));
    /** @type {Record<string, () => void>} */
    const keys = {
      arrowleft: () => move(-1, 0), arrowright: () => move(1, 0), arrowup: () => move(0, -1), arrowdown: () => move(0, 1),
      "+": () => this.changed(() => camera.zoom(1 / 1.2, camera.middleX, camera.middleY)),
      "-": () => this.changed(() => camera.zoom(1.2, camera.middleX, camera.middleY)),
      f: () => this.fit(this.selected), p: () => this.setParallel(!camera.isParallel), e: () => this.setEdges(!this.drawing.edgesOn),
      s: () => this.setSection(!this.section.isOn), m: () => this.setMeasuring(!this.isMeasuring), d: () => this.setTheme(!this.isDark),
      a: () => this.showAll(), b: () => this.showPanel("side"), n: () => this.showPanel("details"), "?": () => this.showHelp(),
      h: () => { if (this.selected >= 0) this.toggle(this.selected); },
      i: () => { if (this.selected >= 0) this.isolate(this.selected); },
      t: () => { if (this.selected >= 0) this.clear(this.selected); },
      "/": () => {
        this.showPanel("side", true);
        byId("search").focus();
      },
      escape: () => {
        if (this.overlay.measured.length > 0) this.clearMeasure();
        else if (this.isMeasuring) this.setMeasuring(false);
        else this.select(-1);
      },
    };
    keys["="] = keys["+"];
    const view = this.views[Number(event.key) - 1];
    const action = view !== undefined && /^[1-9]$/.test(event.key) ? () => this.goTo(view, true) : keys[event.key.toLowerCase()];
    if (action === undefined) return;
    event.preventDefault();
    action();
  }

  // --- what the user does --------------------------------------------------------------------------------------

  /** @param {number} x @param {number} y */
  click(x, y) {
    const hit = this.picker.at(x, y);
    if (!this.isMeasuring) {
      this.select(hit === null ? -1 : this.model.instances[hit.instance].entry);
      return;
    }
    if (hit === null) return;
    if (this.overlay.measured.length >= 2) this.overlay.measured = [];
    this.overlay.measured.push(this.picker.snapped(hit, x, y));
    this.showMeasure();
    this.redraw();
  }

  /** @param {number} x @param {number} y */
  hover(x, y) {
    if (!this.isMeasuring) return;
    const hit = this.overlay.measured.length < 2 ? this.picker.at(x, y) : null;
    this.overlay.candidate = hit === null ? null : this.picker.snapped(hit, x, y);
    this.redraw();
  }

  /** @param {number} entry */
  select(entry) {
    this.selected = entry;
    const {shown: states} = this.drawing;
    for (let i = 0; i < states.length; ++i) states[i] &= ~Shown.Selected;
    if (entry >= 0) {
      const {first, end} = this.model.instancesOf(entry);
      for (let i = first; i < end; ++i) states[i] |= Shown.Selected;
      if (innerWidth >= 800) this.showPanel("details", true);
    }
    this.tree.select(entry);
    this.details.show(entry);
    this.statesChanged();
  }

  /** @param {number} entry */
  stateOf(entry) {
    const {first, end} = this.model.instancesOf(entry);
    const {shown: states} = this.drawing;
    let hidden = first < end;
    let clear = first < end;
    for (let i = first; i < end; ++i) {
      hidden = hidden && (states[i] & Shown.Hidden) !== 0;
      clear = clear && (states[i] & Shown.Clear) !== 0;
    }
    return {hidden, clear};
  }

  /** @param {number} entry @param {number} flag @param {boolean} isSet */
  setFlag(entry, flag, isSet) {
    const {first, end} = this.model.instancesOf(entry);
    for (let i = first; i < end; ++i) {
      if (isSet) this.drawing.shown[i] |= flag;
      else this.drawing.shown[i] &= ~flag;
    }
    this.details.show(this.selected);
    this.statesChanged();
  }

  /** Hides, or shows what is hidden. @param {number} entry */
  toggle(entry) { this.setFlag(entry, Shown.Hidden, !this.stateOf(entry).hidden); }
  /** @param {number} entry */
  clear(entry) { this.setFlag(entry, Shown.Clear, !this.stateOf(entry).clear); }

  /** @param {number} entry */
  isolate(entry) {
    const {shown: states} = this.drawing;
    for (let i = 0; i < states.length; ++i) states[i] |= Shown.Hidden;
    this.setFlag(entry, Shown.Hidden, false);
    this.fit(entry);
  }

  showAll() {
    const {shown: states} = this.drawing;
    for (let i = 0; i < states.length; ++i) states[i] &= Shown.Selected;
    this.details.show(this.selected);
    this.statesChanged();
  }

  statesChanged() {
    const {shown: states} = this.drawing;
    let hidden = 0;
    for (const state of states) if (state & Shown.Hidden) ++hidden;
    byId("hidden-count").textContent = hidden === 0 ? "" : `${countText(hidden)} hidden`;
    this.drawing.update();
    this.tree.draw();
    this.redraw();
  }

  /**
   * All points of what is visible below a row; corners of boxes where there are too many.
   * @param {number} entry  -1: of all
   * @returns {(add: (x: number, y: number, z: number) => void) => void}
   */
  visiblePoints(entry) {
    const {first, end} = entry < 0 ? {first: 0, end: this.model.instances.length} : this.model.instancesOf(entry);
    return (add) => {
      let rest = MOST_FITTED;
      for (let i = first; i < end; ++i) {
        const {mesh, world: m, box} = this.model.instances[i];
        if (this.drawing.shown[i] & Shown.Hidden || this.drawing.opacityOf(i) <= 0) continue;
        const {points} = this.model.meshes[mesh];
        rest -= points.length / 3;
        if (rest < 0) {
          for (const [x, y, z] of box.corners()) add(x, y, z);
          continue;
        }
        for (let p = 0; p < points.length; p += 3) {
          const x = points[p], y = points[p + 1], z = points[p + 2];
          add(m[0] * x + m[1] * y + m[2] * z + m[3], m[4] * x + m[5] * y + m[6] * z + m[7], m[8] * x + m[9] * y + m[10] * z + m[11]);
        }
      }
    };
  }

  /** @param {number} entry */
  fit(entry) { this.moveTo((camera) => camera.fit(this.visiblePoints(entry)), true); }

  /** Turns to a view and fits the picture to what is visible. @param {{name: string, position: number[], target: number[], up: number[], height: number}} view @param {boolean} isSlow */
  goTo(view, isSlow) {
    this.moveTo((camera) => {
      camera.turn = Camera.turnOfView(view);
      camera.fit(this.visiblePoints(-1));
    }, isSlow);
  }

  /** Moves the camera to where `change` puts it. @param {(camera: Camera) => void} change @param {boolean} isSlow */
  moveTo(change, isSlow) {
    this.stopMotion();
    const {camera} = this;
    const from = camera.copy();
    change(camera);
    const to = camera.copy();
    if (!isSlow || matchMedia("(prefers-reduced-motion: reduce)").matches) {
      this.redraw();
      return;
    }
    const begin = performance.now();
    const move = (/** @type {number} */ now) => {
      const t = Math.min(1, Math.max(0, (now - begin) / 260));
      const s = t * t * (3 - 2 * t);
      camera.turn = new Quaternion().slerpQuaternions(from.turn, to.turn, s);
      camera.target.lerpVectors(from.target, to.target, s);
      camera.height = Math.exp(Math.log(from.height) * (1 - s) + Math.log(to.height) * s);
      this.redraw();
      this.motion = t < 1 ? requestAnimationFrame(move) : 0;
    };
    Object.assign(camera, {turn: from.turn, height: from.height});
    camera.target.copy(from.target);
    this.motion = requestAnimationFrame(move);
  }

  stopMotion() {
    if (this.motion) cancelAnimationFrame(this.motion);
    this.motion = 0;
  }

  /** @param {boolean} isParallel */
  setParallel(isParallel) {
    this.camera.isParallel = isParallel;
    setPressed(this.tools.projection, isParallel);
    this.redraw();
  }

  /** @param {boolean} isOn */
  setEdges(isOn) {
    this.drawing.edgesOn = isOn;
    setPressed(this.tools.edges, isOn);
    this.drawing.update();
    this.redraw();
  }

  /** @param {boolean} isOn */
  setSection(isOn) {
    this.section.isOn = isOn;
    setPressed(this.tools.section, isOn);
    byId("section").hidden = !isOn;
    this.cutNearSide();
  }

  /** What is cut off is what stands nearer to the viewer. */
  cutNearSide() {
    const {axis} = this.section;
    this.section.isFlipped = this.camera.back.getComponent(axis) < -1e-6;
    this.applySection();
  }

  applySection() {
    const {isOn, axis, at, isFlipped} = this.section;
    const {low, high} = this.model.bounds;
    const normal = [0, 0, 0];
    normal[axis] = isFlipped ? -1 : 1;
    const plane = isOn ? {normal, distance: normal[axis] * at[axis]} : null;
    this.drawing.setSection(plane);
    this.picker.section = plane;
    this.overlay.section = isOn ? {axis, at: at[axis]} : null;
    this.sectionAxes?.forEach((button, k) => setPressed(button, k === axis));
    if (this.slider && this.sectionNumber) {
      this.slider.value = String(Math.round((1000 * (at[axis] - low[axis])) / (high[axis] - low[axis] || 1)));
      this.slider.setAttribute("aria-valuetext", `${lengthText(at[axis])} ${this.sign}`);
      this.sectionNumber.value = lengthText(at[axis]);
    }
    this.redraw();
  }

  /** @param {boolean} isOn */
  setMeasuring(isOn) {
    this.isMeasuring = isOn;
    setPressed(this.tools.measure, isOn);
    this.canvas.classList.toggle("measuring", isOn);
    this.clearMeasure();
  }

  clearMeasure() {
    this.overlay.measured = [];
    this.overlay.candidate = null;
    this.showMeasure();
    this.redraw();
  }

  showMeasure() {
    const box = byId("measure");
    box.hidden = !this.isMeasuring;
    const {length, measured} = this.overlay;
    if (length === null) {
      box.textContent = measured.length === 0 ? "Click the first point" : "Click the second point";
      return;
    }
    const [a, b] = measured.map(({point}) => point);
    const parts = AXES.map((name, k) => `Δ${name} ${lengthText(Math.abs(b[k] - a[k]))}`).join("   ");
    box.replaceChildren(make("b", "", `${lengthText(length)} ${this.sign}`), make("span", "", parts));
  }

  /** @param {boolean} isDark */
  setTheme(isDark) {
    this.isDark = isDark;
    document.documentElement.dataset.theme = isDark ? "dark" : "light";
    this.themeButton?.replaceChildren(icon(isDark ? "sun" : "moon"));
    this.drawing.setTheme(isDark);
    this.redraw();
  }

  /** @param {"side" | "details"} name @param {boolean} [isOpen] */
  showPanel(name, isOpen = byId(name).hidden) {
    byId(name).hidden = !isOpen;
    const button = name === "side" ? this.treeButton : this.detailsButton;
    if (button) setPressed(button, isOpen);
    const other = name === "side" ? "details" : "side";
    if (isOpen && innerWidth < 800 && !byId(other).hidden) this.showPanel(other, false);
    if (isOpen && name === "side") this.tree.draw();
    // The model stays where it is; the next fit uses the new room.
    const {camera} = this;
    const before = {x: camera.middleX, y: camera.middleY, smaller: camera.smaller};
    this.resize();
    camera.height *= camera.smaller / before.smaller;
    camera.pan(before.x - camera.middleX, before.y - camera.middleY);
  }

  showHelp() { /** @type {HTMLDialogElement} */ (byId("help")).showModal(); }

  /** @param {string} text */
  say(text) {
    byId("message").textContent = text;
    byId("message").hidden = text === "";
  }

  // --- the picture ---------------------------------------------------------------------------------------------

  resize() {
    const {clientWidth, clientHeight} = this.canvas;
    const width = Math.max(1, clientWidth);
    const height = Math.max(1, clientHeight);
    this.camera.setSize(width, height, this.freeFrame(width, height));
    this.drawing.resize(width, height, Math.min(devicePixelRatio, 2));
    this.redraw();
  }

  /** What the panels leave of the picture. @param {number} width @param {number} height */
  freeFrame(width, height) {
    const isNarrow = width < 800;
    const rect = (/** @type {string} */ id) => byId(id).getBoundingClientRect();
    const left = byId("side").hidden || isNarrow ? 0 : rect("side").right;
    const right = byId("details").hidden || isNarrow ? width : rect("details").left;
    const top = rect("bar").bottom;
    const bottom = isNarrow && !byId("details").hidden ? rect("details").top : rect("tools").top;
    if (right - left < 100 || bottom - top < 100) return {x: 0, y: 0, width, height};
    return {x: left, y: top, width: right - left, height: bottom - top};
  }

  /** @param {() => void} change */
  changed(change) {
    this.stopMotion();
    change();
    this.redraw();
  }

  redraw() {
    if (this.isAsked) return;
    this.isAsked = true;
    requestAnimationFrame(() => {
      this.isAsked = false;
      this.drawing.render(this.camera);
      this.overlay.draw();
      ++this.frames;
      if (this.firstFrame === 0) this.afterFirstFrame();
    });
  }

  afterFirstFrame() {
    // The picture is on the screen once the frame is over.
    requestAnimationFrame(() => {
      this.firstFrame = performance.now();
      const more = () => {
        if (this.drawing.buildSomeEdges(20)) {
          setTimeout(more, 0);
          return;
        }
        this.isComplete = true;
        this.redraw();
      };
      setTimeout(more, 0);
    });
  }
}
