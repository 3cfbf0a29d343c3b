// A scene like a server rack, for measuring: 850 placed parts of 100 distinct meshes, 1.2 million placed triangles.
// make_rack.js OUT.zix

import {writeFileSync} from "node:fs";
import {SceneBuilder} from "./scene_builder.js";

const PLACED = 850;
const DISTINCT = 100;
const TRIANGLES = 1_200_000;

/** A ring with waves: `around` by `across` quadrilaterals. */
function ring(around, across, waves) {
  const points = [];
  const indices = [];
  for (let i = 0; i < around; ++i) {
    const a = (2 * Math.PI * i) / around;
    for (let k = 0; k < across; ++k) {
      const b = (2 * Math.PI * k) / across;
      const r = 30 + (8 + 2 * Math.cos(waves * a)) * Math.cos(b);
      points.push(r * Math.cos(a), r * Math.sin(a), 10 * Math.sin(b));
      const at = (di, dk) => ((i + di) % around) * across + ((k + dk) % across);
      indices.push(at(0, 0), at(1, 0), at(1, 1), at(0, 0), at(1, 1), at(0, 1));
    }
  }
  return {points, indices};
}

export function rack() {
  const b = new SceneBuilder();
  b.root = b.node("rack");
  b.property(0xffffffff, "unit", "millimeter");
  b.property(0xffffffff, "unit_metres", "0.001");
  const across = 18;
  const around = Math.round(TRIANGLES / PLACED / 2 / across);
  const kinds = Array.from({length: DISTINCT}, (_, n) => {
    const {points, indices} = ring(around, across, 2 + (n % 9));
    for (let i = 0; i < points.length; ++i) points[i] += Math.fround(n * 1e-3);
    const hue = (n * 0.61) % 1;
    const color = [0, 1, 2].map((k) => 0.45 + 0.4 * Math.cos(2 * Math.PI * (hue + k / 3)));
    return {coordinates: b.coordinates(b.floats(points)), indices: b.indices(b.numbers(indices)),
            lengths: b.indices(b.numbers(Array(indices.length / 3).fill(3))), material: b.material([...color, 0], [0.4, 0.4, 0.4, 1], undefined, 30)};
  });
  let unit = 0;
  for (let i = 0; i < PLACED; ++i) {
    if (i % 50 === 0) unit = b.node(`unit ${i / 50 + 1}`, {parent: b.root});
    const kind = kinds[(i * 37) % DISTINCT];
    const place = b.transform([(i % 10) * 100, (Math.floor(i / 10) % 9) * 100, Math.floor(i / 90) * 60], [1, 2, 3], i * 0.1);
    const part = b.node(`ring ${i + 1}`, {parent: unit, placement: place});
    b.mesh(b.shape(`shape ${i + 1}`, {parent: part}), 0, kind.coordinates, kind.indices, kind.lengths, kind.material);
  }
  b.view("iso", [2000, -2000, 2000], [450, 400, 270], [0, 0, 1], 1500);
  return b.bytes();
}

if (process.argv[2] !== undefined) writeFileSync(process.argv[2], rack());
