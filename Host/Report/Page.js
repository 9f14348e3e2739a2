// The page is whole without this script, but for what answers a click: the marks of the seams in the picture and in its
// map, the part of the map that is in view, and the two screenshots of a seam side by side.
"use strict";
const all = (selector, within = document) => [...within.querySelectorAll(selector)];
const percent = (part, whole) => `${100 * part / whole}%`;

function setUpPicture(view) {
  const strip = view.querySelector(".strip"), sheet = view.querySelector(".sheet"), map = view.querySelector(".map");
  const height = Number(sheet.dataset.height), part = map.querySelector(".window");
  for (const mark of all(".mark", sheet)) {
    mark.style.top = percent(mark.dataset.row, height);
    const tick = map.appendChild(document.createElement("span"));
    tick.className = "tick";
    tick.style.top = mark.style.top;
  }
  const follow = () => {
    part.style.top = percent(strip.scrollTop, strip.scrollHeight);
    part.style.height = percent(Math.min(strip.clientHeight, strip.scrollHeight), strip.scrollHeight);
  };
  const go = event => {
    const box = map.getBoundingClientRect();
    strip.scrollTo({ top: (event.clientY - box.top) / box.height * strip.scrollHeight - strip.clientHeight / 2, behavior: "instant" });
  };
  strip.addEventListener("scroll", follow, { passive: true });
  new ResizeObserver(follow).observe(strip);
  map.addEventListener("pointerdown", event => { map.setPointerCapture(event.pointerId); go(event); });
  map.addEventListener("pointermove", event => { if (event.buttons) go(event); });
}

const dialog = document.getElementById("pair"), figures = all("figure", dialog), names = all(".name", dialog);
const images = figures.map(figure => figure.appendChild(new Image()));
let shown = null, opener = null;

function addBox(figure, kind, from, to, height) {
  if (to < from || to <= 0) return;
  const box = figure.appendChild(document.createElement("span"));
  box.className = kind;
  box.style.top = percent(Math.max(0, from), height);
  box.style.height = percent(Math.min(to, height) - Math.max(0, from), height);
}

// Both are drawn as wide as each other; margins in percent count in widths, too, so equal rows lie beside each other.
function show(seam) {
  shown = seam;
  const { upper, lower, offset, band, top, bottom } = seam.dataset, moved = offset !== "";
  const shots = [upper, lower].map(id => document.getElementById(id)), away = Number(offset);
  const heights = shots.map(shot => Number(shot.dataset.height)), both = [away, heights[0] - away];
  shots.forEach((shot, i) => {
    const figure = figures[i];
    all("span", figure).forEach(box => box.remove());
    images[i].hidden = !shot.src;
    images[i].src = shot.src ?? "data:,";
    images[i].alt = shot.alt ?? "";
    names[i].textContent = shot.closest("li").querySelector(".name").textContent;
    figure.style.marginTop = i === 1 ? percent(away, shot.dataset.width) : 0;
    addBox(figure, "still", 0, Number(top), heights[i]);
    addBox(figure, "still", heights[i] - Number(bottom), Number(bottom) > 0 ? heights[i] : 0, heights[i]);
    if (moved) addBox(figure, "overlap", i === 0 ? away : 0, i === 0 ? away + heights[1] : both[1], heights[i]);
    if (band !== "") addBox(figure, "line", Number(band) + (i === 0 ? away : 0), heights[i], heights[i]);
  });
  all(".line", dialog).forEach(line => line.style.height = 0);
  dialog.querySelector("h2").textContent = seam.querySelector("button").textContent;
  dialog.querySelector(".about").textContent = all("p", seam).map(p => p.textContent).join(" · ");
  const seams = all(".seam", seam.closest(".seams")), at = seams.indexOf(seam);
  dialog.querySelector(".before").disabled = at === 0;
  dialog.querySelector(".after").disabled = at === seams.length - 1;
  if (document.activeElement.disabled) dialog.querySelector(".close").focus(); // or the keys would no longer come here
  if (!dialog.open) dialog.showModal();
  dialog.scrollTop = 0;
  const seamRow = dialog.querySelector(".line") ?? dialog.querySelector(".overlap");
  if (seamRow) dialog.scrollTop = Math.max(0, seamRow.getBoundingClientRect().top - dialog.getBoundingClientRect().top - dialog.clientHeight / 2);
}

function step(by) {
  const seams = all(".seam", shown.closest(".seams")), next = seams[seams.indexOf(shown) + by];
  if (next) show(next);
}

all(".view").forEach(setUpPicture);
document.addEventListener("click", event => {
  const button = event.target.closest(".seam button, .mark");
  if (button) { opener = button; show(document.getElementById(button.dataset.seam)); }
});
dialog.querySelector(".close").addEventListener("click", () => dialog.close());
dialog.querySelector(".before").addEventListener("click", () => step(-1));
dialog.querySelector(".after").addEventListener("click", () => step(1));
dialog.addEventListener("keydown", event => {
  if (event.key === "ArrowLeft") step(-1);
  if (event.key === "ArrowRight") step(1);
});
dialog.addEventListener("close", () => opener?.focus());

const controls = document.querySelector(".controls"), groups = all(".group");
if (controls) {
  const [open, shut] = all("button", controls), filter = controls.querySelector("input");
  open.addEventListener("click", () => groups.forEach(group => group.open = true));
  shut.addEventListener("click", () => groups.forEach(group => group.open = false));
  filter.addEventListener("change", () =>
    groups.forEach(group => group.hidden = filter.checked && group.classList.contains("good")));
  controls.hidden = false;
}
