import assert from "node:assert/strict";
import {existsSync, readFileSync, readdirSync} from "node:fs";
import {test} from "node:test";
import {xxh64} from "../src/checksum.js";
import {NONE, Scene, Type, ZixError} from "../src/reader.js";
import {countOf, decode, lengthText, shown, unitSign} from "../src/text.js";
import {SceneBuilder, assemble, boxOf, oneMesh, seal} from "./scene_builder.js";

const box = boxOf([1, 2, 3]);
const good = () => oneMesh(0, box.points, box.indices, box.lengths, {material: [[1, 0, 0, 0]], placement: [[5, 0, 0]]});
const codeOf = (bytes) => {
  try {
    new Scene(bytes);
    return "none";
  } catch (error) {
    assert.ok(error instanceof ZixError, `${error.stack}`);
    return error.code;
  }
};

test("checksums are those of the format's document", () => {
  assert.equal(xxh64(new Uint8Array(0)), 0xef46db3751d8e999n);
  assert.equal(xxh64(new TextEncoder().encode("a")), 0xd24ec4f1a98c6e5bn);
});

// The two dumps of docs/zix-format.md hold every byte, so they check the reader and the builder of these tests.
test("the files of the format's document are read", () => {
  const text = readFileSync(new URL("../../../docs/zix-format.md", import.meta.url), "utf8");
  const dumps = [...text.matchAll(/<!-- dump: [^>]*-->\n```text\n([\s\S]*?)```/g)];
  assert.ok(dumps.length >= 2);
  for (const [, dump] of dumps) {
    const bytes = [];
    for (const line of dump.split("\n")) {
      const zeros = /^[0-9a-f]{6}  00 \((\d+) times\)/.exec(line);
      const plain = /^[0-9a-f]{6}  ((?:[0-9a-f]{2} ?)+)/.exec(line);
      if (zeros) bytes.push(...Array(Number(zeros[1])).fill(0));
      else if (plain) bytes.push(...plain[1].trim().split(" ").map((byte) => parseInt(byte, 16)));
    }
    const scene = new Scene(new Uint8Array(bytes));
    assert.ok(scene.objectCount > 0);
  }
});

test("a scene's tree, placement, material, views and properties", () => {
  const b = good();
  b.view("front", [0, -1, 0], [0, 0, 0], [0, 0, 1], 7);
  b.property(NONE, "unit", "inch");
  b.property(NONE, "unit_metres", "0.0254");
  b.property(3, "colour", "red ≠ blue");
  const scene = new Scene(b.bytes());
  assert.equal(scene.minor, 1);
  assert.equal(scene.unit, "inch");
  assert.equal(scene.unitMetres, 0.0254);
  assert.deepEqual(scene.properties(3), [["colour", "red ≠ blue"]]);
  assert.deepEqual(scene.treeRoots().map((n) => scene.name(n)), ["root"]);
  assert.deepEqual(scene.views, [{name: "front", position: [0, -1, 0], target: [0, 0, 0], up: [0, 0, 1], height: 7}]);
  const part = scene.children(scene.root)[0];
  assert.deepEqual(scene.placement(part).translation, [5, 0, 0]);
  const mesh = scene.children(scene.children(part)[0])[0];
  assert.equal(scene.type(mesh), Type.Mesh);
  assert.equal(scene.numbers(scene.meshFacts(mesh).indices).length, 36);
  assert.deepEqual(scene.materialValues(scene.material(mesh)).diffuse, [1, 0, 0, 0]);
});

test("a flipped bit in header, directory or a table is found", () => {
  const bytes = good().bytes();
  const directory = Number(new DataView(bytes.buffer).getBigUint64(24, true));
  const flipped = (at) => {
    const copy = bytes.slice();
    copy[at] ^= 4;
    return codeOf(copy);
  };
  assert.equal(codeOf(bytes), "none");
  assert.equal(flipped(20), "HEADER_CHECKSUM");
  assert.equal(flipped(directory + 9), "DIRECTORY_CHECKSUM");
  const table = new Scene(bytes).chunks.find(({type}) => type === "OBJS");
  assert.equal(flipped(table.offset + 3), "CHUNK_CHECKSUM");
});

test("every cut of a file is refused", () => {
  const bytes = good().bytes();
  for (let size = 0; size < bytes.length; ++size) {
    assert.match(codeOf(bytes.slice(0, size)), /^(NOT_ZIX|TRUNCATED)$/, `${size} bytes`);
  }
  assert.equal(codeOf(new Uint8Array([...bytes, 0])), "EXTRA_BYTES");
});

