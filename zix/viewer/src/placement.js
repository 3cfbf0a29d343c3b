// Placements as matrices: three rows of four numbers in double precision, so that parts far from the origin stay exact.

/** @typedef {Float64Array} Matrix  r00 r01 r02 tx  r10 r11 r12 ty  r20 r21 r22 tz */

export const identity = () => new Float64Array([1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0]);

/** @param {{translation: number[], axis: number[], angle: number, scale: number[]}} transform */
export function placementMatrix({translation: [tx, ty, tz], axis, angle, scale: [sx, sy, sz]}) {
  let [x, y, z] = axis;
  const length = Math.hypot(x, y, z);
  let c = 1;
  let s = 0;
  if (length !== 0) {
    x /= length;
    y /= length;
    z /= length;
    c = Math.cos(angle);
    s = Math.sin(angle);
  }
  const d = 1 - c;
  return new Float64Array([
    (c + d * x * x) * sx, (d * x * y - s * z) * sy, (d * x * z + s * y) * sz, tx,
    (d * x * y + s * z) * sx, (c + d * y * y) * sy, (d * y * z - s * x) * sz, ty,
    (d * x * z - s * y) * sx, (d * y * z + s * x) * sy, (c + d * z * z) * sz, tz,
  ]);
}

/** @param {Matrix} outer @param {Matrix} inner */
export function multiply(outer, inner) {
  const result = new Float64Array(12);
  for (let row = 0; row < 12; row += 4) {
    for (let column = 0; column < 4; ++column) {
      result[row + column] = outer[row] * inner[column] + outer[row + 1] * inner[4 + column] + outer[row + 2] * inner[8 + column] +
                             (column === 3 ? outer[row + 3] : 0);
    }
  }
  return result;
}

/** @param {Matrix} m @param {number} x @param {number} y @param {number} z */
export function apply(m, x, y, z) {
  return [m[0] * x + m[1] * y + m[2] * z + m[3], m[4] * x + m[5] * y + m[6] * z + m[7], m[8] * x + m[9] * y + m[10] * z + m[11]];
}

/** Negative where the placement mirrors. @param {Matrix} m */
export function determinant(m) {
  return m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) + m[2] * (m[4] * m[9] - m[5] * m[8]);
}

/** The matrix that undoes a placement, or null where there is none. @param {Matrix} m */
export function inverse(m) {
  const det = determinant(m);
  if (!Number.isFinite(1 / det)) return null;
  const r = new Float64Array(12);
  r[0] = (m[5] * m[10] - m[6] * m[9]) / det;
  r[1] = (m[2] * m[9] - m[1] * m[10]) / det;
  r[2] = (m[1] * m[6] - m[2] * m[5]) / det;
  r[4] = (m[6] * m[8] - m[4] * m[10]) / det;
  r[5] = (m[0] * m[10] - m[2] * m[8]) / det;
  r[6] = (m[2] * m[4] - m[0] * m[6]) / det;
  r[8] = (m[4] * m[9] - m[5] * m[8]) / det;
  r[9] = (m[1] * m[8] - m[0] * m[9]) / det;
  r[10] = (m[0] * m[5] - m[1] * m[4]) / det;
  for (let k = 0; k < 12; k += 4) r[k + 3] = -(r[k] * m[3] + r[k + 1] * m[7] + r[k + 2] * m[11]);
  return r;
}

/** A box: three lowest, then three highest values; low above high where it is empty. */
export class Box {
  constructor() {
    this.low = [Infinity, Infinity, Infinity];
    this.high = [-Infinity, -Infinity, -Infinity];
  }
  get isEmpty() { return !(this.low[0] <= this.high[0]); }
  get centre() { return this.isEmpty ? [0, 0, 0] : this.low.map((v, k) => v / 2 + this.high[k] / 2); }
  get size() { return this.isEmpty ? [0, 0, 0] : this.high.map((v, k) => v - this.low[k]); }
  get radius() { return Math.hypot(...this.size) / 2; }
  /** @param {number} x @param {number} y @param {number} z */
  add(x, y, z) {
    if (!Number.isFinite(x + y + z)) return;
    const {low, high} = this;
    if (x < low[0]) low[0] = x;
    if (x > high[0]) high[0] = x;
    if (y < low[1]) low[1] = y;
    if (y > high[1]) high[1] = y;
    if (z < low[2]) low[2] = z;
    if (z > high[2]) high[2] = z;
  }
  corners() {
    if (this.isEmpty) return [];
    return Array.from({length: 8}, (_, n) => [0, 1, 2].map((k) => ((n >> k) & 1 ? this.high[k] : this.low[k])));
  }
  /** @param {Matrix} matrix */
  placed(matrix) {
    const box = new Box();
    for (const [x, y, z] of this.corners()) {
      const [a, b, c] = apply(matrix, x, y, z);
      box.add(a, b, c);
    }
    return box;
  }
  /** @param {Box} other */
  holds(other) {
    return other.low.every((v, k) => v >= this.low[k]) && other.high.every((v, k) => v <= this.high[k]);
  }
  /** @param {Box} other */
  addBox(other) {
    if (other.isEmpty) return;
    this.add(other.low[0], other.low[1], other.low[2]);
    this.add(other.high[0], other.high[1], other.high[2]);
  }
}
