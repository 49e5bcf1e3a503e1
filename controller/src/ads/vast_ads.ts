import { loadableAddress, openableText } from "../util/address";
import {
  adWith,
  beaconNames,
  type Ad,
  type AdType,
  type Beacons,
  type CaptionFile,
  type MediaFile,
  type Offset,
} from "./ad";
import type { ParsedAd, ParsedCategory, ParsedCreative, ParsedMediaFile } from "./parsed_ad";
import { companionsOf, iconsOf, verificationsOf, viewableImpressionOf } from "./vast_extras";
import { AdFailure, VastCode } from "./vast_error";

type Fill = (template: string) => string;

const scriptTypes = /javascript|ecmascript|shockwave|flash|text\/html/i;

/** What runs instead of being played. Other API frameworks only measure a file that plays. */
function executableKind({ apiFramework, mimeType }: ParsedMediaFile): "vpaid" | "simid" | undefined {
  if (/^simid/i.test(apiFramework ?? "")) return "simid";
  return /^vpaid/i.test(apiFramework ?? "") || scriptTypes.test(mimeType ?? "") ? "vpaid" : undefined;
}

/** The creative that is played. */
function linearOf(ad: ParsedAd): ParsedCreative {
  const ofType = (type: string) => ad.creatives.filter((creative) => creative.type === type);
  const linear = ofType("linear").find(({ mediaFiles }) => Boolean(mediaFiles?.length));
  if (linear) return linear;
  if (ofType("linear").some(({ interactiveCreativeFile }) => interactiveCreativeFile)) {
    throw new AdFailure(VastCode.interactive, "Interactive creatives are not supported");
  }
  if (ofType("nonlinear").length > 0) throw new AdFailure(VastCode.unexpectedLinearity, "The ad is not linear");
  if (ofType("linear").length > 0) throw new AdFailure(VastCode.noSupportedMedia, "The ad has no media file");
  throw new AdFailure(VastCode.unexpectedAdType, "The ad has no linear creative");
}

/**
 * The codes for parts of the ad without which its video is played: its interactive layer, and companions that it
 * requires beyond those that can be shown. `companionRoom` is how many can be shown.
 */
export function lossesOf(ad: ParsedAd, companionRoom: number): number[] {
  const isUnmet = ({ type, required, variations = [] }: ParsedCreative) => {
    const needed = required === "all" ? variations.length : Number(required === "any" && variations.length > 0);
    return type === "companion" && needed > companionRoom;
  };
  const codes = linearOf(ad).interactiveCreativeFile ? [VastCode.interactiveNotExecuted as number] : [];
  return ad.creatives.some(isUnmet) ? [...codes, VastCode.requiredCompanion] : codes;
}

function mediaOf(creative: ParsedCreative): MediaFile[] {
  const files = creative.mediaFiles ?? [];
  const plain = files.filter((file) => !executableKind(file));
  if (plain.length === 0 && files.some((file) => executableKind(file) === "simid")) {
    throw new AdFailure(VastCode.interactive, "Interactive creatives are not supported");
  }
  if (plain.length === 0) throw new AdFailure(VastCode.vpaid, "VPAID is not supported");
  return plain.flatMap((file) => {
    const src = loadableAddress(file.fileURL ?? undefined);
    if (!src) return [];
    return {
      src,
      type: file.mimeType?.trim() ?? "",
      codec: file.codec?.trim() || undefined,
      width: file.width || 0,
      height: file.height || 0,
      bitrate: file.bitrate || file.maxBitrate || 0,
    };
  });
}

const captionTypes: ReadonlySet<string> = new Set(["", "text/vtt", "text/webvtt", "vtt"]);

function captionsOf(creative: ParsedCreative): CaptionFile[] {
  return (creative.closedCaptionFiles ?? []).flatMap(({ type, language, fileURL }) => {
    const src = loadableAddress(fileURL ?? undefined);
    const plainType = type?.split(";")[0]?.trim().toLowerCase() ?? "";
    if (!src || !captionTypes.has(plainType)) return [];
    return { src, type: plainType, lang: language ?? "", label: language ?? "" };
  });
}

const progressPrefix = "progress-";

function progressOffset(text: string): Offset | undefined {
  const value = parseFloat(text);
  if (!(value >= 0)) return undefined;
  return text.endsWith("%") ? { share: value / 100 } : { seconds: value };
}

