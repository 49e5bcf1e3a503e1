import { AdFailure, VastCode } from "./vast_error";
import { xmlDocument } from "./xml_document";

/** Fails with the code for why, unless the document is one of VAST 2 or later. */
export function requireVast(xml: Document): Document {
  const root = xml.documentElement.localName;
  if (root === "VideoAdServingTemplate") throw new AdFailure(VastCode.version, "VAST 1 is not supported");
  if (root !== "VAST") throw new AdFailure(VastCode.schema, "The document is not a VAST document");
  return xml;
}

export function vastDocument(text: string, url: string | null): Document {
  return requireVast(xmlDocument(text, url));
}

/** Before version 3 a document with several ads was a pod without stating it. */
export function isBeforePods(vast: Document): boolean {
  return parseFloat(vast.documentElement.getAttribute("version") ?? "") < 3;
}

export function adElements(vast: Document): Element[] {
  return Array.from(vast.documentElement.children).filter(({ localName }) => localName === "Ad");
}

/** Changes what the parser would not find, or not keep apart. */
export function adaptToParser(vast: Document): void {
  completeVerifications(vast);
  separateAltTexts(vast);
  fillUniversalAdIds(vast);
}

/** VAST 4.0 has the value in an attribute, later versions as text. */
function fillUniversalAdIds(vast: Document): void {
  for (const id of Array.from(vast.querySelectorAll("UniversalAdId[idValue]"))) {
    if (!id.textContent?.trim()) id.textContent = id.getAttribute("idValue");
  }
}

/** The parser reads a fallback image as one text. Its address must be the last word of it. */
function separateAltTexts(vast: Document): void {
  for (const altText of Array.from(vast.querySelectorAll("IconClickFallbackImage > AltText"))) {
    altText.parentElement?.prepend(altText, "\n");
  }
}

/** Measurement scripts of VAST 2 and 3 come in an extension, some without the element that the parser looks for. */
function completeVerifications(vast: Document): void {
  for (const extension of Array.from(vast.querySelectorAll("Extension"))) {
    const bare = Array.from(extension.children).filter(({ localName }) => localName === "Verification");
    if (bare.length === 0) continue;
    const list = vast.createElementNS(extension.namespaceURI, "AdVerifications");
    list.append(...bare);
    extension.append(list);
  }
}

/** True for an ad that belongs to a pod. */
export function hasSequence(ad: { sequence: string | null }): boolean {
  return parseInt(ad.sequence ?? "", 10) > 0;
}

export type AdForm = "inline" | "wrapper" | "hollow";

/** A hollow ad holds neither an in-line ad nor a wrapper that leads anywhere. */
export function formOf(ad: Element): AdForm {
  const content = Array.from(ad.children).find(({ localName }) => localName === "InLine" || localName === "Wrapper");
  if (content?.localName === "InLine") return "inline";
  const target = content?.querySelector("VASTAdTagURI, VASTAdTagURL > URL");
  return target?.textContent?.trim() ? "wrapper" : "hollow";
}

export function errorAddressesOf(ad: Element): string[] {
  return Array.from(ad.getElementsByTagName("Error"), (error) => (error.textContent ?? "").trim()).filter(Boolean);
}
