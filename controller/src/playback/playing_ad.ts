import { secondsOf, type Ad, type Companion, type Icon, type MediaFile } from "../ads/ad";
import { AdFailure, VastCode } from "../ads/vast_error";
import type { AdEventName, NativeSide } from "../bridge/events";
import type { Config } from "../config";
import type { MacroValues, PlayerState } from "../tracking/macros";
import { AdTracker } from "../tracking/tracker";
import { AdPlayback } from "./ad_playback";
import { EndCardTimer } from "./end_card";
import { iconsAt, iconsForScreen } from "./icon_choice";
import type { Quartile, QuartileName } from "./milestones";
import type { PlayerView } from "./player_view";
import { Viewability } from "./viewability";

const quartileEvents: Record<QuartileName, AdEventName> = {
  firstQuartile: "AdVideoFirstQuartile",
  midpoint: "AdVideoMidpoint",
  thirdQuartile: "AdVideoThirdQuartile",
};

/** The next ad is loaded when this one needs the network no more, or has only this long to go. */
const prepareAheadSeconds = 10;

export interface PlayingAdParts {
  ad: Ad;
  files: MediaFile[];
  /** The view's video element has loaded the first file already. */
  isPrepared: boolean;
  /** The time for which the ad may be started after its load has passed. */
  isExpired: boolean;
  endCard: Companion | undefined;
  native: NativeSide;
  view: PlayerView;
  config: Config;
  sessionMacros: MacroValues;
  playerState: () => PlayerState;
  /** It is time to load what follows. Called once. */
  onTimeToPrepare: () => void;
  /** The ad has played to its end, and its end card has been shown. */
  onComplete: () => void;
  onFailed: (failure: AdFailure) => void;
}

/** The ad on the screen: turns its playback and the viewer's actions into beacons and events, beacons first. */
export class PlayingAd {
  private readonly playback: AdPlayback;
  private readonly tracker: AdTracker;
  private readonly viewability: Viewability;
  private readonly icons: Icon[];
  private endCardTimer: EndCardTimer | undefined;
  private stopObserving: (() => void) | undefined;
  private skippable = false;
  private hasPrepared = false;

