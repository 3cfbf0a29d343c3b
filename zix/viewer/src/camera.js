// Where the viewer stands. Lengths are the scene's, in double precision.

import {Quaternion, Vector3} from "three";

const ANGLE = (30 * Math.PI) / 180;  // across the smaller side of the picture, in perspective

const FILLED = 0.92;  // of the frame by what is fitted to it, as in `zix render`

/** @param {number[]} from @param {number[]} target @param {number[]} up */
function turnOf(from, target, up) {
  const back = new Vector3(from[0] - target[0], from[1] - target[1], from[2] - target[2]).normalize();
  if (!(back.length() > 0.5)) back.set(0, -1, 0);
  let right = new Vector3(...up).cross(back);
  if (!(right.length() > 1e-6 * Math.hypot(...up))) right = new Vector3(Math.abs(back.z) < 0.9 ? 0 : 1, 0, Math.abs(back.z) < 0.9 ? 1 : 0).cross(back);
  right.normalize();
  return fromAxes(right, back);
}

/** @param {Vector3} right @param {Vector3} back */
function fromAxes(right, back) {
  const up = back.clone().cross(right);
  const m = [right.x, up.x, back.x, right.y, up.y, back.y, right.z, up.z, back.z];
  const trace = m[0] + m[4] + m[8];
  const q = new Quaternion();
  if (trace > 0) {
    const s = 2 * Math.sqrt(trace + 1);
    q.set((m[7] - m[5]) / s, (m[2] - m[6]) / s, (m[3] - m[1]) / s, s / 4);
  } else if (m[0] > m[4] && m[0] > m[8]) {
    const s = 2 * Math.sqrt(1 + m[0] - m[4] - m[8]);
    q.set(s / 4, (m[1] + m[3]) / s, (m[2] + m[6]) / s, (m[7] - m[5]) / s);
  } else if (m[4] > m[8]) {
    const s = 2 * Math.sqrt(1 + m[4] - m[0] - m[8]);
    q.set((m[1] + m[3]) / s, s / 4, (m[5] + m[7]) / s, (m[2] - m[6]) / s);
  } else {
    const s = 2 * Math.sqrt(1 + m[8] - m[0] - m[4]);
    q.set((m[2] + m[6]) / s, (m[5] + m[7]) / s, s / 4, (m[3] - m[1]) / s);
  }
  return q.normalize();
}

export class Camera {
  /** @param {import("./placement.js").Box} bounds  of the whole scene */
  constructor(bounds) {
    this.centre = new Vector3(...bounds.centre);
    this.radius = bounds.radius > 0 ? bounds.radius : 1;
    this.target = this.centre.clone();
    this.turn = turnOf([1, -1, 1], [0, 0, 0], [0, 0, 1]);
    this.height = 2 * this.radius;  // of the smaller side of the picture, at the target
    this.isParallel = false;
    this.width = 1;
    this.pixels = 1;  // height of the picture
    this.frame = {x: 0, y: 0, width: 1, height: 1};
  }

  /**
   * The picture's size, and the part of it that nothing covers: what is looked at stands in the middle of that.
   * @param {number} width
   * @param {number} height
   * @param {{x: number, y: number, width: number, height: number}} frame
   */
  setSize(width, height, frame) {
    this.width = width;
    this.pixels = height;
    this.frame = frame;
  }

  get middleX() { return this.frame.x + this.frame.width / 2; }
  get middleY() { return this.frame.y + this.frame.height / 2; }
  get smaller() { return Math.min(this.frame.width, this.frame.height); }

  get right() { return new Vector3(1, 0, 0).applyQuaternion(this.turn); }
  get up() { return new Vector3(0, 1, 0).applyQuaternion(this.turn); }
  get back() { return new Vector3(0, 0, 1).applyQuaternion(this.turn); }
  get distance() { return this.height / 2 / Math.tan(ANGLE / 2); }
  get position() { return this.target.clone().addScaledVector(this.back, this.distance); }
  /** Length of one pixel at the target. */
  get pixel() { return this.height / this.smaller; }

  /** @param {{position: number[], target: number[], up: number[]}} view */
  static turnOfView({position, target, up}) { return turnOf(position, target, up); }

  /**
   * Moves so that all points are just in the frame, with a margin of 4 % of it on either side.
   * @param {(add: (x: number, y: number, z: number) => void) => void} forEachPoint
   */
  fit(forEachPoint) {
    const {right, up, back, centre} = this;
    const t = Math.tan(ANGLE / 2) * FILLED;
    const {smaller, frame} = this;
    const tans = [(t * frame.width) / smaller, (t * frame.height) / smaller];
    const [reachX, reachY] = this.isParallel ? [0, 0] : tans;
    let [left, farRight, bottom, top, near, far] = [Infinity, -Infinity, Infinity, -Infinity, -Infinity, Infinity];
    forEachPoint((px, py, pz) => {
      const x = px - centre.x;
      const y = py - centre.y;
      const z = pz - centre.z;
      const depth = x * back.x + y * back.y + z * back.z;
      if (!Number.isFinite(depth)) return;
      const across = x * right.x + y * right.y + z * right.z;
      const upwards = x * up.x + y * up.y + z * up.z;
      near = Math.max(near, depth);
      far = Math.min(far, depth);
      left = Math.min(left, across - depth * reachX);
      farRight = Math.max(farRight, across + depth * reachX);
      bottom = Math.min(bottom, upwards - depth * reachY);
      top = Math.max(top, upwards + depth * reachY);
    });
    if (!(near >= far)) return;
    const low = [left, bottom];
    const high = [farRight, top];
    const middle = low.map((v, k) => (v + high[k]) / 2);
    // In perspective low and high are where the picture's sides, moved onto the points, meet the plane of the centre.
    const half = low.map((v, k) => (high[k] - v) / 2);
    this.target.copy(this.centre).addScaledVector(right, middle[0]).addScaledVector(up, middle[1]);
    if (this.isParallel) {
      this.height = (2 * Math.max(half[0] / (frame.width / smaller), half[1] / (frame.height / smaller))) / FILLED;
      this.target.addScaledVector(back, (near + far) / 2);
    } else {
      const eye = Math.max(half[0] / tans[0], half[1] / tans[1]);
      const depth = (near + far) / 2;
      this.target.addScaledVector(back, depth);
      this.height = 2 * Math.tan(ANGLE / 2) * (eye - depth);
    }
    const least = this.radius * 1e-6;
    if (!(this.height > least)) this.height = least;
  }

