// Reads a Zix file as docs/zix-format.md defines it: checks header, directory and tables, and every number in them, so
// that nothing below can leave the file whatever its bytes are. Arrays are handed out in place. What they hold is looked
// at by elements.js, which leaves out what is not whole.

import {xxh64} from "./checksum.js";
import {decode} from "./text.js";

export const NONE = 0xffffffff;
export const Type = {IndexArray: 4, Coordinates: 11, Material: 14, Transform: 15, Mesh: 16, Shape: 18, Node: 19};
export const MeshType = {Triangles: 0, Lines: 1, Points: 2};

const KNOWN_MINOR = 1;
const MAGIC = [0x89, 0x5a, 0x49, 0x58, 0x0d, 0x0a, 0x1a, 0x0a];
/** @type {Record<string, number>} */
const RECORD_SIZES = {SCNE: 56, TEXT: 1, OBJS: 40, CHLD: 4, MESH: 24, CRDS: 16, INDX: 8, XFRM: 48, MATL: 72, VIEW: 96};
const PROPERTY_SIZE = 32;
const MOST_KEY_BYTES = 1024;
// Texts may share bytes, so a small file can hold very many long ones: of each only so much is shown.
const MOST_NAME_BYTES = 1000;
const MOST_VALUE_BYTES = 20000;
const TABLE_OF = new Map([
  [Type.IndexArray, "INDX"], [Type.Coordinates, "CRDS"], [Type.Material, "MATL"], [Type.Transform, "XFRM"], [Type.Mesh, "MESH"],
]);

/** A file that breaks a rule of the format: the rule's code, and where in the file. */
export class ZixError extends Error {
  /**
   * @param {string} code
   * @param {number} offset
   * @param {string} message
   */
  constructor(code, offset, message) {
    super(`${message} (${code} at offset ${offset})`);
    this.code = code;
    this.offset = offset;
  }
}

/**
 * @param {unknown} good
 * @param {string} code
 * @param {number} offset
 * @param {string} message
 */
function check(good, code, offset, message) {
  if (!good) throw new ZixError(code, offset, message);
}

/** The rows of one table. */
class Table {
  /**
   * @param {DataView} view
   * @param {number} offset
   * @param {number} size
   * @param {number} recordSize
   */
  constructor(view, offset, size, recordSize) {
    this.view = view;
    this.offset = offset;
    this.recordSize = recordSize;
    this.count = size / recordSize;
  }
  /** @param {number} row @param {number} field */
  at(row, field) { return this.offset + row * this.recordSize + field; }
  /** @param {number} row @param {number} field */
  u32(row, field) { return this.view.getUint32(this.at(row, field), true); }
  /** @param {number} row @param {number} field */
  u64(row, field) { return Number(this.view.getBigUint64(this.at(row, field), true)); }
  /** @param {number} row @param {number} field @param {number} count */
  f32s(row, field, count) {
    return Array.from({length: count}, (_, k) => this.view.getFloat32(this.at(row, field + 4 * k), true));
  }
  /** @param {number} row @param {number} field @param {number} count */
  f64s(row, field, count) {
    return Array.from({length: count}, (_, k) => this.view.getFloat64(this.at(row, field + 8 * k), true));
  }
}

/** @typedef {{type: string, offset: number, size: number, checksum: bigint, recordSize: number}} Chunk */

/**
 * @param {Uint8Array} bytes
 * @param {DataView} view
 */
