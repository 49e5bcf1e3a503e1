import fc from "fast-check";
import { mkdirSync, readdirSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { afterEach, describe, expect, it, vi } from "vitest";
import { describeAd, secondsOf, type Ad } from "../../src/ads/ad";
import { configFrom } from "../../src/config";
import { AdSource, type AdLoad } from "../../src/load/ad_source";
import { payloadFrom } from "../../src/payload";
import type { JsonObject } from "../../src/util/json";
import { Deadline } from "../../src/util/deadline";
import { documents } from "../fuzz/documents";
import { origin } from "../vast_text";

// FUZZ_SECONDS=60 FUZZ_SEED=4711 npm test -- fuzz: other inputs than the fixed ones, for as long as wanted.
const seconds = Number(process.env.FUZZ_SECONDS ?? 0);
const seed = Number(process.env.FUZZ_SEED ?? (seconds > 0 ? Date.now() % 1_000_000_000 : 1));
const corpus = join(process.cwd(), "tests/fuzz/corpus");
const outFolder = join(process.cwd(), "../out/fuzz");

/** What a request brings: the document of the tag, and those that wrappers lead to. */
interface Input {
  tag: string;
  wrapped: string[];
  inRequest: boolean;
}

afterEach(() => vi.unstubAllGlobals());

const config = configFrom({ wrapperLimit: 3, fetchLimit: 8 });
let requests = 0;

/** Wrappers lead to the documents in turn, whatever address they name. */
function serve({ tag, wrapped }: Input): void {
  requests = 0;
  const all = [tag, ...wrapped];
  vi.stubGlobal("fetch", async (address: string) => {
    // An empty document in the request counts as none.
    if (address.endsWith("/ads.json")) return new Response("{}");
    requests += 1;
    return new Response(all[(requests - 1) % all.length]);
  });
}

function expectNumber(value: number | undefined, what: string): void {
  if (value !== undefined) expect(Number.isFinite(value) && value >= 0, `${what}: ${value}`).toBe(true);
}

function expectAddress(value: string, what: string): void {
  expect(value, what).toMatch(/^https?:\/\/[^\s/]/i);
}

function expectSound(ad: Ad): void {
  for (const file of ad.media) {
    expectAddress(file.src, "media");
    for (const name of ["width", "height", "bitrate"] as const) expectNumber(file[name], name);
  }
  for (const { src } of ad.captions) expectAddress(src, "captions");
  for (const { resources, width, height } of [...ad.icons, ...ad.companions]) {
    expect(resources.length).toBeGreaterThan(0);
    for (const resource of resources) if ("src" in resource) expectAddress(resource.src, "resource");
    expectNumber(width, "width");
    expectNumber(height, "height");
  }
  if (ad.clickthru !== undefined) expectAddress(new URL(ad.clickthru, document.baseURI).href, "clickthru");
  expectNumber(ad.duration, "duration");
  expectNumber(ad.expires, "expires");
  expectNumber(ad.skipOffset && secondsOf(ad.skipOffset, 10), "skip offset");
  for (const { offset } of ad.beacons.progress) expectNumber(secondsOf(offset, 10), "progress");
  for (const url of Object.values(ad.beacons.urls).flat()) expect(typeof url).toBe("string");
}

function expectReply({ ads, beacons, adBreak }: AdLoad): void {
  expect(new Set(ads.map(({ id }) => id)).size).toBe(ads.length);
  expect(ads.map(({ index }) => index)).toEqual(ads.map((_, position) => position));
  for (const ad of ads) {
    expect(ad.media.length).toBeGreaterThan(0);
    expectSound(ad);
    const reply = describeAd(ad);
    expect(JSON.parse(JSON.stringify(reply))).toEqual(reply);
  }
  for (const url of [...beacons, ...Object.values(adBreak?.tracking ?? {}).flat()]) expect(typeof url).toBe("string");
}

/** Whatever the documents are: an answer in time, sound ads, and no failure but those that the page knows. */
async function judge(input: Input): Promise<void> {
  serve(input);
  const logs: string[] = [];
  const tools = { canPlayType: () => "maybe", log: (text: string) => void logs.push(text) };
  const params = input.inRequest ? { vast_xml: input.tag } : { vast_url: `${origin}/tag` };
  const load = await new AdSource(payloadFrom({ params }), config, new Deadline(config.adsTimeout), tools).load();
  expect(requests).toBeLessThanOrEqual(1 + config.fetchLimit);
  const unknown = logs.find(
    (text) => text.startsWith("No ads: ") && !/^No ads: (VAST error \d|The ad tag )/.test(text),
  );
  expect(unknown).toBeUndefined();
  expectReply(load);
}

const inputs = fc.record<Input>({
  tag: documents,
  wrapped: fc.array(documents, { maxLength: 2 }),
  inRequest: fc.boolean(),
});

describe("documents from the network", () => {
  it.each(readdirSync(corpus))("%s", (name) => judge(JSON.parse(readFileSync(join(corpus, name), "utf8")) as Input));

  it(
    "leave the page with an answer, whatever they hold",
    async () => {
      const limits = seconds > 0 ? { numRuns: 1e9, interruptAfterTimeLimit: seconds * 1000 } : { numRuns: 50 };
      const result = await fc.check(fc.asyncProperty(inputs, judge), { seed, ...limits });
      if (seconds > 0) console.log(`vast: ${result.numRuns} documents, seed ${seed}`);
      if (!result.failed || !result.counterexample) return;
      mkdirSync(outFolder, { recursive: true });
      const file = join(outFolder, `vast-${seed}.json`);
      writeFileSync(file, JSON.stringify(result.counterexample[0], null, 2));
      throw new Error(`seed ${seed}, kept in ${file}: ${String(result.errorInstance)}`);
    },
    (seconds + 60) * 1000,
  );
});

describe("values from the native side", () => {
  it("give a request and settings, whatever their types", () => {
    const objects = fc.object({ values: [fc.string(), fc.double(), fc.boolean(), fc.constant(null)] });
    fc.assert(
      fc.property(objects, objects, (request, host) => {
        payloadFrom(request as JsonObject);
        const { wrapperLimit, fetchLimit, adsTimeout } = configFrom(host as JsonObject);
        for (const value of [wrapperLimit, fetchLimit, adsTimeout]) expectNumber(value, "limit");
      }),
      { seed },
    );
  });
});
