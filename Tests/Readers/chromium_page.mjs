// Saves what Chromium's viewer shows of a PDF at its natural size: a picture of the window, with the page somewhere on
// the viewer's dark ground.
// Usage: node chromium_page.mjs NODE-MODULES CHROMIUM FILE.pdf OUT.png
import { readFileSync } from "node:fs";
import { createServer } from "node:http";
import { createRequire } from "node:module";

const [modules, executablePath, file, picture] = process.argv.slice(2);
const { chromium } = createRequire(import.meta.url)(`${modules}/playwright-core`);

const server = createServer((request, response) => {
  response.setHeader("Content-Type", "application/pdf");
  response.end(readFileSync(file));
});
await new Promise((ready) => server.listen(0, "127.0.0.1", ready));

// The viewer is an extension, which the usual way to drive a browser switches off.
const browser = await chromium.launch({
  executablePath,
  headless: true,
  ignoreDefaultArgs: ["--headless", "--disable-extensions", "--disable-component-extensions-with-background-pages"],
  args: ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
    "--disable-background-networking", "--disable-component-update", "--disable-sync", "--force-device-scale-factor=1"],
});
const page = await browser.newPage({ viewport: { width: 1000, height: 800 } });
await page.goto(`http://127.0.0.1:${server.address().port}/page.pdf#toolbar=0&navpanes=0&zoom=100`);

// It says nowhere when the page is drawn: two pictures in a row that are alike and hold more than the empty window
// (4 KB) are taken as final.
let before;
for (let tries = 0; tries < 60; ++tries) {
  await page.waitForTimeout(250);
  const now = await page.screenshot({ path: picture });
  if (before?.equals(now) && now.length > 5000) {
    break;
  }
  before = now;
}
await browser.close();
server.close();
