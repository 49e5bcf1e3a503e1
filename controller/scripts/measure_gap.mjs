// Compares the gap between two ads of a pod with that of a bare page that plays two prepared <video> elements, and one that gives
// the next file to the same element: node scripts/measure_gap.mjs [ROUNDS].
import { readFile } from "node:fs/promises";
import { chromium } from "playwright-core";

const root = new URL("../", import.meta.url);
const origin = "https://ads.test";
const read = (path) => readFile(new URL(path, root));
const files = ["/media/ad-1.mp4", "/media/ad-2.mp4"];

const bare = (script) => `<!doctype html><style>video{position:absolute;width:100%;height:100%}</style>
<video src="${files[0]}" preload="auto"></video>${script}`;
const pages = {
  "/prepared.html": bare(`<video src="${files[1]}" preload="auto" style="visibility:hidden"></video><script>
const [first, second] = document.querySelectorAll("video");
first.onended = () => { second.style.visibility = "visible"; first.style.visibility = "hidden"; second.play(); };
first.play();</script>`),
  "/same.html": bare(`<script>
const video = document.querySelector("video");
video.onended = () => { video.src = "${files[1]}"; video.play(); };
video.play();</script>`),
};
const ads = files.map((src, index) => ({ id: `ad-${index}`, index, media: [{ src, type: "video/mp4" }] }));

async function answer(route) {
  const { pathname } = new URL(route.request().url());
  if (pages[pathname]) return route.fulfill({ contentType: "text/html", body: pages[pathname] });
  if (pathname === "/reference.html")
    return route.fulfill({ contentType: "text/html", body: await read("dist/VMRWebViewRuntime.html") });
  if (pathname === "/ads.json") return route.fulfill({ json: { ads } });
  if (files.includes(pathname))
    return route.fulfill({ contentType: "video/mp4", body: await read(`tests${pathname}`) });
  return route.fulfill({ status: 404 });
}

/** Runs in the page: notes when the first video ended, and when the second one showed a frame and was reported. */
function instrument() {
  const marks = {};
  const mark = (name) => (marks[name] ??= performance.now());
  document.addEventListener("ended", () => mark("end"), true);
  document.addEventListener(
    "playing",
    ({ target }) => {
      if (marks.end) target.requestVideoFrameCallback(() => mark("frame"));
    },
    true,
  );
  const onMessage = ({ id, params }) => {
    if (id === "1") window.isLoaded = true;
    if (params?.event === "AdVideoComplete") mark("complete");
    if (params?.event === "AdStarted" && params.id === "ad-1") mark("started");
  };
  const handler = { postMessage: onMessage };
  window.webkit = { messageHandlers: { Vemora: handler, VemoraLog: handler } };
  window.gapsOf = (isReference) => {
    if (!marks.frame || (isReference && !marks.started)) return undefined;
    return { frame: marks.frame - marks.end, events: marks.started - marks.complete };
  };
}

async function gapOf(browser, path) {
  const context = await browser.newContext({ viewport: { width: 640, height: 360 } });
  const page = await context.newPage();
  await context.route("**/*", answer);
  await page.addInitScript(instrument);
  await page.goto(origin + path);
  if (path === "/reference.html") {
    const post = (message) =>
      page.evaluate((text) => window.VemoraProxy.bridge.onMessage(text), JSON.stringify(message));
    await post({ id: "1", method: "get.ads", params: {} });
    await page.waitForFunction(() => window.isLoaded);
    await post({ id: "2", method: "control.start" });
  }
  const gaps = await page.waitForFunction((isReference) => window.gapsOf(isReference), path === "/reference.html");
  const result = await gaps.jsonValue();
  await context.close();
  return result;
}

const rounds = Number(process.argv[2] ?? 5);
if (!(rounds >= 1)) {
  console.error(`The number of rounds is a number from 1 on, not ${process.argv[2]}.`);
  process.exit(2);
}
const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
  args: [...JSON.parse(await read("scripts/chromium.json")), "--autoplay-policy=no-user-gesture-required"],
});
const gaps = { "/reference.html": [], "/prepared.html": [], "/same.html": [] };
for (let round = 0; round < rounds; round += 1) {
  for (const path of Object.keys(gaps)) gaps[path].push(await gapOf(browser, path));
}
await browser.close();

function report(name, values) {
  const median = [...values].sort((one, other) => one - other)[Math.floor(values.length / 2)];
  console.log(`${name.padEnd(44)} ${median.toFixed(1)} ms of ${values.map((gap) => gap.toFixed(1)).join(", ")}`);
}
const measured = (path, kind) => gaps[path].map((gap) => gap[kind]);
report("end to next frame, reference page", measured("/reference.html", "frame"));
report("end to next frame, two prepared elements", measured("/prepared.html", "frame"));
report("end to next frame, one element", measured("/same.html", "frame"));
report("AdVideoComplete to AdStarted, reference page", measured("/reference.html", "events"));
