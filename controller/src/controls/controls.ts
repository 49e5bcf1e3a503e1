import { isClickable, type Companion, type FallbackImage, type Icon } from "../ads/ad";
import type { ViewSize } from "../media/media_choice";
import type { AdPresentation, EndCardEvents, PlayerView, SkipState } from "../playback/player_view";
import { countdownText } from "../util/clock_text";
import { Captions } from "./captions";
import { button, element, icon, setIcon, setLabel, setText } from "./dom";
import { EndCardView } from "./end_card_view";
import { fitControls } from "./fit";
import { boxOf, containedBox } from "./geometry";
import { IconLayer } from "./icon_layer";
import { IconNotice, imageForView } from "./icon_notice";
import { listenForKeys } from "./keyboard";
import { fillIn, languageFor, type Language } from "./texts";
import { VideoPair } from "./video_pair";

/** What the viewer can ask for. */
export interface ViewerActions {
  togglePause(): void;
  toggleMute(): void;
  skipByViewer(): void;
  clickThrough(): void;
  iconClicked(icon: Icon): void;
  endCardClicked(link: string | undefined): void;
  close(): void;
}

/** A double click must not open a page and at once resume what that paused. */
const doubleClickMs = 700;

/** Distance of captions from the edge of the video or from the controls, in pixels. */
const captionsMargin = 8;

/** The video and everything drawn over it. */
export class Controls implements PlayerView {
  private readonly videos = new VideoPair();
  private readonly surface = element("div", "surface");
  private readonly spinner = element("div", "spinner");
  private readonly pauseIcon = icon("pause");
  private readonly pauseButton = button("tool pause", "", this.pauseIcon);
  private readonly bigPlay = button("big-play", "", icon("play"));
  private readonly soundIcon = icon("sound");
  private readonly soundButton = button("tool mute", "", this.soundIcon);
  private readonly captionsButton = button("tool captions-button", "", icon("captions"));
  private readonly badge = element("span", "badge");
  private readonly podText = element("span", "pod");
  private readonly countdown = element("span", "countdown");
  private readonly status = element("div", "status", this.badge, this.podText, this.countdown);
  private readonly learnWords = element("span", "words");
  private readonly learnMore = button("pill primary", "", this.learnWords, icon("open"));
  private readonly skipWords = element("span", "words");
  private readonly skipButton = button("pill skip", "", this.skipWords, icon("skip"));
  private readonly closeButton = button("tool close", "", icon("close"));
  private readonly bar = element("div", "progress");
  private readonly progress = element("div", "progress-track", this.bar);
  private readonly notice = element("div", "notice");
  private readonly top = element("div", "top", this.status, this.closeButton);
  private readonly tools = element("div", "tools");
  private readonly bottom = element("div", "bottom", this.tools);
  private readonly chrome = element("div", "chrome", this.top, this.bottom);
  private readonly stage = element("main", "stage");
  private readonly captions: Captions;
  private readonly icons = new IconLayer(
    (clicked) => this.actions?.iconClicked(clicked),
    () => this.layout(),
  );
  private readonly iconNotice = new IconNotice();
  private readonly endCard = new EndCardView((link) => this.actions?.endCardClicked(link));
  private actions: ViewerActions | undefined;
  private language: Language = languageFor([navigator.language]);
  private lastSurfaceClick = -Infinity;
  private hasChosenCaptions = false;
  private isPaused = false;
  private isMuted = false;

  constructor(root: HTMLElement, log: (text: string) => void) {
    this.captions = new Captions((available) => this.setCaptionsAvailable(available), log);
    this.assemble(root);
    this.listen();
    this.relabel();
    this.clear();
  }

  get video(): HTMLVideoElement {
    return this.videos.current;
  }

  get spareVideo(): HTMLVideoElement {
    return this.videos.spare;
  }

  connect(actions: ViewerActions): void {
    this.actions = actions;
  }

  swapVideos(): void {
    this.videos.swap();
  }

  size(): ViewSize {
    const scale = window.devicePixelRatio || 1;
    return { width: this.stage.clientWidth * scale, height: this.stage.clientHeight * scale };
  }

