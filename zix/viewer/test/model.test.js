import assert from "node:assert/strict";
import {test} from "node:test";
import {Camera} from "../src/camera.js";
import {elementsOf} from "../src/elements.js";
import {Model} from "../src/model.js";
import {Box, apply, determinant, inverse, placementMatrix} from "../src/placement.js";
import {MeshType, Scene} from "../src/reader.js";
import {readReport} from "../src/report.js";
import {creaseNormals, featureEdges, firstAtSamePlace} from "../src/surface.js";
import {rack} from "./make_rack.js";
import {SceneBuilder, boxOf, oneMesh} from "./scene_builder.js";

const near = (a, b, text) => assert.ok(Math.abs(a - b) < 1e-6, `${text}: ${a}, not ${b}`);
const modelOf = (builder) => new Model(new Scene(builder.bytes()));

test("only whole, finite elements are drawn", () => {
  const values = new Float32Array([0, 0, 0, 1, 0, 0, 0, 1, 0, NaN, 0, 0]);
  const of = (type, indices, lengths) => elementsOf({type, dimension: 3, values, indices: new Uint32Array(indices), lengths: new Uint32Array(lengths)});
  const triangles = of(MeshType.Triangles, [0, 1, 2, 0, 1, 3, 0, 1, 9, 0, 1, 0, 1], [3, 3, 3, 2, 3]);
  assert.deepEqual([...triangles.indices], [0, 1, 2]);
  assert.equal(triangles.count, 2);  // the one with NaN is whole, but cannot be drawn
  assert.equal(triangles.leftOut, 4);
  const lines = of(MeshType.Lines, [0, 1, 2, 1], [3, 0, 1]);
  assert.deepEqual([...lines.indices], [0, 1, 1, 2]);
  assert.equal(lines.count, 3);
  const points = of(MeshType.Points, [0, 2], [1, 1]);
  assert.deepEqual([...points.indices], [0, 2]);
  const flat = elementsOf({type: 2, dimension: 2, values: new Float32Array([1, 2, 3, 4]), indices: new Uint32Array([1]), lengths: new Uint32Array([1])});
  assert.deepEqual([...flat.points], [1, 2, 0, 3, 4, 0]);
});

test("a placement scales, turns, moves; what it does can be undone", () => {
  const matrix = placementMatrix({translation: [10, 0, 0], axis: [0, 0, 2], angle: Math.PI / 2, scale: [2, 1, -1]});
  apply(matrix, 1, 1, 1).forEach((v, k) => near(v, [9, 2, -1][k], `coordinate ${k}`));
  assert.ok(determinant(matrix) < 0);
  const back = inverse(matrix);
  apply(back, 9, 2, -1).forEach((v) => near(v, 1, "undone"));
  assert.equal(inverse(placementMatrix({translation: [0, 0, 0], axis: [1, 0, 0], angle: 0, scale: [1, 0, 1]})), null);
});

/** The normal of each corner. */
function cornerNormals(points, indices) {
  const {index, origin, normals} = creaseNormals(points, new Uint32Array(indices), firstAtSamePlace(points));
  return {corners: [...index].map((n) => [0, 1, 2].map((k) => normals[4 * n + k] / 32767)), count: origin.length};
}

test("a box has hard corners, and each face its own normal", () => {
  const {points, indices} = boxOf([1, 2, 3]);
  const {corners, count} = cornerNormals(points, indices);
  assert.equal(count, 24);
  for (const normal of corners) {
    assert.deepEqual(normal.map(Math.abs).map(Math.round).sort(), [0, 0, 1]);
    assert.ok(normal.every((v) => Math.abs(v) < 1e-3 || Math.abs(v) > 0.999));
  }
});

/** Quadrilaterals that fold by `angle` at each step along x. */
function fold(angle, steps) {
  const points = [0, 0, 0, 0, 1, 0];
  const indices = [];
  let x = 0;
  let z = 0;
  for (let i = 0; i < steps; ++i) {
    x += Math.cos(i * angle);
    z += Math.sin(i * angle);
    points.push(x, 0, z, x, 1, z);
    const n = 2 * i;
    indices.push(n, n + 2, n + 1, n + 1, n + 2, n + 3);
  }
  return {points, indices};
}

test("corners join where faces meet at less than 40 degrees, and nowhere else", () => {
  const degrees = Math.PI / 180;
  const angleBetween = (a, b) => Math.acos(Math.min(1, a.reduce((sum, v, k) => sum + v * b[k], 0)));
  const soft = fold(30 * degrees, 2);
  const hard = fold(50 * degrees, 2);
  // Corner 1 is on the fold in the first face, corner 6 in the second.
  const softCorners = cornerNormals(soft.points, soft.indices).corners;
  assert.ok(angleBetween(softCorners[1], softCorners[6]) < 0.01);
  near(Math.round(angleBetween(softCorners[0], softCorners[1]) / degrees), 15, "half the fold");
  const hardCorners = cornerNormals(hard.points, hard.indices).corners;
  near(Math.round(angleBetween(hardCorners[1], hardCorners[6]) / degrees), 50, "the whole fold");
});