function readHeader(bytes, view) {
  for (let i = 0; i < 8; ++i) {
    check(i < bytes.length ? bytes[i] === MAGIC[i] : i > 0, "NOT_ZIX", 0, "this is no Zix scene");
  }
  check(bytes.length >= 64, "TRUNCATED", bytes.length, "the file ends within its header");
  const major = view.getUint16(8, true);
  check(major === 1, "UNKNOWN_VERSION", 8, `format version ${major} is not known to this page`);
  check(xxh64(bytes.subarray(0, 56)) === view.getBigUint64(56, true), "HEADER_CHECKSUM", 56, "the header is damaged");
  check(view.getUint32(12, true) === 64, "HEADER_SIZE", 12, "the header's size is not 64");
  const size = view.getBigUint64(16, true);
  check(size <= BigInt(bytes.length), "TRUNCATED", bytes.length, `${size - BigInt(bytes.length)} bytes are missing`);
  check(size === BigInt(bytes.length), "EXTRA_BYTES", Number(size), "there are bytes behind the end of the file");
  const directory = view.getBigUint64(24, true);
  const count = view.getBigUint64(32, true);
  check(directory >= 64n && directory % 64n === 0n && directory <= size && size - directory === count * 40n, "DIRECTORY_PLACE", 24,
        "the directory is not at the file's end");
  check(xxh64(bytes.subarray(Number(directory))) === view.getBigUint64(40, true), "DIRECTORY_CHECKSUM", Number(directory),
        "the directory is damaged");
  return {minor: view.getUint16(10, true), directory: Number(directory), count: Number(count)};
}

/**
 * @param {Chunk} chunk
 * @param {number} minor of the file
 */
function hasGoodRecordSize({type, size, recordSize}, minor) {
  if (recordSize === 0 || size % recordSize !== 0) return false;
  if (type === "F32A") return recordSize % 4 === 0;
  if (type === "U32A") return recordSize === 4;
  const known = type === "PROP" && minor >= 1 ? PROPERTY_SIZE : RECORD_SIZES[type];
  if (known === undefined || recordSize === known) return true;
  return minor > KNOWN_MINOR && type !== "TEXT" && type !== "CHLD" && recordSize > known && recordSize % 4 === 0;
}

/**
 * @param {DataView} view
 * @param {{minor: number, directory: number, count: number}} header
 */
function readDirectory(view, {minor, directory, count}) {
  /** @type {Chunk[]} */
  const chunks = [];
  let end = 64;
  for (let i = 0; i < count; ++i) {
    const at = directory + 40 * i;
    const type = String.fromCharCode(...[0, 1, 2, 3].map((k) => view.getUint8(at + k)));
    const chunk = {type, offset: end, size: Number(view.getBigUint64(at + 16, true)), checksum: view.getBigUint64(at + 24, true),
                   recordSize: view.getUint32(at + 32, true)};
    check(view.getBigUint64(at + 8, true) === BigInt(end) && end + chunk.size <= directory, "CHUNK_PLACE", at,
          `chunk ${i} is not where it should be`);
    check(hasGoodRecordSize(chunk, minor), "RECORD_SIZE", at + 32, `chunk ${i} has records of ${chunk.recordSize} bytes`);
    const known = type in RECORD_SIZES || type === "F32A" || type === "U32A" || type === "PROP";
    check(known || (view.getUint32(at + 4, true) & 1) === 0, "UNKNOWN_CHUNK", at, `chunk ${i} must be known, but is not`);
    chunks.push(chunk);
    end = Math.ceil((end + chunk.size) / 64) * 64;
  }
  check(end === directory, "CHUNK_PLACE", 24, "the directory does not follow the last chunk");
  return chunks;
}

/**
 * @param {Uint8Array} bytes
 * @param {DataView} view
 * @param {Chunk[]} chunks
 * @param {number} minor
 */
function readTables(bytes, view, chunks, minor) {
  /** @type {Record<string, Table>} */
  const tables = {};
  for (const {type, offset, size, checksum, recordSize} of chunks) {
    if (!(type in RECORD_SIZES) && !(type === "PROP" && minor >= 1)) continue;
    check(!(type in tables), "DUPLICATE_CHUNK", offset, `there is a second chunk ${type}`);
    check(xxh64(bytes.subarray(offset, offset + size)) === checksum, "CHUNK_CHECKSUM", offset, `chunk ${type} is damaged`);
    tables[type] = new Table(view, offset, size, recordSize);
  }
  for (const type of Object.keys(RECORD_SIZES)) check(type in tables, "MISSING_CHUNK", 0, `there is no chunk ${type}`);
  return tables;
}

/** A scene; objects are named by their numbers. */
export class Scene {
  unit = "";
  unitMetres = 0;  // 0: not known

