import { readFileSync } from "node:fs";
import { afterEach, beforeEach, describe, expect, it, vi } from "vitest";
import { describeAd } from "../../src/ads/ad";
import { AdSource, type AdLoad } from "../../src/load/ad_source";
import { configFrom } from "../../src/config";
import { payloadFrom } from "../../src/payload";
import { Deadline } from "../../src/util/deadline";
import { inline, linear, mediaFile, origin, vast, wrapper } from "../vast_text";

let documents: Record<string, string>;
let fetched: string[];
let logs: string[];

beforeEach(() => {
  documents = {};
  fetched = [];
  logs = [];
  vi.stubGlobal("fetch", async (address: string, { signal }: { signal: AbortSignal }) => {
    fetched.push(address);
    const body = documents[address.replace(origin, "").replace(/\?.*/, "")];
    if (body === "never")
      await new Promise((_, reject) => signal.addEventListener("abort", () => reject(new Error("aborted"))));
    return body === undefined ? new Response("", { status: 404 }) : new Response(body);
  });
});

afterEach(() => vi.unstubAllGlobals());

async function load(params: object, config: object = {}): Promise<AdLoad & { ids: string[]; errors: string[] }> {
  const settings = configFrom({ ...config });
  const source = new AdSource(payloadFrom({ params }), settings, new Deadline(settings.adsTimeout), {
    canPlayType: (type) => (type.startsWith("video/mp4") ? "maybe" : ""),
    log: (text) => logs.push(text),
  });
  const result = await source.load();
  const errors = result.beacons.map((url) => url.replace(`${origin}/`, ""));
  return { ...result, ids: result.ads.map(({ id }) => id), errors };
}

const list = (...ids: string[]) => JSON.stringify({ ads: ids.map((id) => ({ id, media: [{ src: "/a.mp4" }] })) });

describe("the source of the ads", () => {
  it("is a document that comes with the request, before a tag", async () => {
    const single = readFileSync("tests/fixtures/single.xml", "utf8").split("{{origin}}").join(origin);
    const { ads } = await load({ vast_xml: single, vast_url: `${origin}/tag` });
    expect(fetched).toEqual([]);
    const url = `${origin}/media/ad-1.mp4`;
    const clickthru = "https://advertiser.example/ad-1";
    expect(ads.map(describeAd)).toEqual([
      { id: "ad-1", index: 0, vpi: "mp4", title: "Ad 1", duration: 4, price: 1.25, url, clickthru },
    ]);
  });

  it("is the tag, with its macros filled and over https, before the server's list", async () => {
    const media = mediaFile({}, "http://media.example/a.mp4");
    documents = { "/tag": vast("4.0", inline("a", { creatives: [linear({ media })] })), "/ads.json": list("x") };
    const { ads } = await load({ vast_url: "http://ads.test/tag?cb=[CACHEBUSTING]&gdpr=[GDPR]", "regs[gdpr]": "1" });
    expect(ads).toMatchObject([{ id: "a", media: [{ src: "https://media.example/a.mp4" }] }]);
    expect(fetched).toEqual([expect.stringMatching(/^https:\/\/ads.test\/tag\?cb=\d{8}&gdpr=1$/)]);
  });

  it.each([
    ["without an ad", "/none", undefined],
    ["that is empty", "/nothing", undefined],
    ["that is not there", "/lost", /^The ad tag could not be read: https:\/\/ads\.test\/lost: HTTP status 404$/],
    ["that is too large", "/large", /larger than 1024 KiB$/],
    ["of no web address", "javascript:alert(1)", /is not a web address/],
  ])("may be a tag %s", async (_, tag, expected) => {
    documents = { "/none": vast("4.0"), "/nothing": "", "/large": vast("4.0", " ".repeat(1024 * 1024)) };
    const { failure } = await load({ vast_url: tag.startsWith("/") ? origin + tag : tag });
    if (expected) expect(failure).toMatch(expected);
    else expect(failure).toBeUndefined();
  });

  it.each([
    [
      "does not allow this page",
      true,
      /\/tag: The server does not allow .*set "Access-Control-Allow-Origin: https:\/\/ads\.test"/,
    ],
    ["cannot be reached", false, /\/tag: The server cannot be reached$/],
  ])("may be a server that %s: the log says what to do", async (_, answersProbe, expected) => {
    vi.stubGlobal("fetch", async (_address: string, { mode }: RequestInit) => {
      if (mode === "no-cors" && answersProbe) return new Response("");
      throw new TypeError("Failed to fetch");
    });
    const { ads, failure } = await load({ vast_url: "https://other.example/tag" });
    expect(ads).toEqual([]);
    expect(failure).toMatch(expected);
    expect(logs).toEqual([`No ads: ${failure}`]);
  });

  it("is otherwise the server's list, which may be broken or absent", async () => {
    expect((await load({})).ids).toEqual([]);
    documents = { "/ads.json": "{" };
    expect((await load({})).ids).toEqual([]);
    documents = { "/ads.json": list("x", "x", "x") };
    expect((await load({})).ids).toEqual(["x", "x-2", "x-3"]);
    expect((await load({}, { faults: { noAds: true } })).ids).toEqual([]);
  });
});

describe("wrappers", () => {
  it("are followed as far as the limit and no further", async () => {
    for (const level of [1, 2]) documents[`/${level}`] = vast("4.0", wrapper(`w${level}`, `/${level + 1}`));
    documents["/3"] = vast("4.0", inline("deep"));
    const params = { vast_xml: vast("4.0", wrapper("w0", "/1")) };
    expect(await load(params, { wrapperLimit: 3 })).toMatchObject({ ids: ["deep"], errors: [] });
    const tooDeep = ["error-w0-302", "error-w1-302", "error-w2-302"];
    expect(await load(params, { wrapperLimit: 2 })).toMatchObject({ ids: [], errors: tooDeep });
  });

  it("that are not answered in time do not delay the rest", async () => {
    documents["/slow"] = "never";
    const inPod = (sequence: number) => ({ values: { sequence } });
    const vast_xml = vast("4.0", wrapper("w", "/slow", inPod(1)), inline("b", inPod(2)));
    const asked = performance.now();
    const { ids, errors } = await load({ vast_xml }, { wrapperTimeout: 30, adsTimeout: 0.05 });
    expect([ids, errors]).toEqual([["b"], ["error-w-301"]]);
    expect(performance.now() - asked).toBeLessThan(2000);
  });
});
