import { afterEach, describe, expect, it } from "vitest";
import { adList, listedAd } from "./ad_lists";
import { origin, PageDriver, type DriverOptions } from "./page_driver";

let driver: PageDriver;

const target = "https://advertiser.example/film";
const captions = [{ src: `${origin}/media/ad-2.vtt`, lang: "en", label: "English" }];

afterEach(() => driver.close());

async function playing(ads: object[], request: { params?: object; playback?: object } = {}, size: DriverOptions = {}) {
  driver = await PageDriver.open({ answers: adList(...ads), ...size });
  await driver.loadAds(request.params, request.playback);
  await driver.call("control.start");
  await driver.waitForEvent("AdStarted");
  return driver.page;
}

const labelled = (label: string | RegExp) => driver.page.getByLabel(label, { exact: true });

describe("the controls", () => {
  it("skip once the offset has passed, and not before", async () => {
    await playing([listedAd(3, { skipOffset: 2, index: 0 }), listedAd(1, { index: 1 })]);
    const button = labelled(/^Skip ad/);
    expect(await button.textContent()).toMatch(/^Skip in [12]$/);
    await button.click({ force: true });
    expect(driver.events()).not.toContain("AdSkipped");
    await driver.waitForEvent("AdSkippableStateChange");
    await button.click();
    await driver.waitForEvent("AdStarted", 10, "ad-1");
    expect(driver.beacons()).toContain("/beacon/skip?ad=3");
    expect(driver.events()).not.toContain("AdVideoComplete");
  });

  it("open the advertiser's page once for a double click, and pause for it", async () => {
    const page = await playing([listedAd(2, { clickthru: target })]);
    await page.mouse.dblclick(300, 150);
    await driver.waitForEvent("AdClickThru");
    expect(driver.events().slice(-2)).toEqual(["AdPaused", "AdClickThru"]);
    // An answer leaves behind all that was to be told before it.
    await driver.call("control.resume");
    expect(driver.windowUrls("open")).toEqual([target]);
    await driver.waitForEvent("AdPlaying");
    await labelled("Learn more").click();
    await driver.call("control.pause");
    expect(driver.windowUrls("open")).toEqual([target, target]);
    expect(driver.beacons().filter((path) => path.startsWith("/beacon/clickTracking"))).toHaveLength(2);
  });

  it("mute, pause and play on", async () => {
    await playing([listedAd(2)]);
    await labelled("Mute").click();
    await labelled("Unmute").click();
    await labelled("Pause").click();
    await driver.waitForEvent("AdPaused");
    await labelled("Play").first().click();
    await driver.waitForEvent("AdPlaying");
    expect(driver.beacons().slice(-4)).toEqual(
      ["mute", "unmute", "pause", "resume"].map((name) => `/beacon/${name}?ad=2`),
    );
  });

  it("offer only what the ad and the placement have", async () => {
    await playing([listedAd(1)], { params: { placement_type: "inline" } });
    const shown = await driver.page
      .getByRole("button")
      .evaluateAll((all) => all.map((one) => one.getAttribute("aria-label")));
    expect(shown).toEqual(["Pause", "Mute"]);
    await driver.page.keyboard.press("Escape");
    await driver.page.keyboard.press("s");
    await driver.page.mouse.click(200, 100);
    await driver.waitForEvent("AdVideoFirstQuartile");
    expect(driver.events()).not.toContain("AdUserClose");
    expect(driver.windowUrls("open")).toEqual([]);
  });

  it("close an interstitial", async () => {
    await playing([listedAd(1), listedAd(2)], { params: { placement_type: "interstitial" } });
    await labelled("Close ad").click();
    await driver.waitForEvent("AdGroupEnd");
    expect(driver.events().slice(-3)).toEqual(["AdUserClose", "AdStopped", "AdGroupEnd"]);
    expect(driver.beacons().at(-1)).toBe("/beacon/closeLinear?ad=1");
  });

  it("show captions when asked to, and when they are there", async () => {
    const page = await playing([listedAd(2, { captions })]);
    const cue = page.getByText("Hills pass below");
    await labelled("Captions").waitFor();
    expect(await cue.isVisible()).toBe(false);
    await labelled("Captions").click();
    await cue.waitFor({ timeout: 3000 });
    expect(await labelled("Captions").getAttribute("aria-pressed")).toBe("true");
  });

  it("are reached and used with the keyboard alone", async () => {
    const page = await playing([listedAd(3, { clickthru: target, skipOffset: 1 })], {
      params: { placement_type: "interstitial" },
    });
    const focused = () => page.evaluate(() => document.activeElement?.getAttribute("aria-label"));
    const reached: unknown[] = [];
    for (let press = 0; press < 5; press += 1) {
      await page.keyboard.press("Tab");
      reached.push(await focused());
    }
    expect(reached.map((label) => String(label).split(",")[0])).toEqual([
      "Close ad",
      "Pause",
      "Mute",
      "Learn more",
      "Skip ad",
    ]);
    const outline = await page.evaluate(() => getComputedStyle(document.activeElement as Element).outlineStyle);
    expect(outline).toBe("solid");
    await page.keyboard.press("k");
    await driver.waitForEvent("AdPaused");
    await page.keyboard.press("k");
    await page.keyboard.press("m");
    await driver.waitForEvent("AdVolumeChange");
    await driver.waitForEvent("AdSkippableStateChange");
    await page.keyboard.press("Enter");
    await driver.waitForEvent("AdSkipped");
  });

  it.each([
    [320, 180],
    [480, 270],
    [1920, 1080],
    [240, 400],
  ])("fit into %i by %i without covering each other", async (width, height) => {
    const ad = listedAd(2, { clickthru: target, skipOffset: 4, captions });
    const request = { params: { placement_type: "interstitial" } };
    const page = await playing([ad, listedAd(3)], request, { width, height });
    await labelled("Captions").waitFor();
    const parts = page.locator("button:visible, .status > :visible");
    const boxes = await parts.evaluateAll((all) =>
      all.map((one) => {
        const { left, top, right, bottom } = one.getBoundingClientRect();
        return { name: one.getAttribute("aria-label") ?? one.className, left, top, right, bottom };
      }),
    );
    expect(boxes.length).toBeGreaterThanOrEqual(8);
    for (const box of boxes) {
      expect(box.left >= 0 && box.top >= 0 && box.right <= width && box.bottom <= height, box.name).toBe(true);
      expect(box.bottom - box.top, box.name).toBeGreaterThanOrEqual(10);
    }
    const overlapping = boxes.flatMap((one, index) =>
      boxes
        .slice(index + 1)
        .filter((other) => {
          return one.left < other.right && other.left < one.right && one.top < other.bottom && other.top < one.bottom;
        })
        .map((other) => `${one.name} and ${other.name}`),
    );
    expect(overlapping).toEqual([]);
  });
});