  observeShare(onShare: (share: number) => void): () => void {
    if (!("IntersectionObserver" in window)) return () => undefined;
    const observer = new IntersectionObserver(
      (entries) => {
        const entry = entries[entries.length - 1];
        const hasArea = entry && entry.boundingClientRect.width * entry.boundingClientRect.height > 0;
        if (entry) onShare(hasArea ? entry.intersectionRatio : 0);
      },
      { threshold: [0, 0.25, 0.5, 0.75, 1] },
    );
    observer.observe(this.video);
    return () => observer.disconnect();
  }

  setLanguage(language: string | undefined): void {
    this.language = languageFor([language, navigator.language]);
    this.relabel();
  }

  showAd({ ad, position, count, closable, captionsOn }: AdPresentation): void {
    const { texts } = this.language;
    this.stage.classList.add("active");
    setLabel(
      this.stage,
      ad.title ? fillIn(texts.advertisementTitled, { title: isolated(ad.title) }) : texts.advertisement,
    );
    this.podText.hidden = count < 2;
    setText(this.podText, fillIn(texts.position, { position: position + 1, count }));
    this.learnMore.hidden = ad.clickthru === undefined;
    this.surface.classList.toggle("clickable", isClickable(ad));
    this.closeButton.hidden = !closable;
    this.setSkip(undefined);
    this.setPaused(false);
    this.setTime(0, ad.duration ?? 0);
    if (!this.hasChosenCaptions) this.showCaptionsState(captionsOn);
    void this.captions.show(this.video, ad.captions, this.language.tag);
    this.layout();
  }

  setTime(playhead: number, duration: number): void {
    const left = Math.max(0, duration - playhead);
    const share = duration > 0 ? Math.min(1, playhead / duration) : 0;
    const time = countdownText(left);
    setText(this.countdown, duration > 0 ? time : "");
    this.bar.style.transform = `scaleX(${share.toFixed(4)})`;
    this.progress.setAttribute("aria-valuenow", String(Math.round(share * 100)));
    this.progress.setAttribute("aria-valuetext", fillIn(this.language.texts.timeLeft, { time }));
  }

  setSkip(wait: SkipState): void {
    const { texts } = this.language;
    const isAble = wait === 0;
    const seconds = Math.ceil(wait ?? 0);
    const isNew = this.skipButton.hidden !== (wait === undefined) || isAble !== this.isSkipAble;
    this.skipButton.hidden = wait === undefined;
    this.skipButton.classList.toggle("able", isAble);
    this.skipButton.setAttribute("aria-disabled", String(!isAble));
    setText(this.skipWords, isAble ? texts.skip : fillIn(texts.skipIn, { seconds }));
    this.skipButton.dataset.seconds = isAble ? "" : String(seconds);
    setLabel(this.skipButton, isAble ? texts.skip : fillIn(texts.skipWait, { time: countdownText(seconds) }));
    if (isNew) this.layout();
  }

  setPaused(paused: boolean): void {
    this.isPaused = paused;
    this.stage.classList.toggle("paused", paused);
    setIcon(this.pauseIcon, paused ? "play" : "pause");
    setLabel(this.pauseButton, paused ? this.language.texts.play : this.language.texts.pause);
    this.bigPlay.hidden = !paused;
    if (!paused) this.iconNotice.hide();
  }

  setMuted(muted: boolean): void {
    this.isMuted = muted;
    setIcon(this.soundIcon, muted ? "muted" : "sound");
    setLabel(this.soundButton, muted ? this.language.texts.unmute : this.language.texts.mute);
  }

  setIcons(icons: Icon[], onShown: (icon: Icon) => void): void {
    const hasRoom = !this.stage.classList.contains("strip");
    this.icons.show(hasRoom ? icons : [], this.language.texts.aboutAd, onShown);
  }

  showIconNotice(images: FallbackImage[], onDismiss: () => void): void {
    const view = { width: this.stage.clientWidth, height: this.stage.clientHeight };
    const image = imageForView(images, view);
    if (image) this.iconNotice.show(image, this.language.texts.aboutAd, onDismiss);
  }

  prepareEndCard(companion: Companion): void {
    this.endCard.prepare(companion, this.language.texts.learnMore);
  }

  showEndCard(companion: Companion, events: EndCardEvents): void {
    this.endCard.show(companion, this.language.texts.learnMore, {
      shown: () => {
        this.stage.classList.add("ended");
        this.closeButton.hidden = false;
        this.captions.clear();
        this.layout();
        events.shown();
      },
      failed: () => events.failed(),
    });
  }

  showFailure(): void {
    this.stage.classList.add("failed");
  }

