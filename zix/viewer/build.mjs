// Makes one file of the page, its style and its script: build.mjs OUT. What `zix export` adds later goes where
// "<!--zix-data-->" stands.

import {createHash} from "node:crypto";
import {mkdirSync, readFileSync, writeFileSync} from "node:fs";
import {dirname, join} from "node:path";
import {fileURLToPath} from "node:url";
import {build} from "esbuild";

const MOST_BYTES = 900_000;
const MARK = "<!--zix-data-->";
const here = dirname(fileURLToPath(import.meta.url));
const out = process.argv[2];
if (out === undefined) throw new Error("usage: node build.mjs OUT.html");

const read = (name) => readFileSync(join(here, name), "utf8");
const bundle = async (name, options) => {
  const result = await build({entryPoints: [join(here, name)], bundle: true, minify: true, write: false, target: "es2022", ...options});
  return result.outputFiles[0].text.trim();
};
// Elements end at "</script" whatever stands around it; inside texts of a program this says the same.
const script = (await bundle("src/main.js", {format: "iife", legalComments: "inline"})).replace(/<\/(script)/gi, "<\\/$1").replace(/<!--/g, "<\\!--");
const style = await bundle("page.css", {});
if (/<\/style/i.test(style)) throw new Error("the style sheet would end its element");

const hash = (text) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`;
// Only this script and this style, and nothing from anywhere.
const policy = `default-src 'none'; script-src ${hash(script)}; style-src ${hash(style)}; img-src data:; base-uri 'none'; form-action 'none'`;
const texts = {POLICY: policy, STYLE: style, SCRIPT: script};
const page = read("page.html").replace(/@(POLICY|STYLE|SCRIPT)@/g, (_, name) => texts[name]);
if (page.split(MARK).length !== 2) throw new Error("the place for data is not there once");
const size = Buffer.byteLength(page);
if (size > MOST_BYTES) throw new Error(`${size} bytes; at most ${MOST_BYTES} are allowed`);
mkdirSync(dirname(out), {recursive: true});
writeFileSync(out, page);
console.log(`${out}: ${size} bytes`);
