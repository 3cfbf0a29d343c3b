// XXH64 with seed 0 (docs/zix-format.md, section 3). Numbers of 64 bits are BigInt here, which is slow: about 10 MB a
// second. That is enough for header, directory and tables; arrays are checked by the program that makes the page.

const P1 = 0x9e3779b185ebca87n;
const P2 = 0xc2b2ae3d27d4eb4fn;
const P3 = 0x165667b19e3779f9n;
const P4 = 0x85ebca77c2b2ae63n;
const P5 = 0x27d4eb2f165667c5n;
const MASK = 0xffffffffffffffffn;

const rotl = (/** @type {bigint} */ x, /** @type {bigint} */ r) => ((x << r) | (x >> (64n - r))) & MASK;
const round = (/** @type {bigint} */ a, /** @type {bigint} */ x) => (rotl((a + x * P2) & MASK, 31n) * P1) & MASK;
const merge = (/** @type {bigint} */ h, /** @type {bigint} */ a) => ((h ^ round(0n, a)) * P1 + P4) & MASK;

/**
 * @param {Uint8Array} bytes
 * @returns {bigint}
 */
export function xxh64(bytes) {
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  const size = bytes.byteLength;
  let at = 0;
  let h = P5;
  if (size >= 32) {
    let a1 = (P1 + P2) & MASK;
    let a2 = P2;
    let a3 = 0n;
    let a4 = (MASK + 1n - P1) & MASK;
    for (; at + 32 <= size; at += 32) {
      a1 = round(a1, view.getBigUint64(at, true));
      a2 = round(a2, view.getBigUint64(at + 8, true));
      a3 = round(a3, view.getBigUint64(at + 16, true));
      a4 = round(a4, view.getBigUint64(at + 24, true));
    }
    h = (rotl(a1, 1n) + rotl(a2, 7n) + rotl(a3, 12n) + rotl(a4, 18n)) & MASK;
    for (const a of [a1, a2, a3, a4]) h = merge(h, a);
  }
  h = (h + BigInt(size)) & MASK;
  for (; at + 8 <= size; at += 8) h = (rotl(h ^ round(0n, view.getBigUint64(at, true)), 27n) * P1 + P4) & MASK;
  if (at + 4 <= size) {
    h = (rotl(h ^ ((BigInt(view.getUint32(at, true)) * P1) & MASK), 23n) * P2 + P3) & MASK;
    at += 4;
  }
  for (; at < size; ++at) h = (rotl(h ^ ((BigInt(bytes[at]) * P5) & MASK), 11n) * P1) & MASK;
  h = ((h ^ (h >> 33n)) * P2) & MASK;
  h = ((h ^ (h >> 29n)) * P3) & MASK;
  return h ^ (h >> 32n);
}
