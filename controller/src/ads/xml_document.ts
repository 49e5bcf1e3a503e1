import { resolvedAgainst } from "../util/address";
import { largestDocument } from "../util/fetching";
import { AdFailure, VastCode } from "./vast_error";

/** Names that servers are known to write in another case. */
const canonicalNames = new Map([
  ["inline", "InLine"],
  ["wrapper", "Wrapper"],
]);

const addressElements: ReadonlySet<string> = new Set(
  (
    "AdTagURI ClickThrough ClickTracking ClosedCaptionFile CompanionClickThrough CompanionClickTracking CustomClick " +
    "Error ExecutableResource IFrameResource IconClickThrough IconClickTracking IconViewTracking Impression " +
    "InteractiveCreativeFile JavaScriptResource MediaFile NotViewable StaticResource Tracking URL VASTAdTagURI " +
    "ViewUndetermined Viewable"
  ).split(" "),
);

function skipBehind(text: string, position: number, mark: string): number {
  const end = text.indexOf(mark, position);
  return end < 0 ? text.length : end + mark.length;
}

function skipSpace(text: string, position: number): number {
  const space = /\s*/y;
  space.lastIndex = position;
  space.test(text);
  return space.lastIndex;
}

/** Whether there is a document type before the root element. */
function declaresDocumentType(text: string): boolean {
  let position = skipSpace(text, 0);
  for (;;) {
    if (text.startsWith("<?", position)) position = skipBehind(text, position, "?>");
    else if (text.startsWith("<!--", position)) position = skipBehind(text, position, "-->");
    else return text.slice(position, position + 9).toUpperCase() === "<!DOCTYPE";
    position = skipSpace(text, position);
  }
}

function canonicalName(element: Element): string {
  return canonicalNames.get(element.localName.toLowerCase()) ?? element.localName;
}

function copied(element: Element, target: Document): Element {
  const copy = target.createElementNS(null, canonicalName(element));
  for (const { localName, prefix, value } of Array.from(element.attributes)) {
    if (prefix !== "xmlns" && localName !== "xmlns") copy.setAttribute(localName, value);
  }
  for (const child of Array.from(element.childNodes)) {
    if (child.nodeType === Node.ELEMENT_NODE) copy.append(copied(child as Element, target));
    else if (child.nodeType !== Node.COMMENT_NODE) copy.append(child.textContent ?? "");
  }
  return copy;
}

/** A document of its own with this element as its root, whose names have no prefix. */
export function documentOf(root: Element): Document {
  const target = document.implementation.createDocument(null, null);
  target.append(copied(root, target));
  return target;
}

function elementsOf(xml: Document): Element[] {
  return Array.from(xml.getElementsByTagName("*"));
}

/** Relative addresses are relative to the document that holds them, and a wrapper merges several documents. */
function resolveAddresses(xml: Document, base: string): void {
  for (const element of elementsOf(xml)) {
    if (!addressElements.has(element.localName)) continue;
    const text = (element.textContent ?? "").trim();
    const resolved = resolvedAgainst(base, text);
    if (resolved !== text) element.textContent = resolved;
  }
}

/**
 * Reads an XML document with plain element names and absolute addresses. Documents with a document type are
 * refused unread: ads have no use for one, and its entities can expand to any size.
 */
export function xmlDocument(source: string, url: string | null): Document {
  const text = source.trim();
  if (text.length > largestDocument) throw new AdFailure(VastCode.xmlParsing, "The document is too large");
  if (declaresDocumentType(text)) throw new AdFailure(VastCode.xmlParsing, "The document declares a document type");
  const parsed = new DOMParser().parseFromString(text, "text/xml");
  // Some engines put the error in place of the document, some inside it.
  if (parsed.getElementsByTagName("parsererror").length > 0) {
    throw new AdFailure(VastCode.xmlParsing, "The document is not well-formed XML");
  }
  const isPlain = elementsOf(parsed).every(
    (element) => !element.prefix && canonicalName(element) === element.localName,
  );
  const xml = isPlain ? parsed : documentOf(parsed.documentElement);
  if (url !== null) resolveAddresses(xml, url);
  return xml;
}
