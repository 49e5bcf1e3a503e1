import { beaconNames } from "../../src/ads/ad";
import { origin } from "./page_driver";

const lengths = [4, 5, 6];
/** Left out of the lists, so that the expected beacons stay short. */
const unused: ReadonlySet<string> = new Set(["creativeView", "loaded", "error"]);

/** The ad of an ads.json that plays one of the test videos. */
export function listedAd(number: 1 | 2 | 3, more: object = {}): object {
  const beacons: Record<string, unknown> = {};
  for (const name of beaconNames.filter((name) => !unused.has(name)))
    beacons[name] = [`${origin}/beacon/${name}?ad=${number}`];
  beacons.error = [`${origin}/beacon/error?ad=${number}&code=[ERRORCODE]`];
  return {
    id: `ad-${number}`,
    index: number - 1,
    title: `Video ${number}`,
    duration: lengths[number - 1],
    vpi: "mp4",
    media: [{ src: `${origin}/media/ad-${number}.mp4`, type: "video/mp4", width: 640, height: 360, bitrate: 800 }],
    beacons,
    ...more,
  };
}

export function adList(...ads: object[]): { "/ads.json": { body: string } } {
  return { "/ads.json": { body: JSON.stringify({ ads }) } };
}
