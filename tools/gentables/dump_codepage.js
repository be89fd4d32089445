// Writes the decode tables of the npm "codepage" package as text files of
// 256 hexadecimal code points, one file per code page, for gentables.
// Usage: node dump_codepage.js PATH_TO/node_modules/codepage OUTPUT_DIR NUMBER...
const fs = require("fs");
const path = require("path");
const [moduleDir, outDir, ...numbers] = process.argv.slice(2);
const cptable = require(path.resolve(moduleDir, "cptable.js"));
for (const n of numbers) {
  const dec = cptable[n] && cptable[n].dec;
  if (!dec) { console.error("no table " + n); process.exitCode = 1; continue; }
  const points = [];
  for (let b = 0; b < 256; ++b) {
    const ch = dec[b];
    points.push((ch && ch.length === 1 ? ch.charCodeAt(0) : 0xfffd).toString(16).padStart(4, "0"));
  }
  fs.writeFileSync(path.join(outDir, n + ".txt"), points.join("\n") + "\n");
}
