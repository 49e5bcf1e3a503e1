/** Builds VAST documents from their few varying parts. */

export const origin = "https://ads.test";

const cdata = (text: string) => `<![CDATA[${text}]]>`;
const attributes = (values: Record<string, string | number | undefined>) =>
  Object.entries(values)
    .filter(([, value]) => value !== undefined)
    .map(([name, value]) => ` ${name}="${value}"`)
    .join("");

/** An element with a text, written as ad servers write addresses. */
export function leaf(name: string, text: string, values: Record<string, string | number | undefined> = {}): string {
  return `<${name}${attributes(values)}>${cdata(text)}</${name}>`;
}

export function vast(version: string, ...content: string[]): string {
  return `<?xml version="1.0" encoding="UTF-8"?>\n<VAST version="${version}">${content.join("\n")}</VAST>`;
}

export function tracking(events: string[], from = ""): string {
  return `<TrackingEvents>${events.map((event) => leaf("Tracking", `${origin}/${event}${from}`, { event })).join("")}</TrackingEvents>`;
}

export function mediaFile(values: Record<string, string | number | undefined> = {}, src = `${origin}/ad.mp4`): string {
  return leaf("MediaFile", src, { delivery: "progressive", type: "video/mp4", width: 640, height: 360, ...values });
}

export interface LinearParts {
  values?: Record<string, string>;
  media?: string;
  /** More children of the `MediaFiles` element. */
  mediaExtras?: string;
  /** More children of the `Linear` element. */
  extras?: string;
}

export function linear({ values = {}, media = mediaFile(), mediaExtras = "", extras = "" }: LinearParts = {}): string {
  const files = `<MediaFiles>${media}${mediaExtras}</MediaFiles>`;
  return `<Linear${attributes(values)}><Duration>00:00:16</Duration>${extras}${files}</Linear>`;
}

export interface AdParts {
  values?: Record<string, string | number>;
  creatives?: string[];
  /** More children of the `InLine` or `Wrapper` element. */
  extras?: string;
}

function adWith(id: string, form: string, head: string, { values = {}, creatives = [], extras = "" }: AdParts): string {
  const list = creatives.map((creative) => `<Creative>${creative}</Creative>`).join("");
  const common = leaf("Error", `${origin}/error-${id}-[ERRORCODE]`) + leaf("Impression", `${origin}/impression-${id}`);
  const name = form.split(" ")[0];
  const content = `<AdSystem version="1">Samples</AdSystem>${head}${common}<Creatives>${list}</Creatives>${extras}`;
  return `<Ad${attributes({ id, ...values })}><${form}>${content}</${name}></Ad>`;
}

export function inline(id: string, parts: AdParts = {}): string {
  return adWith(id, "InLine", `<AdTitle>${id}</AdTitle>`, { creatives: [linear()], ...parts });
}

/** A wrapper around the document at `path`. */
export function wrapper(id: string, path: string, parts: AdParts = {}, wrapperAttributes = ""): string {
  return adWith(id, `Wrapper ${wrapperAttributes}`.trim(), leaf("VASTAdTagURI", origin + path), parts);
}

export function companion(resource: string, values: Record<string, string | number> = {}): string {
  const clicks =
    leaf("CompanionClickThrough", "https://advertiser.example/") +
    leaf("CompanionClickTracking", `${origin}/companion-click`);
  const size = attributes({ width: 300, height: 250, ...values });
  return `<CompanionAds><Companion${size}>${resource}${tracking(["creativeView"])}${clicks}</Companion></CompanionAds>`;
}

export function icon(program: string, extras = "", values: Record<string, string | number> = {}): string {
  const place = attributes({ program, width: 20, height: 20, xPosition: "right", yPosition: "top", ...values });
  const image = leaf("StaticResource", `${origin}/${program}.png`, { creativeType: "image/png" });
  const clicks = `<IconClicks>${leaf("IconClickThrough", "https://choices.example/")}${leaf("IconClickTracking", `${origin}/icon-click`)}${extras}</IconClicks>`;
  return `<Icons><Icon${place}>${image}${clicks}${leaf("IconViewTracking", `${origin}/icon-view`)}</Icon></Icons>`;
}
