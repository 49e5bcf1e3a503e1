import { readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { afterEach, expect, it, vi } from "vitest";
import { AdSource } from "../../src/load/ad_source";
import { configFrom } from "../../src/config";
import { payloadFrom } from "../../src/payload";
import { Deadline } from "../../src/util/deadline";
import { origin } from "../vast_text";

interface Sample {
  name: string;
  /** One version of VAST, a range of them, or what the document is otherwise. */
  versions: string;
  what: string;
  answer: string;
  params?: object;
  /** The ids of the ads in the reply. */
  ads: string[];
  /** Beacons that follow the reply, without the origin. */
  beacons?: string[];
  /** What each beacon matches. */
  everyBeacon?: string;
  /** Members of the load; null is what is absent. */
  load?: object;
}

const folder = join(process.cwd(), "tests/samples");
const fileText = (path: string) => readFileSync(join(folder, path), "utf8").split("{{origin}}").join(origin);
const samples = JSON.parse(fileText("samples.json")) as Sample[];
const vastVersions = ["2.0", "3.0", "4.0", "4.1", "4.2", "4.3"];

function versionsOf({ versions }: Sample): string[] {
  const [first = "", last = first] = versions.split(" to ");
  const range = vastVersions.slice(vastVersions.indexOf(first), vastVersions.indexOf(last) + 1);
  return range.length > 0 ? range : [versions];
}

/** An engine that plays MP4 with H.264 and AAC, and WebM. */
function canPlayType(type: string): string {
  return /^video\/(mp4|webm)(; codecs="(avc1|mp4a|vp[89])[^"]*")?$/.test(type) ? "maybe" : "";
}

/** Serves the folder from every host, with all documents in this version. Returns the addresses that are fetched. */
function serve(version: string): string[] {
  const requests: string[] = [];
  const inVersion = (text: string) =>
    vastVersions.includes(version) ? text.replace(/(VAST [^>]*version=")[\d.]+/g, `$1${version}`) : text;
  vi.stubGlobal("fetch", async (address: string) => {
    requests.push(address);
    const path = new URL(address).pathname;
    return path.endsWith(".xml") ? new Response(inVersion(fileText(path))) : new Response("", { status: 404 });
  });
  return requests;
}

afterEach(() => vi.unstubAllGlobals());

async function judge(sample: Sample, version: string): Promise<void> {
  const requests = serve(version);
  const config = configFrom({});
  const payload = payloadFrom({ params: { vast_url: `${origin}/${sample.name}.xml`, ...sample.params } });
  const tools = { canPlayType, log: () => undefined };
  const load = await new AdSource(payload, config, new Deadline(config.adsTimeout), tools).load();
  const ids = load.ads.map(({ id }) => id);
  expect(ids, version).toEqual(sample.ads);
  expect(load.failure, version).toBeUndefined();
  expect(requests.length, version).toBeLessThanOrEqual(1 + config.fetchLimit);
  const beacons = load.beacons.map((url) => url.replace(`${origin}/`, ""));
  const { everyBeacon } = sample;
  if (everyBeacon) expect(beacons.filter((url) => !url.match(everyBeacon))).toEqual([]);
  else expect(beacons, version).toEqual(sample.beacons ?? []);
  const plain: unknown = JSON.parse(JSON.stringify(load, (_, value: unknown) => value ?? null));
  expect(plain, version).toMatchObject(sample.load ?? {});
}

it.each(samples)("$name", { timeout: 30_000 }, async (sample) => {
  for (const version of versionsOf(sample)) await judge(sample, version);
});

/** UPDATE_DOCS=1 writes the table. */
it("docs/page.md lists every sample", () => {
  const rows = samples.map(({ name, versions, what, answer }) => `| \`${name}\` | ${versions} | ${what} | ${answer} |`);
  const documents = samples.reduce((count, sample) => count + versionsOf(sample).length, 0);
  const table = ["| sample | VAST | content | answer |", "|---|---|---|---|", ...rows].join("\n");
  const text = `${samples.length} samples, ${documents} documents.\n\n${table}`;
  const path = join(process.cwd(), "../docs/page.md");
  const page = readFileSync(path, "utf8");
  const section = /(<!-- samples -->\n)[^]*?(\n<!-- end of samples -->)/;
  const updated = page.replace(section, (_, before: string, after: string) => before + text + after);
  if (process.env.UPDATE_DOCS) writeFileSync(path, updated);
  else expect(page).toBe(updated);
  expect(page).toMatch(section);
});