test("a flat face beside a bevel stays flat", () => {
  // 45 degrees on one side, 45 on the other: the middle face may not lean to either.
  const {points, indices} = fold((45 * Math.PI) / 180, 3);
  const {corners} = cornerNormals(points, indices);
  const middle = corners.slice(6, 12);
  for (const normal of middle) normal.forEach((v, k) => near(Math.round(v * 1000), Math.round(middle[0][k] * 1000), "flat"));
});

test("points at one place count as one for normals and edges", () => {
  const {points, indices} = boxOf([1, 1, 1]);
  const split = indices.flatMap((i) => points.slice(3 * i, 3 * i + 3));
  const own = split.slice(0, indices.length * 3).length / 3;
  const numbers = new Uint32Array(own).map((_, i) => i);
  const place = firstAtSamePlace(split);
  assert.equal(new Set(place).size, 8);
  assert.equal(featureEdges(split, numbers, place).length, 24);
  assert.equal(featureEdges(points, new Uint32Array(indices), firstAtSamePlace(points)).length, 24);
});

test("a large flat face beside narrow bevels stays flat, however it is cut", () => {
  // A square of 20 x 20 with a vertex in the middle of one side, and a strip of 0.2 at 30 degrees along each side.
  const [inner, outer, low] = [10, 10.2, -0.2 * Math.tan(Math.PI / 6)];
  const ring = (r, z) => [-r, -r, z, r, -r, z, r, r, z, -r, r, z];
  const points = [...ring(inner, 0), ...ring(outer, low), 0, -inner, 0];
  const face = [0, 8, 3, 8, 1, 3, 1, 2, 3];
  const bevels = [0, 1, 2, 3].flatMap((k) => [k, 4 + k, 4 + (k + 1) % 4, k, 4 + (k + 1) % 4, (k + 1) % 4]);
  const {corners} = cornerNormals(points, [...face, ...bevels]);
  for (const normal of corners.slice(0, face.length)) assert.ok(normal[2] > Math.cos(Math.PI / 180), `${normal}`);
  // The bevel bends: flat above, nearly as steep as it is below.
  assert.ok(corners[face.length + 1][2] < Math.cos(Math.PI / 9), `${corners[face.length + 1]}`);
});

test("very many triangles around one point take no time to speak of", () => {
  const count = 60000;
  const points = [0, 0, 0];
  const indices = [];
  for (let i = 0; i <= count; ++i) points.push(Math.cos(i * 1e-4), Math.sin(i * 1e-4), 0.5);
  for (let i = 1; i <= count; ++i) indices.push(0, i, i + 1);
  const begin = performance.now();
  const place = firstAtSamePlace(points);
  creaseNormals(points, new Uint32Array(indices), place);
  featureEdges(points, new Uint32Array(indices), place);
  assert.ok(performance.now() - begin < 20000);
});

test("equal arrays make one distinct mesh, shared or written twice; others do not", () => {
  const b = new SceneBuilder();
  b.root = b.node("root");
  const {points, indices, lengths} = boxOf([1, 1, 1]);
  const shared = b.floats(points);
  const put = (chunk, numbers = indices) => {
    const node = b.node("part", {parent: b.root});
    b.mesh(b.shape("shape", {parent: node}), 0, b.coordinates(chunk), b.indices(b.numbers(numbers)), b.indices(b.numbers(lengths)));
  };
  put(shared);
  put(shared);
  put(b.floats(points));
  put(b.floats(points.map((v) => v * 2)));
  const model = modelOf(b);
  assert.equal(model.instances.length, 4);
  assert.deepEqual(model.instances.map(({mesh}) => mesh), [0, 0, 0, 1]);
});

test("850 placed parts of 100 distinct meshes stay 100", () => {
  const model = new Model(new Scene(rack()));
  assert.equal(model.instances.length, 850);
  assert.equal(model.meshes.length, 100);
  assert.ok(Math.abs(model.totals[0] - 1_200_000) < 20_000, `${model.totals[0]} triangles`);
});

test("rows: a lonely shape and mesh have none; instances below a row stand together", () => {
  const b = new SceneBuilder();
  b.root = b.node("root");
  const {points, indices, lengths} = boxOf([1, 1, 1]);
  const arrays = [b.coordinates(b.floats(points)), b.indices(b.numbers(indices)), b.indices(b.numbers(lengths))];
  const look = b.material([0, 1, 0, 0.75]);
  const first = b.node("first", {parent: b.root, placement: b.transform([10, 0, 0]), material: look});
  b.mesh(b.shape("only", {parent: first}), 0, ...arrays);
  const second = b.node("second", {parent: b.root});
  const shape = b.shape("two", {parent: second});
  b.mesh(shape, 0, ...arrays);
  b.mesh(shape, 0, ...arrays);
  b.property(first, "mass", "3 kg");
  const model = modelOf(b);
  assert.deepEqual(model.entries.map(({name, level}) => [name, level]), [["root", 0], ["first", 1], ["second", 1], ["mesh", 2], ["mesh", 2]]);
  assert.deepEqual(model.instancesOf(0), {first: 0, end: 3});
  assert.deepEqual(model.instancesOf(2), {first: 1, end: 3});
  assert.equal(model.instances[0].look.opacity, 0.25);
  assert.deepEqual(model.propertiesOf(1), [["mass", "3 kg"]]);
  assert.deepEqual(model.boxOf(1).low, [10, 0, 0]);
  assert.deepEqual(model.countsOf(2), [24, 0, 0]);
  assert.deepEqual(model.pathOf(3), ["root", "second", "mesh"]);
});