function beaconsOf(ad: ParsedAd, creative: ParsedCreative): Beacons {
  const events = creative.trackingEvents ?? {};
  const beacons: Beacons = { urls: {}, progress: [] };
  for (const name of beaconNames) beacons.urls[name] = events[name] ?? [];
  beacons.urls.impression = ad.impressionURLTemplates.map(({ url }) => url).filter(Boolean);
  beacons.urls.error = ad.errorURLTemplates.filter(Boolean);
  beacons.urls.clickTracking = (creative.videoClickTrackingURLTemplates ?? []).map(({ url }) => url).filter(Boolean);
  for (const [name, urls] of Object.entries(events)) {
    const offset = name.startsWith(progressPrefix) ? progressOffset(name.slice(progressPrefix.length)) : undefined;
    if (offset) beacons.progress.push(...urls.map((url) => ({ offset, url })));
  }
  return beacons;
}

function categoriesIn(categories: ParsedCategory[]): string[] {
  return categories.flatMap(({ value }) => value.split(",").map((one) => one.trim())).filter(Boolean);
}

/** The macro values that belong to the ad. */
export function macrosOf(ad: ParsedAd, creative?: ParsedCreative): Ad["macros"] {
  const universalIds = (creative?.universalAdIds ?? []).filter(({ value }) => value);
  const list = (values: string[]) => (values.length > 0 ? values : undefined);
  return {
    ADSERVINGID: ad.adServingId || undefined,
    UNIVERSALADID: list(universalIds.map(({ idRegistry, value }) => `${idRegistry} ${value}`)),
    PODSEQUENCE: ad.sequence || undefined,
    ADCATEGORIES: list(categoriesIn(ad.categories)),
    BLOCKEDADCATEGORIES: list(categoriesIn(ad.blockedAdCategories)),
    ADTYPE: adTypeOf(ad),
    INVENTORYSTATE: creative && typeof creative.skipDelay === "number" ? ["skippable"] : undefined,
  };
}

/** A wrapper may forbid categories; forbidding one forbids what is below it, as "IAB1-5" is below "IAB1". */
function refuseBlockedCategories(ad: ParsedAd): void {
  const own = categoriesIn(ad.categories).map((category) => category.toLowerCase());
  const isBlocked = (blocked: string) => own.some((one) => one === blocked || one.startsWith(`${blocked}-`));
  if (categoriesIn(ad.blockedAdCategories).some((blocked) => isBlocked(blocked.toLowerCase()))) {
    throw new AdFailure(VastCode.blockedCategory, "A wrapper blocks the category of the ad");
  }
}

function priceOf(ad: ParsedAd): number | undefined {
  const price = ad.pricing ? parseFloat(ad.pricing.value) : NaN;
  return Number.isFinite(price) ? price : undefined;
}

function adTypeOf({ adType }: ParsedAd): AdType {
  const stated = adType?.toLowerCase();
  return stated === "audio" || stated === "hybrid" ? stated : "video";
}

function atLeastZero(value: number | null | undefined): number | undefined {
  return typeof value === "number" && value >= 0 ? value : undefined;
}

/** An in-line ad of a VAST document in the form that the player uses. Throws an `AdFailure` for what it refuses. */
export function adFromVast(ad: ParsedAd, position: number, fill: Fill): Ad {
  refuseBlockedCategories(ad);
  const creative = linearOf(ad);
  const media = mediaOf(creative);
  const skipOffset = atLeastZero(creative.skipDelay);
  const target = creative.videoClickThroughURLTemplate?.url;
  return adWith({
    id: ad.id || creative.adId || creative.id || `ad-${position + 1}`,
    index: position,
    title: ad.title || undefined,
    duration: atLeastZero(creative.duration) || undefined,
    price: priceOf(ad),
    clickthru: target ? openableText(fill(target)) : undefined,
    skipOffset: skipOffset === undefined ? undefined : { seconds: skipOffset },
    media,
    captions: captionsOf(creative),
    icons: iconsOf(ad, fill),
    companions: companionsOf(ad, fill),
    verifications: verificationsOf(ad),
    viewableImpression: viewableImpressionOf(ad),
    adType: adTypeOf(ad),
    expires: atLeastZero(ad.expires),
    beacons: beaconsOf(ad, creative),
    macros: macrosOf(ad, creative),
  });
}
