import { AdFailure, VastCode } from "./vast_error";
import { loadableAddress, openableText } from "../util/address";
import { adWith, beaconNames, type Ad, type Beacons, type CaptionFile, type MediaFile, type Offset } from "./ad";
import type { ParsedAd, ParsedCreative, ParsedMediaFile } from "./vast_resolver";

function isInteractive(file: ParsedMediaFile): boolean {
  return Boolean(file.apiFramework) || /javascript|flash/i.test(file.mimeType ?? "");
}

/** The creative that is played. What would be played only in part is refused whole. */
function linearOf(ad: ParsedAd): ParsedCreative {
  const ofType = (type: string) => ad.creatives.filter((creative) => creative.type === type);
  const linear = ofType("linear").find(({ mediaFiles, interactiveCreativeFile }) => {
    return Boolean(mediaFiles?.length) || Boolean(interactiveCreativeFile);
  });
  if (linear?.interactiveCreativeFile) {
    throw new AdFailure(VastCode.interactive, "Interactive creatives are not supported");
  }
  if (linear) return linear;
  if (ofType("nonlinear").length > 0) throw new AdFailure(VastCode.unexpectedLinearity, "The ad is not linear");
  if (ofType("linear").length > 0) throw new AdFailure(VastCode.noSupportedMedia, "The ad has no media file");
  throw new AdFailure(VastCode.unexpectedAdType, "The ad has no linear creative");
}

function mediaOf(creative: ParsedCreative): MediaFile[] {
  const files = creative.mediaFiles ?? [];
  const plain = files.filter((file) => !isInteractive(file));
  if (plain.length === 0 && files.some(({ apiFramework }) => apiFramework?.toUpperCase() === "SIMID")) {
    throw new AdFailure(VastCode.interactive, "Interactive creatives are not supported");
  }
  if (plain.length === 0) throw new AdFailure(VastCode.vpaid, "VPAID is not supported");
  return plain.flatMap((file) => {
    const src = loadableAddress(file.fileURL ?? undefined);
    if (!src) return [];
    return {
      src,
      type: file.mimeType ?? "",
      codec: file.codec ?? undefined,
      width: file.width || 0,
      height: file.height || 0,
      bitrate: file.bitrate || file.maxBitrate || 0,
    };
  });
}

function captionsOf(creative: ParsedCreative): CaptionFile[] {
  return (creative.closedCaptionFiles ?? []).flatMap(({ type, language, fileURL }) => {
    const src = loadableAddress(fileURL ?? undefined);
    if (!src || (type && type.toLowerCase() !== "text/vtt")) return [];
    return { src, type: type ?? "", lang: language ?? "", label: language ?? "" };
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

function macrosOf(ad: ParsedAd, creative: ParsedCreative): Record<string, string> {
  const macros: Record<string, string> = {};
  const universal = creative.universalAdIds?.[0];
  if (ad.adServingId) macros.ADSERVINGID = ad.adServingId;
  if (universal?.value) macros.UNIVERSALADID = `${universal.idRegistry} ${universal.value}`;
  if (ad.sequence) macros.PODSEQUENCE = ad.sequence;
  return macros;
}

function priceOf(ad: ParsedAd): number | undefined {
  const price = ad.pricing ? parseFloat(ad.pricing.value) : NaN;
  return Number.isFinite(price) ? price : undefined;
}

function atLeastZero(value: number | null | undefined): number | undefined {
  return typeof value === "number" && value >= 0 ? value : undefined;
}

/** An in-line ad of a VAST document as the player plays it. Throws an `AdFailure` for what it refuses. */
export function adFromVast(ad: ParsedAd, position: number, resolveMacros: (template: string) => string): Ad {
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
    clickthru: target ? openableText(resolveMacros(target)) : undefined,
    skipOffset: skipOffset === undefined ? undefined : { seconds: skipOffset },
    media,
    captions: captionsOf(creative),
    beacons: beaconsOf(ad, creative),
    macros: macrosOf(ad, creative),
  });
}
