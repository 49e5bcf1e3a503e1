import { afterEach, beforeEach, describe, expect, it, vi } from "vitest";
import type { Ad } from "../../src/ads/ad";
import { AdSource, type AdLoad } from "../../src/load/ad_source";
import { configFrom } from "../../src/config";
import { payloadFrom } from "../../src/payload";
import { Deadline } from "../../src/util/deadline";

const origin = "https://ads.test";
let documents: Record<string, string>;
let fetched: string[];
let beacons: string[];
let logs: string[];

beforeEach(() => {
  documents = {};
  fetched = [];
  beacons = [];
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

async function loadAll(params: object, config: object = {}): Promise<AdLoad> {
  const settings = configFrom({ ...config });
  const source = new AdSource(payloadFrom({ params }), settings, new Deadline(settings.adsTimeout), {
    canPlayType: (type) => (type.startsWith("video/mp4") ? "maybe" : ""),
    log: (text) => logs.push(text),
  });
  const result = await source.load();
  beacons = result.beacons.map((url) => url.replace(`${origin}/`, ""));
  return result;
}

async function load(params: object, config: object = {}): Promise<Ad[]> {
  return (await loadAll(params, config)).ads;
}

const vast = (content: string, version = "4.0") => `<VAST version="${version}">${content}</VAST>`;
const error = (name: string) => `<Error>${origin}/error-${name}-[ERRORCODE]</Error>`;

interface LinearParts {
  type?: string;
  src?: string;
  attributes?: string;
  more?: string;
  sequence?: number;
}

function inline(
  id: string,
  { type = "video/mp4", src, attributes = "", more = "", sequence }: LinearParts = {},
): string {
  const order = sequence === undefined ? "" : ` sequence="${sequence}"`;
  return `<Ad id="${id}"${order}><InLine><AdSystem/><AdTitle>${id}</AdTitle>${error(id)}<Impression>${origin}/i</Impression>
    <Creatives><Creative><Linear ${attributes}><Duration>00:00:10</Duration>${more}<MediaFiles>
    <MediaFile delivery="progressive" type="${type}" width="1" height="1">${src ?? `${origin}/${id}.mp4`}</MediaFile>
    </MediaFiles></Linear></Creative></Creatives></InLine></Ad>`;
}

function wrapper(id: string, path: string, attributes = "", sequence = ""): string {
  return `<Ad id="${id}" ${sequence}><Wrapper ${attributes}><AdSystem/>${error(id)}<Impression>${origin}/i-${id}</Impression>
    <VASTAdTagURI><![CDATA[${origin}${path}]]></VASTAdTagURI></Wrapper></Ad>`;
}

const ids = (ads: Ad[]) => ads.map(({ id }) => id);

describe("the choice of the source", () => {
  it("fills the macros of a tag and takes it before the server's list", async () => {
    documents = { "/tag": vast(inline("a")), "/ads.json": "{}" };
    const ads = await load({ vast_url: `${origin}/tag?cb=[CACHEBUSTING]&gdpr=[GDPR]`, "regs[gdpr]": "1" });
    expect(ids(ads)).toEqual(["a"]);
    expect(fetched).toHaveLength(1);
    expect(fetched[0]).toMatch(/tag\?cb=\d{8}&gdpr=1$/);
  });

  it("tries http addresses over https, because the page loads nothing over http", async () => {
    documents = { "/tag": vast(inline("a", { src: "http://media.example/a.mp4" })) };
    const [ad] = await load({ vast_url: "http://ads.test/tag" });
    expect(fetched).toEqual([`${origin}/tag`]);
    expect(ad?.media[0]?.src).toBe("https://media.example/a.mp4");
  });

  it("distinguishes a tag that cannot be read from one without an ad", async () => {
    const failureOf = async (tag: string) => (await loadAll({ vast_url: tag })).failure;
    documents = { "/none": vast(""), "/nothing": "" };
    expect(await failureOf(`${origin}/none`)).toBeUndefined();
    expect(await failureOf(`${origin}/nothing`)).toBeUndefined();
    expect(await failureOf(`${origin}/lost`)).toBe(
      "The ad tag could not be read: https://ads.test/lost: HTTP status 404",
    );
    expect(await failureOf("javascript:alert(1)")).toMatch(/is not a web address/);
    documents = { "/large": vast(" ".repeat(1024 * 1024)) };
    expect(await failureOf(`${origin}/large`)).toMatch(/larger than 1024 KiB$/);
  });

  it.each([
    [
      "does not allow this page",
      true,
      /\/tag: The server does not allow .*set "Access-Control-Allow-Origin: https:\/\/ads\.test"/,
    ],
    ["cannot be reached", false, /\/tag: The server cannot be reached$/],
  ])("logs what to do about a server that %s", async (_, answersProbe, expected) => {
    vi.stubGlobal("fetch", async (_address: string, { mode }: RequestInit) => {
      if (mode === "no-cors" && answersProbe) return new Response("");
      throw new TypeError("Failed to fetch");
    });
    const { ads, failure } = await loadAll({ vast_url: "https://other.example/tag" });
    expect(ads).toEqual([]);
    expect(failure).toMatch(expected);
    expect(logs).toEqual([`No ads: ${failure}`]);
  });

  it("treats a broken or absent list as empty", async () => {
    expect(await load({})).toEqual([]);
    documents = { "/ads.json": "{" };
    expect(await load({})).toEqual([]);
  });

  it("gives ads that share an id different ones", async () => {
    documents = {
      "/ads.json": JSON.stringify({ ads: [1, 2, 3].map(() => ({ id: "x", media: [{ src: "/a.mp4" }] })) }),
    };
    expect(ids(await load({}))).toEqual(["x", "x-2", "x-3"]);
  });

  it("has no ads when the configuration says so", async () => {
    documents = { "/ads.json": JSON.stringify({ ads: [{ id: "x", media: [{ src: "/a.mp4" }] }] }) };
    expect(await load({}, { faults: { noAds: true } })).toEqual([]);
  });
});

describe("a VAST document", () => {
  it("whose pod cannot be played falls back to the next ad that can", async () => {
    const flash = { type: "video/x-flv" };
    const text = vast(
      inline("pod", { ...flash, sequence: 1 }) + inline("one", flash) + inline("two") + inline("three"),
    );
    expect(ids(await load({ vast_xml: text }))).toEqual(["two"]);
    expect(beacons).toEqual(["error-pod-403", "error-one-403"]);
  });

  it("keeps what can be played of a pod whose other ads fail, each with its own code", async () => {
    const vpaid = `<Ad id="v" sequence="2">${inline("v")
      .replace(/^<Ad[^>]*>/, "")
      .replace("<MediaFile ", '<MediaFile apiFramework="VPAID" ')}`;
    const insecure = inline("h", { src: "rtmp://media.example/a.mp4", sequence: 3 });
    const lost = wrapper("w", "/none", "", 'sequence="4"');
    expect(ids(await load({ vast_xml: vast(inline("a", { sequence: 1 }) + vpaid + insecure + lost) }))).toEqual(["a"]);
    expect(beacons.sort()).toEqual(["error-h-403", "error-v-901", "error-w-301"]);
  });

  it("gives offsets in seconds and shares, and the wrappers' progress beacons", async () => {
    const more = `<TrackingEvents><Tracking event="progress" offset="25%">${origin}/q</Tracking>
      <Tracking event="progress" offset="00:00:03">${origin}/3</Tracking>
      <Tracking event="progress">${origin}/never</Tracking></TrackingEvents>`;
    const [ad] = await load({ vast_xml: vast(inline("a", { attributes: 'skipoffset="50%"', more })) });
    expect(ad?.skipOffset).toEqual({ seconds: 5 });
    expect(ad?.beacons.progress).toEqual([
      { offset: { share: 0.25 }, url: `${origin}/q` },
      { offset: { seconds: 3 }, url: `${origin}/3` },
    ]);
  });

  it.each([
    ["of another kind", "<html/>", []],
    ["of the first version", "<VideoAdServingTemplate/>", []],
    ["that is no XML", "no", []],
    ["with an empty ad", vast(`${error("root")}<Ad id="x"></Ad>`), ["error-root-101"]],
    ["without ads", vast(error("root")), ["error-root-303"]],
  ])("%s has no ads", async (_, text, expected) => {
    expect(await load({ vast_xml: text })).toEqual([]);
    expect(beacons).toEqual(expected);
  });
});

describe("wrappers", () => {
  const chain = (length: number) => {
    for (let level = 1; level < length; level += 1)
      documents[`/${level}`] = vast(wrapper(`w${level}`, `/${level + 1}`));
    documents[`/${length}`] = vast(inline("deep"));
    return vast(wrapper("w0", "/1"));
  };

  it("are followed as far as the limit and no further", async () => {
    expect(ids(await load({ vast_xml: chain(3) }, { wrapperLimit: 3 }))).toEqual(["deep"]);
    expect(beacons).toEqual([]);
    expect(await load({ vast_xml: chain(3) }, { wrapperLimit: 2 })).toEqual([]);
    expect(beacons).toEqual(["error-w0-302", "error-w1-302", "error-w2-302"]);
  });

  it("give one ad unless they allow more", async () => {
    documents["/many"] = vast(inline("a") + inline("b"));
    expect(ids(await load({ vast_xml: vast(wrapper("w", "/many")) }))).toEqual(["a"]);
    expect(ids(await load({ vast_xml: vast(wrapper("w", "/many", 'allowMultipleAds="true"')) }))).toEqual(["a", "b"]);
  });

  it("that are not answered in time do not delay the rest", async () => {
    documents["/slow"] = "never";
    const text = vast(wrapper("w", "/slow", "", 'sequence="1"') + inline("b", { sequence: 2 }));
    const asked = performance.now();
    expect(ids(await load({ vast_xml: text }, { wrapperTimeout: 30, adsTimeout: 0.05 }))).toEqual(["b"]);
    expect(performance.now() - asked).toBeLessThan(2000);
    expect(beacons).toEqual(["error-w-301"]);
  });

  it("that lead to unusable documents report why", async () => {
    documents = { "/html": "<html/>", "/bad": "<VAST", "/none": vast(error("none")) };
    await load({ vast_xml: vast(wrapper("h", "/html") + wrapper("b", "/bad") + wrapper("n", "/none")) });
    expect(beacons).toEqual(["error-h-101", "error-b-100", "error-none-303", "error-n-303"]);
  });
});
