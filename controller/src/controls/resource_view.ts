import type { Resource } from "../ads/ad";
import { element } from "./dom";
import type { Size } from "./geometry";

/** HTML of an ad fills the size that it states, without the margins and scroll bars of a page. */
const plainPage = "<style>html,body{margin:0;overflow:hidden}</style>";

export interface ResourceEvents {
  loaded(): void;
  failed(): void;
}

/**
 * Shows an image or the HTML of an advertiser. Web views expose the message handlers of the native side to the scripts of
 * every frame, whatever its origin. So the sandbox of a frame allows nothing: no scripts, no forms, no navigation. Clicks
 * are taken by the element around it.
 */
export function resourceView(resource: Resource, altText: string, events: ResourceEvents): HTMLElement {
  const made = resource.kind === "static" ? imageOf(resource.src, altText) : frameOf(resource, altText);
  made.addEventListener("load", () => events.loaded());
  made.addEventListener("error", () => events.failed());
  return made;
}

/** Images fill the element around them. Frames keep the size that they were made for and are drawn larger or smaller. */
export function scaleResource(view: Element, made: Size, scale: number): void {
  if (!(view instanceof HTMLIFrameElement)) return;
  view.style.width = `${made.width}px`;
  view.style.height = `${made.height}px`;
  view.style.transform = `scale(${scale})`;
}

function imageOf(src: string, altText: string): HTMLImageElement {
  const image = element("img", "resource");
  image.alt = altText;
  image.draggable = false;
  image.src = src;
  return image;
}

function frameOf(resource: Exclude<Resource, { kind: "static" }>, title: string): HTMLIFrameElement {
  const frame = element("iframe", "resource");
  frame.setAttribute("sandbox", "");
  frame.referrerPolicy = "no-referrer";
  frame.title = title;
  frame.tabIndex = -1;
  if (resource.kind === "html") frame.srcdoc = plainPage + resource.html;
  else frame.src = resource.src;
  return frame;
}
