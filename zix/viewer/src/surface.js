// Normals and feature edges of a mesh of triangles. Points at the same place count as one: converters split them where
// texture or colour changes, which is no fold.

const SOFTEST = Math.cos((40 * Math.PI) / 180);  // corners join where faces meet at less than 40 degrees
const FLATTEST = Math.cos((30 * Math.PI) / 180);  // an edge is drawn where faces meet at 30 degrees or more

/**
 * For every point the number of the first one at the same place.
 * @param {ArrayLike<number>} points
 */
export function firstAtSamePlace(points) {
  const count = points.length / 3;
  const first = new Uint32Array(count);
  let size = 16;
  while (size < 2 * count) size *= 2;
  const slots = new Int32Array(size).fill(-1);
  const floats = new Float32Array(3);
  const bits = new Uint32Array(floats.buffer);
  for (let i = 0; i < count; ++i) {
    // Plus 0 makes of -0 a 0.
    floats[0] = points[3 * i] + 0;
    floats[1] = points[3 * i + 1] + 0;
    floats[2] = points[3 * i + 2] + 0;
    let hash = Math.imul(bits[0], 0x9e3779b1) ^ Math.imul(bits[1], 0x85ebca77) ^ Math.imul(bits[2], 0xc2b2ae3d);
    hash = Math.imul(hash ^ (hash >>> 15), 0x2c1b3c6d);
    let slot = (hash ^ (hash >>> 13)) & (size - 1);
    for (;; slot = (slot + 1) & (size - 1)) {
      const other = slots[slot];
      if (other < 0) {
        slots[slot] = i;
        first[i] = i;
        break;
      }
      if (points[3 * other] === points[3 * i] && points[3 * other + 1] === points[3 * i + 1] &&
          points[3 * other + 2] === points[3 * i + 2]) {
        first[i] = other;
        break;
      }
    }
  }
  return first;
}

/**
 * Per triangle a vector along its normal, as long as twice its area.
 * @param {ArrayLike<number>} points
 * @param {ArrayLike<number>} triangles
 */
function areaNormals(points, triangles) {
  const normals = new Float64Array(triangles.length);
  for (let t = 0; t < triangles.length; t += 3) {
    const a = 3 * triangles[t];
    const b = 3 * triangles[t + 1];
    const c = 3 * triangles[t + 2];
    const ux = points[b] - points[a], uy = points[b + 1] - points[a + 1], uz = points[b + 2] - points[a + 2];
    const vx = points[c] - points[a], vy = points[c + 1] - points[a + 1], vz = points[c + 2] - points[a + 2];
    normals[t] = uy * vz - uz * vy;
    normals[t + 1] = uz * vx - ux * vz;
    normals[t + 2] = ux * vy - uy * vx;
  }
  return normals;
}

/** The same of length 1; (0, 0, 0) where a triangle has no area. @param {Float64Array} normals */
function unitNormals(normals) {
  const units = new Float32Array(normals.length);
  for (let t = 0; t < normals.length; t += 3) {
    const length = Math.hypot(normals[t], normals[t + 1], normals[t + 2]);
    if (!(length > 0)) continue;
    units[t] = normals[t] / length;
    units[t + 1] = normals[t + 1] / length;
    units[t + 2] = normals[t + 2] / length;
  }
  return units;
}

/**
 * The angle of a triangle at each of its corners.
 * @param {ArrayLike<number>} points
 * @param {ArrayLike<number>} triangles
 */
function cornerAngles(points, triangles) {
  const angles = new Float32Array(triangles.length);
  for (let c = 0; c < triangles.length; ++c) {
    const t = c - (c % 3);
    const a = 3 * triangles[c];
    const b = 3 * triangles[t + ((c + 1) % 3)];
    const d = 3 * triangles[t + ((c + 2) % 3)];
    const ux = points[b] - points[a], uy = points[b + 1] - points[a + 1], uz = points[b + 2] - points[a + 2];
    const vx = points[d] - points[a], vy = points[d + 1] - points[a + 1], vz = points[d + 2] - points[a + 2];
    const x = uy * vz - uz * vy, y = uz * vx - ux * vz, z = ux * vy - uy * vx;
    angles[c] = Math.atan2(Math.sqrt(x * x + y * y + z * z), ux * vx + uy * vy + uz * vz);
  }
  return angles;
}

