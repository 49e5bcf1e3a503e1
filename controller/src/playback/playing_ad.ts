import { secondsOf, type Ad } from "../ads/ad";
import type { AdEventName, NativeSide } from "../bridge/events";
import type { Config } from "../config";
import { rankMedia } from "../media/media_choice";
import type { MacroValues, PlayerState } from "../tracking/macros";
import { AdTracker } from "../tracking/tracker";
import { AdPlayback } from "./ad_playback";
import type { Quartile, QuartileName } from "./milestones";
import type { PlayerView } from "./player_view";
import type { AdFailure } from "../ads/vast_error";

const quartileEvents: Record<QuartileName, AdEventName> = {
  firstQuartile: "AdVideoFirstQuartile",
  midpoint: "AdVideoMidpoint",
  thirdQuartile: "AdVideoThirdQuartile",
};

export interface PlayingAdParts {
  ad: Ad;
  native: NativeSide;
  view: PlayerView;
  config: Config;
  sessionMacros: MacroValues;
  playerState: () => PlayerState;
  /** The ad has played to its end. */
  onComplete: () => void;
  onFailed: (failure: AdFailure) => void;
}

/** The ad on the screen: turns its playback and the viewer's doings into beacons and events, beacons first. */
export class PlayingAd {
  private readonly playback: AdPlayback;
  private readonly tracker: AdTracker;
  private skippable = false;

  constructor(private readonly parts: PlayingAdParts) {
    const { ad, native, view, config, sessionMacros } = parts;
    const canPlayType = (type: string) => view.video.canPlayType(type);
    const files = rankMedia(ad.media, canPlayType, view.size(), config.maxBitrate);
    this.tracker = new AdTracker(ad, sessionMacros, (url) => native.beacon(url), parts.playerState);
    this.playback = new AdPlayback(view.video, files, ad.duration, config.stallTimeout, {
      loaded: () => this.onLoaded(),
      firstFrame: () => this.onFirstFrame(),
      time: (playhead, duration) => this.onTime(playhead, duration),
      quartile: (quartile) => this.onQuartile(quartile),
      paused: () => this.onPaused(),
      resumed: () => this.onResumed(),
      ended: () => this.onEnded(),
      failed: (failure) => this.onFailed(failure),
      mutedToStart: () => this.volumeChanged(),
    });
  }

  get id(): string {
    return this.parts.ad.id;
  }

  get isPlaying(): boolean {
    return this.playback.isPlaying;
  }

  get canSkip(): boolean {
    return this.skippable;
  }

  start(): void {
    this.playback.start();
  }

  pause(): void {
    this.playback.pause();
  }

  resume(): void {
    this.playback.resume();
  }

  reportSkip(): void {
    this.upToDateTracker().fire("skip");
    this.tell("AdSkipped");
  }

  reportClose(): void {
    this.upToDateTracker().fire("closeLinear");
    this.tell("AdUserClose");
  }

  /** Takes the ad off the screen, however far it has come. */
  leave(): void {
    if (this.playback.started) this.tell("AdStopped");
    this.playback.stop();
    this.parts.view.clear();
  }

  /** Opens the advertiser's page, once `pause` has held the film. */
  clickThrough(pause: () => void): void {
    const target = this.parts.ad.clickthru;
    if (!target || !this.playback.started) return;
    this.upToDateTracker().fire("clickTracking");
    pause();
    this.tell("AdClickThru", target);
    this.parts.native.open(target);
  }

  toggleMute(): void {
    const { video } = this.parts.view;
    video.muted = !video.muted;
    this.upToDateTracker().fire(video.muted ? "mute" : "unmute");
    this.volumeChanged();
  }

  private onLoaded(): void {
    this.upToDateTracker().fire("loaded");
    this.tell("AdLoaded");
  }

  private onFirstFrame(): void {
    const tracker = this.upToDateTracker();
    for (const name of ["impression", "creativeView", "start"] as const) tracker.fire(name);
    tracker.fireVerificationNotExecuted();
    for (const name of ["AdStarted", "AdImpression", "AdVideoStart"] as const) this.tell(name);
    this.showSkip();
  }

  private onTime(playhead: number, duration: number): void {
    this.upToDateTracker().fireProgress(playhead, duration);
    this.tell("AdTimeChange", playhead);
    this.parts.view.setTime(playhead, duration);
    this.showSkip();
  }

  /** After a long gap between two looks the beacons still leave in the order of their offsets. */
  private onQuartile({ name, share }: Quartile): void {
    const { duration } = this.playback;
    this.upToDateTracker().fireProgress(share * duration, duration);
    this.tracker.fire(name);
    this.tell(quartileEvents[name]);
  }

  private onPaused(): void {
    this.parts.view.setPaused(true);
    if (!this.playback.started) return;
    this.upToDateTracker().fire("pause");
    this.tell("AdPaused");
  }

  private onResumed(): void {
    this.parts.view.setPaused(false);
    if (!this.playback.started) return;
    this.upToDateTracker().fire("resume");
    this.tell("AdPlaying");
  }

  private onEnded(): void {
    const { duration } = this.playback;
    this.upToDateTracker().fireProgress(duration, duration);
    this.tracker.fire("complete");
    this.tell("AdVideoComplete");
    this.parts.onComplete();
  }

  private onFailed(failure: AdFailure): void {
    this.upToDateTracker().fireError(failure.code);
    this.parts.native.log(`Ad ${this.id}: ${failure.text}`);
    this.parts.onFailed(failure);
  }

  /** An offset that the ad does not reach means an ad without a skip button. */
  private showSkip(): void {
    const offset = this.parts.ad.skipOffset;
    const { duration, playhead } = this.playback;
    const seconds = offset && secondsOf(offset, duration);
    if (seconds === undefined || seconds >= duration) return;
    const wait = Math.max(0, seconds - playhead);
    this.parts.view.setSkip(wait);
    if (wait > 0 || this.skippable) return;
    this.skippable = true;
    this.tell("AdSkippableStateChange", true);
  }

  private volumeChanged(): void {
    const { muted, volume } = this.parts.view.video;
    this.parts.view.setMuted(muted);
    this.tell("AdVolumeChange", muted ? 0 : volume);
  }

  private upToDateTracker(): AdTracker {
    this.tracker.setPosition(this.playback.playhead, this.playback.file?.src);
    return this.tracker;
  }

  private tell(name: AdEventName, data?: unknown): void {
    this.parts.native.event(this.id, name, data);
  }
}
