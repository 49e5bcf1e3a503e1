import { afterEach, describe, expect, it } from "vitest";
import { inline, leaf, linear, mediaFile, vast } from "../vast_text";
import { origin, PageDriver } from "./page_driver";

let driver: PageDriver;

afterEach(() => driver.close());

const picture = (color: string) => ({
  contentType: "image/svg+xml",
  body: `<svg xmlns="http://www.w3.org/2000/svg" width="40" height="40"><rect width="40" height="40" fill="${color}"/></svg>`,
});
const answers = { "/icon.svg": picture("teal"), "/card.svg": picture("navy") };

const clickThrough = "<IconClickThrough>https://choices.example/</IconClickThrough>";
const fallbackImages = `<IconClickFallbackImages>
  <IconClickFallbackImage width="900" height="900"><StaticResource>${origin}/large.svg</StaticResource></IconClickFallbackImage>
  <IconClickFallbackImage width="40" height="40"><AltText>Your choices</AltText>
    <StaticResource>${origin}/card.svg</StaticResource></IconClickFallbackImage></IconClickFallbackImages>`;

const icon = (
  clicks: string,
) => `<Icons><Icon program="AdChoices" width="20" height="20" xPosition="right" yPosition="top" offset="00:00:01">
  <StaticResource creativeType="image/svg+xml">${origin}/icon.svg</StaticResource>
  <IconClicks>${clicks}
    <IconClickTracking>${origin}/beacon/icon-click</IconClickTracking></IconClicks>
  <IconViewTracking>${origin}/beacon/icon-view</IconViewTracking></Icon></Icons>`;

const companion = (resource: string, more = "") =>
  `<CompanionAds><Companion width="300" height="250">${resource}${more}
    <CompanionClickTracking>${origin}/beacon/card-click</CompanionClickTracking>
    <TrackingEvents><Tracking event="creativeView">${origin}/beacon/card-view</Tracking></TrackingEvents>
  </Companion></CompanionAds>`;

function ad(number: 1 | 3, extras: string, ...creatives: string[]): string {
  const media = mediaFile({}, `${origin}/media/ad-${number}.mp4`);
  const viewable = leaf("Viewable", `${origin}/beacon/viewable`);
  const viewability = `<ViewableImpression>${viewable}</ViewableImpression>`;
  return vast("4.2", inline("a", { creatives: [linear({ media, extras }), ...creatives], extras: viewability }));
}

async function playing(vast_xml: string) {
  driver = await PageDriver.open({ answers });
  await driver.loadAds({ params: { vast_xml, placement_type: "interstitial" } });
  await driver.call("control.start");
  await driver.waitForEvent("AdStarted");
  return driver.page;
}

it("an icon appears at its time, next to the controls, and opens its own page", async () => {
  const page = await playing(ad(3, icon(clickThrough)));
  const shown = page.locator(".ad-icon");
  expect(await shown.count()).toBe(0);
  await shown.waitFor();
  const iconBox = await shown.boundingBox();
  const close = await page.locator(".close").boundingBox();
  expect([iconBox?.y, iconBox?.width, iconBox?.height]).toEqual([0, 20, 20]);
  expect((iconBox?.x ?? 0) + 20).toBe(close?.x);
  await shown.click();
  await driver.waitFor(() => driver.windowUrls("open").length > 0);
  expect(driver.windowUrls("open")).toEqual(["https://choices.example/"]);
  const names = ["AdPaused", "AdInteraction", "AdClickThru"];
  expect(driver.events().filter((name) => names.includes(name))).toEqual(names.slice(0, 2));
  await driver.call("control.resume");
  await driver.waitFor(() => driver.beacons().includes("/beacon/viewable"));
  const expected = ["/beacon/icon-click", "/beacon/icon-view", "/beacon/viewable", "/impression-a"];
  expect(driver.beacons().sort()).toEqual(expected);
});

