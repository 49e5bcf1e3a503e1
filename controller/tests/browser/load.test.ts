import { afterEach, expect, it } from "vitest";
import { origin, PageDriver, type Answer, type DriverOptions } from "./page_driver";
import { inline, leaf, linear, mediaFile, vast, wrapper } from "../vast_text";

let driver: PageDriver | undefined;

afterEach(async () => {
  await driver?.close();
  driver = undefined;
});

async function opened(answers: Record<string, Answer>, options: DriverOptions = {}): Promise<PageDriver> {
  driver = await PageDriver.open({ answers, ...options });
  return driver;
}

/** A server that lets only the pages of another origin read its answers. */
async function serveWithoutPermission(page: PageDriver, answer: { contentType: string; body: string }): Promise<void> {
  const headers = { "access-control-allow-origin": "https://another.example" };
  await page.page.context().route("https://closed.example/**", (route) => route.fulfill({ ...answer, headers }));
}

const playable = (id: string, sequence: number) =>
  inline(id, { values: { sequence }, creatives: [linear({ media: mediaFile({}, `${origin}/media/ad-1.mp4`) })] });

it("answers in time, and before any beacon, when a wrapper of a pod never answers", async () => {
  const errors = Array.from({ length: 30 }, (_, at) => leaf("Error", `${origin}/error-${at}`)).join("");
  const pod = vast("4.2", playable("good", 1), wrapper("dead", "/dead", { values: { sequence: 2 }, extras: errors }));
  const page = await opened({ "/tag": { body: pod }, "/dead": { delay: 20_000 } });
  const asked = Date.now();
  const ads = await page.loadAds({ params: { vast_url: `${origin}/tag` } });
  expect(Date.now() - asked).toBeLessThan(4500);
  expect(ads.map(({ id }) => id)).toEqual(["good"]);
  await page.waitFor(() => page.beacons().length === 31);
  const reply = page.messages.findIndex(({ result }) => result !== undefined);
  expect(page.messages.findIndex(({ method }) => method === "window")).toBeGreaterThan(reply);
});

it("refuses a document type before its entities are expanded", async () => {
  const entities = Array.from({ length: 30 }, (_, at) => `<!ENTITY e${at + 1} "&e${at};&e${at};&e${at};&e${at};">`);
  const bomb = `<!DOCTYPE VAST [<!ENTITY e0 "${"x".repeat(1000)}">${entities.join("")}]>${vast("4.2", inline("&e30;")).slice(39)}`;
  const page = await opened({ "/tag": { body: bomb } });
  const asked = Date.now();
  expect(await page.loadAds({ params: { vast_url: `${origin}/tag` } })).toEqual([]);
  expect(Date.now() - asked).toBeLessThan(1500);
  expect(page.logs.join()).toContain("declares a document type");
});

it("fails the load of a tag whose server does not allow the page to read it, and logs the remedy", async () => {
  const page = await opened({});
  await serveWithoutPermission(page, { contentType: "text/xml", body: vast("4.2") });
  const { error } = await page.call("get.ads", { params: { vast_url: "https://closed.example/tag" } });
  expect(error?.message).toMatch(/^The ad tag could not be read: https:\/\/closed\.example\/tag: .*CORS/);
  expect(page.logs.join()).toContain(`set "Access-Control-Allow-Origin: ${origin}"`);
});

it("reports an unreadable video from a server without CORS as 405 and not as missing, and the viewer reads why", async () => {
  const ad = inline("a", { creatives: [linear({ media: mediaFile({}, "https://closed.example/a.mp4") })] });
  const page = await opened({ "/tag": { body: vast("4.2", ad) } });
  await serveWithoutPermission(page, { contentType: "video/mp4", body: "no video" });
  await page.loadAds({ params: { vast_url: `${origin}/tag` } });
  await page.call("control.start");
  expect((await page.waitForEvent("AdError")).params?.data).toMatch(/^VAST error 405: /);
  await page.page.getByText("This ad cannot be shown").waitFor();
});
