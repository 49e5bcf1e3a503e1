export interface MediaFile {
  src: string;
  type: string;
  codec?: string;
  /** Pixels; 0 when unknown. */
  width: number;
  height: number;
  /** kbit/s; 0 when unknown. */
  bitrate: number;
}

export interface CaptionFile {
  src: string;
  lang: string;
  label: string;
}

export const beaconNames = [
  "impression",
  "creativeView",
  "loaded",
  "start",
  "firstQuartile",
  "midpoint",
  "thirdQuartile",
  "complete",
  "pause",
  "resume",
  "mute",
  "unmute",
  "skip",
  "closeLinear",
  "clickTracking",
  "error",
] as const;

export type BeaconName = (typeof beaconNames)[number];

/** A point in an ad: seconds from its start, or a share of its length. */
export type Offset = { seconds: number } | { share: number };

export interface ProgressBeacon {
  offset: Offset;
  url: string;
}

export interface Beacons {
  urls: Partial<Record<BeaconName, string[]>>;
  progress: ProgressBeacon[];
}

/** One linear ad, whatever source it came from. */
export interface Ad {
  id: string;
  index: number;
  vpi: string;
  title?: string;
  /** Seconds. */
  duration?: number;
  price?: number;
  url?: string;
  clickthru?: string;
  skipOffset?: Offset;
  media: MediaFile[];
  captions: CaptionFile[];
  beacons: Beacons;
  /** Macro values that belong to this ad alone. */
  macros: Record<string, string>;
}

export function secondsOf(offset: Offset, duration: number): number {
  return "seconds" in offset ? offset.seconds : offset.share * duration;
}

/** The members of an ad in the reply to "get.ads"; what is unknown is left out. */
export function describeAd(ad: Ad): Record<string, unknown> {
  const { id, index, vpi, title, duration, price, url, clickthru } = ad;
  return { id, index, vpi, title, duration, price, url: url ?? ad.media[0]?.src, clickthru };
}
