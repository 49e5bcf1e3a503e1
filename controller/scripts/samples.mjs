// Answers VAST and VMAP documents with the built page and prints the result for each:
// npm run samples -- [--offline] FOLDER_OR_FILE ...
// Documents come from the folder, and so do files that they refer to by "{{origin}}" or by a relative address. Everything
// else comes from the network, unless --offline refuses it. Exits with 1 if a document is lost, fails or is silent.
import { existsSync, statSync } from "node:fs";
import { readdir, readFile } from "node:fs/promises";
import { basename, dirname, join } from "node:path";
import { chromium } from "playwright-core";

const root = new URL("../", import.meta.url);
const origin = "https://ads.test";
const pagePath = "/mobile/sdk/v4/native/VMRWebViewRuntime.html";

/** How long the native side waits for the reply to "get.ads", and how long a first frame may take. */
const replyMs = 5000;
const frameMs = 15_000;

const contentTypes = {
  m3u8: "application/vnd.apple.mpegurl",
  mp4: "video/mp4",
  ts: "video/mp2t",
  vtt: "text/vtt",
  xml: "text/xml",
};

/** Hosts that are reserved for tests and documentation: nothing can be fetched from them. */
const isReserved = (host) => /(^|\.)(test|example|invalid)$|(^|\.)example\.(com|net|org)$/.test(host);

async function documentsIn(path) {
  if (!statSync(path).isDirectory()) return [{ folder: dirname(path), name: basename(path) }];
  const entries = await readdir(path, { recursive: true });
  const names = entries.filter((name) => name.toLowerCase().endsWith(".xml")).sort();
  return names.map((name) => ({ folder: path, name }));
}

/** A file of the folder, or else of the test media. */
async function fileAt(folder, path) {
  const name = decodeURIComponent(path).slice(1);
  const places = [join(folder, name), ...(/^media\/[^/]+$/.test(name) ? [new URL(`tests/${name}`, root)] : [])];
  const found = places.find((place) => existsSync(place) && statSync(place).isFile());
  if (!found) return undefined;
  const body = await readFile(found);
  return name.toLowerCase().endsWith(".xml") ? body.toString("utf8").split("{{origin}}").join(origin) : body;
}

async function answer(route, folder, isOffline) {
  const url = new URL(route.request().url());
  const headers = { "access-control-allow-origin": "*" };
  if (url.origin === origin && url.pathname === pagePath)
    return route.fulfill({
      contentType: "text/html",
      body: await readFile(new URL("dist/VMRWebViewRuntime.html", root)),
    });
  if (!isReserved(url.hostname)) return isOffline ? route.abort() : route.continue();
  const body = await fileAt(folder, url.pathname);
  if (body === undefined) return route.fulfill({ status: 404, headers });
  const contentType = contentTypes[url.pathname.split(".").pop()] ?? "application/octet-stream";
  return route.fulfill({ contentType, headers, body });
}

/** The page in a native side that only records. */
async function opened(context, folder, isOffline) {
  const page = await context.newPage();
  await page.route("**/*", (route) => answer(route, folder, isOffline).catch(() => undefined));
  await page.addInitScript(() => {
    window.posted = [];
    window.logged = [];
    const handler = (list) => ({ postMessage: (body) => list.push(body) });
    window.webkit = { messageHandlers: { Vemora: handler(window.posted), VemoraLog: handler(window.logged) } };
  });
  await page.goto(origin + pagePath);
  const post = (message) => page.evaluate((text) => window.VemoraProxy.bridge.onMessage(text), JSON.stringify(message));
  /** The first message that matches; undefined when none has come in time. */
  const message = (milliseconds, predicate, argument) =>
    page
      .waitForFunction(predicate, argument, { timeout: milliseconds, polling: 20 })
      .then((handle) => handle.jsonValue())
      .catch(() => undefined);
  return { page, post, message };
}

const outcomeOf = (names) => {
  const events = window.posted.filter(({ method, params }) => method === "event" && names.includes(params.event));
  return events[0]?.params;
};

