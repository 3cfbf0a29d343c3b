// What is under the pointer, found by the processor in double precision: exact enough to measure with, and it needs no
// pixels read back from the graphics card.

import {Vector3} from "three";
import {Shown} from "./drawing.js";
import {apply, inverse} from "./placement.js";
import {MeshType} from "./reader.js";

/**
 * @typedef {object} Hit
 * @property {number} instance
 * @property {number} distance
 * @property {number[]} point  in the world
 * @property {number[][]} corners  of the element, in the world
 */

/**
 * Where a ray enters a box, Infinity where it misses.
 * @param {import("./placement.js").Box} box
 * @param {Vector3} origin
 * @param {Vector3} direction
 */
function enters(box, origin, direction) {
  let near = 0;
  let far = Infinity;
  const o = origin.toArray();
  const d = direction.toArray();
  for (let k = 0; k < 3; ++k) {
    const slack = 1e-9 * (Math.abs(box.low[k]) + Math.abs(box.high[k]) + 1e-30);
    const low = box.low[k] - slack;
    const high = box.high[k] + slack;
    if (d[k] === 0) {
      if (o[k] < low || o[k] > high) return Infinity;
      continue;
    }
    const a = (low - o[k]) / d[k];
    const b = (high - o[k]) / d[k];
    near = Math.max(near, Math.min(a, b));
    far = Math.min(far, Math.max(a, b));
  }
  return near <= far ? near : Infinity;
}

export class Picker {
  /**
   * @param {import("./model.js").Model} model
   * @param {import("./drawing.js").Drawing} drawing
   * @param {import("./camera.js").Camera} camera
   */
  constructor(model, drawing, camera) {
    this.model = model;
    this.drawing = drawing;
    this.camera = camera;
    /** @type {{normal: number[], distance: number} | null} */
    this.section = null;
  }

  /** @param {number[]} point */
  isCut(point) {
    if (this.section === null) return false;
    const {normal, distance} = this.section;
    return normal[0] * point[0] + normal[1] * point[1] + normal[2] * point[2] > distance;
  }

  /**
   * The nearest visible thing at a pixel; lines and points count up to some pixels beside it.
   * @param {number} x
   * @param {number} y
   * @returns {Hit | null}
   */
  at(x, y) {
    const {model, drawing} = this;
    const ray = this.camera.ray(x, y);
    /** @type {{instance: number, near: number}[]} */
    const candidates = [];
    /** @type {Hit | null} */
    let best = null;
    model.instances.forEach(({mesh, box}, instance) => {
      if (drawing.shown[instance] & Shown.Hidden || drawing.opacityOf(instance) <= 0) return;
      if (model.meshes[mesh].type !== MeshType.Triangles) return;
      const near = enters(box, ray.origin, ray.direction);
      if (near < Infinity) candidates.push({instance, near});
    });
    candidates.sort((a, b) => a.near - b.near);
    for (const {instance, near} of candidates) {
      if (best !== null && near > best.distance) break;
      best = this.triangleHit(instance, ray, best);
    }
    return this.thinHit(x, y, best);
  }

  /**
   * @param {number} instance
   * @param {{origin: Vector3, direction: Vector3}} ray
   * @param {Hit | null} best
   */
  triangleHit(instance, ray, best) {
    const {mesh, world} = this.model.instances[instance];
    const back = inverse(world);
    if (back === null) return best;
    const {points, indices} = this.model.meshes[mesh];
    const [ox, oy, oz] = apply(back, ray.origin.x, ray.origin.y, ray.origin.z);
    const {x, y, z} = ray.direction;
    const dx = back[0] * x + back[1] * y + back[2] * z;
    const dy = back[4] * x + back[5] * y + back[6] * z;
    const dz = back[8] * x + back[9] * y + back[10] * z;
    for (let i = 0; i < indices.length; i += 3) {
      const a = 3 * indices[i];
      const b = 3 * indices[i + 1];
      const c = 3 * indices[i + 2];
      const ax = points[a], ay = points[a + 1], az = points[a + 2];
      const ux = points[b] - ax, uy = points[b + 1] - ay, uz = points[b + 2] - az;
      const vx = points[c] - ax, vy = points[c + 1] - ay, vz = points[c + 2] - az;
      const px = dy * vz - dz * vy, py = dz * vx - dx * vz, pz = dx * vy - dy * vx;
      const det = ux * px + uy * py + uz * pz;
      if (det === 0) continue;
      const tx = ox - ax, ty = oy - ay, tz = oz - az;
      const u = (tx * px + ty * py + tz * pz) / det;
      if (u < 0 || u > 1) continue;
      const qx = ty * uz - tz * uy, qy = tz * ux - tx * uz, qz = tx * uy - ty * ux;
      const v = (dx * qx + dy * qy + dz * qz) / det;
      if (v < 0 || u + v > 1) continue;
      const distance = (vx * qx + vy * qy + vz * qz) / det;
      if (!(distance > 0) || (best !== null && distance >= best.distance)) continue;
      const point = ray.origin.clone().addScaledVector(ray.direction, distance).toArray();
      if (this.isCut(point)) continue;
      best = {instance, distance, point, corners: [a, b, c].map((k) => apply(world, points[k], points[k + 1], points[k + 2]))};
    }
    return best;
  }

  /** Lines and points near a pixel. @param {number} x @param {number} y @param {Hit | null} best */
  thinHit(x, y, best) {
    const reach = 6;
    const {model, drawing, camera} = this;
    const surface = best === null ? Infinity : camera.project(best.point)?.depth ?? Infinity;
    let nearest = reach;
    model.instances.forEach(({mesh, world}, instance) => {
      const {type, points, indices} = model.meshes[mesh];
      if (type === MeshType.Triangles || drawing.shown[instance] & Shown.Hidden) return;
      const step = type === MeshType.Lines ? 2 : 1;
      for (let i = 0; i < indices.length; i += step) {
        const ends = [];
        for (let k = 0; k < step; ++k) {
          const at = 3 * indices[i + k];
          ends.push(apply(world, points[at], points[at + 1], points[at + 2]));
        }
        const seen = ends.map((end) => camera.project(end));
        const first = seen[0];
        const last = seen[step - 1];
        if (!first || !last) continue;
        const lx = last.x - first.x;
        const ly = last.y - first.y;
        const square = lx * lx + ly * ly;
        const t = square > 0 ? Math.min(1, Math.max(0, ((x - first.x) * lx + (y - first.y) * ly) / square)) : 0;
        const away = Math.hypot(first.x + t * lx - x, first.y + t * ly - y);
        const depth = first.depth + t * (last.depth - first.depth);
        if (away >= nearest || depth > surface + 4 * camera.pixel) continue;
        const point = ends[0].map((v, k) => v + t * (ends[step - 1][k] - v));
        if (this.isCut(point)) continue;
        nearest = away;
        best = {instance, distance: depth, point, corners: ends};
      }
    });
    return best;
  }

  /**
   * The point that is meant: a corner of the element when one is near, else the point itself.
   * @param {Hit} hit
   * @param {number} x
   * @param {number} y
   */
  snapped(hit, x, y) {
    let nearest = 9;
    let {point} = hit;
    for (const corner of hit.corners) {
      const seen = this.camera.project(corner);
      if (seen === null || this.isCut(corner)) continue;
      const away = Math.hypot(seen.x - x, seen.y - y);
      if (away < nearest) {
        nearest = away;
        point = corner;
      }
    }
    return {point, isCorner: point !== hit.point};
  }
}