/**
 * The corners of all triangles, those at one place together: those of place p begin at begins[p].
 * @param {Uint32Array} place
 * @param {ArrayLike<number>} triangles
 */
function cornersByPlace(place, triangles) {
  const begins = new Uint32Array(place.length + 1);
  for (let c = 0; c < triangles.length; ++c) ++begins[place[triangles[c]] + 1];
  for (let p = 0; p < place.length; ++p) begins[p + 1] += begins[p];
  const next = begins.slice(0, place.length);
  const corners = new Uint32Array(triangles.length);
  for (let c = 0; c < triangles.length; ++c) corners[next[place[triangles[c]]]++] = c;
  return {begins, corners};
}

// Where very many triangles share a point, they are gathered by direction first, so that the work stays in proportion.
const MANY = 40;

/**
 * The neighbours whose normals are averaged at one place: vectors with their directions.
 * @param {Uint32Array} corners
 * @param {number} begin
 * @param {number} end
 * @param {Float32Array} angles
 * @param {Float32Array} units
 */
function neighbours(corners, begin, end, angles, units) {
  /** @type {number[]} */
  const list = [];  // nx ny nz ux uy uz
  if (end - begin <= MANY) {
    for (let i = begin; i < end; ++i) {
      const f = corners[i] - (corners[i] % 3);
      const weight = angles[corners[i]];
      list.push(weight * units[f], weight * units[f + 1], weight * units[f + 2], units[f], units[f + 1], units[f + 2]);
    }
    return list;
  }
  /** @type {Map<number, number>} */
  const groups = new Map();
  for (let i = begin; i < end; ++i) {
    const f = corners[i] - (corners[i] % 3);
    const key = (Math.round(units[f] * 6) + 8) * 256 + (Math.round(units[f + 1] * 6) + 8) * 16 + Math.round(units[f + 2] * 6) + 8;
    let at = groups.get(key);
    if (at === undefined) {
      at = list.length;
      groups.set(key, at);
      list.push(0, 0, 0, units[f], units[f + 1], units[f + 2]);
    }
    for (let k = 0; k < 3; ++k) list[at + k] += angles[corners[i]] * units[f + k];
  }
  return list;
}

/**
 * Points with a normal each, for drawing: a point is there once for every normal that triangles around it have. A
 * triangle's corner has the mean of the normals of its neighbours at that place within the crease angle, weighted by
 * the angle there, which no way of cutting a face into triangles changes. Both senses of a neighbour count, because windings of open shells are not to be relied on.
 * @param {ArrayLike<number>} points
 * @param {Uint32Array} triangles
 * @param {Uint32Array} place
 */