  constructor(private readonly parts: PlayingAdParts) {
    const { ad, files, isPrepared, native, view, config, sessionMacros } = parts;
    const { startTimeout, stallTimeout } = config;
    const options = { files, isPrepared, declaredDuration: ad.duration, startTimeout, stallTimeout };
    this.icons = iconsForScreen(ad.icons, window.devicePixelRatio || 1);
    this.tracker = new AdTracker(ad, sessionMacros, (url) => native.beacon(url), parts.playerState);
    this.viewability = new Viewability((group) => this.upToDateTracker().fireViewability(group));
    this.playback = new AdPlayback(view.video, options, {
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
    return this.endCardTimer?.isRunning ?? this.playback.isPlaying;
  }

  get canSkip(): boolean {
    return this.skippable && !this.endCardTimer;
  }

  start(): void {
    if (this.parts.isExpired) this.onFailed(new AdFailure(VastCode.linear, "The ad has expired"));
    else this.playback.start();
  }

  pause(): void {
    this.endCardTimer?.pause();
    this.playback.pause();
  }

  resume(): void {
    this.endCardTimer?.resume();
    this.playback.resume();
  }

  /** An end card belongs to an ad that was complete. */
  reportSkip(): void {
    if (this.endCardTimer) return;
    this.upToDateTracker().fire("skip");
    this.report("AdSkipped");
  }

  reportClose(): void {
    if (!this.endCardTimer) this.upToDateTracker().fire("closeLinear");
    this.report("AdUserClose");
  }

  /** Takes the ad off the screen, however far it has come. */
  leave(): void {
    this.endCardTimer?.stop();
    this.stopObserving?.();
    if (this.playback.started) {
      this.viewability.finish();
      this.report("AdStopped");
    }
    this.playback.stop();
    this.parts.view.clear();
  }

  /** Opens the advertiser's page, after `pause` has paused the ad. */
  clickThrough(pause: () => void): void {
    if (!this.playback.started || this.endCardTimer) return;
    this.upToDateTracker().fire("clickTracking");
    this.open(this.parts.ad.clickthru, "AdClickThru", pause);
  }

  /** Opens the icon's page. An icon without one shows an image over the ad, which `pause` has paused. */
  iconClicked(icon: Icon, pause: () => void, resume: () => void): void {
    this.upToDateTracker().fireAll(icon.clickTracking);
    this.open(icon.clickthru, "AdInteraction", pause);
    if (icon.clickthru || icon.fallbackImages.length === 0) return;
    const wasPlaying = this.isPlaying;
    pause();
    this.report("AdInteraction");
    this.parts.view.showIconNotice(icon.fallbackImages, () => wasPlaying && resume());
  }

  endCardClicked(link: string | undefined, pause: () => void): void {
    const { endCard } = this.parts;
    if (!endCard || !this.endCardTimer) return;
    this.upToDateTracker().fireAll(endCard.clickTracking);
    this.open(endCard.clickthru ?? link ?? this.parts.ad.clickthru, "AdClickThru", pause);
  }

  toggleMute(): void {
    const { video } = this.parts.view;
    video.muted = !video.muted;
    this.upToDateTracker().fire(video.muted ? "mute" : "unmute");
    this.volumeChanged();
  }

  private open(target: string | undefined, event: AdEventName, pause: () => void): void {
    if (!target) return;
    pause();
    this.report(event, target);
    this.parts.native.open(target);
  }

  private onLoaded(): void {
    this.upToDateTracker().fire("loaded");
    this.report("AdLoaded", this.playback.videoSize);
  }

  private onFirstFrame(): void {
    const tracker = this.upToDateTracker();
    for (const name of ["impression", "creativeView", "start"] as const) tracker.fire(name);
    tracker.fireVerificationNotExecuted();
    for (const name of ["AdStarted", "AdImpression", "AdVideoStart"] as const) this.report(name);
    this.stopObserving = this.parts.view.observeShare((share) => this.viewability.setShare(share));
    this.showSkip();
    this.showIcons(this.playback.playhead);
  }

  private onTime(playhead: number, duration: number): void {
    this.upToDateTracker().fireProgress(playhead, duration);
    this.report("AdTimeChange", playhead);
    this.viewability.playedTo(playhead);
    this.parts.view.setTime(playhead, duration);
    this.showSkip();
    this.showIcons(playhead);
    this.prepareWhatFollows(duration - playhead);
  }

  private prepareWhatFollows(secondsLeft: number): void {
    if (this.hasPrepared || (secondsLeft > prepareAheadSeconds && !this.playback.isFullyBuffered)) return;
    this.hasPrepared = true;
    if (this.parts.endCard) this.parts.view.prepareEndCard(this.parts.endCard);
    this.parts.onTimeToPrepare();
  }

  /** After a long gap between two ticks the beacons are still sent in the order of their offsets. */
  private onQuartile({ name, share }: Quartile): void {
    const { duration } = this.playback;
    this.upToDateTracker().fireProgress(share * duration, duration);
    this.tracker.fire(name);
    this.report(quartileEvents[name]);
  }

  private onPaused(): void {
    this.parts.view.setPaused(true);
    this.viewability.interrupt();
    if (!this.playback.started) return;
    this.upToDateTracker().fire("pause");
    this.report("AdPaused");
  }

  private onResumed(): void {
    this.parts.view.setPaused(false);
    if (!this.playback.started) return;
    this.upToDateTracker().fire("resume");
    this.report("AdPlaying");
  }

  private onEnded(): void {
    const { duration } = this.playback;
    this.upToDateTracker().fireProgress(duration, duration);
    this.tracker.fire("complete");
    this.report("AdVideoComplete");
    if (this.parts.endCard) this.showEndCard(this.parts.endCard);
    else this.parts.onComplete();
  }

  private showEndCard(companion: Companion): void {
    const { view, config, onComplete } = this.parts;
    const timer = new EndCardTimer(config.endCardTime, onComplete);
    this.endCardTimer = timer;
    view.setIcons([], () => undefined);
    view.showEndCard(companion, {
      shown: () => {
        timer.shown();
        this.upToDateTracker().fireAll(companion.creativeView);
      },
      failed: onComplete,
    });
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
    this.report("AdSkippableStateChange", true);
  }

  private showIcons(playhead: number): void {
    if (this.icons.length === 0) return;
    this.parts.view.setIcons(iconsAt(this.icons, playhead), (icon) => {
      this.upToDateTracker().fireAll(icon.viewTracking);
    });
  }

  private volumeChanged(): void {
    const { muted, volume } = this.parts.view.video;
    this.parts.view.setMuted(muted);
    this.report("AdVolumeChange", muted ? 0 : volume);
  }

  private upToDateTracker(): AdTracker {
    this.tracker.setPosition(this.playback.playhead, this.playback.file?.src);
    return this.tracker;
  }

  private report(name: AdEventName, data?: unknown): void {
    this.parts.native.event(this.id, name, data);
  }
}
