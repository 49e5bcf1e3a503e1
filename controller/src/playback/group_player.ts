import { secondsOf, type Ad } from "../ads/ad";
import type { AdEventName, NativeSide } from "../bridge/events";
import type { Config } from "../config";
import { rankMedia, type ViewSize } from "../media/media_choice";
import type { Payload } from "../payload";
import { sessionMacros, type MacroValues } from "../tracking/macros";
import { AdTracker } from "../tracking/tracker";
import { AdPlayback, type PlaybackListener } from "./ad_playback";
import type { Quartile, QuartileName } from "./milestones";
import type { AdFailure } from "./vast_error";

/** What the viewer sees; the player only tells it what to show. */
export interface PlayerView {
  readonly video: HTMLVideoElement;
  size(): ViewSize;
  showAd(presentation: AdPresentation): void;
  setTime(playhead: number, duration: number): void;
  setSkip(skip: SkipState): void;
  setPaused(paused: boolean): void;
  setMuted(muted: boolean): void;
  clear(): void;
}

export interface AdPresentation {
  ad: Ad;
  position: number;
  count: number;
  closable: boolean;
  captionsOn: boolean;
}

/** Seconds until the ad can be skipped, 0 when it can be, absent when it never can. */
export type SkipState = number | undefined;

export interface PauseData {
  /** The app left or came back to the foreground, or the audio route changed. */
  background: boolean;
  /** A following resume plays whatever the ad did before. */
  ignorePreviousState: boolean;
}

export type GroupState = "empty" | "ready" | "playing" | "ending" | "ended";

export interface Session {
  ads: Ad[];
  payload: Payload;
  config: Config;
}

const quartileEvents: Record<QuartileName, AdEventName> = {
  firstQuartile: "AdVideoFirstQuartile",
  midpoint: "AdVideoMidpoint",
  thirdQuartile: "AdVideoThirdQuartile",
};

/**
 * Messages of the page may overtake each other on the native side, and the one that ends the
 * session closes the page: it leaves a moment after everything it must not overtake.
 */
const lastWordDelayMs = 100;

const plainPause: PauseData = { background: false, ignorePreviousState: false };

/** The ad on the screen, with all that belongs to it alone. */
interface Current {
  ad: Ad;
  playback: AdPlayback;
  tracker: AdTracker;
  canSkip: boolean;
}

/** Plays the ads of a group one after the other and reports all that happens, beacons before events. */
export class GroupPlayer {
  private session: Session | undefined;
  private macros: MacroValues = {};
  private position = 0;
  private current: Current | undefined;
  private lifecycle: GroupState = "empty";
  /** Set between a background pause and the resume that answers it. */
  private background: { wasPlaying: boolean } | undefined;

  constructor(
    private readonly native: NativeSide,
    private readonly view: PlayerView,
  ) {}

  get state(): GroupState {
    return this.lifecycle;
  }

  get hasBegun(): boolean {
    return this.lifecycle !== "empty" && this.lifecycle !== "ready";
  }

  /** Takes the ads of a load; a group that has begun is not exchanged under the viewer's eyes. */
  prepare(session: Session): void {
    if (this.hasBegun) return;
    this.session = session;
    this.macros = sessionMacros(session.payload.privacy);
    this.lifecycle = session.ads.length > 0 ? "ready" : "empty";
  }

  start(): void {
    const session = this.session;
    const first = session?.ads[0];
    if (this.lifecycle !== "ready" || !session || !first) return;
    this.lifecycle = "playing";
    if (session.config.faults.adError !== undefined) {
      this.endWith(first.id, "AdError", session.config.faults.adError);
      return;
    }
    const { muted, volume } = session.payload.playback;
    this.view.video.muted = muted;
    this.view.video.volume = volume;
    this.view.setMuted(muted);
    this.native.event(first.id, "AdGroupStart");
    this.playAt(0);
  }

  /** Starts what has not started and resumes what is paused. */
  play(): void {
    if (this.lifecycle === "ready") this.start();
    else this.resume();
  }

  pause(data: PauseData = plainPause): void {
    if (!this.current) return;
    if (data.background) {
      this.background ??= { wasPlaying: this.current.playback.isPlaying };
      if (data.ignorePreviousState) this.background.wasPlaying = true;
    } else if (this.background) {
      this.background.wasPlaying = false;
    }
    this.current.playback.pause();
  }

  resume(data: PauseData = plainPause): void {
    const wasPlaying = this.background?.wasPlaying ?? false;
    this.background = undefined;
    if (!data.background || data.ignorePreviousState || wasPlaying) this.current?.playback.resume();
  }

  /** Ends the group where it is. */
  stop(): void {
    const current = this.leaveCurrent();
    if (current) this.endGroup(current.ad.id);
  }

  /** The host's word counts at any time; the offset binds the viewer alone. */
  skip(): void {
    if (!this.current) return;
    this.syncTracker();
    this.current.tracker.fire("skip");
    this.tell("AdSkipped");
    this.leaveAndContinue();
  }

  close(): void {
    if (!this.current) return;
    this.syncTracker();
    this.current.tracker.fire("closeLinear");
    this.tell("AdUserClose");
    this.stop();
  }

  /** The viewer's skip button. */
  skipByViewer(): void {
    if (this.current?.canSkip) this.skip();
  }

  /** Opens the click-through page; playback goes on when the native side says so, or the viewer. */
  clickThrough(): void {
    const current = this.current;
    const target = current?.ad.clickthru;
    if (!current || !target || !current.playback.started) return;
    this.syncTracker();
    current.tracker.fire("clickTracking");
    this.pause();
    this.tell("AdClickThru", target);
    this.native.open(target);
  }

  togglePause(): void {
    if (this.current?.playback.isPlaying) this.pause();
    else this.resume();
  }