test("each broken rule has its code", () => {
  /** Changes the chunks or objects before checksums are made. */
  const changed = (change, minor = 0) => {
    const b = good();
    change(b);
    return codeOf(assemble(b.chunks(), minor));
  };
  const chunkOf = (change) => {
    const chunks = good().chunks();
    change(chunks);
    return codeOf(assemble(chunks));
  };
  const table = (chunks, type) => chunks.find((chunk) => chunk.type === type);
  assert.equal(changed((b) => { b.objects[1].type = 5; }), "OBJECT_TYPE");
  assert.equal(changed((b) => { b.objects[1].ordinal = 9; }), "OBJECT_ORDINAL");
  assert.equal(changed((b) => { b.objects[0].size = 100000; }), "TEXT_RANGE");
  assert.equal(changed((b) => { b.root = 1; }), "OBJECT_NUMBER");
  assert.equal(changed((b) => { b.objects[0].material = 0; }), "OBJECT_NUMBER");
  assert.equal(changed((b) => { b.kids.clear(); }), "CHILDREN");
  assert.equal(changed((b) => { b.rows.XFRM.push(b.rows.XFRM[0]); }), "TABLE_ROWS");
  assert.equal(changed((b) => { b.rows.MESH[0][0] = 3; }), "MESH_TYPE");
  assert.equal(changed((b) => { b.rows.CRDS[0][0] = 0; }), "DIMENSION");
  assert.equal(changed((b) => { b.rows.INDX[0][0] = 0; }), "ARRAY_CHUNK");
  assert.equal(changed((b) => { b.rows.CRDS[0][4] = 77; }), "ARRAY_CHUNK");
  assert.equal(chunkOf((chunks) => { chunks.push({type: "NEW!", recordSize: 1, bytes: new Uint8Array(3), flags: 1}); }), "UNKNOWN_CHUNK");
  assert.equal(chunkOf((chunks) => { chunks.push({type: "new!", recordSize: 1, bytes: new Uint8Array(3)}); }), "none");
  assert.equal(chunkOf((chunks) => { chunks.push(table(chunks, "VIEW")); }), "DUPLICATE_CHUNK");
  assert.equal(chunkOf((chunks) => { chunks.splice(chunks.indexOf(table(chunks, "VIEW")), 1); }), "MISSING_CHUNK");
  assert.equal(chunkOf((chunks) => { table(chunks, "SCNE").bytes = new Uint8Array(112); }), "SCENE_COUNT");
  assert.equal(chunkOf((chunks) => { table(chunks, "XFRM").recordSize = 24; }), "RECORD_SIZE");
  assert.equal(chunkOf((chunks) => { table(chunks, "XFRM").recordSize = 0; }), "RECORD_SIZE");
  const other = good().bytes();
  other[8] = 2;
  assert.equal(codeOf(seal(other)), "UNKNOWN_VERSION");
  const high = good().bytes();
  high[24] += 1;
  assert.equal(codeOf(seal(high)), "DIRECTORY_PLACE");
  const cycle = new SceneBuilder();
  cycle.node("a", {parent: 1});
  cycle.node("b", {parent: 0});
  assert.equal(codeOf(cycle.bytes()), "CYCLE");
});

test("properties: their keys, their order, and how much of them is shown", () => {
  const of = (...properties) => {
    const b = good();
    for (const [owner, key, value] of properties) b.property(owner, key, value);
    return b;
  };
  const code = (...properties) => codeOf(of(...properties).bytes());
  assert.equal(code([NONE, "a", "1"], [0, "a", "2"], [0, "b", ""], [3, "a", "3"]), "none");
  assert.equal(code([NONE, "", "1"]), "PROPERTY_KEY");
  assert.equal(code([NONE, "k".repeat(1024), "1"]), "none");
  assert.equal(code([NONE, "k".repeat(1025), "1"]), "PROPERTY_KEY");
  assert.equal(code([0, "a", "1"], [NONE, "a", "1"]), "PROPERTY_ORDER");
  assert.equal(code([3, "a", "1"], [0, "a", "1"]), "PROPERTY_ORDER");
  assert.equal(code([3, "a", "1"], [3, "a", "2"]), "PROPERTY_ORDER");
  assert.equal(code([999, "a", "1"]), "OBJECT_NUMBER");
  const units = (metres) => new Scene(of([NONE, "unit", "thing"], [NONE, "unit_metres", metres]).bytes()).unitMetres;
  assert.deepEqual(["0.001", "1e-06", "-1", " 1", "0x1", "1e999", "0", "."].map(units), [0.001, 1e-6, 0, 0, 0, 0, 0, 0]);
  assert.equal(new Scene(of([NONE, "long", "x".repeat(50000)]).bytes()).properties(NONE)[0][1].length, 20001);
  const named = new SceneBuilder();
  named.node("ä".repeat(600));
  assert.equal(new Scene(named.bytes()).name(0), "ä".repeat(500) + "…");
});