export function creaseNormals(points, triangles, place) {
  const units = unitNormals(areaNormals(points, triangles));
  const angles = cornerAngles(points, triangles);
  const {begins, corners} = cornersByPlace(place, triangles);
  const index = new Uint32Array(triangles.length);
  const origin = new Uint32Array(triangles.length);  // the place of each point that is made
  const packed = new Int16Array(4 * triangles.length);  // normals, four numbers each: the card wants steps of 4 bytes
  let count = 0;
  for (let p = 0; p < place.length; ++p) {
    const begin = begins[p];
    const end = begins[p + 1];
    if (begin === end) continue;
    const around = neighbours(corners, begin, end, angles, units);
    const first = count;
    for (let i = begin; i < end; ++i) {
      const corner = corners[i];
      const f = corner - (corner % 3);
      const fx = units[f], fy = units[f + 1], fz = units[f + 2];
      let x = 0, y = 0, z = 0;
      for (let n = 0; n < around.length; n += 6) {
        const along = fx * around[n + 3] + fy * around[n + 4] + fz * around[n + 5];
        if (along > SOFTEST) {
          x += around[n];
          y += around[n + 1];
          z += around[n + 2];
        } else if (along < -SOFTEST) {
          x -= around[n];
          y -= around[n + 1];
          z -= around[n + 2];
        }
      }
      const length = Math.hypot(x, y, z);
      const scale = length > 0 ? 32767 / length : 0;
      const nx = scale > 0 ? Math.round(x * scale) : Math.round(fx * 32767);
      const ny = scale > 0 ? Math.round(y * scale) : Math.round(fy * 32767);
      const nz = scale > 0 ? Math.round(z * scale) : Math.round(fz * 32767);
      // The last few of this place are looked through; missing an equal one costs a point, no more.
      let found = -1;
      for (let o = count - 1; o >= first && o > count - 24; --o) {
        if (packed[4 * o] === nx && packed[4 * o + 1] === ny && packed[4 * o + 2] === nz) {
          found = o;
          break;
        }
      }
      if (found < 0) {
        found = count++;
        packed[4 * found] = nx;
        packed[4 * found + 1] = ny;
        packed[4 * found + 2] = nz;
        origin[found] = p;
      }
      index[corner] = found;
    }
  }
  return {index, origin: origin.subarray(0, count), normals: packed.slice(0, 4 * count)};
}

/**
 * Pairs of points: where a surface ends, where it folds, and where more than two triangles meet.
 * @param {ArrayLike<number>} points
 * @param {Uint32Array} triangles
 * @param {Uint32Array} place
 */
export function featureEdges(points, triangles, place) {
  const units = unitNormals(areaNormals(points, triangles));
  const hasArea = (/** @type {number} */ f) => units[f] !== 0 || units[f + 1] !== 0 || units[f + 2] !== 0;
  const begins = new Uint32Array(place.length + 1);
  /** @param {(low: number, high: number, face: number) => void} visit */
  const forEachSide = (visit) => {
    for (let f = 0; f < triangles.length; f += 3) {
      if (!hasArea(f)) continue;
      for (let k = 0; k < 3; ++k) {
        const a = place[triangles[f + k]];
        const b = place[triangles[f + ((k + 1) % 3)]];
        if (a < b) visit(a, b, f);
        else visit(b, a, f);
      }
    }
  };
  forEachSide((low) => { ++begins[low + 1]; });
  for (let p = 0; p < place.length; ++p) begins[p + 1] += begins[p];
  const next = begins.slice(0, place.length);
  const highs = new Uint32Array(begins[place.length]);
  const faces = new Uint32Array(highs.length);
  forEachSide((low, high, face) => {
    highs[next[low]] = high;
    faces[next[low]++] = face;
  });
  /** @type {number[]} */
  const edges = [];
  /** @type {number[]} */
  let order = [];
  for (let p = 0; p < place.length; ++p) {
    const begin = begins[p];
    const end = begins[p + 1];
    if (begin === end) continue;
    order = [];
    for (let i = begin; i < end; ++i) order.push(i);
    order.sort((a, b) => highs[a] - highs[b]);
    for (let i = 0; i < order.length; ) {
      let to = i + 1;
      while (to < order.length && highs[order[to]] === highs[order[i]]) ++to;
      let drawn = to - i !== 2;
      if (!drawn) {
        const f = faces[order[i]];
        const g = faces[order[i + 1]];
        drawn = Math.abs(units[f] * units[g] + units[f + 1] * units[g + 1] + units[f + 2] * units[g + 2]) < FLATTEST;
      }
      if (drawn) edges.push(p, highs[order[i]]);
      i = to;
    }
  }
  return new Uint32Array(edges);
}
