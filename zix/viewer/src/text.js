// Texts of a scene for people's eyes. They come from anybody: they go into the page as text only, never as markup.

const strict = new TextDecoder("utf-8", {fatal: true, ignoreBOM: true});

/**
 * How many bytes the UTF-8 character at `at` has; 0 where there is none.
 * @param {Uint8Array} bytes
 * @param {number} at
 */
function characterSize(bytes, at) {
  const first = bytes[at];
  if (first < 0x80) return 1;
  const size = first >= 0xc2 && first < 0xe0 ? 2 : first >= 0xe0 && first < 0xf0 ? 3 : first >= 0xf0 && first < 0xf5 ? 4 : 0;
  if (size === 0 || at + size > bytes.length) return 0;
  const second = bytes[at + 1];
  const low = first === 0xe0 ? 0xa0 : first === 0xf0 ? 0x90 : 0x80;
  const high = first === 0xed ? 0x9f : first === 0xf4 ? 0x8f : 0xbf;
  if (second < low || second > high) return 0;
  for (let k = 2; k < size; ++k) if ((bytes[at + k] & 0xc0) !== 0x80) return 0;
  return size;
}

/**
 * One U+FFFD for each byte that belongs to no character.
 * @param {Uint8Array} bytes
 */
export function decode(bytes) {
  try {
    return strict.decode(bytes);
  } catch {
    let text = "";
    for (let at = 0; at < bytes.length; ) {
      const size = characterSize(bytes, at);
      text += size === 0 ? "\ufffd" : strict.decode(bytes.subarray(at, at + size));
      at += Math.max(size, 1);
    }
    return text;
  }
}

/**
 * Control characters, and those that turn the direction of writing, are shown as \xNN or \u{NNNN}; long texts are cut.
 * @param {string} text
 * @param {number} [most] characters
 */
export function shown(text, most = 400) {
  const cut = text.length > most ? text.slice(0, most) + "…" : text;
  return cut.replace(/[\u0000-\u001f\u007f-\u009f\u200e\u200f\u202a-\u202e\u2066-\u2069]/g, (c) => {
    const code = c.charCodeAt(0).toString(16);
    return code.length <= 2 ? "\\x" + code.padStart(2, "0") : `\\u{${code}}`;
  });
}

const UNITS = new Map(Object.entries({
  millimeter: "mm", millimetre: "mm", centimeter: "cm", centimetre: "cm", decimeter: "dm", decimetre: "dm", meter: "m",
  metre: "m", kilometer: "km", kilometre: "km", micrometer: "µm", micrometre: "µm", nanometer: "nm", inch: "in",
  foot: "ft", feet: "ft", yard: "yd", mile: "mi", mil: "mil", mils: "mil",
}));

/**
 * The short sign of a unit; its name where it has none.
 * @param {string} unit
 */
export const unitSign = (unit) => UNITS.get(unit.toLowerCase()) ?? UNITS.get(unit.toLowerCase().replace(/s$/, "")) ?? unit;

/**
 * A length with about six digits, so that what is shown can be compared with a drawing.
 * @param {number} value
 */
export function lengthText(value) {
  if (!Number.isFinite(value)) return "–";
  if (value === 0) return "0";
  const size = Math.abs(value);
  if (size >= 1e9 || size < 1e-4) return value.toExponential(4);
  const decimals = Math.min(8, Math.max(0, 5 - Math.floor(Math.log10(size))));
  const text = value.toFixed(Math.min(decimals, 4 + (size < 0.1 ? 4 : 0)));
  return text.includes(".") ? text.replace(/\.?0+$/, "") : text;
}

/** @param {number} count */
export const countText = (count) => count.toLocaleString("en-US");

/** "1 triangle", "2 triangles". @param {number} count @param {string} one */
export const countOf = (count, one) => `${countText(count)} ${one}${count === 1 ? "" : "s"}`;