// docs/zix-vectors: legal files, and one for each finding; those of warnings and of arrays' contents are read.
test("the format's vectors are read or refused as they should be", (t) => {
  const folder = new URL("../../../docs/zix-vectors/", import.meta.url);
  const {vectors} = JSON.parse(readFileSync(new URL("index.json", folder), "utf8"));
  const READ = new Set(["PADDING", "INDEX_RANGE"]);
  const there = vectors.filter(({file}) => existsSync(new URL(file, folder)));
  if (there.length === 0) return t.skip("the files are not there");
  for (const {file, errors} of there) {
    const code = codeOf(new Uint8Array(readFileSync(new URL(file, folder))));
    const fatal = errors.filter((error) => !READ.has(error));
    // Of an array's checksum the program has to answer that makes the page.
    const allowed = fatal.length === 0 ? ["none"] : fatal.includes("CHUNK_CHECKSUM") ? [...fatal, "none"] : fatal;
    assert.ok(allowed.includes(code), `${file}: ${code}, not ${allowed}`);
  }
});

test("rows of a later minor version may be longer, those of this one not", () => {
  const longer = (minor) => {
    const chunks = good().chunks();
    const table = chunks.find(({type}) => type === "XFRM");
    table.recordSize = 56;
    table.bytes = new Uint8Array([...table.bytes, 1, 2, 3, 4, 5, 6, 7, 8]);
    return codeOf(assemble(chunks, minor));
  };
  assert.equal(longer(0), "RECORD_SIZE");
  assert.equal(longer(9), "none");
});

// Damaged numbers with right checksums must never lead out of the file.
test("random changes with right checksums are read or refused, never a crash", () => {
  let seed = 7;
  const random = (below) => {
    seed = (Math.imul(seed, 1103515245) + 12345) >>> 0;
    return (seed >>> 8) % below;
  };
  const refused = new Set();
  for (let round = 0; round < 3000; ++round) {
    const chunks = good().chunks();
    const {bytes} = chunks[random(chunks.length)];
    if (bytes.length === 0) continue;
    bytes[random(bytes.length)] = random(256);
    refused.add(codeOf(assemble(chunks)));
  }
  assert.ok(refused.has("none") && refused.size > 5, [...refused].join());
});

test("texts: one mark per wrong byte, control characters to be seen, units", () => {
  assert.equal(decode(new Uint8Array([0x61, 0xe2, 0x82, 0x62, 0xff])), "a\ufffd\ufffdb\ufffd");
  assert.equal(decode(new Uint8Array([0xed, 0xa0, 0x80])), "\ufffd\ufffd\ufffd");
  assert.equal(decode(new Uint8Array([0xef, 0xbb, 0xbf, 0xc3, 0xa4])), "\ufeffä");
  assert.equal(shown("a\n\u202eb"), "a\\x0a\\u{202e}b");
  assert.equal(shown("x".repeat(500)).length, 401);
  assert.equal(unitSign("millimeter"), "mm");
  assert.equal(unitSign("parsec"), "parsec");
  assert.deepEqual([countOf(1, "part"), countOf(1200, "part")], ["1 part", "1,200 parts"]);
  assert.equal(lengthText(12.5), "12.5");
  assert.equal(lengthText(0.000123456), "0.00012346");
  assert.equal(lengthText(123456.789), "123457");
});

test("the project's scenes are read, where they are", (t) => {
  const folder = process.env.ZIX_SCENES;
  if (folder === undefined) return t.skip("ZIX_SCENES names no folder");
  const names = readdirSync(folder).filter((name) => name.endsWith(".zix"));
  assert.ok(names.length > 0);
  for (const name of names) assert.equal(codeOf(new Uint8Array(readFileSync(`${folder}/${name}`))), "none", name);
});