/** Whether a document has a video that the engine says it plays, and that needs no script. */
function hasVideo(text) {
  if (/<!DOCTYPE/i.test(text)) return false;
  const xml = new DOMParser().parseFromString(text.trim(), "text/xml");
  const plays = (file) => {
    const attribute = (name) => file.getAttribute(name) ?? "";
    if (/vpaid|simid/i.test(attribute("apiFramework"))) return false;
    const codecs = /^\w+\.\w/.test(attribute("codec")) ? `; codecs="${attribute("codec")}"` : "";
    return document.createElement("video").canPlayType(attribute("type") + codecs) !== "";
  };
  const files = Array.from(xml.getElementsByTagNameNS("*", "MediaFile"));
  return xml.documentElement.localName === "VAST" && files.some(plays);
}

/**
 * The result for a document, and the reason: "plays", "no ad", "lost" (no ad although it has a video), "fails" (an announced ad
 * shows no frame), "refused" (the request is answered with an error) or "silent" (it is not answered).
 */
async function judge(context, { folder, name }, isOffline) {
  const { page, post, message } = await opened(context, folder, isOffline);
  try {
    const address = `${origin}/${name.split(/[\\/]/).map(encodeURIComponent).join("/")}`;
    const params = { params: { vast_url: address, placement_type: "interstitial" }, playback: { muted: true } };
    await post({ id: "1", method: "get.ads", params });
    const reply = await message(replyMs, () => window.posted.find(({ id }) => id === "1"));
    const reasons = async () => [...new Set(await page.evaluate(() => window.logged))].join("; ");
    if (!reply) return ["silent", `no reply within ${replyMs / 1000} s`];
    if (reply.error) return ["refused", reply.error.message];
    const { ads } = reply.result.data.adgroup;
    if (ads.length === 0) {
      const text = String(await fileAt(folder, `/${name}`));
      return [(await page.evaluate(hasVideo, text)) ? "lost" : "no ad", await reasons()];
    }
    await post({ id: "2", method: "control.start" });
    const event = await message(frameMs, outcomeOf, ["AdStarted", "AdError"]);
    if (event?.event !== "AdStarted") return ["fails", event?.data ?? "no frame"];
    const file = ads.find(({ id }) => id === event.id)?.url ?? "";
    return [
      "plays",
      [`${event.id} of ${ads.map(({ id }) => id).join(", ")}: ${file}`, await reasons()].filter(Boolean).join("; "),
    ];
  } finally {
    await page.close();
  }
}

const words = process.argv.slice(2);
const isOffline = words.includes("--offline");
const paths = words.filter((word) => word !== "--offline");
const missing = paths.filter((path) => path.startsWith("-") || !existsSync(path));
if (paths.length === 0 || missing.length > 0) {
  console.error(
    missing.length > 0 ? `No such file or folder: ${missing.join(", ")}` : "Name folders or files with documents.",
  );
  console.error("Usage: npm run samples -- [--offline] FOLDER_OR_FILE ...");
  process.exit(2);
}
const documents = (await Promise.all(paths.map(documentsIn))).flat();
if (documents.length === 0) {
  console.error(`There is no .xml file in ${paths.join(", ")}`);
  process.exit(2);
}
const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
  args: JSON.parse(await readFile(new URL("scripts/chromium.json", root))),
});
const counts = {};
const context = await browser.newContext({ viewport: { width: 640, height: 360 } });
for (const document of documents) {
  const [outcome, text] = await judge(context, document, isOffline);
  counts[outcome] = (counts[outcome] ?? 0) + 1;
  console.log(`${outcome.padEnd(8)} ${document.name}  ${text}`);
}
await browser.close();
console.log(
  `${documents.length} documents: ${Object.entries(counts)
    .map(([name, count]) => `${count} ${name}`)
    .join(", ")}`,
);
process.exitCode = counts.silent || counts.fails || counts.lost ? 1 : 0;
