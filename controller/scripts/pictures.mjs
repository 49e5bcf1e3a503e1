// Takes the pictures of the controls for docs/images from the built page: npm run pictures [STATE ...].
// Each picture is a sheet that shows one state in one language at all sizes.
import { readFile } from "node:fs/promises";
import { fileURLToPath } from "node:url";
import { chromium } from "playwright-core";

const root = new URL("../", import.meta.url);
const origin = "https://ads.test";
const read = (path) => readFile(new URL(path, root));

/** The rows and columns of a sheet. */
const rows = [
  [["1280x720"], ["640x360"]],
  [["390x844"], ["160x600"], ["320x180", "200x112", "320x50"]],
];
const sizes = rows.flat(2).map((size) => size.split("x").map(Number));

/** Larger views are shown smaller on a sheet. */
const largestOnSheet = 640;

const languages = ["en", "ar", "de"];

const notice = (width, height) =>
  `<IconClickFallbackImage width="${width}" height="${height}"><AltText>Why this ad: it is about balloons.</AltText><StaticResource>${origin}/notice.svg</StaticResource></IconClickFallbackImage>`;
const notices = `<IconClickFallbackImages>${notice(320, 180)}</IconClickFallbackImages>`;
const tracker = (name) => `<Tracking event="${name}">${origin}/beacon/${name}</Tracking>`;
const drawing = (width, height, body) =>
  `<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${height}" viewBox="0 0 ${width} ${height}">${body}</svg>`;
const images = {
  "/choices.svg": drawing(
    20,
    20,
    '<rect width="20" height="20" fill="#fff"/><circle cx="10" cy="10" r="8" fill="#00aecd"/><path d="M9 9h2v6H9zM9 5h2v2H9z" fill="#fff"/>',
  ),
  "/notice.svg": drawing(
    320,
    180,
    '<rect width="320" height="180" rx="12" fill="#fff"/><circle cx="60" cy="60" r="32" fill="#00aecd"/><path d="M55 55h10v26h-10zM55 40h10v9h-10z" fill="#fff"/><path d="M112 36h170v14H112zM112 62h170v14H112zM112 88h110v14H112zM28 124h254v12H28zM28 146h190v12H28z" fill="#b5bdc9"/>',
  ),
  "/card.svg": drawing(
    640,
    360,
    '<rect width="640" height="360" fill="#1d4e89"/><circle cx="320" cy="150" r="80" fill="#ffc53d"/><path d="M300 225h40v40h-40z" fill="#f26419"/><rect x="220" y="290" width="200" height="44" rx="22" fill="#fff"/>',
  ),
};

function adXml({ number, skipOffset, captions, extras, iconNotice }) {
  const captionFiles = `<ClosedCaptionFiles><ClosedCaptionFile type="text/vtt" language="en">${origin}/media/ad-2.vtt</ClosedCaptionFile></ClosedCaptionFiles>`;
  const icon = `<Icons><Icon program="AdChoices" width="20" height="20" xPosition="right" yPosition="top"><StaticResource creativeType="image/svg+xml">${origin}/choices.svg</StaticResource><IconClicks>${iconNotice ? notices : "<IconClickThrough>https://choices.example/</IconClickThrough>"}</IconClicks></Icon></Icons>`;
  const companion = `<Creative><CompanionAds><Companion width="640" height="360"><StaticResource creativeType="image/svg+xml">${origin}/card.svg</StaticResource><CompanionClickThrough>https://advertiser.example/</CompanionClickThrough></Companion></CompanionAds></Creative>`;
  return `<Ad id="ad-${number}" sequence="${number}"><InLine><AdSystem>Pictures</AdSystem><AdTitle>Highland Balloons</AdTitle>
<Impression>${origin}/beacon/impression</Impression><Creatives><Creative><Linear ${skipOffset === undefined ? "" : `skipoffset="00:00:0${skipOffset}"`}>
<Duration>00:00:0${number + 3}</Duration><TrackingEvents>${tracker("start")}</TrackingEvents>
<VideoClicks><ClickThrough>https://advertiser.example/</ClickThrough></VideoClicks>
<MediaFiles><MediaFile delivery="progressive" type="video/mp4" width="640" height="360">${origin}/media/ad-${number}.mp4</MediaFile>${captions ? captionFiles : ""}</MediaFiles>
${extras ? icon : ""}</Linear></Creative>${extras ? companion : ""}</Creatives></InLine></Ad>`;
}
const vast = (...ads) => `<VAST version="4.2">${ads.map(adXml).join("")}</VAST>`;

