// What did not come along: said by the conversion's report, where the page has one, and by what the page itself found.

import {make} from "./dom.js";
import {countText, shown} from "./text.js";

/**
 * @param {Uint8Array | null} bytes  JSON as `loftbay --json` writes it
 * @returns {{skipped: {part: string, reason: string}[], notes: string[]}}
 */
export function readReport(bytes) {
  if (bytes === null) return {skipped: [], notes: []};
  const read = JSON.parse(new TextDecoder().decode(bytes));
  const reports = Array.isArray(read) ? read : [read];
  const list = (/** @type {unknown} */ value) => (Array.isArray(value) ? value : []);
  return {
    skipped: reports.flatMap((report) => list(report?.skipped)).map((one) => ({part: String(one?.part ?? ""), reason: String(one?.reason ?? "")})),
    notes: reports.flatMap((report) => list(report?.notes)).map(String),
  };
}

/**
 * The sheet's content; null when there is nothing to say.
 * @param {ReturnType<typeof readReport>} report
 * @param {string[]} found  by the page
 */
export function reportParts({skipped, notes}, found) {
  const parts = [];
  if (skipped.length > 0) {
    const list = make("dl", "skipped");
    for (const {part, reason} of skipped) {
      const name = make("dt", "", shown(part));
      name.dir = "auto";
      list.append(name, make("dd", "", shown(reason, 1000)));
    }
    parts.push(make("h3", "", `Left out of the conversion (${countText(skipped.length)})`), list);
  }
  for (const [title, texts] of /** @type {[string, string[]][]} */ ([["Notes of the conversion", notes], ["Not shown", found]])) {
    if (texts.length === 0) continue;
    parts.push(make("h3", "", title), make("ul", "", ...texts.map((text) => make("li", "", shown(text, 1000)))));
  }
  return parts.length > 0 ? parts : null;
}
