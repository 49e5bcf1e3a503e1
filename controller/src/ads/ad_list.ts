import { adWith, beaconNames, type Ad, type Beacons, type CaptionFile, type MediaFile } from "./ad";
import { isObject, listAt, numberAt, objectAt, textAt, type JsonObject } from "../util/json";
import { loadableAddress, openableText } from "../util/address";

function texts(values: unknown[]): string[] {
  return values.filter((value): value is string => typeof value === "string" && value !== "");
}

function mediaFrom(ad: JsonObject): MediaFile[] {
  return listAt(ad, "media").flatMap((entry) => {
    const src = loadableAddress(textAt(entry, "src"));
    if (!src) return [];
    return {
      src,
      type: textAt(entry, "type") ?? "video/mp4",
      codec: textAt(entry, "codec"),
      width: numberAt(entry, "width") ?? 0,
      height: numberAt(entry, "height") ?? 0,
      bitrate: numberAt(entry, "bitrate") ?? 0,
    };
  });
}

function captionsFrom(ad: JsonObject): CaptionFile[] {
  return listAt(ad, "captions").flatMap((entry) => {
    const src = loadableAddress(textAt(entry, "src"));
    if (!src) return [];
    const lang = textAt(entry, "lang") ?? "";
    return { src, type: textAt(entry, "type") ?? "", lang, label: textAt(entry, "label") ?? lang };
  });
}

function beaconsFrom(ad: JsonObject): Beacons {
  const source = objectAt(ad, "beacons");
  const beacons: Beacons = { urls: {}, progress: [] };
  for (const name of beaconNames) beacons.urls[name] = texts(listAt(source, name));
  for (const entry of listAt(source, "progress")) {
    const seconds = numberAt(entry, "offset");
    const url = textAt(entry, "url");
    if (seconds !== undefined && url) beacons.progress.push({ offset: { seconds }, url });
  }
  return beacons;
}

function adFrom(source: JsonObject, position: number): Ad {
  const skipOffset = numberAt(source, "skipOffset");
  return adWith({
    id: textAt(source, "id") ?? `ad-${position + 1}`,
    index: numberAt(source, "index") ?? position,
    vpi: textAt(source, "vpi") ?? "mp4",
    title: textAt(source, "title"),
    duration: numberAt(source, "duration"),
    price: numberAt(source, "price"),
    url: textAt(source, "url"),
    clickthru: openableText(textAt(source, "clickthru")),
    skipOffset: skipOffset === undefined ? undefined : { seconds: skipOffset },
    media: mediaFrom(source),
    captions: captionsFrom(source),
    beacons: beaconsFrom(source),
  });
}

/** The ads of the server's own list, in playing order. Throws on text that is not JSON. */
export function adsFromList(text: string): Ad[] {
  const list: unknown = JSON.parse(text);
  return listAt(list, "ads")
    .filter(isObject)
    .map(adFrom)
    .sort((one, other) => one.index - other.index);
}
