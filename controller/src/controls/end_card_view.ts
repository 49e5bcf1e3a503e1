import type { Companion } from "../ads/ad";
import type { EndCardEvents } from "../playback/player_view";
import { displayableResource, linkIn } from "../playback/resource_choice";
import { button, element } from "./dom";
import type { Size } from "./geometry";
import { resourceView, scaleResource } from "./resource_view";

/** The companion that is shown when the video is over. It loads out of sight before. */
export class EndCardView {
  readonly layer = element("div", "end-card");
  private companion: Companion | undefined;
  private card: HTMLElement | undefined;
  private state: "loading" | "loaded" | "failed" = "loading";
  private events: EndCardEvents | undefined;

  constructor(private readonly onClick: (link: string | undefined) => void) {}

  /** `label` names the card for screen readers where the ad does not. */
  prepare(companion: Companion, label: string): void {
    if (this.companion === companion) return;
    this.clear();
    this.companion = companion;
    const resource = displayableResource(companion.resources);
    if (!resource) {
      this.state = "failed";
      return;
    }
    const text = companion.altText ?? label;
    const view = resourceView(resource, text, {
      loaded: () => this.settle("loaded", companion),
      failed: () => this.settle("failed", companion),
    });
    this.card = button("card", text, view);
    this.card.addEventListener("click", () => this.onClick(linkIn(resource)));
    this.layer.append(this.card);
  }

  show(companion: Companion, label: string, events: EndCardEvents): void {
    this.prepare(companion, label);
    this.events = events;
    this.report();
  }

  /** Images fill the view as far as their shape allows. HTML keeps the size that it was made for, or is made smaller. */
  resize(view: Size): void {
    const { companion, card } = this;
    const content = card?.firstElementChild;
    if (!companion || !card || !content) return;
    const width = companion.width || view.width;
    const height = companion.height || view.height;
    const fitting = Math.min(view.width / width, view.height / height);
    const scale = content instanceof HTMLIFrameElement ? Math.min(1, fitting) : fitting;
    card.style.width = `${width * scale}px`;
    card.style.height = `${height * scale}px`;
    scaleResource(content, { width, height }, scale);
  }

  clear(): void {
    this.layer.textContent = "";
    this.companion = undefined;
    this.card = undefined;
    this.events = undefined;
    this.state = "loading";
  }

  private settle(state: "loaded" | "failed", companion: Companion): void {
    if (this.companion !== companion || this.state !== "loading") return;
    this.state = state;
    this.report();
  }

  private report(): void {
    if (this.state === "loaded") this.events?.shown();
    if (this.state === "failed") this.events?.failed();
  }
}
