// The whole elements of a mesh (docs/zix-format.md, section 4.4), ready to be drawn.

import {MeshType} from "./reader.js";
import {Box} from "./placement.js";

/**
 * @typedef {object} Elements
 * @property {number} type
 * @property {Float64Array | Float32Array} points  x, y, z each
 * @property {Uint32Array} indices  three for a triangle, two for a piece of a polyline, one for a point
 * @property {number} count  whole elements
 * @property {number} leftOut  elements that are not whole, or have a coordinate that is no finite number
 * @property {Box} box  of all finite points
 */

/**
 * @param {Float32Array} values
 * @param {number} dimension
 */
function pointsOf(values, dimension) {
  if (dimension === 3) return values;
  const count = Math.floor(values.length / dimension);
  const points = new Float32Array(3 * count);
  for (let i = 0; i < count; ++i) {
    for (let k = 0; k < Math.min(3, dimension); ++k) points[3 * i + k] = values[i * dimension + k];
  }
  return points;
}

/**
 * @param {{type: number, dimension: number, values: Float32Array, indices: Uint32Array, lengths: Uint32Array}} mesh
 * @returns {Elements}
 */
export function elementsOf({type, dimension, values, indices, lengths}) {
  const points = pointsOf(values, dimension);
  const pointCount = points.length / 3;
  const finite = new Uint8Array(pointCount);
  const box = new Box();
  for (let i = 0; i < pointCount; ++i) {
    if (!Number.isFinite(points[3 * i] + points[3 * i + 1] + points[3 * i + 2])) {
      // The sum of finite numbers may overflow in single precision only, not here.
      continue;
    }
    finite[i] = 1;
    box.add(points[3 * i], points[3 * i + 1], points[3 * i + 2]);
  }
  const out = new Uint32Array(type === MeshType.Lines ? 2 * indices.length : indices.length);
  let used = 0;
  let count = 0;
  let leftOut = 0;
  let start = 0;
  for (let e = 0; e < lengths.length; ++e) {
    const length = lengths[e];
    if (length > indices.length - start) {
      leftOut += lengths.length - e;
      break;
    }
    const end = start + length;
    let whole = type !== MeshType.Triangles || length === 3;
    let drawn = whole;
    for (let i = start; i < end && whole; ++i) {
      whole = indices[i] < pointCount;
      drawn = drawn && whole && finite[indices[i]] === 1;
    }
    if (whole) ++count;
    if (!drawn || !whole) ++leftOut;
    else if (type === MeshType.Lines) {
      for (let i = start + 1; i < end; ++i) {
        out[used++] = indices[i - 1];
        out[used++] = indices[i];
      }
    } else {
      for (let i = start; i < end; ++i) out[used++] = indices[i];
    }
    start = end;
  }
  return {type, points, indices: out.subarray(0, used), count, leftOut, box};
}