test("the model's size is that of its points, not of turned boxes around its parts", () => {
  const b = new SceneBuilder();
  b.root = b.node("root");
  const arrays = [b.coordinates(b.floats([1, 0, 0, 0, 1, 0, -1, 0, 0, 0, -1, 0])),
                  b.indices(b.numbers([0, 1, 2, 0, 2, 3])), b.indices(b.numbers([3, 3]))];
  for (const angle of [Math.PI / 4, 0]) {
    const turned = b.node("turned", {parent: b.root, placement: b.transform([5, 0, 0], [0, 0, 1], angle)});
    b.mesh(b.shape("shape", {parent: turned}), 0, ...arrays);
  }
  const model = modelOf(b);
  [2, 2, 0].forEach((v, k) => near(model.bounds.size[k], v, `size ${k}`));
  [5, 0, 0].forEach((v, k) => near(model.bounds.centre[k], v, `centre ${k}`));
  const half = Math.SQRT1_2;
  [2 * half, 2 * half, 0].forEach((v, k) => near(model.boxOf(1).size[k], v, `size ${k} of the turned one`));
  assert.ok(model.roughBox().size[0] > 2.8);
});

test("a tree of 20,000 levels is walked", () => {
  const b = new SceneBuilder();
  let parent = b.root = b.node("0");
  for (let i = 1; i < 20000; ++i) parent = b.node(`${i}`, {parent});
  const model = modelOf(b);
  assert.equal(model.entries.length, 20000);
  assert.equal(model.entries[0].end, 20000);
});

test("a placement that is not finite is told, not drawn", () => {
  const {points, indices, lengths} = boxOf([1, 1, 1]);
  const model = modelOf(oneMesh(0, points, indices, lengths, {placement: [[NaN, 0, 0]]}));
  assert.equal(model.instances.length, 0);
  assert.equal(model.misplaced, 1);
});

test("fit: all points are in the frame, and touch its margin", () => {
  const box = new Box();
  box.add(-10, 0, 5);
  box.add(30, 4, 9);
  for (const isParallel of [true, false]) {
    const camera = new Camera(box);
    camera.setSize(800, 600, {x: 100, y: 50, width: 500, height: 400});
    camera.isParallel = isParallel;
    camera.fit((add) => box.corners().forEach(([x, y, z]) => add(x, y, z)));
    const seen = box.corners().map((corner) => camera.project(corner));
    const xs = seen.map(({x}) => x);
    const ys = seen.map(({y}) => y);
    assert.ok(Math.min(...xs) >= 100 && Math.max(...xs) <= 600 && Math.min(...ys) >= 50 && Math.max(...ys) <= 450);
    const filled = Math.max((Math.max(...xs) - Math.min(...xs)) / 500, (Math.max(...ys) - Math.min(...ys)) / 400);
    assert.ok(Math.abs(filled - 0.92) < 1e-6, `${filled} of the frame, parallel ${isParallel}`);
  }
});

test("zoom keeps what is under the pointer; a ray goes through its pixel", () => {
  const box = new Box();
  box.add(-10, -10, -10);
  box.add(10, 10, 10);
  for (const isParallel of [true, false]) {
    const camera = new Camera(box);
    camera.setSize(640, 480, {x: 0, y: 0, width: 640, height: 480});
    camera.isParallel = isParallel;
    const {origin, direction} = camera.ray(123, 321);
    const reach = camera.target.clone().sub(origin).dot(camera.back) / direction.dot(camera.back);
    const point = origin.clone().addScaledVector(direction, reach).toArray();
    const before = camera.project(point);
    near(before.x, 123, "x");
    near(before.y, 321, "y");
    camera.zoom(0.5, 123, 321);
    const after = camera.project(point);
    near(after.x, 123, "x after");
    near(after.y, 321, "y after");
  }
});

test("orbit does not tip over the poles", () => {
  const camera = new Camera(new Box());
  camera.orbit(0, 10, camera.target);
  near(camera.back.z, 1, "seen from above");
  camera.orbit(0, -10, camera.target);
  near(camera.back.z, -1, "seen from below");
});

test("a report's lists are read, whatever else it holds", () => {
  const bytes = (value) => new TextEncoder().encode(JSON.stringify(value));
  assert.deepEqual(readReport(null), {skipped: [], notes: []});
  assert.deepEqual(readReport(bytes([{skipped: [{part: "bolt", reason: "damaged"}], notes: ["lines left out"]}, {}])),
                   {skipped: [{part: "bolt", reason: "damaged"}], notes: ["lines left out"]});
  assert.throws(() => readReport(new TextEncoder().encode("{")));
});
