// check-report.mjs PROGRAM FOLDER: see bin/check-report. The folder has node_modules.
import { execFileSync } from "node:child_process";
import { copyFileSync, mkdirSync, readFileSync, readdirSync, rmSync, statSync } from "node:fs";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath, pathToFileURL } from "node:url";
import { launch, requireFrom } from "./chromium.mjs";

const [program, folder] = process.argv.slice(2).map(path => resolve(path));
const axe = readFileSync(requireFrom(folder).resolve("axe-core/axe.min.js"), "utf8");
const examples = join(dirname(fileURLToPath(import.meta.url)), "../../Examples");
const failures = [];
let language = "en";
const expect = (holds, what) => { console.log(holds ? "  ok  " : "  NOT ", what); if (!holds) failures.push(what); };

function report(name, ...words) {
  const page = join(folder, `${name}.html`), begun = Date.now();
  try {
    execFileSync(program, ["--report", page, "--force", "--no-cache", "--dry-run", "--quiet", ...words], { stdio: ["ignore", "ignore", "pipe"], env: { ...process.env, LC_ALL: "C.UTF-8", LANGUAGE: language } });
  } catch (error) {
    if (error.status !== 1) throw error; // 1: a group was refused
  }
  console.log(`${name}: ${((Date.now() - begun) / 1000).toFixed(1)} s, ${(statSync(page).size / 1e6).toFixed(1)} MB`);
  return pathToFileURL(page).href;
}

function freshFolder(name) {
  const path = join(folder, name);
  rmSync(path, { recursive: true, force: true });
  mkdirSync(path);
  return path;
}

/** Two screenshots each, a minute apart, under names that tell the times. */
function manyGroups(count) {
  const shots = freshFolder("many"), pair = readdirSync(join(examples, "trip-chat")).filter(file => file.endsWith(".png")).slice(0, 2);
  for (let i = 0; i < count; ++i)
    pair.forEach((file, k) => {
      const time = new Date(Date.UTC(2026, 2, 1) + 60_000 * i + 3_000 * k).toISOString().replace(/[-:]/g, "").slice(0, 15).replace("T", "-");
      copyFileSync(join(examples, "trip-chat", file), join(shots, `Screenshot_${time}.png`));
    });
  return shots;
}

/** Screenshots of a page of so many rows, each line another. */
async function longPage(browser, rows) {
  const shots = freshFolder("long"), height = 2400, step = 2000, page = await browser.newPage({ viewport: { width: 390, height } });
  let seed = 1;
  const word = () => (seed = seed * 48271 % 2147483647).toString(36);
  const lines = Array.from({ length: rows / 25 }, (_, i) => `<p>${i} ${word()} ${word()} ${word()}</p>`).join("");
  await page.setContent(`<style>body { margin: 0; font: 16px monospace } p { margin: 0; height: 25px; overflow: hidden }</style>${lines}`);
  for (let top = 0, i = 1000; top + height <= rows + step; top += step, ++i) {
    await page.evaluate(to => scrollTo(0, to), Math.min(top, rows - height));
    await page.screenshot({ path: join(shots, `${i}.png`) });
  }
  await page.close();
  return shots;
}

/** A page in a context of its own, with what it complained of and asked for. */
async function open(browser, url, options) {
  const context = await browser.newContext(options), page = await context.newPage(), complaints = [];
  page.on("console", message => complaints.push(message.text()));
  page.on("pageerror", error => complaints.push(String(error)));
  page.on("request", request => { if (!/^data:/.test(request.url()) && request.url() !== url) complaints.push(request.url()); });
  const begun = Date.now();
  await page.goto(url);
  return { page, complaints, seconds: (Date.now() - begun) / 1000, close: () => context.close() };
}

/** Whether it comes true within seconds: scrolling is smooth. */
const comes = (page, condition) => page.waitForFunction(condition, null, { timeout: 5000 }).then(() => true, () => false);

