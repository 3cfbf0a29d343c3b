// What the page shows of a scene: the tree as a flat list, the placed meshes, and the distinct meshes behind them.

import {elementsOf} from "./elements.js";
import {Box, identity, multiply, placementMatrix} from "./placement.js";
import {MeshType, NONE, Type} from "./reader.js";

/**
 * @typedef {object} Entry  one row of the tree
 * @property {number} object
 * @property {number} kind  object type
 * @property {string} name
 * @property {number} level
 * @property {number} parent  entry, or -1
 * @property {number} end  the entry behind those below it
 * @property {number} firstInstance
 * @property {number} endInstance  instances below it are those in between
 * @property {number[]} objects  itself, and the only shape and mesh below it that have no row of their own
 *
 * @typedef {object} Appearance
 * @property {number[]} color  red, green, blue in the display's encoding, 0 to 1
 * @property {number[]} emission
 * @property {number} opacity
 * @property {number} gloss
 * @property {boolean} stated  the scene has a material for it
 *
 * @typedef {object} Instance  a mesh where it stands
 * @property {number} mesh  number of the distinct mesh
 * @property {import("./placement.js").Matrix} world
 * @property {Appearance} look
 * @property {number} entry  the row that stands for it
 * @property {Box} box  in the world
 */

const MOST_VALUES = 400_000_000;
// Of all placed meshes, for a box that fits the model exactly; with more it is that of the placed meshes' boxes.
const MOST_POINTS = 100_000_000;

const unit = (/** @type {number} */ value) => (Number.isFinite(value) ? Math.min(1, Math.max(0, value)) : 0);

/** @type {Appearance} */
const PLAIN = {color: [0.7, 0.7, 0.7], emission: [0, 0, 0], opacity: 1, gloss: 0, stated: false};

/** @param {{diffuse: number[], specular: number[], emission: number[], intensity: number}} material @returns {Appearance} */
export function appearanceOf({diffuse, specular, emission, intensity}) {
  const strength = Math.max(...specular.slice(0, 3).map(unit));
  const exponent = Number.isFinite(intensity) ? Math.max(0, intensity) : 0;
  const gloss = 0.35 * strength * (1 - Math.sqrt(2 / (exponent + 2)));
  return {color: diffuse.slice(0, 3).map(unit), emission: emission.slice(0, 3).map(unit), opacity: 1 - unit(diffuse[3]), gloss, stated: true};
}

/**
 * Arrays that hold the same bytes get the same number, so that what was written twice is drawn as one.
 * @param {import("./reader.js").Scene} scene
 */
function equalChunks(scene) {
  const {chunks, bytes} = scene;
  /** @type {Map<string, number[]>} */
  const candidates = new Map();
  return chunks.map(({type, offset, size, recordSize, checksum}, number) => {
    if (type !== "F32A" && type !== "U32A") return number;
    const key = `${type} ${recordSize} ${size} ${checksum}`;
    const known = candidates.get(key) ?? [];
    const words = (/** @type {number} */ at) => new Uint32Array(bytes.buffer, bytes.byteOffset + at, size / 4);
    // More than a few that differ in spite of their checksums are made to cost time.
    for (const other of known.slice(0, 4)) {
      const a = words(offset);
      const b = words(chunks[other].offset);
      let same = true;
      for (let i = 0; i < a.length && same; ++i) same = a[i] === b[i];
      if (same) return other;
    }
    known.push(number);
    candidates.set(key, known);
    return number;
  });
}

/**
 * Whether an object is shown in the row of its parent: a shape that is alone in its node, a mesh alone in its shape.
 * @param {import("./reader.js").Scene} scene
 * @param {number} object
 */
function isFolded(scene, object) {
  const parent = scene.parent(object);
  return scene.type(object) !== Type.Node && parent !== NONE && scene.objects.u32(parent, 36) === 1;
}

export class Model {
  /** @param {import("./reader.js").Scene} scene */
  constructor(scene) {
    this.scene = scene;
    /** @type {Entry[]} */
    this.entries = [];
    /** @type {Instance[]} */
    this.instances = [];
    /** @type {import("./elements.js").Elements[]} */
    this.meshes = [];
    /** @type {Appearance[]} */
    this.looks = [];
    this.misplaced = 0;
    this.work = 0;
    this.chunkClass = equalChunks(scene);
    /** @type {Map<string, number>} */
    this.meshNumbers = new Map();
    /** @type {Map<number, Appearance>} */
    this.appearances = new Map();
    this.walk();
    this.leftOut = 0;
    this.totals = [0, 0, 0];
    let points = 0;
    for (const {mesh} of this.instances) {
      this.totals[this.meshes[mesh].type] += this.meshes[mesh].count;
      this.leftOut += this.meshes[mesh].leftOut;
      points += this.meshes[mesh].points.length / 3;
    }
    this.bounds = points > MOST_POINTS ? this.roughBox() : this.boxOfInstances(0, this.instances.length);
  }