  /** @param {Uint8Array} input */
  constructor(input) {
    // Arrays are used in place, for which they must be aligned.
    const bytes = input.byteOffset % 8 === 0 ? input : input.slice();
    const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    const header = readHeader(bytes, view);
    this.bytes = bytes;
    this.minor = header.minor;
    this.chunks = readDirectory(view, header);
    const tables = readTables(bytes, view, this.chunks, header.minor);
    this.tables = tables;
    this.texts = tables.TEXT;
    this.objects = tables.OBJS;
    check(tables.SCNE.count === 1, "SCENE_COUNT", tables.SCNE.offset, "there is not exactly one scene record");
    this.objectCount = tables.OBJS.count;
    check(this.objectCount < NONE, "OBJECT_COUNT", tables.OBJS.offset, "there are too many objects");
    this.checkObjects();
    this.checkChildren();
    this.checkArrays();
    this.modelName = this.text(tables.SCNE, 0, 8, 32);
    this.application = this.text(tables.SCNE, 0, 16, 36);
    this.text(tables.SCNE, 0, 24, 40);
    this.root = tables.SCNE.u32(0, 48);
    this.mustBe(this.root, [Type.Node], tables.SCNE.at(0, 48));
    this.views = Array.from({length: tables.VIEW.count}, (_, row) => ({
      name: this.text(tables.VIEW, row, 0, 8),
      position: tables.VIEW.f64s(row, 16, 3),
      target: tables.VIEW.f64s(row, 40, 3),
      up: tables.VIEW.f64s(row, 64, 3),
      height: tables.VIEW.f64s(row, 88, 1)[0],
    }));
    this.readProperties();
  }

  /**
   * The bytes of a text.
   * @param {Table} table
   * @param {number} row
   * @param {number} offsetField
   * @param {number} sizeField
   */
  textBytes(table, row, offsetField, sizeField) {
    const offset = table.u64(row, offsetField);
    const size = table.u32(row, sizeField);
    check(offset + size <= this.texts.count, "TEXT_RANGE", table.at(row, offsetField), "a text is not in the file");
    return this.bytes.subarray(this.texts.offset + offset, this.texts.offset + offset + size);
  }

  /**
   * The same as text, cut where it is very long.
   * @param {Table} table
   * @param {number} row
   * @param {number} offsetField
   * @param {number} sizeField
   * @param {number} [most] bytes
   */
  text(table, row, offsetField, sizeField, most = MOST_NAME_BYTES) {
    const bytes = this.textBytes(table, row, offsetField, sizeField);
    return bytes.length <= most ? decode(bytes) : decode(bytes.subarray(0, most)).replace(/\ufffd{1,3}$/, "") + "…";
  }

  /**
   * None, or the number of an object of one of these types.
   * @param {number} number
   * @param {number[]} types
   * @param {number} offset
   */
  mustBe(number, types, offset) {
    check(number === NONE || (number < this.objectCount && types.includes(this.type(number))), "OBJECT_NUMBER", offset,
          `${number} is no object that this field may name`);
  }

  checkObjects() {
    const {objects} = this;
    /** @type {Map<number, number>} */
    const counts = new Map(Object.values(Type).map((type) => [type, 0]));
    for (let i = 0; i < this.objectCount; ++i) {
      const type = this.type(i);
      const ordinal = counts.get(type);
      check(ordinal !== undefined, "OBJECT_TYPE", objects.at(i, 0), `object ${i} has the unknown type ${type}`);
      check(objects.u32(i, 4) === ordinal, "OBJECT_ORDINAL", objects.at(i, 4), `object ${i} has a wrong ordinal`);
      counts.set(type, /** @type {number} */ (ordinal) + 1);
      check(objects.u64(i, 8) + objects.u32(i, 16) <= this.texts.count, "TEXT_RANGE", objects.at(i, 8), "a name is not in the file");
      const parents = type === Type.Node || type === Type.Shape ? [Type.Node] : type === Type.Mesh ? [Type.Shape] : [];
      this.mustBe(this.parent(i), parents, objects.at(i, 20));
      const placement = objects.u32(i, 24);
      this.mustBe(placement, this.parent(i) === NONE ? [] : [Type.Transform], objects.at(i, 24));
      this.mustBe(objects.u32(i, 28), parents.length > 0 ? [Type.Material] : [], objects.at(i, 28));
    }
    for (const [type, name] of TABLE_OF) {
      const table = this.tables[name];
      check(table.count === counts.get(type), "TABLE_ROWS", table.offset, `table ${name} has ${table.count} rows`);
    }
  }

