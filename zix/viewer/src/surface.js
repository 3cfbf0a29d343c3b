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

const FLAT = 0.99996;  // cosine of half a degree: triangles beside each other that are one flat region
// Where very many triangles meet at one edge, each is compared with the next few only.
const MOST_AT_EDGE = 8;

/**
 * For every triangle the first one of its flat region, and for that one twice the region's area.
 * @param {Uint32Array} place
 * @param {ArrayLike<number>} triangles
 * @param {{begins: Uint32Array, corners: Uint32Array}} byPlace
 * @param {Float64Array} sized  normals as long as twice the area
 * @param {Float32Array} units
 */
function flatRegions(place, triangles, {begins, corners}, sized, units) {
  const region = new Uint32Array(triangles.length / 3).map((_, t) => t);
  const regionOf = (/** @type {number} */ t) => {
    while (region[t] !== t) t = region[t] = region[region[t]];
    return t;
  };
  /** @type {{other: number, t: number}[]} */
  let spokes = [];
  for (let p = 0; p < place.length; ++p) {
    // Each edge is met at both of its ends; the lower one is enough.
    spokes = [];
    for (let i = begins[p]; i < begins[p + 1]; ++i) {
      const corner = corners[i];
      const f = corner - (corner % 3);
      for (let k = 1; k < 3; ++k) {
        const other = place[triangles[f + ((corner + k) % 3)]];
        if (other > p) spokes.push({other, t: f / 3});
      }
    }
    spokes.sort((a, b) => a.other - b.other || a.t - b.t);
    for (let i = 0; i < spokes.length; ++i) {
      const f = 3 * spokes[i].t;
      for (let j = i + 1; j < spokes.length && j < i + MOST_AT_EDGE && spokes[j].other === spokes[i].other; ++j) {
        const g = 3 * spokes[j].t;
        if (!(units[f] * units[g] + units[f + 1] * units[g + 1] + units[f + 2] * units[g + 2] > FLAT)) continue;
        const a = regionOf(f / 3);
        const b = regionOf(g / 3);
        region[Math.max(a, b)] = Math.min(a, b);
      }
    }
  }
  const area = new Float64Array(region.length);
  for (let t = 0; t < region.length; ++t) {
    region[t] = regionOf(t);
    area[region[t]] += Math.hypot(sized[3 * t], sized[3 * t + 1], sized[3 * t + 2]);
  }
  return {region, area};
}

// Where more flat regions than these share a point, they are gathered by direction, so that the work stays in proportion.
const MANY = 40;

/**
 * The flat regions at one place: vectors along their normals, as long as their area, with their directions. Each
 * counts once, however many triangles it has there.
 * @param {Uint32Array} corners
 * @param {number} begin
 * @param {number} end
 * @param {{region: Uint32Array, area: Float64Array}} regions
 * @param {Float32Array} units
 */
function neighbours(corners, begin, end, {region, area}, units) {
  /** @type {Map<number, number>} */
  const first = new Map();  // region: a triangle of it
  for (let i = begin; i < end; ++i) {
    const t = Math.floor(corners[i] / 3);
    if (!first.has(region[t])) first.set(region[t], t);
  }
  /** @type {number[]} */
  const list = [];  // nx ny nz ux uy uz
  /** @type {Map<number, number>} */
  const groups = new Map();
  for (const [number, t] of first) {
    const f = 3 * t;
    const key = first.size <= MANY ? number
                                   : (Math.round(units[f] * 6) + 8) * 256 + (Math.round(units[f + 1] * 6) + 8) * 16 + Math.round(units[f + 2] * 6) + 8;
    let at = groups.get(key);
    if (at === undefined) {
      at = list.length;
      groups.set(key, at);
      list.push(0, 0, 0, units[f], units[f + 1], units[f + 2]);
    }
    for (let k = 0; k < 3; ++k) list[at + k] += area[number] * units[f + k];
  }
  return list;
}

/**
 * Points with a normal each, for drawing: a point is there once for every normal that triangles around it have. A
 * triangle's corner has the mean of the normals of the flat regions at that place within the crease angle, each with the
 * weight of its whole area: no way of cutting a face into triangles changes it, and a large flat face stays flat beside
 * a narrow bevel. Both senses of a region count, because windings of open shells are not to be relied on.
 * @param {ArrayLike<number>} points
 * @param {Uint32Array} triangles
 * @param {Uint32Array} place
 */
export function creaseNormals(points, triangles, place) {
  const sized = areaNormals(points, triangles);
  const units = unitNormals(sized);
  const byPlace = cornersByPlace(place, triangles);
  const {begins, corners} = byPlace;
  const regions = flatRegions(place, triangles, byPlace, sized, units);
  const index = new Uint32Array(triangles.length);
  const origin = new Uint32Array(triangles.length);  // the place of each point that is made
  const packed = new Int16Array(4 * triangles.length);  // normals, four numbers each: the card wants steps of 4 bytes
  let count = 0;
  for (let p = 0; p < place.length; ++p) {
    const begin = begins[p];
    const end = begins[p + 1];
    if (begin === end) continue;
    const around = neighbours(corners, begin, end, regions, units);
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