  toggleMute(): void {
    const { video } = this.view;
    video.muted = !video.muted;
    this.syncTracker();
    this.current?.tracker.fire(video.muted ? "mute" : "unmute");
    this.volumeChanged();
  }

  private playAt(position: number): void {
    const session = this.session;
    const ad = session?.ads[position];
    if (!session || !ad) return;
    const { payload, config } = session;
    const canPlayType = (type: string) => this.view.video.canPlayType(type);
    const files = rankMedia(ad.media, canPlayType, this.view.size(), config.maxBitrate);
    const tracker = new AdTracker(ad, this.macros, (url) => this.native.beacon(url));
    const playback = new AdPlayback(this.view.video, files, ad.duration, config.stallTimeout, this.listenerFor(ad.id));
    this.position = position;
    this.current = { ad, playback, tracker, canSkip: false };
    this.view.showAd({
      ad,
      position,
      count: session.ads.length,
      closable: payload.placementType === "interstitial",
      captionsOn: payload.playback.captions,
    });
    playback.start();
    if (this.background) {
      this.background.wasPlaying = true;
      playback.pause();
    }
  }

  private listenerFor(id: string): PlaybackListener {
    return {
      loaded: () => {
        this.syncTracker();
        this.current?.tracker.fire("loaded");
        this.tell("AdLoaded");
      },
      firstFrame: () => this.onFirstFrame(),
      time: (playhead, duration) => this.onTime(playhead, duration),
      quartile: (quartile) => this.onQuartile(quartile),
      paused: () => this.onPaused(),
      resumed: () => this.onResumed(),
      ended: () => this.onEnded(),
      failed: (failure) => this.onFailed(id, failure),
      mutedToStart: () => this.volumeChanged(),
    };
  }

  private onFirstFrame(): void {
    this.syncTracker();
    for (const name of ["impression", "creativeView", "start"] as const) this.current?.tracker.fire(name);
    for (const name of ["AdStarted", "AdImpression", "AdVideoStart"] as const) this.tell(name);
    this.showSkip();
  }

  /** After a long gap between two looks the beacons still leave in the order of their offsets. */
  private onQuartile({ name, share }: Quartile): void {
    const current = this.current;
    if (!current) return;
    const { duration } = current.playback;
    this.syncTracker();
    current.tracker.fireProgress(share * duration, duration);
    current.tracker.fire(name);
    this.tell(quartileEvents[name]);
  }

  private onTime(playhead: number, duration: number): void {
    this.syncTracker();
    this.current?.tracker.fireProgress(playhead, duration);
    this.tell("AdTimeChange", playhead);
    this.view.setTime(playhead, duration);
    this.showSkip();
  }

  /** An offset that the ad does not reach means an ad without a skip button. */
  private showSkip(): void {
    const current = this.current;
    const offset = current?.ad.skipOffset;
    if (!current || !offset) return;
    const { duration, playhead } = current.playback;
    const seconds = secondsOf(offset, duration);
    if (seconds >= duration) return;
    const wait = Math.max(0, seconds - playhead);
    this.view.setSkip(wait);
    if (wait > 0 || current.canSkip) return;
    current.canSkip = true;
    this.tell("AdSkippableStateChange", true);
  }

  private onPaused(): void {
    this.view.setPaused(true);
    if (!this.current?.playback.started) return;
    this.syncTracker();
    this.current.tracker.fire("pause");
    this.tell("AdPaused");
  }

  private onResumed(): void {
    this.view.setPaused(false);
    if (!this.current?.playback.started) return;
    this.syncTracker();
    this.current.tracker.fire("resume");
    this.tell("AdPlaying");
  }

  private onEnded(): void {
    const current = this.current;
    if (!current) return;
    const { duration } = current.playback;
    this.syncTracker();
    current.tracker.fireProgress(duration, duration);
    current.tracker.fire("complete");
    this.tell("AdVideoComplete");
    this.leaveAndContinue();
  }

  private onFailed(id: string, failure: AdFailure): void {
    this.syncTracker();
    this.current?.tracker.fireError(failure.code);
    this.native.log(`Ad ${id}: ${failure.text}`);
    if (this.hasNext) this.leaveAndContinue();
    else {
      this.leaveCurrent();
      this.endWith(id, "AdError", failure.text);
    }
  }

  private get hasNext(): boolean {
    return this.position + 1 < (this.session?.ads.length ?? 0);
  }

  private leaveAndContinue(): void {
    const hasNext = this.hasNext;
    const current = this.leaveCurrent();
    if (!current) return;
    if (hasNext) this.playAt(this.position + 1);
    else this.endGroup(current.ad.id);
  }

  private leaveCurrent(): Current | undefined {
    const current = this.current;
    if (!current) return undefined;
    if (current.playback.started) this.tell("AdStopped");
    current.playback.stop();
    this.current = undefined;
    this.view.clear();
    return current;
  }

  private endGroup(id: string): void {
    this.endWith(id, "AdGroupEnd");
  }

  private endWith(id: string, name: "AdGroupEnd" | "AdError", data?: string): void {
    this.lifecycle = "ending";
    setTimeout(() => {
      this.lifecycle = "ended";
      this.native.event(id, name, data);
    }, lastWordDelayMs);
  }

  private volumeChanged(): void {
    const { muted, volume } = this.view.video;
    this.view.setMuted(muted);
    this.tell("AdVolumeChange", muted ? 0 : volume);
  }

  private syncTracker(): void {
    if (!this.current) return;
    const { playback, tracker } = this.current;
    tracker.setPosition(playback.playhead, playback.file?.src);
  }

  private tell(name: AdEventName, data?: unknown): void {
    if (this.current) this.native.event(this.current.ad.id, name, data);
  }
}
