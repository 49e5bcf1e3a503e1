import { loadableAddress, openableText } from "../util/address";
import type { Companion, FallbackImage, Icon, Resource, Verification, ViewableImpression } from "./ad";
import type { ParsedAd, ParsedCompanion, ParsedIcon } from "./parsed_ad";

type Fill = (template: string) => string;

interface ParsedResources {
  images: Array<{ url: string; type: string }>;
  html: string[];
  iframes: string[];
}

/** Images first: they show in any place and run nothing. Scripts and Flash are left out. */
function resourcesFrom({ images, html, iframes }: ParsedResources, fill: Fill): Resource[] {
  const resources: Resource[] = [];
  for (const { url, type } of images) {
    const src = /script|flash/i.test(type) ? undefined : loadableAddress(fill(url));
    if (src) resources.push({ kind: "static", src, type });
  }
  for (const text of html) resources.push({ kind: "html", html: text });
  for (const url of iframes) {
    const src = loadableAddress(fill(url));
    if (src) resources.push({ kind: "iframe", src });
  }
  return resources;
}

const present = <T>(value: T | null | undefined | ""): T[] => (value ? [value] : []);
const addressesOf = (trackers: Array<{ url: string }>) => trackers.map(({ url }) => url).filter(Boolean);
const pixels = (value: string | number | null) => Math.max(0, Number(value) || 0);
const seconds = (value: number) => (value > 0 ? value : undefined);

/** The parser gives the alternative text and the address of the image as one text. */
function fallbackImage(image: ParsedIcon["iconClickFallbackImages"][number], fill: Fill): FallbackImage[] {
  const [, altText, address] = /^(.*?)\s*(\S+)$/s.exec(image.url ?? "") ?? [];
  const src = loadableAddress(address && fill(address));
  if (!src) return [];
  return [{ src, width: pixels(image.width), height: pixels(image.height), altText: altText || undefined }];
}

function iconFrom(icon: ParsedIcon, fill: Fill): Icon[] {
  const images = present(icon.staticResource).map((url) => ({ url, type: icon.type || "" }));
  const parts = { images, html: present(icon.htmlResource), iframes: present(icon.iframeResource) };
  const resources = resourcesFrom(parts, fill);
  if (resources.length === 0) return [];
  return [
    {
      program: icon.program ?? "",
      resources,
      width: pixels(icon.width),
      height: pixels(icon.height),
      x: icon.xPosition || 0,
      y: icon.yPosition || 0,
      offset: seconds(icon.offset) ?? 0,
      duration: seconds(icon.duration),
      pixelRatio: parseFloat(icon.pxratio) || 1,
      altText: icon.altText ?? undefined,
      hoverText: icon.hoverText ?? undefined,
      clickthru: icon.iconClickThroughURLTemplate ? openableText(fill(icon.iconClickThroughURLTemplate)) : undefined,
      fallbackImages: icon.iconClickFallbackImages.flatMap((image) => fallbackImage(image, fill)),
      clickTracking: addressesOf(icon.iconClickTrackingURLTemplates),
      viewTracking: present(icon.iconViewTrackingURLTemplate),
    },
  ];
}

/** One icon for each program: that of the ad itself, or else of the wrapper next to it. */
export function iconsOf(ad: ParsedAd, fill: Fill): Icon[] {
  const icons = ad.creatives.flatMap((creative) => creative.icons ?? []).flatMap((icon) => iconFrom(icon, fill));
  const isFirst = (icon: Icon, position: number) =>
    icon.program === "" || icons.findIndex(({ program }) => program === icon.program) === position;
  return icons.filter(isFirst);
}

function renderingMode(text: string): Companion["renderingMode"] {
  return text === "end-card" || text === "concurrent" ? text : "default";
}

function companionFrom(companion: ParsedCompanion, views: string[], fill: Fill): Companion[] {
  const images = companion.staticResources.map(({ url, creativeType }) => ({ url, type: creativeType ?? "" }));
  const parts = { images, html: companion.htmlResources, iframes: companion.iframeResources };
  const resources = resourcesFrom(parts, fill);
  if (resources.length === 0) return [];
  const target = companion.companionClickThroughURLTemplate;
  return [
    {
      id: companion.id ?? undefined,
      adSlotId: companion.adSlotId ?? undefined,
      resources,
      width: pixels(companion.width),
      height: pixels(companion.height),
      pixelRatio: parseFloat(companion.pxratio) || 1,
      renderingMode: renderingMode(companion.renderingMode),
      altText: companion.altText ?? undefined,
      clickthru: target ? openableText(fill(target)) : undefined,
      clickTracking: addressesOf(companion.companionClickTrackingURLTemplates),
      creativeView: [...(companion.trackingEvents.creativeView ?? []), ...views],
    },
  ];
}

/** Those of the ad itself first. A wrapper's companion without a resource only adds its trackers to the others. */
export function companionsOf(ad: ParsedAd, fill: Fill): Companion[] {
  // The parser puts the creatives of wrappers first.
  const companions = [...ad.creatives].reverse().filter(({ type }) => type === "companion");
  const all = companions.flatMap(({ variations }) => variations ?? []);
  const isEmpty = (one: ParsedCompanion) =>
    one.staticResources.length + one.htmlResources.length + one.iframeResources.length === 0;
  const views = all.filter(isEmpty).flatMap(({ trackingEvents }) => trackingEvents.creativeView ?? []);
  return all.filter((one) => !isEmpty(one)).flatMap((companion) => companionFrom(companion, views, fill));
}

export function verificationsOf(ad: ParsedAd): Verification[] {
  return ad.adVerifications.map(({ vendor, apiFramework, resource, trackingEvents }) => ({
    vendor: vendor ?? undefined,
    apiFramework: apiFramework ?? undefined,
    resource: resource || undefined,
    notExecuted: trackingEvents.verificationNotExecuted ?? [],
  }));
}

export function viewableImpressionOf(ad: ParsedAd): ViewableImpression {
  const all = (group: keyof ViewableImpression) => ad.viewableImpression.flatMap((one) => one[group]);
  return { viewable: all("viewable"), notViewable: all("notViewable"), viewUndetermined: all("viewUndetermined") };
}
