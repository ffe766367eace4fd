// Prints what pdf.js reads: "piece" lines (one per text item, with its box) and "line" lines.
// Usage: node pdfjs_text.mjs PDFJS-FOLDER FILE.pdf
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";

const [folder, file] = process.argv.slice(2);
console.warn = () => {}; // it misses a canvas, which reading text does not need
const pdfjs = createRequire(import.meta.url)(`${folder}/legacy/build/pdf.js`);
const document = await pdfjs.getDocument({
  data: new Uint8Array(readFileSync(file)),
  cMapUrl: `${folder}/cmaps/`,
  cMapPacked: true,
  verbosity: 0,
}).promise;

// The box that the viewer gives a text item: its width along the baseline, ascent and descent of its font across.
function boxOf(item, style, viewport) {
  const [a, b, c, d, x, y] = pdfjs.Util.transform(viewport.transform, item.transform);
  const along = Math.hypot(a, b) || 1;
  const across = Math.hypot(c, d) || 1;
  const ascent = (style.ascent || (style.descent ? 1 + style.descent : 0.8)) * across;
  const top = { x: (c / across) * ascent, y: (d / across) * ascent };
  const foot = { x: top.x - (c / across) * item.height, y: top.y - (d / across) * item.height };
  const end = { x: (a / along) * item.width, y: (b / along) * item.width };
  const corners = [top, foot].flatMap((p) => [p, { x: p.x + end.x, y: p.y + end.y }]);
  const xs = corners.map((p) => x + p.x);
  const ys = corners.map((p) => y + p.y);
  return [Math.min(...xs), Math.min(...ys), Math.max(...xs), Math.max(...ys)];
}

for (let number = 1; number <= document.numPages; number++) {
  const page = await document.getPage(number);
  const viewport = page.getViewport({ scale: 1 });
  const content = await page.getTextContent({ disableNormalization: true });
  let line = "";
  for (const item of content.items) {
    if (item.str.trim()) {
      const box = boxOf(item, content.styles[item.fontName], viewport).map((n) => n.toFixed(3));
      console.log(["piece", number, ...box, item.str].join("\t"));
    }
    line += item.str;
    if (item.hasEOL) {
      console.log(["line", number, 0, 0, 0, 0, line].join("\t"));
      line = "";
    }
  }
  console.log(["line", number, 0, 0, 0, 0, line].join("\t"));
}
