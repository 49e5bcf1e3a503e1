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
  /** Media type without parameters, in lower case; empty when the ad does not state it. */
  type: string;
  lang: string;
  label: string;
}

/** What an icon or a companion shows. */
export type Resource =
  { kind: "static"; src: string; type: string } | { kind: "html"; html: string } | { kind: "iframe"; src: string };

/** An image that says what the page of an icon would, for players that cannot open it. */
export interface FallbackImage {
  src: string;
  /** Pixels; 0 when unknown. */
  width: number;
  height: number;
  altText?: string;
}

/** An industry icon over the video, such as AdChoices. Positions and sizes are pixels of the media file's frame. */
export interface Icon {
  program: string;
  /** At least one, in the order of preference. */
  resources: Resource[];
  width: number;
  height: number;
  x: "left" | "right" | number;
  y: "top" | "bottom" | number;
  /** Seconds from the start of the ad. */
  offset: number;
  /** Seconds; absent when the icon stays until the end. */
  duration?: number;
  /** Pixels of the image for each pixel of the icon. */
  pixelRatio: number;
  altText?: string;
  hoverText?: string;
  clickthru?: string;
  fallbackImages: FallbackImage[];
  clickTracking: string[];
  viewTracking: string[];
}

export interface Companion {
  id?: string;
  adSlotId?: string;
  /** At least one, in the order of preference. */
  resources: Resource[];
  /** Pixels. */
  width: number;
  height: number;
  pixelRatio: number;
  renderingMode: "default" | "end-card" | "concurrent";
  altText?: string;
  clickthru?: string;
  clickTracking: string[];
  creativeView: string[];
}

/** A measurement script that the ad asks for. This page runs none of them. */
export interface Verification {
  vendor?: string;
  apiFramework?: string;
  resource?: string;
  notExecuted: string[];
}

/** Trackers of which exactly one group is fired for an impression. */
export interface ViewableImpression {
  viewable: string[];
  notViewable: string[];
  viewUndetermined: string[];
}

export type AdType = "video" | "audio" | "hybrid";

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

/** Values for the macros of a tracker by name. A list keeps the commas between its members. */
export type MacroValues = Record<string, string | string[] | undefined>;

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
  icons: Icon[];
  companions: Companion[];
  verifications: Verification[];
  viewableImpression: ViewableImpression;
  adType: AdType;
  /** Seconds after the load for which the ad may be started. */
  expires?: number;
  beacons: Beacons;
  /** Macro values that belong to this ad alone. */
  macros: MacroValues;
}

/** An ad with the given parts and nothing else. */
export function adWith(parts: Pick<Ad, "id" | "index"> & Partial<Ad>): Ad {
  return {
    vpi: "mp4",
    media: [],
    captions: [],
    icons: [],
    companions: [],
    verifications: [],
    viewableImpression: { viewable: [], notViewable: [], viewUndetermined: [] },
    adType: "video",
    beacons: { urls: {}, progress: [] },
    macros: {},
    ...parts,
  };
}

/** True when a click on the video does something: opens a page, or is counted. */
export function isClickable(ad: Ad): boolean {
  return ad.clickthru !== undefined || (ad.beacons.urls.clickTracking ?? []).length > 0;
}

export function secondsOf(offset: Offset, duration: number): number {
  return "seconds" in offset ? offset.seconds : offset.share * duration;
}

/** The members of an ad in the reply to "get.ads"; what is unknown is left out. */
export function describeAd(ad: Ad): Record<string, unknown> {
  const { id, index, vpi, title, duration, price, url, clickthru } = ad;
  return { id, index, vpi, title, duration, price, url: url ?? ad.media[0]?.src, clickthru };
}
