import { AdFailure, VastCode } from "./vast_error";

/** Reads one VAST document; what is none fails with the code for why. */
export function vastDocument(text: string): Document {
  const document = new DOMParser().parseFromString(text.trim(), "text/xml");
  // Some engines put the error in place of the document, some inside it.
  if (document.getElementsByTagName("parsererror").length > 0) {
    throw new AdFailure(VastCode.xmlParsing, "The answer is not well-formed XML");
  }
  const root = document.documentElement.nodeName;
  if (root === "VideoAdServingTemplate") throw new AdFailure(VastCode.version, "VAST 1 is not supported");
  if (root !== "VAST") throw new AdFailure(VastCode.schema, "The answer is not a VAST document");
  return document;
}

/** Before version 3 a document with several ads was a pod without saying so. */
export function isBeforePods(document: Document): boolean {
  const version = parseFloat(document.documentElement.getAttribute("version") ?? "");
  return version < 3;
}
