import { flagAt, numberAt, objectAt, textAt, type JsonObject } from "./util/json";

export type PlacementType = "inline" | "resizeable" | "interstitial" | "none";

/** The parts of the request payload that the page acts on. */
export interface Payload {
  vastXml?: string;
  vastUrl?: string;
  /** The id or the offset of the ad break that a VMAP document is asked for. */
  adBreak?: string;
  placementType: PlacementType;
  playback: PlaybackOptions;
  sdkVersion?: string;
  privacy: PrivacyData;
}

export interface PlaybackOptions {
  muted: boolean;
  /** 0 to 1. */
  volume: number;
  captions: boolean;
}

export interface PrivacyData {
  advertisingId?: string;
  limitAdTracking: boolean;
  /** The name of the operating system. */
  system?: string;
  userAgent?: string;
  language?: string;
  bundle?: string;
  latitude?: string;
  longitude?: string;
  gdprApplies?: string;
  gdprConsent?: string;
}

/** Whether a companion can follow the video; in place of an inline ad the host app has its own content. */
export function hasEndCards(placement: PlacementType): boolean {
  return placement === "interstitial" || placement === "resizeable";
}

function placementFrom(params: JsonObject): PlacementType {
  const text = textAt(params, "placement_type");
  return text === "inline" || text === "resizeable" || text === "interstitial" ? text : "none";
}

export function payloadFrom(request: JsonObject): Payload {
  const params = objectAt(request, "params");
  const playback = objectAt(request, "playback");
  const device = objectAt(request, "device");
  const app = objectAt(request, "app");
  const geo = objectAt(device, "geo");
  return {
    vastXml: textAt(params, "vast_xml"),
    vastUrl: textAt(params, "vast_url"),
    adBreak: textAt(params, "vmap_break"),
    placementType: placementFrom(params),
    playback: {
      muted: flagAt(playback, "muted"),
      volume: Math.min(1, Math.max(0, numberAt(playback, "volume") ?? 1)),
      captions: flagAt(playback, "captions"),
    },
    sdkVersion: textAt(objectAt(objectAt(app, "ext"), "vemorasdk"), "ver"),
    privacy: {
      advertisingId: textAt(device, "ifa"),
      limitAdTracking: flagAt(device, "lmt"),
      system: textAt(device, "os"),
      userAgent: textAt(device, "ua"),
      language: textAt(device, "lang"),
      bundle: textAt(app, "bundle"),
      latitude: textAt(geo, "lat"),
      longitude: textAt(geo, "lon"),
      gdprApplies: textAt(params, "regs[gdpr]"),
      gdprConsent: textAt(params, "user[consent]"),
    },
  };
}
