// Pictures in tests: reads PNG files of 8 bits, compares outlines.

import {inflateSync} from "node:zlib";

/** @param {Uint8Array} bytes  a PNG of RGB or RGBA @returns {{width: number, height: number, rgba: Uint8Array}} */
export function readPng(bytes) {
  const file = Buffer.from(bytes);
  let at = 8;
  let width = 0;
  let height = 0;
  let channels = 0;
  const data = [];
  while (at < file.length) {
    const size = file.readUInt32BE(at);
    const type = file.toString("latin1", at + 4, at + 8);
    const body = file.subarray(at + 8, at + 8 + size);
    if (type === "IHDR") {
      width = body.readUInt32BE(0);
      height = body.readUInt32BE(4);
      channels = {2: 3, 6: 4}[body[9]] ?? 0;
      if (body[8] !== 8 || channels === 0 || body[12] !== 0) throw new Error("a kind of PNG that is not read here");
    }
    if (type === "IDAT") data.push(body);
    at += size + 12;
  }
  const raw = inflateSync(Buffer.concat(data));
  const rgba = new Uint8Array(4 * width * height).fill(255);
  const stride = width * channels;
  let before = new Uint8Array(stride);
  for (let y = 0; y < height; ++y) {
    const filter = raw[y * (stride + 1)];
    const line = Uint8Array.from(raw.subarray(y * (stride + 1) + 1, (y + 1) * (stride + 1)));
    for (let i = 0; i < stride; ++i) {
      const a = i >= channels ? line[i - channels] : 0;
      const b = before[i];
      const c = i >= channels ? before[i - channels] : 0;
      const nearest = () => {
        const p = a + b - c;
        const [da, db, dc] = [Math.abs(p - a), Math.abs(p - b), Math.abs(p - c)];
        return da <= db && da <= dc ? a : db <= dc ? b : c;
      };
      line[i] += filter === 1 ? a : filter === 2 ? b : filter === 3 ? (a + b) >> 1 : filter === 4 ? nearest() : 0;
    }
    for (let x = 0; x < width; ++x) for (let k = 0; k < channels; ++k) rgba[4 * (y * width + x) + k] = line[x * channels + k];
    before = line;
  }
  return {width, height, rgba};
}

/** Where something is drawn. @returns {Uint8Array} */
export function seeThroughOutline({width, height, rgba}) {
  return Uint8Array.from({length: width * height}, (_, i) => Number(rgba[4 * i + 3] > 0));
}

/** The same in a picture whose background has one colour per row, with a margin at the left. @returns {Uint8Array} */
export function outlineOnRows({width, height, rgba}) {
  return Uint8Array.from({length: width * height}, (_, i) => {
    const first = 4 * (i - (i % width));
    return Number([0, 1, 2].some((k) => Math.abs(rgba[4 * i + k] - rgba[first + k]) > 3));
  });
}

const near = (outline, width) => outline.map((_, i) => {
  for (const dy of [-width, 0, width]) for (const dx of [-1, 0, 1]) if (outline[i + dy + dx]) return 1;
  return 0;
});

/** Per cent of the pixels of both outlines that lie in the other one or beside it. */
export function overlap(a, b, width) {
  const wideA = near(a, width);
  const wideB = near(b, width);
  let common = 0;
  let all = 0;
  for (let i = 0; i < a.length; ++i) {
    common += (a[i] & wideB[i]) + (b[i] & wideA[i]);
    all += a[i] + b[i];
  }
  return (100 * common) / Math.max(1, all);
}

/** Mean difference of the colours where both have something, from 0 to 255. */
export function colorDifference(a, outlineA, b, outlineB) {
  let sum = 0;
  let count = 0;
  for (let i = 0; i < outlineA.length; ++i) {
    if (!outlineA[i] || !outlineB[i]) continue;
    for (let k = 0; k < 3; ++k) sum += Math.abs(a.rgba[4 * i + k] - b.rgba[4 * i + k]);
    count += 3;
  }
  return sum / Math.max(1, count);
}