  checkChildren() {
    const {objects} = this;
    const rows = this.tables.CHLD;
    const listed = new Uint8Array(this.objectCount);
    let sum = 0;
    for (let i = 0; i < this.objectCount; ++i) {
      const count = objects.u32(i, 36);
      const first = objects.u32(i, 32);
      check(first === (count === 0 ? 0 : sum) && sum + count <= rows.count, "CHILDREN", objects.at(i, 32), `object ${i} has wrong children`);
      for (let k = 0; k < count; ++k) {
        const child = rows.u32(sum + k, 0);
        check(child < this.objectCount && this.parent(child) === i && listed[child] === 0, "CHILDREN", rows.at(sum + k, 0),
              `object ${i} has wrong children`);
        listed[child] = 1;
      }
      sum += count;
    }
    check(sum === rows.count, "CHILDREN", rows.offset, "the table of children has too many rows");
    // Everything can be reached from the objects without a parent, else some are above themselves.
    const queue = [];
    for (let i = 0; i < this.objectCount; ++i) {
      check((listed[i] === 1) === (this.parent(i) !== NONE), "CHILDREN", objects.at(i, 20), `object ${i} is not listed once`);
      if (this.parent(i) === NONE) queue.push(i);
    }
    for (let at = 0; at < queue.length; ++at) for (const child of this.children(queue[at])) queue.push(child);
    check(queue.length === this.objectCount, "CYCLE", objects.offset, "an object is above itself");
  }

  checkArrays() {
    const {MESH, CRDS, INDX} = this.tables;
    for (let row = 0; row < MESH.count; ++row) {
      check(MESH.u32(row, 0) <= 2, "MESH_TYPE", MESH.at(row, 0), `mesh ${row} has an unknown type`);
      this.mustBe(MESH.u32(row, 4), [Type.Coordinates], MESH.at(row, 4));
      this.mustBe(MESH.u32(row, 8), [Type.IndexArray], MESH.at(row, 8));
      this.mustBe(MESH.u32(row, 12), [Type.IndexArray], MESH.at(row, 12));
    }
    /** @param {number} chunk @param {string} type @param {number} recordSize @param {number} offset */
    const mustBeArray = (chunk, type, recordSize, offset) => {
      const entry = this.chunks[chunk];
      check(chunk === NONE || (entry?.type === type && entry.recordSize === recordSize), "ARRAY_CHUNK", offset,
            `chunk ${chunk} is no array that this field may name`);
    };
    for (let row = 0; row < CRDS.count; ++row) {
      const dimension = CRDS.u32(row, 0);
      check(dimension >= 1 && dimension <= 255, "DIMENSION", CRDS.at(row, 0), `coordinates of dimension ${dimension}`);
      mustBeArray(CRDS.u32(row, 4), "F32A", 4 * dimension, CRDS.at(row, 4));
    }
    for (let row = 0; row < INDX.count; ++row) mustBeArray(INDX.u32(row, 0), "U32A", 4, INDX.at(row, 0));
  }

  // Rows of one owner stand together, the scene's (NONE) first.
  readProperties() {
    /** @type {Map<number, {first: number, end: number}>} */
    this.propertyRows = new Map();
    const table = this.tables.PROP;
    let last = -1;
    let keys = new Set();
    for (let row = 0; row < (table?.count ?? 0); ++row) {
      const owner = table.u32(row, 24);
      this.mustBe(owner, Object.values(Type), table.at(row, 24));
      const size = table.u32(row, 16);
      check(size >= 1 && size <= MOST_KEY_BYTES, "PROPERTY_KEY", table.at(row, 16), `a property's key has ${size} bytes`);
      const key = String.fromCharCode(...this.textBytes(table, row, 0, 16));
      this.textBytes(table, row, 8, 20);
      const place = owner === NONE ? 0 : owner + 1;
      const rows = this.propertyRows.get(owner) ?? {first: row, end: row};
      if (rows.first === row) keys = new Set();
      check(place >= last && !keys.has(key), "PROPERTY_ORDER", table.at(row, 0), "properties are not in order, or one is there twice");
      last = place;
      keys.add(key);
      rows.end = row + 1;
      this.propertyRows.set(owner, rows);
    }
    const own = new Map(this.properties(NONE));
    const metres = own.get("unit_metres") ?? "";
    this.unit = own.get("unit") ?? "";
    this.unitMetres = /^\d+(\.\d+)?([eE][+-]?\d+)?$/.test(metres) && Number.isFinite(Number(metres)) ? Number(metres) : 0;
  }

