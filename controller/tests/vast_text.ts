/** Builds VAST documents from their few varying parts. */

export const origin = "https://ads.test";

type Values = Record<string, string | number>;

const attributes = (values: Values) =>
  Object.entries(values)
    .map(([name, value]) => ` ${name}="${value}"`)
    .join("");

/** An element with a text, written as ad servers write addresses. */
export function leaf(name: string, text: string, values: Values = {}): string {
  return `<${name}${attributes(values)}><![CDATA[${text}]]></${name}>`;
}

export function vast(version: string, ...content: string[]): string {
  return `<?xml version="1.0" encoding="UTF-8"?>\n<VAST version="${version}">${content.join("\n")}</VAST>`;
}

export function mediaFile(values: Values = {}, src = `${origin}/ad.mp4`): string {
  return leaf("MediaFile", src, { delivery: "progressive", type: "video/mp4", width: 640, height: 360, ...values });
}

/** `extras` are more children of the element. */
export function linear({ media = mediaFile(), extras = "" } = {}): string {
  return `<Linear><Duration>00:00:16</Duration>${extras}<MediaFiles>${media}</MediaFiles></Linear>`;
}

export interface AdParts {
  values?: Values;
  creatives?: string[];
  /** More children of the `InLine` or `Wrapper` element. */
  extras?: string;
}

function adWith(id: string, form: string, head: string, { values = {}, creatives = [], extras = "" }: AdParts): string {
  const list = creatives.map((creative) => `<Creative>${creative}</Creative>`).join("");
  const common = leaf("Error", `${origin}/error-${id}-[ERRORCODE]`) + leaf("Impression", `${origin}/impression-${id}`);
  const content = `<AdSystem>Tests</AdSystem>${head}${common}<Creatives>${list}</Creatives>${extras}`;
  return `<Ad${attributes({ id, ...values })}><${form}>${content}</${form}></Ad>`;
}

export function inline(id: string, parts: AdParts = {}): string {
  return adWith(id, "InLine", `<AdTitle>${id}</AdTitle>`, { creatives: [linear()], ...parts });
}

/** A wrapper around the document at `path`. */
export function wrapper(id: string, path: string, parts: AdParts = {}): string {
  return adWith(id, "Wrapper", leaf("VASTAdTagURI", origin + path), parts);
}
