import type { AdPresentation, PlayerView, SkipState } from "../playback/player_view";
import type { ViewSize } from "../media/media_choice";
import { countdownText } from "../util/clock_text";
import { Captions } from "./captions";
import { button, element, icon, setIcon, setLabel, setText } from "./dom";
import { listenForKeys } from "./keyboard";

/** What the viewer can ask for. */
export interface ViewerActions {
  togglePause(): void;
  toggleMute(): void;
  skipByViewer(): void;
  clickThrough(): void;
  close(): void;
}

/** A double click must not open a page and at once resume what that paused. */
const doubleClickMs = 700;

/** The video and everything drawn over it. */
export class Controls implements PlayerView {
  readonly video = element("video", "video");
  private readonly surface = element("div", "surface");
  private readonly spinner = element("div", "spinner");
  private readonly pauseIcon = icon("pause");
  private readonly pauseButton = button("tool", "Pause", this.pauseIcon);
  private readonly bigPlay = button("big-play", "Play", icon("play"));
  private readonly soundIcon = icon("sound");
  private readonly soundButton = button("tool", "Mute", this.soundIcon);
  private readonly captionsButton = button("tool", "Captions", icon("captions"));
  private readonly badge = element("span", "badge", "Ad");
  private readonly podText = element("span", "pod");
  private readonly countdown = element("span", "countdown");
  private readonly learnMore = button(
    "pill primary",
    "Learn more",
    element("span", "words", "Learn more"),
    icon("open"),
  );
  private readonly skipWords = element("span", "words");
  private readonly skipButton = button("pill skip", "Skip ad", this.skipWords, icon("skip"));
  private readonly closeButton = button("close", "Close ad", icon("close"));
  private readonly bar = element("div", "progress");
  private readonly progress = element("div", "progress-track", this.bar);
  private readonly stage = element("main", "stage");
  private readonly captions: Captions;
  private actions: ViewerActions | undefined;
  private lastSurfaceClick = -Infinity;
  private hasChosenCaptions = false;

  constructor(root: HTMLElement, log: (text: string) => void) {
    this.captions = new Captions(this.video, (available) => (this.captionsButton.hidden = !available), log);
    this.prepareVideo();
    this.assemble(root);
    this.listen();
    this.clear();
  }

  connect(actions: ViewerActions): void {
    this.actions = actions;
  }

  size(): ViewSize {
    const scale = window.devicePixelRatio || 1;
    return { width: this.stage.clientWidth * scale, height: this.stage.clientHeight * scale };
  }

  showAd({ ad, position, count, closable, captionsOn }: AdPresentation): void {
    this.stage.classList.add("active");
    setLabel(this.stage, ad.title ? `Advertisement: ${ad.title}` : "Advertisement");
    this.podText.hidden = count < 2;
    setText(this.podText, `${position + 1} of ${count}`);
    const hasTarget = ad.clickthru !== undefined;
    this.learnMore.hidden = !hasTarget;
    this.surface.classList.toggle("clickable", hasTarget);
    this.closeButton.hidden = !closable;
    this.setSkip(undefined);
    this.setPaused(false);
    this.setTime(0, ad.duration ?? 0);
    if (!this.hasChosenCaptions) this.showCaptionsState(captionsOn);
    void this.captions.show(ad.captions, navigator.language);
  }

  setTime(playhead: number, duration: number): void {
    const left = Math.max(0, duration - playhead);
    const share = duration > 0 ? Math.min(1, playhead / duration) : 0;
    setText(this.countdown, duration > 0 ? countdownText(left) : "");
    this.bar.style.transform = `scaleX(${share.toFixed(4)})`;
    this.progress.setAttribute("aria-valuenow", String(Math.round(share * 100)));
    this.progress.setAttribute("aria-valuetext", `${Math.ceil(left)} seconds left`);
  }

  setSkip(wait: SkipState): void {
    const isAble = wait === 0;
    this.skipButton.hidden = wait === undefined;
    this.stage.classList.toggle("has-skip", wait !== undefined);
    this.skipButton.classList.toggle("able", isAble);
    this.skipButton.setAttribute("aria-disabled", String(!isAble));
    const seconds = Math.ceil(wait ?? 0);
    setText(this.skipWords, isAble ? "Skip ad" : `Skip in ${seconds}`);
    setLabel(this.skipButton, isAble ? "Skip ad" : `Skip ad, possible in ${seconds} seconds`);
  }

