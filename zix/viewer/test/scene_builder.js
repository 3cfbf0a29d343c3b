// Writes Zix scenes for the tests, from docs/zix-format.md: legal ones, and ones with one thing wrong.

import {xxh64} from "../src/checksum.js";
import {NONE, Type} from "../src/reader.js";

const TABLE = new Map([[Type.IndexArray, "INDX"], [Type.Coordinates, "CRDS"], [Type.Material, "MATL"], [Type.Transform, "XFRM"], [Type.Mesh, "MESH"]]);

/** Fields one after the other: [kind, value]... with kinds u16, u32, u64, f32, f64. */
export function packed(...fields) {
  const sizes = {u16: 2, u32: 4, u64: 8, f32: 4, f64: 8};
  const bytes = new Uint8Array(fields.reduce((sum, [kind]) => sum + sizes[kind], 0));
  const view = new DataView(bytes.buffer);
  let at = 0;
  for (const [kind, value] of fields) {
    if (kind === "u16") view.setUint16(at, value, true);
    if (kind === "u32") view.setUint32(at, value, true);
    if (kind === "u64") view.setBigUint64(at, BigInt(value), true);
    if (kind === "f32") view.setFloat32(at, value, true);
    if (kind === "f64") view.setFloat64(at, value, true);
    at += sizes[kind];
  }
  return bytes;
}

const all = (kind, values) => values.map((value) => [kind, value]);
const joined = (pieces) => {
  const bytes = new Uint8Array(pieces.reduce((sum, piece) => sum + piece.length, 0));
  let at = 0;
  for (const piece of pieces) {
    bytes.set(piece, at);
    at += piece.length;
  }
  return bytes;
};

export class SceneBuilder {
  constructor() {
    this.objects = [];
    this.kids = new Map();
    this.counts = new Map();
    this.rows = {MESH: [], CRDS: [], INDX: [], XFRM: [], MATL: [], VIEW: []};
    this.arrays = [];
    this.properties = [];
    this.texts = [];
    this.textSize = 0;
    this.root = NONE;
    this.minor = 0;
    this.extra = [];
    this.model = "Model";
  }
  text(text) {
    const bytes = typeof text === "string" ? new TextEncoder().encode(text) : text;
    const at = this.textSize;
    this.texts.push(bytes);
    this.textSize += bytes.length;
    return [at, bytes.length];
  }
  add(type, name, {parent = NONE, placement = NONE, material = NONE} = {}, row = null) {
    const number = this.objects.length;
    const ordinal = this.counts.get(type) ?? 0;
    this.counts.set(type, ordinal + 1);
    const [at, size] = this.text(name);
    this.objects.push({type, ordinal, at, size, parent, placement, material, first: 0, count: 0});
    if (parent !== NONE) this.kids.set(parent, [...(this.kids.get(parent) ?? []), number]);
    if (row !== null) this.rows[TABLE.get(type)].push(row);
    return number;
  }
  node(name, more) { return this.add(Type.Node, name, more); }
  shape(name, more) { return this.add(Type.Shape, name, more); }
  /** A chunk that several objects may share. */
  chunk(type, recordSize, bytes) { return this.arrays.push({type, recordSize, bytes}) - 1; }
  floats(values, dimension = 3) { return this.chunk("F32A", 4 * dimension, new Uint8Array(new Float32Array(values).buffer)); }
  numbers(values) { return this.chunk("U32A", 4, new Uint8Array(new Uint32Array(values).buffer)); }
  coordinates(chunk, dimension = 3) { return this.add(Type.Coordinates, "", {}, packed(...all("u32", [dimension, chunk, 1, 0]))); }
  indices(chunk) { return this.add(Type.IndexArray, "", {}, packed(...all("u32", [chunk, 0]))); }
  mesh(shape, type, coordinates, indices, lengths, material = NONE) {
    return this.add(Type.Mesh, "mesh", {parent: shape, material}, packed(...all("u32", [type, coordinates, indices, lengths, 1, 0])));
  }
  transform(translation = [0, 0, 0], axis = [1, 0, 0], angle = 0, scale = [1, 1, 1]) {
    return this.add(Type.Transform, "", {}, packed(...all("f32", [...translation, ...axis, angle, ...scale]), ...all("u32", [7, 0])));
  }
  material(diffuse, specular = [0, 0, 0, 0], emission = [0, 0, 0, 0], intensity = 0) {
    return this.add(Type.Material, "", {}, packed(...all("f32", [...diffuse, ...specular, ...emission, 0, 0, 0, 0, intensity]), ["u32", 31]));
  }
  view(name, position, target, up, height) {
    const [at, size] = this.text(name);
    this.rows.VIEW.push(packed(["u64", at], ["u32", size], ["u32", 0], ...all("f64", [...position, ...target, ...up, height])));
  }
  property(owner, key, value) {
    const [keyAt, keySize] = this.text(key);
    const [at, size] = this.text(value);
    this.properties.push(packed(["u64", keyAt], ["u64", at], ["u32", keySize], ["u32", size], ["u32", owner], ["u32", 0]));
    this.minor = 1;
  }
  chunks() {
    const children = [];
    this.objects.forEach((object, number) => {
      const kids = this.kids.get(number) ?? [];
      object.first = kids.length > 0 ? children.length : 0;
      object.count = kids.length;
      children.push(...kids);
    });
    const [model, modelSize] = this.text(this.model);
    const scene = packed(["f64", 0], ...all("u64", [model, 0, 0]), ...all("u32", [modelSize, 0, 0, 0, this.root, 0]));
    const objects = this.objects.map((o) => packed(["u32", o.type], ["u32", o.ordinal], ["u64", o.at],
      ...all("u32", [o.size, o.parent, o.placement, o.material, o.first, o.count])));
    const list = [...this.arrays, {type: "SCNE", recordSize: 56, bytes: scene}, {type: "TEXT", recordSize: 1, bytes: joined(this.texts)},
      {type: "OBJS", recordSize: 40, bytes: joined(objects)}, {type: "CHLD", recordSize: 4, bytes: packed(...all("u32", children))}];
    const sizes = {MESH: 24, CRDS: 16, INDX: 8, XFRM: 48, MATL: 72, VIEW: 96};
    for (const [type, rows] of Object.entries(this.rows)) list.push({type, recordSize: sizes[type], bytes: joined(rows)});
    if (this.properties.length > 0) list.push({type: "PROP", recordSize: 32, bytes: joined(this.properties)});
    return [...list, ...this.extra];
  }
  bytes() { return assemble(this.chunks(), this.minor); }
}

