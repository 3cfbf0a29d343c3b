// Lines and texts over the picture: the measure, the section's outline, the axes in the corner.

import {Vector3} from "three";
import {makeSvg} from "./dom.js";
import {lengthText} from "./text.js";

const AXES = ["X", "Y", "Z"];

export class Overlay {
  /**
   * @param {SVGSVGElement} svg
   * @param {import("./camera.js").Camera} camera
   * @param {import("./model.js").Model} model
   * @param {string} sign  of the scene's unit
   */
  constructor(svg, camera, model, sign) {
    this.svg = svg;
    this.camera = camera;
    this.model = model;
    this.sign = sign;
    /** @type {{point: number[], isCorner: boolean}[]} */
    this.measured = [];
    /** @type {{point: number[], isCorner: boolean} | null} */
    this.candidate = null;
    /** @type {{axis: number, at: number} | null} */
    this.section = null;
  }

  /** Between the two measured points; null while there are fewer. */
  get length() {
    if (this.measured.length < 2) return null;
    const [a, b] = this.measured;
    return Math.hypot(...a.point.map((v, k) => v - b.point[k]));
  }

  draw() {
    const parts = [...this.sectionParts(), ...this.measureParts(), ...this.axesParts()];
    this.svg.replaceChildren(...parts);
  }

  sectionParts() {
    if (this.section === null) return [];
    const {axis, at} = this.section;
    const {low, high, size} = this.model.bounds;
    const margin = 0.04 * Math.max(...size);
    const [u, v] = [0, 1, 2].filter((k) => k !== axis);
    const corners = [[low[u], low[v], -1, -1], [high[u], low[v], 1, -1], [high[u], high[v], 1, 1], [low[u], high[v], -1, 1]].map(([a, b, i, j]) => {
      const point = [0, 0, 0];
      point[axis] = at;
      point[u] = a + i * margin;
      point[v] = b + j * margin;
      return this.camera.project(point);
    });
    if (corners.some((corner) => corner === null)) return [];
    const points = corners.map((corner) => `${corner?.x.toFixed(1)},${corner?.y.toFixed(1)}`).join(" ");
    return [makeSvg("polygon", {points, class: "section-outline"})];
  }

  measureParts() {
    const points = this.measured.length < 2 && this.candidate !== null ? [...this.measured, this.candidate] : this.measured;
    const seen = points.map(({point, isCorner}) => ({at: this.camera.project(point), isCorner}));
    const parts = [];
    const [a, b] = seen;
    if (a?.at && b?.at) parts.push(makeSvg("line", {x1: a.at.x, y1: a.at.y, x2: b.at.x, y2: b.at.y, class: "measure-line"}));
    for (const {at, isCorner} of seen) {
      if (at === null) continue;
      parts.push(isCorner ? makeSvg("rect", {x: at.x - 4, y: at.y - 4, width: 8, height: 8, class: "measure-end"})
                          : makeSvg("circle", {cx: at.x, cy: at.y, r: 4, class: "measure-end"}));
    }
    if (a?.at && b?.at) {
      const length = Math.hypot(...points[0].point.map((v, k) => v - points[1].point[k]));
      const text = makeSvg("text", {x: (a.at.x + b.at.x) / 2, y: (a.at.y + b.at.y) / 2 - 10, class: "measure-text"});
      text.textContent = `${lengthText(length)} ${this.sign}`;
      parts.push(text);
    }
    return parts;
  }

  axesParts() {
    const {width, pixels, frame, right, up, back} = this.camera;
    const x = frame.x + 52;
    const y = pixels - (width < 800 ? 116 : 56);
    const reach = 26;
    const axes = AXES.map((name, k) => {
      const axis = new Vector3().setComponent(k, 1);
      return {name, x: axis.dot(right) * reach, y: -axis.dot(up) * reach, depth: axis.dot(back)};
    });
    axes.sort((a, b) => a.depth - b.depth);
    return axes.flatMap(({name, x: dx, y: dy}) => {
      const line = makeSvg("line", {x1: x, y1: y, x2: x + dx, y2: y + dy, class: `axis axis-${name}`});
      const text = makeSvg("text", {x: x + dx * 1.38, y: y + dy * 1.38, class: `axis-name axis-${name}`});
      text.textContent = name;
      return [line, text];
    });
  }
}
