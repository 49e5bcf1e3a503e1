import type { Icon } from "../ads/ad";
import { displayableResource } from "../playback/resource_choice";
import { button, element } from "./dom";
import { clampInto, overlap, type Box, type Size } from "./geometry";
import { resourceView, scaleResource } from "./resource_view";

/** Icons are made smaller with the video, but not below this height: they must stay legible. */
const leastHeight = 20;

/** No icon covers more of the video than this, in either direction. */
const largestShare = 0.5;

interface Shown {
  root: HTMLElement;
  isLoaded: boolean;
}

export interface IconSurroundings {
  /** Where the video is drawn. */
  video: Box;
  /** Pixels of the media file's frame, which the positions of icons refer to. */
  frame: Size;
  /** Controls that no icon may cover, nor be covered by. */
  obstacles: Box[];
}

/** The icons of an ad over its video, such as AdChoices. */
export class IconLayer {
  readonly layer = element("div", "icons");
  private readonly shown = new Map<Icon, Shown>();

  constructor(
    private readonly onClick: (icon: Icon) => void,
    private readonly onLayout: () => void,
  ) {}

  /** Exactly these icons; `label` names those that the ad does not describe. */
  show(icons: Icon[], label: string, onShown: (icon: Icon) => void): void {
    for (const [icon, { root }] of this.shown) {
      if (icons.includes(icon)) continue;
      root.remove();
      this.shown.delete(icon);
    }
    for (const icon of icons) if (!this.shown.has(icon)) this.add(icon, label, onShown);
  }

  clear(): void {
    this.show([], "", () => undefined);
  }

  place({ video, frame, obstacles }: IconSurroundings): void {
    const scale = frame.width > 0 ? video.width / frame.width : 1;
    const taken = [...obstacles];
    for (const [icon, { root }] of this.shown) {
      const box = clearOf(taken, startingBox(icon, scale, video), video, icon.x === "left" ? 1 : -1);
      taken.push(box);
      Object.assign(root.style, {
        left: `${box.left}px`,
        top: `${box.top}px`,
        width: `${box.width}px`,
        height: `${box.height}px`,
      });
      const made = { width: icon.width || box.width, height: icon.height || box.height };
      if (root.firstElementChild) scaleResource(root.firstElementChild, made, box.width / made.width);
    }
  }

  private add(icon: Icon, label: string, onShown: (icon: Icon) => void): void {
    const resource = displayableResource(icon.resources);
    if (!resource) return;
    const text = icon.altText ?? label;
    const entry: Shown = { root: element("div", ""), isLoaded: false };
    const content = resourceView(resource, text, {
      loaded: () => {
        if (entry.isLoaded || this.shown.get(icon) !== entry) return;
        entry.isLoaded = true;
        entry.root.classList.add("loaded");
        onShown(icon);
      },
      failed: () => entry.root.remove(),
    });
    const isClickable = icon.clickthru !== undefined || icon.clickTracking.length + icon.fallbackImages.length > 0;
    entry.root = isClickable ? button("ad-icon", text, content) : element("div", "ad-icon", content);
    if (icon.hoverText) entry.root.title = icon.hoverText;
    entry.root.addEventListener("click", () => this.onClick(icon));
    this.shown.set(icon, entry);
    this.layer.append(entry.root);
    this.onLayout();
  }
}

function startingBox(icon: Icon, scale: number, video: Box): Box {
  const statedHeight = icon.height || leastHeight;
  const statedWidth = icon.width || statedHeight;
  const legible = Math.max(scale, Math.min(1, leastHeight / statedHeight));
  const most = Math.min((video.width * largestShare) / statedWidth, (video.height * largestShare) / statedHeight);
  const size = Math.min(legible, most);
  const width = statedWidth * size;
  const height = statedHeight * size;
  const along = (position: Icon["x"] | Icon["y"], from: number, length: number, own: number) => {
    if (typeof position === "number") return from + position * scale;
    return position === "right" || position === "bottom" ? from + length - own : from;
  };
  const left = along(icon.x, video.left, video.width, width);
  const top = along(icon.y, video.top, video.height, height);
  return clampInto({ left, top, width, height }, video);
}

/** Next to an obstacle where there is room in the same line, otherwise above or below it. */
function clearOf(taken: Box[], wanted: Box, video: Box, direction: 1 | -1): Box {
  let box = wanted;
  for (let round = 0; round < taken.length; round += 1) {
    const other = taken.find((one) => overlap(one, box));
    if (!other) break;
    const left = direction > 0 ? other.left + other.width : other.left - box.width;
    const isInside = left >= video.left && left + box.width <= video.left + video.width;
    const isUpper = other.top + other.height / 2 < video.top + video.height / 2;
    const top = isUpper ? other.top + other.height : other.top - box.height;
    box = isInside ? { ...box, left } : { ...box, top };
  }
  return box;
}
