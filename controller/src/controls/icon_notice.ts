import type { FallbackImage } from "../ads/ad";
import type { ViewSize } from "../media/media_choice";
import { button, element, icon, setLabel } from "./dom";

/** The largest image that the view shows in full, or else the smallest. */
export function imageForView(images: FallbackImage[], view: ViewSize): FallbackImage | undefined {
  const area = ({ width, height }: FallbackImage) => width * height;
  const bySize = [...images].sort((one, other) => area(one) - area(other));
  const fitting = bySize.filter(({ width, height }) => width <= view.width && height <= view.height);
  return fitting.at(-1) ?? bySize[0];
}

/** What an icon has to say where it has no page to open: an image and its text, over the paused ad. */
export class IconNotice {
  readonly layer = element("div", "icon-notice");
  private readonly image = element("img", "icon-notice-image");
  private readonly text = element("p", "icon-notice-text");
  private readonly dismissButton = button("tool dismiss", "", icon("close"));
  private onDismiss: (() => void) | undefined;
  private focusBefore: Element | null = null;

  constructor() {
    this.layer.setAttribute("role", "dialog");
    this.layer.setAttribute("aria-modal", "true");
    this.layer.append(this.image, this.text, this.dismissButton);
    this.layer.hidden = true;
    this.text.dir = "auto";
    // The dialog has one button, so the focus stays on it.
    this.layer.addEventListener("keydown", (event) => event.key === "Tab" && event.preventDefault());
    this.image.addEventListener("error", () => (this.image.hidden = true));
    this.dismissButton.addEventListener("click", () => this.dismiss());
  }

  get isShown(): boolean {
    return !this.layer.hidden;
  }

  setLabels(dismiss: string): void {
    setLabel(this.dismissButton, dismiss);
  }

  /** `title` names the notice where the image has no text. */
  show({ src, altText }: FallbackImage, title: string, onDismiss: () => void): void {
    this.onDismiss = onDismiss;
    this.focusBefore = document.activeElement;
    this.image.hidden = false;
    this.image.src = src;
    this.image.alt = "";
    this.text.textContent = altText ?? "";
    setLabel(this.layer, altText ?? title);
    this.layer.hidden = false;
    this.dismissButton.focus({ preventScroll: true });
  }

  /** Closed by the viewer. */
  dismiss(): void {
    if (!this.isShown) return;
    this.hide();
    this.onDismiss?.();
  }

  hide(): void {
    if (!this.isShown) return;
    this.layer.hidden = true;
    this.image.removeAttribute("src");
    if (this.focusBefore instanceof HTMLElement) this.focusBefore.focus({ preventScroll: true });
  }
}