  clear(): void {
    this.stage.classList.remove("active", "waiting", "ended", "failed");
    this.captions.clear();
    this.icons.clear();
    this.iconNotice.hide();
    this.endCard.clear();
  }

  private assemble(root: HTMLElement): void {
    this.progress.setAttribute("role", "progressbar");
    this.progress.setAttribute("aria-valuemin", "0");
    this.progress.setAttribute("aria-valuemax", "100");
    const left = [this.pauseButton, this.soundButton, this.captionsButton];
    this.tools.append(...left, element("div", "gap"), this.learnMore, this.skipButton);
    this.stage.append(
      ...this.videos.elements,
      this.surface,
      this.icons.layer,
      this.captions.box,
      this.spinner,
      this.bigPlay,
      this.endCard.layer,
      this.chrome,
      this.progress,
      this.notice,
      this.iconNotice.layer,
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
    this.videos.listen(["loadstart", "waiting"], () => this.setWaiting(true));
    this.videos.listen(["playing", "timeupdate", "pause", "error"], () => this.setWaiting(false));
    this.videos.listen(["loadedmetadata", "resize", "playing"], () => this.layout());
    this.listenForSize();
    listenForKeys(document, {
      pause: () => this.actions?.togglePause(),
      mute: () => this.actions?.toggleMute(),
      captions: () => this.toggleCaptions(),
      skip: () => this.actions?.skipByViewer(),
      close: () => (this.iconNotice.isShown ? this.iconNotice.dismiss() : this.closeIfAllowed()),
    });
  }

  private listenForSize(): void {
    if ("ResizeObserver" in window) new ResizeObserver(() => this.layout()).observe(this.stage);
    else addEventListener("resize", () => this.layout());
  }

  /** Writes all texts that do not depend on the ad. */
  private relabel(): void {
    const { tag, direction, texts } = this.language;
    document.documentElement.lang = tag;
    document.documentElement.dir = direction;
    document.title = texts.advertisement;
    setText(this.badge, texts.badge);
    setText(this.learnWords, texts.learnMore);
    setText(this.notice, texts.failed);
    setLabel(this.learnMore, texts.learnMore);
    setLabel(this.bigPlay, texts.play);
    setLabel(this.captionsButton, texts.captions);
    setLabel(this.closeButton, texts.close);
    this.iconNotice.setLabels(texts.dismiss);
    setLabel(this.progress, texts.progress);
    this.setPaused(this.isPaused);
    this.setMuted(this.isMuted);
  }

  /** Measures and places what depends on the size of the view, the shape of the video and the width of words. */
  private layout(): void {
    const { stage, chrome, top, tools, skipButton } = this;
    const view = { width: stage.clientWidth, height: stage.clientHeight };
    if (view.width === 0 || view.height === 0) return;
    fitControls({ stage, chrome, top, bottom: tools, skip: skipButton });
    const frame = { width: this.video.videoWidth, height: this.video.videoHeight };
    const video = containedBox(frame, view);
    const isBottomRow = !stage.classList.contains("strip");
    const controls = isBottomRow ? view.height - this.bottom.offsetTop : 0;
    const belowVideo = view.height - video.top - video.height;
    Object.assign(this.captions.box.style, {
      left: `${video.left + video.width * 0.04}px`,
      width: `${video.width * 0.92}px`,
      bottom: `${Math.max(belowVideo, controls) + captionsMargin}px`,
    });
    const obstacles = [this.status, this.closeButton, this.tools, this.skipButton].map(boxOf);
    this.icons.place({ video, frame, obstacles: obstacles.filter(({ width }) => width > 0) });
    this.endCard.resize(view);
  }

  private get isSkipAble(): boolean {
    return this.skipButton.classList.contains("able");
  }

  private setWaiting(waiting: boolean): void {
    this.stage.classList.toggle("waiting", waiting);
  }

  private onSurfaceClick(): void {
    const isDouble = this.isSecondClick();
    this.lastSurfaceClick = performance.now();
    if (isDouble) return;
    if (this.isPaused) this.actions?.togglePause();
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

  private setCaptionsAvailable(available: boolean): void {
    this.captionsButton.hidden = !available;
    this.layout();
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

/** Keeps the writing direction of foreign words apart from that of the sentence around them. */
function isolated(text: string): string {
  return `\u2068${text}\u2069`;
}