  /**
   * Keys and values of an object, or of the scene (NONE); the first of them where there are very many.
   * @param {number} owner
   * @param {number} [most]
   * @returns {[string, string][]}
   */
  properties(owner, most = 2000) {
    const {first, end} = this.propertyRows.get(owner) ?? {first: 0, end: 0};
    const table = this.tables.PROP;
    return Array.from({length: Math.min(most, end - first)}, (_, k) => [
      this.text(table, first + k, 0, 16), this.text(table, first + k, 8, 20, MOST_VALUE_BYTES)]);
  }
  /** @param {number} object */
  type(object) { return this.objects.u32(object, 0); }
  /** @param {number} object */
  ordinal(object) { return this.objects.u32(object, 4); }
  /** @param {number} object */
  name(object) { return this.text(this.objects, object, 8, 16); }
  /** @param {number} object */
  parent(object) { return this.objects.u32(object, 20); }
  /** @param {number} object */
  material(object) { return this.objects.u32(object, 28); }
  /** @param {number} object */
  children(object) {
    const first = this.objects.u32(object, 32);
    return Array.from({length: this.objects.u32(object, 36)}, (_, k) => this.tables.CHLD.u32(first + k, 0));
  }

  /** Where the tree starts. */
  treeRoots() {
    if (this.root !== NONE) return [this.root];
    const roots = [];
    for (let i = 0; i < this.objectCount; ++i) {
      if (this.type(i) === Type.Node && this.parent(i) === NONE) roots.push(i);
    }
    return roots;
  }

  /** The transform that places an object under its parent, or null. @param {number} object */
  placement(object) {
    const transform = this.objects.u32(object, 24);
    if (transform === NONE) return null;
    const [tx, ty, tz, ax, ay, az, angle, sx, sy, sz] = this.tables.XFRM.f32s(this.ordinal(transform), 0, 10);
    return {translation: [tx, ty, tz], axis: [ax, ay, az], angle, scale: [sx, sy, sz]};
  }

  /** @param {number} material object number */
  materialValues(material) {
    const row = this.ordinal(material);
    const values = this.tables.MATL.f32s(row, 0, 17);
    return {diffuse: values.slice(0, 4), specular: values.slice(4, 8), emission: values.slice(8, 12), intensity: values[16]};
  }

  /**
   * Type, dimension and the chunk numbers (or NONE) of a mesh's three arrays.
   * @param {number} mesh object number
   */
  meshFacts(mesh) {
    const row = this.ordinal(mesh);
    const {MESH, CRDS, INDX} = this.tables;
    const coordinates = MESH.u32(row, 4);
    /** @param {number} array */
    const chunkOf = (array) => (array === NONE ? NONE : INDX.u32(this.ordinal(array), 0));
    return {
      type: MESH.u32(row, 0),
      dimension: coordinates === NONE ? 3 : CRDS.u32(this.ordinal(coordinates), 0),
      coordinates: coordinates === NONE ? NONE : CRDS.u32(this.ordinal(coordinates), 4),
      indices: chunkOf(MESH.u32(row, 8)),
      lengths: chunkOf(MESH.u32(row, 12)),
    };
  }

  /** @param {number} chunk */
  floats(chunk) {
    if (chunk === NONE) return new Float32Array(0);
    const {offset, size} = this.chunks[chunk];
    return new Float32Array(this.bytes.buffer, this.bytes.byteOffset + offset, size / 4);
  }

  /** @param {number} chunk */
  numbers(chunk) {
    if (chunk === NONE) return new Uint32Array(0);
    const {offset, size} = this.chunks[chunk];
    return new Uint32Array(this.bytes.buffer, this.bytes.byteOffset + offset, size / 4);
  }
}
