#!/usr/bin/env node
// Times JavaScript's ways to do the jobs on the texts of a folder; see README.md here.
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";

const require = createRequire(new URL("../../../build/peers/package.json", import.meta.url));
const entities = require("entities"), he = require("he"), htmlEntities = require("html-entities");
const { default: stringWidth } = await import(require.resolve("string-width"));

const unit = (_, digits) => String.fromCharCode(parseInt(digits, 16));
const paren = (c) => "<u" + c.charCodeAt(0).toString(16).toUpperCase().padStart(4, "0") + ">";

// Row: [column, way, does it copy a text without notations?]
const ways = {
  "codecs/ulGetNCR": [
    ["node entities", (text) => entities.decodeHTML(text), false],
    ["node he", (text) => he.decode(text), false],
    ["node html-entities", (text) => htmlEntities.decode(text), false],
  ],
  "codecs/ulGetUEsc": [["node JSON.parse", (text) => JSON.parse(text), true, '"']],
  "codecs/ulGetUParen": [["node replace", (text) => text.replace(/<[Uu]([0-9A-Fa-f]{4})>/g, unit), false]],
  "codecs/ulPutNCR": [
    ["node he", (text) => he.encode(text, { decimal: true }), false],
    ["node html-entities", (text) => htmlEntities.encode(text, { mode: "nonAscii", level: "xml" }), false],
  ],
  "codecs/ulPutUParen": [["node replace", (text) => text.replace(/./gs, paren), true]],
  "metrics/T_ulGetUnicodeWidth": [["node string-width", (text) => stringWidth(text), true]],
};

// The engine puts off joining what a result was made of; reading its last character makes it do so.
function joined(result) {
  if (typeof result === "string" && result.length) result.charCodeAt(result.length - 1);
  return result;
}

function fastest(way, text) {
  let least = Infinity;
  const end = performance.now() + 300;
  for (let passes = 0; passes < 4 || (performance.now() < end && passes < 50); ++passes) {
    const start = process.hrtime.bigint();
    joined(way(text));
    const time = Number(process.hrtime.bigint() - start);
    least = Math.min(least, time);
    if (time > 2e9) break;
  }
  return least;
}

function answers(way, text) {
  try {
    return String(way(text));
  } catch {
    return null;
  }
}

function measured(way, copies, quote, size, input, expected) {
  if (!copies && size.startsWith("plain")) return { error: "returns its input" };
  const text = quote + input + quote;
  if (answers(way, text) !== expected) return { error: "not for this text" };
  return { ns: fastest(way, text) };
}

const folder = process.argv[2];
for (const line of readFileSync(`${folder}/index.tsv`, "utf8").trim().split("\n")) {
  const [row, size, name] = line.split("\t");
  const [input, expected] = ["in", "out"].map((end) => readFileSync(`${folder}/${name}.${end}`, "utf8"));
  for (const [column, way, copies, quote = ""] of ways[row.split(" ")[0]] ?? [])
    console.log(JSON.stringify({ row, size, column, ...measured(way, copies, quote, size, input, expected) }));
}