  /**
   * Turns about a point: around the upright axis, and over the horizontal one. The picture does not tip over the poles.
   * @param {number} across  radians
   * @param {number} over
   * @param {Vector3} pivot
   */
  orbit(across, over, pivot) {
    const before = this.turn.clone();
    if (this.up.z >= -1e-9) {
      const pitch = Math.asin(Math.min(1, Math.max(-1, this.back.z)));
      over = Math.min(Math.PI / 2, Math.max(-Math.PI / 2, pitch + over)) - pitch;
    }
    const upright = new Quaternion().setFromAxisAngle(new Vector3(0, 0, 1), across);
    const sideways = new Quaternion().setFromAxisAngle(new Vector3(1, 0, 0), -over);
    this.turn = upright.multiply(this.turn).multiply(sideways).normalize();
    const change = this.turn.clone().multiply(before.invert());
    this.target.sub(pivot).applyQuaternion(change).add(pivot);
  }

  /** @param {number} x  pixels to the right @param {number} y  pixels down */
  pan(x, y) {
    this.target.addScaledVector(this.right, -x * this.pixel).addScaledVector(this.up, y * this.pixel);
  }

  /** Keeps what is under a pixel there. @param {number} factor  below 1: nearer @param {number} x @param {number} y */
  zoom(factor, x, y) {
    const height = Math.min(this.radius * 1000, Math.max(this.radius * 1e-5, this.height * factor));
    const scale = height / this.height;
    const dx = (x - this.middleX) * this.pixel;
    const dy = (this.middleY - y) * this.pixel;
    this.target.addScaledVector(this.right, dx * (1 - scale)).addScaledVector(this.up, dy * (1 - scale));
    this.height = height;
  }

  /** The ray through a pixel. @param {number} x @param {number} y */
  ray(x, y) {
    const onPlane = this.target.clone()
      .addScaledVector(this.right, (x - this.middleX) * this.pixel)
      .addScaledVector(this.up, (this.middleY - y) * this.pixel);
    if (this.isParallel) {
      const reach = 2 * (this.radius + this.target.distanceTo(this.centre));
      return {origin: onPlane.addScaledVector(this.back, reach), direction: this.back.negate()};
    }
    const origin = this.position;
    return {origin, direction: onPlane.sub(origin).normalize()};
  }

  /** Pixels to the right and down; depth in front of the eye; null behind it. @param {number[]} point */
  project([x, y, z]) {
    const p = new Vector3(x, y, z).sub(this.target);
    const depth = this.distance - p.dot(this.back);
    if (!this.isParallel && depth <= this.distance * 1e-6) return null;
    const scale = (this.isParallel ? 1 : this.distance / depth) / this.pixel;
    return {x: this.middleX + p.dot(this.right) * scale, y: this.middleY - p.dot(this.up) * scale, depth};
  }

  /** @param {import("three").Camera} three @param {number[]} origin  of what is drawn */
  applyTo(three, origin) {
    const position = this.position;
    const toCentre = position.clone().sub(this.centre).dot(this.back);
    const far = toCentre + this.radius * 1.01;
    const near = toCentre - this.radius * 1.01;
    three.position.set(position.x - origin[0], position.y - origin[1], position.z - origin[2]);
    three.quaternion.copy(this.turn);
    // The sides of the picture at the target, from the middle of the frame.
    const left = -this.middleX * this.pixel;
    const right = (this.width - this.middleX) * this.pixel;
    const top = this.middleY * this.pixel;
    const bottom = (this.middleY - this.pixels) * this.pixel;
    if (this.isParallel) {
      three.projectionMatrix.makeOrthographic(left, right, top, bottom, near, far);
    } else {
      const least = Math.min(this.distance * 0.1, Math.max(far, this.distance) / 5000);
      const front = Math.max(near, least);
      const scale = front / this.distance;
      three.projectionMatrix.makePerspective(left * scale, right * scale, top * scale, bottom * scale, front, Math.max(far, front * 1.1));
    }
    three.projectionMatrixInverse.copy(three.projectionMatrix).invert();
    three.updateMatrixWorld();
  }

  copy() {
    return {target: this.target.clone(), turn: this.turn.clone(), height: this.height};
  }
}
