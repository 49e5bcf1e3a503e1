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

describe("a group of ads", () => {
  it("plays from the server's list with every event and beacon once and in order", async () => {
    const page = await opened({ answers: adList(listedAd(2), listedAd(1)) });
    const ads = await page.loadAds();
    expect(ads.map(({ id }) => id)).toEqual(["ad-1", "ad-2"]);
    expect((await page.call("control.start")).result).toEqual({ state: "playing" });
    await page.waitForEvent("AdGroupEnd");
    expect(page.events()).toEqual(["AdGroupStart", ...playedThrough, ...playedThrough, "AdGroupEnd"]);
    const moments = ["impression", "start", "firstQuartile", "midpoint", "thirdQuartile", "complete"];
    const expected = [1, 2].flatMap((ad) => moments.map((moment) => `/beacon/${moment}?ad=${ad}`));
    expect(page.beacons()).toEqual(expected);
    expect(page.messages.at(-1)?.params?.event ?? "ping").toMatch(/AdGroupEnd|ping/);
    expect(page.pings()).toBeGreaterThanOrEqual(9);
  });
});