  setPaused(paused: boolean): void {
    this.stage.classList.toggle("paused", paused);
    setIcon(this.pauseIcon, paused ? "play" : "pause");
    setLabel(this.pauseButton, paused ? "Play" : "Pause");
    this.bigPlay.hidden = !paused;
  }

  setMuted(muted: boolean): void {
    setIcon(this.soundIcon, muted ? "muted" : "sound");
    setLabel(this.soundButton, muted ? "Unmute" : "Mute");
  }

  clear(): void {
    this.stage.classList.remove("active", "waiting");
    this.captions.clear();
  }

  private prepareVideo(): void {
    this.video.playsInline = true;
    this.video.disableRemotePlayback = true;
    this.video.preload = "auto";
    this.video.tabIndex = -1;
  }

  private assemble(root: HTMLElement): void {
    this.progress.setAttribute("role", "progressbar");
    this.progress.setAttribute("aria-label", "Progress of the ad");
    this.progress.setAttribute("aria-valuemin", "0");
    this.progress.setAttribute("aria-valuemax", "100");
    const status = element("div", "status", this.badge, this.podText, this.countdown);
    const left = [this.pauseButton, this.soundButton, this.captionsButton, status];
    const tools = element("div", "tools", ...left, this.learnMore, this.skipButton);
    const bottom = element("div", "bottom", tools, this.progress);
    this.stage.append(
      this.video,
      this.surface,
      this.captions.box,
      this.spinner,
      this.bigPlay,
      this.closeButton,
      bottom,
    );
    root.append(this.stage);
  }

  private listen(): void {
    this.surface.addEventListener("click", () => this.onSurfaceClick());
    this.pauseButton.addEventListener("click", () => this.actions?.togglePause());
    this.bigPlay.addEventListener("click", () => this.onBigPlay());
    this.soundButton.addEventListener("click", () => this.actions?.toggleMute());
    this.captionsButton.addEventListener("click", () => this.toggleCaptions());
    this.skipButton.addEventListener("click", () => this.actions?.skipByViewer());
    this.learnMore.addEventListener("click", () => this.actions?.clickThrough());
    this.closeButton.addEventListener("click", () => this.actions?.close());
    for (const event of ["loadstart", "waiting"]) this.video.addEventListener(event, () => this.setWaiting(true));
    for (const event of ["playing", "pause", "error"]) this.video.addEventListener(event, () => this.setWaiting(false));
    listenForKeys(document, {
      pause: () => this.actions?.togglePause(),
      mute: () => this.actions?.toggleMute(),
      captions: () => this.toggleCaptions(),
      skip: () => this.actions?.skipByViewer(),
      close: () => this.closeIfAllowed(),
    });
  }

  private setWaiting(waiting: boolean): void {
    this.stage.classList.toggle("waiting", waiting);
  }

  private onSurfaceClick(): void {
    const isDouble = this.isSecondClick();
    this.lastSurfaceClick = performance.now();
    if (isDouble) return;
    if (this.stage.classList.contains("paused")) this.actions?.togglePause();
    else this.actions?.clickThrough();
  }

  /** The button goes away when it is used; the focus must not go with it. */
  private onBigPlay(): void {
    if (this.isSecondClick()) return;
    this.actions?.togglePause();
    if (this.bigPlay.hidden) this.pauseButton.focus({ preventScroll: true });
  }

  /** The first click may have put another button under the pointer. */
  private isSecondClick(): boolean {
    return performance.now() - this.lastSurfaceClick < doubleClickMs;
  }

  private toggleCaptions(): void {
    if (this.captionsButton.hidden) return;
    this.hasChosenCaptions = true;
    this.showCaptionsState(!this.captions.on);
  }

  private showCaptionsState(on: boolean): void {
    this.captions.setOn(on);
    this.captionsButton.setAttribute("aria-pressed", String(on));
  }

  private closeIfAllowed(): void {
    if (!this.closeButton.hidden) this.actions?.close();
  }
}