/** What is played, when the pictures are taken, and what is done just before. */
const states = {
  waiting: {
    vast: vast({ number: 2, skipOffset: 4, captions: true, extras: true }, { number: 3 }),
    playback: { captions: true },
    at: 1.2,
  },
  skippable: {
    vast: vast({ number: 2, skipOffset: 2, captions: true }),
    at: 2.5,
    prepare: async (page) => {
      await page.keyboard.press("Tab");
      await page.locator(".skip").focus();
    },
  },
  paused: {
    vast: vast({ number: 3, skipOffset: 5 }),
    playback: { muted: true },
    at: 2,
    prepare: (page) => page.keyboard.press("k"),
  },
  notice: {
    vast: vast({ number: 2, skipOffset: 4, extras: true, iconNotice: true }),
    at: 1.2,
    prepare: (page) => page.locator(".ad-icon").click(),
  },
  ended: { vast: vast({ number: 1, extras: true }), event: "AdVideoComplete" },
  failed: { vast: vast({ number: 2 }), isUnplayable: true, event: "AdError" },
};

async function answer(route, state) {
  const { pathname } = new URL(route.request().url());
  if (pathname.endsWith(".html"))
    return route.fulfill({ contentType: "text/html", body: await read("dist/VMRWebViewRuntime.html") });
  if (images[pathname]) return route.fulfill({ contentType: "image/svg+xml", body: images[pathname] });
  if (pathname.startsWith("/media/")) {
    const contentType = pathname.endsWith(".vtt") ? "text/vtt" : "video/mp4";
    return route.fulfill({ contentType, body: state.isUnplayable ? "unplayable" : await read(`tests${pathname}`) });
  }
  return route.fulfill({ status: 404 });
}

async function shoot(browser, state, language) {
  const context = await browser.newContext({ viewport: { width: 640, height: 360 } });
  const page = await context.newPage();
  await context.route("**/*", (route) => answer(route, state));
  await page.addInitScript(() => {
    window.posted = [];
    const handler = { postMessage: (body) => window.posted.push(body) };
    window.webkit = { messageHandlers: { Vemora: handler, VemoraLog: handler } };
  });
  await page.goto(`${origin}/mobile/sdk/v4/native/VMRWebViewRuntime.html`);
  const post = (message) => page.evaluate((text) => window.VemoraProxy.bridge.onMessage(text), JSON.stringify(message));
  const params = {
    params: { placement_type: "interstitial", vast_xml: state.vast },
    playback: state.playback ?? {},
    device: { lang: language },
  };
  await post({ id: "1", method: "get.ads", params });
  await page.waitForFunction(() => window.posted.some(({ id }) => id === "1"));
  await post({ id: "2", method: "control.start" });
  if (state.event) {
    await page.waitForFunction((name) => window.posted.some(({ params }) => params?.event === name), state.event);
    await page.waitForTimeout(300);
  } else {
    await page.waitForFunction((at) => document.querySelector("video:not(.spare)").currentTime >= at, state.at);
    // All sizes show about the same moment.
    await page.evaluate(() => (document.querySelector("video:not(.spare)").playbackRate = 0.0625));
  }
  await state.prepare?.(page);
  const shots = [];
  for (const [width, height] of sizes) {
    await page.setViewportSize({ width, height });
    await page.waitForTimeout(state.event === "AdVideoComplete" ? 120 : 250);
    const image = await page.screenshot();
    shots.push({ width, height, source: `data:image/png;base64,${image.toString("base64")}` });
  }
  await context.close();
  return shots;
}

function sheet(shots) {
  const figure = (size) => {
    const { width, source } = shots.find((shot) => `${shot.width}x${shot.height}` === size);
    const shown = Math.min(width, largestOnSheet);
    return `<figure><figcaption>${size}</figcaption><img src="${source}" width="${shown}"></figure>`;
  };
  const body = rows.map((columns) => {
    return `<section>${columns.map((column) => `<div>${column.map(figure).join("")}</div>`).join("")}</section>`;
  });
  return `<style>body{margin:12px;background:#d8dbe0;font:13px sans-serif}section{display:flex;gap:14px}
figure{margin:0 0 12px}figcaption{margin-bottom:4px}img{display:block}</style>${body.join("")}`;
}

async function takeSheet(browser, name, language) {
  const shots = await shoot(browser, states[name], language);
  const page = await browser.newPage({ viewport: { width: 1344, height: 600 } });
  await page.setContent(sheet(shots));
  const path = fileURLToPath(new URL(`../docs/images/controller-${name}-${language}.png`, root));
  await page.screenshot({ path, fullPage: true });
  await page.close();
}

const wanted = process.argv.slice(2);
const unknown = wanted.filter((name) => !states[name]);
if (unknown.length > 0) {
  console.error(`No such state: ${unknown.join(", ")}. There are ${Object.keys(states).join(", ")}.`);
  process.exit(2);
}
const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
  args: JSON.parse(await read("scripts/chromium.json")),
});
for (const name of wanted.length > 0 ? wanted : Object.keys(states)) {
  for (const language of languages) await takeSheet(browser, name, language);
}
await browser.close();