  // Without recursion: a tree may be 100,000 levels deep.
  walk() {
    const {scene} = this;
    /** @type {{object: number, parent: number, world: import("./placement.js").Matrix, material: number, leave: number}[]} */
    const stack = [];
    for (const root of scene.treeRoots().reverse()) {
      stack.push({object: root, parent: -1, world: identity(), material: NONE, leave: -1});
    }
    for (let step = stack.pop(); step !== undefined; step = stack.pop()) {
      if (step.leave >= 0) {
        this.entries[step.leave].end = this.entries.length;
        this.entries[step.leave].endInstance = this.instances.length;
        continue;
      }
      const {object} = step;
      const placement = scene.placement(object);
      // What stands above a root has no effect, its material included.
      const world = placement === null ? step.world : multiply(step.world, placementMatrix(placement));
      const own = scene.material(object);
      const material = own === NONE ? step.material : own;
      let entry = step.parent;
      if (entry >= 0 && isFolded(scene, object)) {
        this.entries[entry].objects.push(object);
      } else {
        entry = this.addEntry(object, step.parent);
        stack.push({object, parent: -1, world, material, leave: entry});
      }
      if (scene.type(object) === Type.Mesh) this.addInstance(object, world, material, entry);
      for (const child of scene.children(object).reverse()) stack.push({object: child, parent: entry, world, material, leave: -1});
    }
  }

  /** @param {number} object @param {number} parent */
  addEntry(object, parent) {
    this.entries.push({
      object, kind: this.scene.type(object), name: this.scene.name(object), level: parent < 0 ? 0 : this.entries[parent].level + 1,
      parent, end: 0, firstInstance: this.instances.length, endInstance: 0, objects: [object],
    });
    return this.entries.length - 1;
  }

  /** @param {number} object @param {import("./placement.js").Matrix} world @param {number} material @param {number} entry */
  addInstance(object, world, material, entry) {
    const mesh = this.meshNumber(object);
    const box = this.meshes[mesh].box.placed(world);
    const isUsable = world.every((v) => Math.abs(v) < 1e30) && box.low.concat(box.high).every((v) => !Number.isFinite(v) || Math.abs(v) < 1e30);
    if (!isUsable) {
      ++this.misplaced;
      return;
    }
    this.instances.push({mesh, world, look: this.lookOf(material), entry, box});
  }

  /** The number of the distinct mesh that an object is. @param {number} object */
  meshNumber(object) {
    const facts = this.scene.meshFacts(object);
    const classOf = (/** @type {number} */ chunk) => (chunk === NONE ? -1 : this.chunkClass[chunk]);
    const key = [facts.type, facts.dimension, classOf(facts.coordinates), classOf(facts.indices), classOf(facts.lengths)].join();
    let number = this.meshNumbers.get(key);
    if (number === undefined) {
      number = this.meshes.length;
      this.meshNumbers.set(key, number);
      const values = this.scene.floats(facts.coordinates).length + this.scene.numbers(facts.indices).length;
      // Meshes may share arrays, so that a small file can stand for very much.
      this.work += values;
      if (this.work > MOST_VALUES) throw new Error("its meshes are too large for a page");
      this.meshes.push(elementsOf({type: facts.type, dimension: facts.dimension, values: this.scene.floats(facts.coordinates),
                                   indices: this.scene.numbers(facts.indices), lengths: this.scene.numbers(facts.lengths)}));
    }
    return number;
  }

  /** @param {number} material object number, or NONE */
  lookOf(material) {
    if (material === NONE) return PLAIN;
    let look = this.appearances.get(material);
    if (look === undefined) {
      look = appearanceOf(this.scene.materialValues(material));
      this.appearances.set(material, look);
    }
    return look;
  }

  /** The instances below a row. @param {number} entry */
  instancesOf(entry) {
    const {firstInstance, endInstance} = this.entries[entry];
    return {first: firstInstance, end: endInstance};
  }

  /** Whole elements below a row: triangles, lines, points. @param {number} entry */
  countsOf(entry) {
    const counts = [0, 0, 0];
    const {first, end} = this.instancesOf(entry);
    for (let i = first; i < end; ++i) counts[this.meshes[this.instances[i].mesh].type] += this.meshes[this.instances[i].mesh].count;
    return counts;
  }

  /** The box of all points below a row, in the world. @param {number} entry */
  boxOf(entry) {
    const {first, end} = this.instancesOf(entry);
    return this.boxOfInstances(first, end);
  }

  /** The box of the points of some instances, in the world. @param {number} first @param {number} end */
  boxOfInstances(first, end) {
    const box = new Box();
    for (let i = first; i < end; ++i) {
      const {mesh, world: m, box: own} = this.instances[i];
      if (box.holds(own)) continue;
      const {points} = this.meshes[mesh];
      for (let p = 0; p < points.length; p += 3) {
        const x = points[p], y = points[p + 1], z = points[p + 2];
        box.add(m[0] * x + m[1] * y + m[2] * z + m[3], m[4] * x + m[5] * y + m[6] * z + m[7], m[8] * x + m[9] * y + m[10] * z + m[11]);
      }
    }
    return box;
  }

  /** A box that holds all instances, larger than needed where parts are turned. */
  roughBox() {
    const box = new Box();
    for (const instance of this.instances) box.addBox(instance.box);
    return box;
  }

  /** Names from the root down to a row. @param {number} entry */
  pathOf(entry) {
    const names = [];
    for (let at = entry; at >= 0; at = this.entries[at].parent) names.push(this.entries[at].name);
    return names.reverse();
  }

  /** Properties of a row's objects. @param {number} entry @returns {[string, string][]} */
  propertiesOf(entry) { return this.entries[entry].objects.flatMap((object) => this.scene.properties(object)); }
}

export {MeshType};