async function violations(page) {
  await page.evaluate(axe);
  const { violations } = await page.evaluate(() => axe.run());
  return violations.map(rule => `${rule.id}: ${rule.nodes[0].html.slice(0, 200)} ${rule.nodes[0].failureSummary}`);
}

async function checkExamples(browser, url, sight) {
  console.log(sight.name);
  const { page, complaints, close } = await open(browser, url, sight);
  expect(await page.locator("details.group").count() === 3, "three groups");
  expect(await page.locator(".shots li").count() === 10 && await page.locator(".shots img").count() === 10, "ten screenshots");
  expect(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), "nothing is wider than the window");
  expect(await page.evaluate(() => [...document.images].every(image => image.complete && image.naturalWidth > 0 || !image.src)), "all pictures are there");
  const faults = await violations(page);
  expect(faults.length === 0, "no accessibility rule is broken " + faults.join("\n"));
  await page.evaluate(() => Promise.all([...document.images].filter(image => image.src).map(image => image.decode())));
  await page.screenshot({ path: join(folder, `${sight.name}.png`), fullPage: true });

  const marks = await page.locator("#group-2 .mark").evaluateAll(all => all.map(mark => mark.offsetTop));
  expect(marks.length === 4 && marks.every((top, i) => i === 0 || top > marks[i - 1]), "four seams lie in the picture, one below the other");
  const strip = page.locator("#group-2 .strip");
  await strip.focus();
  await page.keyboard.press("End");
  expect(await comes(page, () => {
    const [part, map] = [".window", ".map"].map(part => document.querySelector("#group-2 " + part));
    return part.offsetTop + part.offsetHeight > map.clientHeight - 2;
  }), "the map follows the picture, by keyboard");
  await page.locator("#group-2 .map").click({ position: { x: 5, y: 5 } });
  expect(await comes(page, () => document.querySelector("#group-2 .strip").scrollTop < 300), "a click in the map leads there");

  await page.locator("#group-2-seam-1 button").focus();
  await page.keyboard.press("Enter");
  const dialog = page.locator("dialog[open]");
  await dialog.waitFor();
  expect(await dialog.evaluate(it => it.contains(document.activeElement)), "the focus is in the dialog");
  const fits = await page.evaluate(() => {
    const seam = document.getElementById("group-2-seam-1"), [upper, lower] = document.querySelectorAll("dialog img");
    const scale = upper.getBoundingClientRect().width / document.getElementById(seam.dataset.upper).dataset.width;
    return Math.abs(lower.getBoundingClientRect().top - upper.getBoundingClientRect().top - seam.dataset.offset * scale);
  });
  expect(fits < 1, "equal rows lie beside each other");
  const inDialog = await violations(page);
  expect(inDialog.length === 0, "no accessibility rule is broken in the dialog " + inDialog.join("\n"));
  await page.screenshot({ path: join(folder, `${sight.name}-seam.png`) });
  await page.keyboard.press("ArrowRight");
  expect(/2/.test(await dialog.locator("h2").textContent()), "the arrow leads to the next seam");
  for (const key of ["ArrowRight", "ArrowRight", "ArrowRight", "ArrowLeft"])
    await page.keyboard.press(key);
  expect(/3/.test(await dialog.locator("h2").textContent()), "and back from the last one");
  await page.keyboard.press("Escape");
  expect(await page.evaluate(() => document.activeElement.dataset.seam) === "group-2-seam-1", "the focus returns");
  await page.locator("#group-2 .mark").nth(3).click();
  expect(/4/.test(await dialog.locator("h2").textContent()), "a mark in the picture opens its seam");
  await dialog.locator(".close").click();
  await page.locator("#group-1-seam-1 button").click(); // one that failed
  await page.screenshot({ path: join(folder, `${sight.name}-refused.png`) });
  await page.keyboard.press("Escape");

  await page.locator("#filter").check();
  expect(await page.locator("details.group:visible").count() === 1, "the filter leaves what was not joined");
  await page.locator("#shut").click();
  expect(await page.locator("details[open]").count() === 0, "all can be closed");
  const tree = await page.locator("body").ariaSnapshot();
  for (const part of ["heading", "button \"Open all\"", "checkbox"])
    expect(tree.includes(part), `the accessibility tree has ${part}`);
  expect(complaints.length === 0, "no complaint in the console, nothing asked for " + complaints.join("\n"));
  await close();
}

