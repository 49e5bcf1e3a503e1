import { readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { afterEach, describe, expect, it, vi } from "vitest";
import type { Ad } from "../../src/ads/ad";
import { AdSource } from "../../src/load/ad_source";
import { configFrom } from "../../src/config";
import { payloadFrom } from "../../src/payload";
import { Deadline } from "../../src/util/deadline";
import { samples, type Sample } from "../samples/samples";
import { origin } from "../samples/vast_text";

afterEach(() => vi.unstubAllGlobals());

/** An engine that plays MP4 with H.264 and AAC, and WebM. */
function canPlayType(type: string): string {
  return /^video\/(mp4|webm)(; codecs="(avc1|mp4a|vp[89])[^"]*")?$/.test(type) ? "maybe" : "";
}

let requests: string[];

function serve(documents: Record<string, string>): void {
  requests = [];
  vi.stubGlobal("fetch", async (address: string) => {
    requests.push(address);
    const body = documents[address.replace(origin, "").replace(/^https:/, "")];
    return body === undefined ? new Response("", { status: 404 }) : new Response(body);
  });
}

async function judge(sample: Sample, version: string): Promise<void> {
  serve({ "/tag": sample.document(version), ...sample.wrapped?.(version) });
  const config = configFrom({});
  const payload = payloadFrom({ params: { vast_url: `${origin}/tag`, ...sample.params } });
  const tools = { canPlayType, log: () => undefined };
  const load = await new AdSource(payload, config, new Deadline(config.adsTimeout), tools).load();
  expect(load.ads.map(({ id }) => id)).toEqual(sample.ads);
  expect(load.failure).toBeUndefined();
  expect(requests.length).toBeLessThanOrEqual(1 + config.fetchLimit);
  const expected = sample.beacons ?? (sample.ads.length > 0 ? [] : undefined);
  if (expected) expect(load.beacons.map((url) => url.replace(`${origin}/`, ""))).toEqual(expected);
  sample.check?.(load.ads[0] as Ad, load);
}

describe.each(samples)("$name", (sample) => {
  it.each(sample.versions)("%s", (version) => judge(sample, version));
});

function range(versions: string[]): string {
  return versions.length > 2 ? `${versions[0]} to ${versions.at(-1)}` : versions.join(", ");
}

/** UPDATE_DOCS=1 writes the table. */
it("docs/page.md lists every sample", () => {
  const rows = samples.map(
    ({ name, versions, what, answer }) => `| \`${name}\` | ${range(versions)} | ${what} | ${answer} |`,
  );
  const documents = samples.reduce((count, { versions }) => count + versions.length, 0);
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
