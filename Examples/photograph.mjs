#!/usr/bin/env node
// Photographs the pages of this folder as a person would scroll them, with headless Chromium, and writes where each
// screenshot lies: Examples/*/truth.json. Needs Debian's chromium and node, nothing else; the tests need neither.
//
//   node --experimental-websocket Examples/photograph.mjs       (the option is needed below version 22)
import { spawn } from "node:child_process";
import { mkdtempSync, mkdirSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const png = { format: "png" }, jpeg = { format: "jpeg", quality: 90 };
const sets = [
  { name: "trip-chat", page: "chat.html", size: [390, 844], shot: png, scroll: [0, 407, 850, 1330, "end"],
    files: ["101112", "101115", "101119", "101122", "101126"].map(time => `Screenshot_20260301-${time}.png`) },
  { name: "receipt", page: "receipt.html", size: [360, 640], shot: jpeg, scroll: ["end", 340, 0], // from the bottom upwards
    files: ["094301", "094304", "094308"].map(time => `Screenshot_20260301-${time}.jpg`) },
  { name: "unrelated", pages: ["chat.html", "receipt.html"], size: [390, 844], shot: png, scroll: [1640, 0],
    files: ["201500", "201504"].map(time => `Screenshot_20260301-${time}.png`) },
];

const profile = mkdtempSync(join(tmpdir(), "photograph-"));
const browser = spawn("chromium", ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--hide-scrollbars",
  "--disable-background-networking", "--disable-component-update", "--disable-sync", "--force-color-profile=srgb",
  "--remote-debugging-port=0", `--user-data-dir=${profile}`, "about:blank"], { stdio: ["ignore", "ignore", "pipe"] });

try {
  const address = await new Promise((resolve, reject) => {
    let text = "";
    browser.stderr.on("data", data => { const found = (text += data).match(/ws:\/\/\S+/); if (found) resolve(found[0]); });
    browser.on("exit", () => reject(new Error("chromium ended: " + text)));
    browser.on("error", reject);
  });
  const call = await connect(address);
  const { targetId } = await call("Target.createTarget", { url: "about:blank" });
  const { sessionId } = await call("Target.attachToTarget", { targetId, flatten: true });
  const page = (method, params = {}) => call(method, params, sessionId);
  const evaluate = async expression => (await page("Runtime.evaluate", { expression, awaitPromise: true, returnByValue: true })).result.value;

  for (const set of sets) {
    const folder = join(here, set.name), [width, height] = set.size, shots = [];
    rmSync(folder, { recursive: true, force: true });
    mkdirSync(folder);
    await page("Emulation.setDeviceMetricsOverride", { width, height, deviceScaleFactor: 1, mobile: false });
    for (const [i, file] of set.files.entries()) {
      await page("Page.navigate", { url: "file://" + join(here, "page", set.page ?? set.pages[i]) });
      await evaluate("new Promise(done => document.readyState == 'complete' ? done() : addEventListener('load', done))");
      await evaluate("document.fonts.ready.then(() => 0)");
      const top = await evaluate(`scrollTo(0, ${set.scroll[i] === "end" ? 1e6 : set.scroll[i]}); new Promise(done => requestAnimationFrame(() => requestAnimationFrame(() => done(scrollY))))`);
      const { data } = await page("Page.captureScreenshot", set.shot);
      writeFileSync(join(folder, file), Buffer.from(data, "base64"));
      shots.push({ file, top });
    }
    const least = Math.min(...shots.map(shot => shot.top));
    const truth = set.pages ? { joined: false } : { joined: true, width, height: Math.max(...shots.map(shot => shot.top)) - least + height,
      offsets: Object.fromEntries(shots.map(shot => [shot.file, shot.top - least])) };
    writeFileSync(join(folder, "truth.json"), JSON.stringify(truth, null, 2) + "\n");
    console.log(set.name, shots.map(shot => shot.top).join(" "));
  }
} finally {
  browser.kill();
  setTimeout(() => rmSync(profile, { recursive: true, force: true, maxRetries: 5 }), 500);
}

/** A function that sends one command of the browser's debugging protocol and answers its result. */
async function connect(address) {
  const socket = new WebSocket(address), waiting = new Map();
  await new Promise((open, fail) => { socket.onopen = open; socket.onerror = fail; });
  let number = 0;
  socket.onmessage = event => {
    const { id, result, error } = JSON.parse(event.data), answer = waiting.get(id);
    waiting.delete(id);
    if (answer) error ? answer.reject(new Error(error.message)) : answer.resolve(result);
  };
  return (method, params, sessionId) => new Promise((resolve, reject) => {
    waiting.set(++number, { resolve, reject });
    socket.send(JSON.stringify({ id: number, method, params, sessionId }));
  });
}