/** The thumbnails, decoded as a reader comes to see them, that have one colour only. */
const blankThumbnails = page => page.evaluate(async () => {
  const canvas = new OffscreenCanvas(32, 64).getContext("2d", { willReadFrequently: true }), blank = [];
  for (const image of document.querySelectorAll(".shots img")) {
    await image.decode();
    canvas.drawImage(image, 0, 0, 32, 64);
    const pixels = new Uint32Array(canvas.getImageData(0, 0, 32, 64).data.buffer);
    if (pixels.every(pixel => pixel === pixels[0])) blank.push(image.alt);
  }
  return blank;
});

async function checkLarge(browser, name, url, groups, rows) {
  const { page, complaints, seconds, close } = await open(browser, url, { viewport: { width: 1280, height: 900 } });
  expect(await page.locator("details.group").count() === groups, `${name}: ${groups} groups`);
  const begun = Date.now();
  await page.evaluate(() => document.getElementById("open")?.click());
  await page.evaluate(() => new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done))));
  const opened = (Date.now() - begun) / 1000;
  console.log(`  ${name}: loaded in ${seconds.toFixed(2)} s, all opened in ${opened.toFixed(2)} s`);
  expect(seconds < 6 && opened < 6, `${name}: quick`);
  if (rows) {
    const heights = await page.locator(".sheet").evaluate(sheet => [Number(sheet.dataset.height), sheet.clientHeight, sheet.scrollHeight]);
    expect(heights[0] === rows, `${name}: the picture has ${rows} rows (${heights})`);
    await page.locator(".strip").evaluate(strip => strip.scrollTo({ top: strip.scrollHeight, behavior: "instant" }));
  }
  const blank = await blankThumbnails(page);
  expect(blank.length === 0, `${name}: no thumbnail is blank ` + blank.join(", "));
  await page.evaluate(() => new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done))));
  await page.screenshot({ path: join(folder, `${name}.png`) });
  expect(complaints.length === 0, `${name}: no complaint ` + complaints.join("\n"));
  await close();
}

const browser = await launch(folder);
try {
  const url = report("examples", "--recursive", examples);
  const phone = { viewport: { width: 390, height: 844 }, deviceScaleFactor: 2, hasTouch: true }, desktop = { viewport: { width: 1280, height: 900 } };
  for (const colorScheme of ["light", "dark"]) {
    await checkExamples(browser, url, { ...phone, colorScheme, name: `phone-${colorScheme}` });
    await checkExamples(browser, url, { ...desktop, colorScheme, name: `desktop-${colorScheme}` });
  }
  const still = await open(browser, url, { ...desktop, javaScriptEnabled: false });
  expect(await still.page.locator(".seam").count() === 7 && !await still.page.locator(".controls").isVisible(), "without scripts all is there but the buttons");
  await still.close();
  language = "de";
  const german = await open(browser, report("german", "--recursive", examples), phone);
  expect(await german.page.evaluate(() => document.documentElement.lang) === "de" && await german.page.getByRole("button", { name: "Naht 1" }).count() > 0, "the page speaks German");
  await german.page.evaluate(() => Promise.all([...document.images].filter(image => image.src).map(image => image.decode())));
  await german.page.screenshot({ path: join(folder, "german.png"), fullPage: true });
  await german.close();
  language = "en";
  await checkLarge(browser, "many", report("many", manyGroups(200)), 200);
  await checkLarge(browser, "long", report("long", "--together", await longPage(browser, 100_000)), 1, 100_000);
} finally {
  await browser.close();
}
console.log(failures.length ? `${failures.length} failed` : "all hold");
process.exit(failures.length ? 1 : 0);
