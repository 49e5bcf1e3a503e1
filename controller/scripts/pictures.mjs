// Takes the pictures of the controls for docs/images from the built page: npm run pictures.
import { readFile } from "node:fs/promises";
import { fileURLToPath } from "node:url";
import { chromium } from "playwright-core";

const root = new URL("../", import.meta.url);
const origin = "https://ads.test";
const read = (path) => readFile(new URL(path, root));

const film = (number, more) => ({
  id: `film-${number}`,
  index: number,
  title: "Highland Balloons",
  duration: number + 3,
  clickthru: "https://advertiser.example/",
  media: [{ src: `${origin}/media/ad-${number}.mp4`, type: "video/mp4", width: 640, height: 360 }],
  ...more,
});
const captions = [{ src: `${origin}/media/ad-2.vtt`, lang: "en", label: "English" }];

const scenes = [
  {
    name: "waiting",
    ads: [film(2, { index: 0, skipOffset: 4, captions }), film(3)],
    payload: { params: { placement_type: "interstitial" }, playback: { captions: true } },
    at: 0.9,
  },
  {
    name: "skippable",
    ads: [film(2, { skipOffset: 2, captions })],
    payload: { params: { placement_type: "inline" }, playback: { captions: false } },
    at: 3,
    focus: "Skip ad",
  },
  {
    name: "paused",
    ads: [film(3, { skipOffset: 5 })],
    payload: { params: { placement_type: "interstitial" }, playback: { muted: true } },
    at: 2,
    pause: true,
  },
];
const sizes = [
  { width: 320, height: 180 },
  { width: 1920, height: 1080 },
];

async function answer(route, ads) {
  const { pathname } = new URL(route.request().url());
  if (pathname.endsWith(".html"))
    return route.fulfill({ contentType: "text/html", body: await read("dist/VMRWebViewRuntime.html") });
  if (pathname === "/ads.json") return route.fulfill({ json: { ads } });
  if (pathname.startsWith("/media/")) {
    const contentType = pathname.endsWith(".vtt") ? "text/vtt" : "video/mp4";
    return route.fulfill({ contentType, body: await read(`tests${pathname}`) });
  }
  return route.fulfill({ status: 404 });
}

async function take(browser, scene, size) {
  const context = await browser.newContext({ viewport: size });
  const page = await context.newPage();
  await context.route("**/*", (route) => answer(route, scene.ads));
  await page.addInitScript(() => {
    window.told = [];
    const handler = { postMessage: (body) => window.told.push(body) };
    window.webkit = { messageHandlers: { Vemora: handler, VemoraLog: handler } };
  });
  await page.goto(`${origin}/mobile/sdk/v4/native/VMRWebViewRuntime.html`);
  const post = (message) => page.evaluate((text) => window.VemoraProxy.bridge.onMessage(text), JSON.stringify(message));
  const isAnswered = (id) => page.waitForFunction((wanted) => window.told.some((told) => told.id === wanted), id);
  await post({ id: "1", method: "get.ads", params: scene.payload });
  await isAnswered("1");
  await post({ id: "2", method: "control.start" });
  await page.waitForFunction((at) => document.querySelector("video").currentTime >= at, scene.at);
  if (scene.pause) await page.keyboard.press("k");
  if (scene.focus) {
    await page.keyboard.press("Tab");
    await page.getByLabel(scene.focus, { exact: true }).focus();
  }
  const name = `controller-${scene.name}-${size.width}x${size.height}.png`;
  await page.screenshot({ path: fileURLToPath(new URL(`../docs/images/${name}`, root)) });
  await context.close();
}

const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
  args: JSON.parse(await read("scripts/chromium.json")),
});
for (const scene of scenes) for (const size of sizes) await take(browser, scene, size);
await browser.close();
