// photograph-tour.mjs FOLDER PICTURES: photographs of FOLDER/tour.html for docs/tour.md; see bin/renew-tour.
import { join, resolve } from "node:path";
import { pathToFileURL } from "node:url";
import { launch } from "./chromium.mjs";

const [folder, pictures] = process.argv.slice(2).map(path => resolve(path));
const browser = await launch(folder);
try {
  const page = await browser.newPage({ viewport: { width: 1100, height: 900 } });
  await page.goto(pathToFileURL(join(folder, "tour.html")).href);
  await page.evaluate(() => Promise.all([...document.images].filter(image => image.src).map(image => image.decode())));
  const shot = name => ({ path: join(pictures, name), type: "jpeg", quality: 75 });
  await page.locator("#group-2").screenshot(shot("report.jpg"));
  await page.locator("#group-2-seam-1 button").click();
  await page.waitForTimeout(500);
  await page.screenshot(shot("seam.jpg"));
} finally {
  await browser.close();
}