/** A file of chunks, with all checksums. */
export function assemble(chunks, minor = 0) {
  const pieces = [new Uint8Array(64)];
  const entries = [];
  let at = 64;
  const pad = () => {
    pieces.push(new Uint8Array(-at & 63));
    at += -at & 63;
  };
  for (const {type, recordSize, bytes, flags = 0, checksum = xxh64(bytes)} of chunks) {
    pad();
    entries.push(new TextEncoder().encode(type), packed(["u32", flags], ["u64", at], ["u64", bytes.length], ["u64", checksum], ["u32", recordSize], ["u32", 0]));
    pieces.push(bytes);
    at += bytes.length;
  }
  pad();
  const directory = joined(entries);
  const file = joined([...pieces, directory]);
  const header = packed(["u64", 0x0a1a0a0d58495a89n], ["u16", 1], ["u16", minor], ["u32", 64], ["u64", file.length], ["u64", at],
                        ["u64", chunks.length], ["u64", xxh64(directory)], ["u64", 0]);
  file.set(header);
  return seal(file);
}

/** Puts the header's checksum right. */
export function seal(file) {
  file.set(packed(["u64", xxh64(file.subarray(0, 56))]), 56);
  return file;
}

/** A scene with a root, one shape and one mesh. */
export function oneMesh(type, points, indices, lengths, {material, placement, dimension = 3} = {}) {
  const b = new SceneBuilder();
  b.root = b.node("root");
  const look = material === undefined ? NONE : b.material(...material);
  const place = placement === undefined ? NONE : b.transform(...placement);
  const node = b.node("part", {parent: b.root, placement: place});
  const shape = b.shape("shape", {parent: node});
  b.mesh(shape, type, b.coordinates(b.floats(points, dimension), dimension), b.indices(b.numbers(indices)), b.indices(b.numbers(lengths)), look);
  return b;
}

/** A box from 0 to `size` in each direction: points and triangles. */
export function boxOf([x, y, z]) {
  const points = [];
  for (let n = 0; n < 8; ++n) points.push(n & 1 ? x : 0, n & 2 ? y : 0, n & 4 ? z : 0);
  const indices = [0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4, 2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5];
  return {points, indices, lengths: Array(12).fill(3)};
}
