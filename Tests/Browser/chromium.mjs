// Debian's Chromium, driven by the playwright-core that lies in FOLDER/node_modules.
import { execFileSync } from "node:child_process";
import { createRequire } from "node:module";
import { join } from "node:path";

export const requireFrom = folder => createRequire(join(folder, "package.json"));

export function launch(folder) {
  const executablePath = execFileSync("which", ["chromium"], { encoding: "utf8" }).trim();
  return requireFrom(folder)("playwright-core").chromium.launch({ executablePath, args: ["--no-sandbox"] });
}
