// The panel beside the picture: what the selected row is, or the whole model.

import {iconButton, make} from "./dom.js";
import {NONE, Type} from "./reader.js";
import {countText, lengthText, shown} from "./text.js";

const KINDS = new Map([[Type.Node, "Node"], [Type.Shape, "Shape"], [Type.Mesh, "Mesh"]]);

/** @param {[string, string][]} rows */
function facts(rows) {
  const list = make("dl", "facts");
  for (const [key, value] of rows) {
    const name = make("dt", "", key);
    const text = make("dd", "", value);
    name.dir = text.dir = "auto";
    list.append(name, text);
  }
  return list;
}

export class Details {
  /**
   * @param {HTMLElement} panel
   * @param {import("./model.js").Model} model
   * @param {string} title  of the model
   * @param {string} sign  of the scene's unit
   * @param {{close: () => void, fit: (entry: number) => void, toggle: (entry: number) => void, isolate: (entry: number) => void,
   *          clear: (entry: number) => void, state: (entry: number) => {hidden: boolean, clear: boolean}, showAll: () => void}} actions
   */
  constructor(panel, model, title, sign, actions) {
    this.panel = panel;
    this.model = model;
    this.title = title;
    this.sign = sign;
    this.actions = actions;
  }

  /** @param {number[]} size */
  sizeText(size) { return `${size.map(lengthText).join(" × ")} ${this.sign}`; }

  /** @param {number[]} counts */
  countRows(counts) {
    /** @type {[string, string][]} */
    const rows = [["Triangles", countText(counts[0])]];
    if (counts[1] > 0) rows.push(["Lines", countText(counts[1])]);
    if (counts[2] > 0) rows.push(["Points", countText(counts[2])]);
    return rows;
  }

  /** @param {[string, string][]} properties */
  propertyParts(properties) {
    if (properties.length === 0) return [];
    /** @type {[string, string][]} */
    const rows = properties.map(([key, value]) => [shown(key), shown(value, 2000)]);
    return [make("h3", "", "Properties"), facts(rows)];
  }

  /** @param {number} entry  -1: the model */
  show(entry) {
    this.panel.replaceChildren(...(entry < 0 ? this.modelParts() : this.entryParts(entry)));
    this.panel.scrollTop = 0;
  }

  modelParts() {
    const {model} = this;
    const {scene} = model;
    const rows = this.countRows(model.totals);
    rows.push(["Placed parts", countText(model.instances.length)], ["Distinct meshes", countText(model.meshes.length)]);
    if (!model.bounds.isEmpty) rows.push(["Size", this.sizeText(model.bounds.size)]);
    rows.push(["Unit", scene.unit === "" ? "not stated" : shown(scene.unit)]);
    if (scene.application !== "") rows.push(["Written by", shown(scene.application)]);
    const own = scene.properties(NONE).filter(([key]) => key !== "unit" && key !== "unit_metres");
    return [this.head(this.title, "Model", []), facts(rows), ...this.propertyParts(own)];
  }

  /** @param {string} name @param {string} kind @param {Node[]} more */
  head(name, kind, more) {
    const title = make("h2", "", shown(name) || "(no name)");
    title.dir = "auto";
    const close = iconButton("close", "Close", () => this.actions.close());
    close.classList.add("close");
    return make("header", "", make("div", "kind-name", kind), title, ...more, close);
  }

  /** @param {number} entry */
  entryParts(entry) {
    const {model, actions} = this;
    const {kind, firstInstance, endInstance, name} = model.entries[entry];
    const path = model.pathOf(entry).slice(0, -1);
    const cut = path.length > 12 ? [...path.slice(0, 3), "…", ...path.slice(-8)] : path;
    const trail = make("p", "path", cut.map((step) => shown(step, 80) || "(no name)").join(" › "));
    trail.dir = "auto";
    const rows = this.countRows(model.countsOf(entry));
    const placed = endInstance - firstInstance;
    if (placed !== 1) rows.push(["Placed meshes", countText(placed)]);
    const box = model.boxOf(entry);
    if (!box.isEmpty) rows.push(["Size", this.sizeText(box.size)]);
    const parts = [this.head(name, KINDS.get(kind) ?? "", cut.length > 0 ? [trail] : [])];
    if (placed > 0) {
      const state = actions.state(entry);
      const hide = iconButton(state.hidden ? "eye" : "eyeOff", state.hidden ? "Show" : "Hide", () => actions.toggle(entry), "H");
      const isolate = iconButton("isolate", "Isolate", () => actions.isolate(entry), "I");
      const clear = iconButton("ghost", state.clear ? "Opaque" : "Transparent", () => actions.clear(entry), "T");
      const fit = iconButton("fit", "Fit", () => actions.fit(entry), "F");
      for (const button of [hide, isolate, clear, fit]) button.append(make("span", "", button.getAttribute("aria-label") ?? ""));
      parts.push(make("div", "actions", hide, isolate, clear, fit));
    }
    return [...parts, facts(rows), ...this.propertyParts(model.propertiesOf(entry))];
  }
}
