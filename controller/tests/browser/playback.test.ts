import { afterEach, describe, expect, it } from "vitest";
import { adList, listedAd } from "./ad_lists";
import { PageDriver, type DriverOptions } from "./page_driver";

let driver: PageDriver;

async function opened(options: DriverOptions): Promise<PageDriver> {
  driver = await PageDriver.open(options);
  return driver;
}

afterEach(() => driver.close());

const playedThrough = [
  "AdLoaded",
  "AdStarted",
  "AdImpression",
  "AdVideoStart",
  "AdVideoFirstQuartile",
  "AdVideoMidpoint",
  "AdVideoThirdQuartile",
  "AdVideoComplete",
  "AdStopped",
];

/** A view parked at zero size: no animation frames, and an unreliable visibility. */
function park(): void {
  window.requestAnimationFrame = () => 0;
  Object.defineProperty(document, "visibilityState", { get: () => "hidden" });
}

describe("a group of ads", () => {
  it("plays from the server's list with every event and beacon once and in order", async () => {
    const page = await opened({ answers: adList(listedAd(2), listedAd(1)), prepare: park });
    const ads = await page.loadAds();
    expect(ads.map(({ id }) => id)).toEqual(["ad-1", "ad-2"]);
    expect(page.pings()).toBe(0);
    expect((await page.call("control.start")).result).toEqual({ state: "playing" });
    await page.waitForEvent("AdGroupEnd");
    expect(page.events()).toEqual(["AdGroupStart", ...playedThrough, ...playedThrough, "AdGroupEnd"]);
    const moments = ["impression", "start", "firstQuartile", "midpoint", "thirdQuartile", "complete"];
    const expected = [1, 2].flatMap((ad) => moments.map((moment) => `/beacon/${moment}?ad=${ad}`));
    expect(page.beacons()).toEqual(expected);
    expect(page.pings()).toBeGreaterThanOrEqual(8);
    const times = page.messages.filter(({ params }) => params?.event === "AdTimeChange" && params.id === "ad-1");
    expect(times.length).toBeGreaterThan(10);
    expect(times.length).toBeLessThan(20);
    expect(times.every(({ params }) => typeof params?.data === "number")).toBe(true);
    expect((await page.call("get.ads")).error?.code).toBe(-32002);
  });

  it("can be loaded without being started, and commanded without having been loaded", async () => {
    const page = await opened({
      answers: { ...adList(listedAd(1)), "/config.json": { body: '{"features":{"moat":1}}' } },
    });
    for (const command of ["pause", "resume", "stop", "skip", "close", "play"]) {
      expect((await page.call(`control.${command}`)).result).toEqual({ state: "empty" });
    }
    expect((await page.call("control.start")).error?.code).toBe(-32001);
    expect((await page.call("control.dance")).error?.code).toBe(-32601);
    expect((await page.call("get.config")).result?.data).toMatchObject({ features: { moat: 1 }, wrapperLimit: 5 });
    expect(await page.loadAds()).toHaveLength(1);
    expect(await page.post({ id: "x", method: "control.resume" })).toBeUndefined();
    expect(page.events()).toEqual([]);
  });
});

describe("failures", () => {
  it("of a video that never arrives are reported after the limit, while the page continues to ping", async () => {
    const never = { "/media/ad-1.mp4": { status: 200, delay: 60_000 } };
    const page = await opened({ answers: { ...adList(listedAd(1)), ...never }, manualClock: true });
    await page.loadAds();
    await page.call("control.start");
    await page.page.clock.runFor(7000);
    expect(page.events()).toEqual(["AdGroupStart"]);
    await page.page.clock.runFor(3000);
    const { params } = await page.waitForEvent("AdError");
    expect(params?.data).toMatch(/^VAST error 402: /);
    expect(page.pings()).toBeGreaterThanOrEqual(10);
  });

  it("can be caused by the configuration", async () => {
    const faults = { adError: "no videos", stopPingAfter: 2 };
    const config = { "/config.json": { body: JSON.stringify({ faults }) } };
    const page = await opened({ answers: { ...adList(listedAd(1)), ...config }, manualClock: true });
    await page.loadAds();
    await page.page.clock.runFor(10_000);
    expect(page.pings()).toBeLessThanOrEqual(4);
    await page.call("control.start");
    await page.page.clock.runFor(1000);
    expect((await page.waitForEvent("AdError")).params?.data).toBe("no videos");
  });
});
