import { readdirSync, readFileSync } from "node:fs";
import { expect, it } from "vitest";
import { origin, PageDriver, type Answer } from "./page_driver";

interface Expected {
  what: string;
  ads: string[];
  events: string[];
  beacons: string[];
  /** The code in the text of the last event. */
  error?: number;
  /** What the host app does meanwhile. */
  controls?: Array<{ after: string; send: string }>;
  /** Paths that the server never answers. */
  unanswered?: string[];
}

const folder = new URL("../fixtures/", import.meta.url);
const suffix = ".expected.json";
const names = readdirSync(folder)
  .filter((name) => name.endsWith(suffix))
  .map((name) => name.slice(0, -suffix.length));

function expectedOf(name: string): Expected {
  return JSON.parse(readFileSync(new URL(name + suffix, folder), "utf8")) as Expected;
}

async function playToEnd(driver: PageDriver, expected: Expected): Promise<void> {
  const calls: string[] = [];
  for (const { after, send } of expected.controls ?? []) calls.push(await driver.planCall(after, send));
  await driver.call("control.start");
  for (const id of calls) expect((await driver.replyTo(id)).error).toBeUndefined();
  await driver.waitForEvent(expected.events.at(-1) ?? "", 30);
}

/** One case for each fixture; each runs in a separate page, so they may run in parallel. */
it.concurrent.each(names)("%s", async (name) => {
  const expected = expectedOf(name);
  const unanswered = (expected.unanswered ?? []).map((path): [string, Answer] => [
    path,
    { status: 200, delay: 20_000 },
  ]);
  // The longest time that the page accepts: several pages share the machine here.
  const config = { "/config.json": { body: JSON.stringify({ adsTimeout: 4.5 }) } };
  const driver = await PageDriver.open({ answers: { ...config, ...Object.fromEntries(unanswered) } });
  try {
    const asked = Date.now();
    const ads = await driver.loadAds({ params: { vast_url: `${origin}/${name}.xml` } });
    expect(Date.now() - asked).toBeLessThan(5000);
    expect(ads.map(({ id }) => id)).toEqual(expected.ads);
    if (expected.events.length > 0) await playToEnd(driver, expected);
    expect(driver.events()).toEqual(expected.events);
    // Beacons about a load follow the reply to it.
    await driver.waitFor(() => driver.beacons().length >= expected.beacons.length);
    expect(driver.beacons()).toEqual(expected.beacons);
    if (expected.error) {
      const { params } = await driver.waitForEvent("AdError");
      expect(params?.data).toContain(`VAST error ${expected.error}`);
    }
  } finally {
    await driver.close();
  }
});