it("an icon without a page shows its image that fits, until the viewer dismisses it", async () => {
  const page = await playing(ad(3, icon(fallbackImages)));
  await page.locator(".ad-icon").click();
  await driver.waitForEvent("AdInteraction");
  const notice = page.getByRole("dialog", { name: "Your choices" });
  expect(await notice.boundingBox()).toEqual({ x: 0, y: 0, width: 640, height: 360 });
  expect(await notice.locator("img").getAttribute("src")).toBe(`${origin}/card.svg`);
  expect(await notice.getByText("Your choices").isVisible()).toBe(true);
  await page.keyboard.press("Tab");
  expect(await page.evaluate(() => document.activeElement?.getAttribute("aria-label"))).toBe("Close");
  await page.keyboard.press("Escape");
  await driver.waitForEvent("AdPlaying");
  expect(await notice.isVisible()).toBe(false);
  const names = ["AdPaused", "AdInteraction", "AdPlaying"];
  expect(driver.events().filter((name) => names.includes(name))).toEqual(names);
  expect(driver.windowUrls("open")).toEqual([]);
  // Playback that the host resumes ends the notice as well.
  await page.locator(".ad-icon").click();
  await notice.waitFor();
  await driver.call("control.resume");
  await notice.waitFor({ state: "hidden" });
});

describe("an end card", () => {
  it("follows the video, opens its page and ends the ad", async () => {
    const target = "<CompanionClickThrough>https://card.example/</CompanionClickThrough>";
    const image = `<StaticResource creativeType="image/svg+xml">${origin}/card.svg</StaticResource>`;
    const page = await playing(ad(1, "", companion(image, target)));
    await page.locator(".card").click({ timeout: 20_000 });
    await driver.waitFor(() => driver.windowUrls("open").length > 0);
    expect(driver.windowUrls("open")).toEqual(["https://card.example/"]);
    expect(driver.beacons().slice(-2)).toEqual(["/beacon/card-view", "/beacon/card-click"]);
    await page.locator(".close").click();
    await driver.waitForEvent("AdGroupEnd");
    expect(driver.events().slice(-5)).toEqual([
      "AdVideoComplete",
      "AdClickThru",
      "AdUserClose",
      "AdStopped",
      "AdGroupEnd",
    ]);
  });

  it("of HTML shows itself and reaches nothing else: not the bridge, not the page, no other address", async () => {
    const attack = `for (const w of [window, parent, top]) try { w.webkit.messageHandlers.Vemora.postMessage({method:'event',params:{id:'attack',event:'AdError'}}) } catch {}
      try { parent.document.title = 'attack' } catch {} try { top.location = '${origin}/attack' } catch {} fetch('${origin}/attack')`;
    const nested = `<script>${attack}</script>`.replace(/"/g, "&quot;");
    const html = `<h1 style="color: rgb(1, 2, 3)">Hello</h1><a href="https://link.example/">Visit</a>
      <meta http-equiv="refresh" content="0; url=${origin}/attack">
      <script>${attack}</script><img src="${origin}/none" onerror="${attack}"><svg onload="${attack}"></svg>
      <iframe srcdoc="${nested}"></iframe><iframe src="javascript:${attack}"></iframe>
      <form id="f" action="${origin}/attack"></form><script>f.submit()</script>`;
    const page = await playing(ad(1, "", companion(`<HTMLResource><![CDATA[${html}]]></HTMLResource>`)));
    const heading = page.frameLocator(".card iframe").getByText("Hello");
    await heading.waitFor({ timeout: 20_000 });
    expect(await heading.evaluate((one) => getComputedStyle(one).color)).toBe("rgb(1, 2, 3)");
    const frame = await page.locator(".card iframe").boundingBox();
    expect(frame).toEqual({ x: 170, y: 55, width: 300, height: 250 });
    await page.setViewportSize({ width: 320, height: 125 });
    await expect.poll(async () => (await page.locator(".card iframe").boundingBox())?.height).toBe(125);
    await page.locator(".card").click();
    await driver.waitFor(() => driver.windowUrls("open").length > 0);
    await page.waitForTimeout(500);
    expect(driver.windowUrls("open")).toEqual(["https://link.example/"]);
    expect(driver.messages.filter(({ params }) => params?.id === "attack")).toEqual([]);
    expect(driver.requests.filter((path) => path.includes("attack"))).toEqual([]);
    expect(await page.title()).toBe("Advertisement");
    expect(page.url()).toContain(".html");
  });
});
