import { afterEach, describe, expect, it } from "vitest";
import { adList, listedAd } from "./ad_lists";
import { origin, PageDriver } from "./page_driver";

let driver: PageDriver;

const target = "https://advertiser.example/page";
const captions = [{ src: `${origin}/media/ad-2.vtt`, lang: "en", label: "English" }];

afterEach(() => driver.close());

async function playing(ads: object[], request: object = {}) {
  driver = await PageDriver.open({ answers: adList(...ads) });
  await driver.loadAds(request);
  await driver.call("control.start");
  await driver.waitForEvent("AdStarted");
  return driver.page;
}

const sizes: Array<[number, number]> = [
  [1920, 1080],
  [640, 360],
  [480, 270],
  [320, 180],
  [200, 112],
  [320, 50],
  [390, 844],
  [160, 600],
];

interface NamedBox {
  name: string;
  isButton: boolean;
  left: number;
  top: number;
  right: number;
  bottom: number;
}

function shownBoxes(): Promise<NamedBox[]> {
  const parts = driver.page.locator("button:visible, .status > :visible, .captions > :visible");
  return parts.evaluateAll((all) =>
    all.map((one) => {
      const { left, top, right, bottom } = one.getBoundingClientRect();
      const name = one.className.replace(/^(pill|tool) /, "").split(" ")[0] ?? "";
      return { name, isButton: one instanceof HTMLButtonElement, left, top, right, bottom };
    }),
  );
}

function overlaps(boxes: NamedBox[]): string[] {
  return boxes.flatMap((one, index) =>
    boxes
      .slice(index + 1)
      .filter((other) => {
        return one.left < other.right && other.left < one.right && one.top < other.bottom && other.top < one.bottom;
      })
      .map((other) => `${one.name} and ${other.name}`),
  );
}

/** A busy machine must not let the ad end before the test has looked at it. */
function slowDown(rate: number): Promise<unknown> {
  return driver.page.evaluate((slow) => {
    (document.querySelector(".video:not(.spare)") as HTMLVideoElement).playbackRate = slow;
  }, rate);
}

const labelled = (label: string | RegExp) => driver.page.getByLabel(label, { exact: true });

describe("the controls", () => {
  it("skip once the offset has passed, and not before", async () => {
    await playing([listedAd(3, { skipOffset: 2, index: 0 }), listedAd(1, { index: 1 })]);
    await slowDown(0.25);
    const button = labelled(/^Skip ad/);
    expect(await button.textContent()).toMatch(/^Skip in [12]$/);
    await button.click({ force: true });
    expect(driver.events()).not.toContain("AdSkipped");
    await driver.waitForEvent("AdSkippableStateChange");
    await button.click();
    await driver.waitForEvent("AdStarted", 20, "ad-1");
    expect(driver.beacons()).toContain("/beacon/skip?ad=3");
    expect(driver.events()).not.toContain("AdVideoComplete");
  });

  it("open the advertiser's page once for a double click, and pause for it", async () => {
    const page = await playing([listedAd(2, { clickthru: target })]);
    await page.mouse.dblclick(300, 150);
    await driver.waitForEvent("AdClickThru");
    expect(driver.events().slice(-2)).toEqual(["AdPaused", "AdClickThru"]);
    await driver.waitFor(({ method }) => method === "window" && driver.windowUrls("open").length === 1);
    await driver.call("control.resume");
    await driver.waitForEvent("AdPlaying");
    await labelled("Learn more").click();
    await driver.waitFor(() => driver.windowUrls("open").length === 2);
    expect(driver.windowUrls("open")).toEqual([target, target]);
    expect(driver.beacons().filter((path) => path.startsWith("/beacon/clickTracking"))).toHaveLength(2);
  });

  it("mute, pause and resume", async () => {
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

  it.each(["en", "de", "ar", "ja"])("do not cover each other in any view, in %s", async (language) => {
    const ads = [listedAd(2, { clickthru: target, skipOffset: 4, captions }), listedAd(3)];
    const request = { params: { placement_type: "interstitial" }, device: { lang: language } };
    const page = await playing(ads, request);
    await page.locator(".captions-button").waitFor();
    await slowDown(0.1);
    for (const [width, height] of sizes) {
      await page.setViewportSize({ width, height });
      // Twice, because a view is laid out when the frame after its new size is drawn.
      for (let frame = 0; frame < 2; frame += 1) await page.evaluate(() => new Promise(requestAnimationFrame));
      const boxes = await shownBoxes();
      const names = boxes.map(({ name }) => name);
      expect(names, `${width}x${height}`).toEqual(expect.arrayContaining(["badge", "close", "primary", "skip"]));
      for (const box of boxes) {
        const label = `${box.name} in ${width}x${height}`;
        expect(box.left >= 0 && box.top >= 0 && box.right <= width && box.bottom <= height, label).toBe(true);
        if (box.isButton)
          expect(Math.min(box.right - box.left, box.bottom - box.top), label).toBeGreaterThanOrEqual(44);
      }
      expect(overlaps(boxes), `${width}x${height}`).toEqual([]);
    }
    const direction = await page.evaluate(() => [document.documentElement.lang, document.documentElement.dir]);
    expect(direction).toEqual([language, language === "ar" ? "rtl" : "ltr"]);
  });
});
