// The blocks of data that the program wrote into the page: base64 text in elements that no browser runs.

/**
 * @param {string} text  base64; line breaks count for nothing
 * @returns {Uint8Array[]}
 */
function decodeBase64(text) {
  const pieces = [];
  const step = 1 << 20;  // a multiple of 4
  const clean = /[\r\n ]/.test(text) ? text.replace(/[\r\n ]/g, "") : text;
  for (let at = 0; at < clean.length; at += step) {
    const binary = atob(clean.slice(at, at + step));
    const bytes = new Uint8Array(binary.length);
    for (let i = 0; i < binary.length; ++i) bytes[i] = binary.charCodeAt(i);
    pieces.push(bytes);
  }
  return pieces;
}

/** @param {Uint8Array[]} pieces */
function joined(pieces) {
  const all = new Uint8Array(pieces.reduce((sum, piece) => sum + piece.length, 0));
  let at = 0;
  for (const piece of pieces) {
    all.set(piece, at);
    at += piece.length;
  }
  return all;
}

/**
 * @param {Uint8Array[]} packed  a zlib stream
 * @returns {Promise<Uint8Array>}
 */
async function inflate(packed) {
  const source = new ReadableStream({
    pull(controller) {
      const piece = packed.shift();
      if (piece === undefined) controller.close();
      else controller.enqueue(piece);
    },
  });
  const reader = source.pipeThrough(new DecompressionStream("deflate")).getReader();
  const pieces = [];
  for (;;) {
    const {done, value} = await reader.read();
    if (done) return joined(pieces);
    pieces.push(value);
  }
}

/**
 * The bytes of one block; null where the page has none. Its text is dropped, it may be large.
 * @param {string} id
 * @returns {Promise<Uint8Array | null>}
 */
export async function takeBlock(id) {
  const element = document.getElementById(id);
  if (element === null) return null;
  const pieces = decodeBase64(element.textContent ?? "");
  const isPacked = element.dataset.packed === "deflate";
  element.remove();
  if (!isPacked) return joined(pieces);
  if (typeof DecompressionStream === "undefined") {
    throw new Error("This browser is too old to unpack the model: it lacks DecompressionStream. Browsers since 2023 have it.");
  }
  return inflate(pieces);
}
