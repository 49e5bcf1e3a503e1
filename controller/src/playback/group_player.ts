import type { Ad, Icon, MacroValues } from "../ads/ad";
import type { AdFailure } from "../ads/vast_error";
import type { AdBreak } from "../ads/vmap_breaks";
import type { NativeSide } from "../bridge/events";
import type { Config } from "../config";
import { rankMedia } from "../media/media_choice";
import type { Payload } from "../payload";
import { resolveMacros, type PlayerState } from "../tracking/macros";
import { endCardOf } from "./end_card";
import { NextAd } from "./next_ad";
import type { PlayerView } from "./player_view";
import { PlayingAd } from "./playing_ad";

export interface PauseData {
  /** The app left or came back to the foreground, or the audio route changed. */
  background: boolean;
  /** A following resume plays whatever the ad did before. */
  ignorePreviousState: boolean;
}

export type GroupState = "empty" | "ready" | "playing" | "ended";

/** The result of one load. */
export interface AdGroup {
  ads: Ad[];
  /** Macro values that hold for all ads. */
  macros: MacroValues;
  adBreak?: AdBreak;
  payload: Payload;
  config: Config;
}

const plainPause: PauseData = { background: false, ignorePreviousState: false };

/** Plays the ads of a group one after the other, as the host app and the viewer command. */
export class GroupPlayer {
  private group: AdGroup | undefined;
  private loadedAt = 0;
  private position = 0;
  private current: PlayingAd | undefined;
  private next: NextAd | undefined;
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

  /** Takes the ads of a load; a group that has begun is not exchanged while it is watched. */
  prepare(group: AdGroup): void {
    if (this.hasBegun) return;
    this.group = group;
    this.loadedAt = performance.now();
    this.lifecycle = group.ads.length > 0 ? "ready" : "empty";
    this.view.setLanguage(group.payload.privacy.language);
  }

  start(): void {
    const group = this.group;
    const first = group?.ads[0];
    if (this.lifecycle !== "ready" || !group || !first) return;
    this.lifecycle = "playing";
    this.fireForBreak("breakStart");
    if (group.config.faults.adError !== undefined) {
      this.fail(first.id, group.config.faults.adError);
      return;
    }
    const { muted, volume } = group.payload.playback;
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
      this.background ??= { wasPlaying: this.current.isPlaying };
      if (data.ignorePreviousState) this.background.wasPlaying = true;
    } else if (this.background) {
      this.background.wasPlaying = false;
    }
    this.current.pause();
  }

  resume(data: PauseData = plainPause): void {
    const wasPlaying = this.background?.wasPlaying ?? false;
    this.background = undefined;
    if (!data.background || data.ignorePreviousState || wasPlaying) this.current?.resume();
  }

  /** Ends the group where it is. */
  stop(): void {
    const left = this.leaveCurrent();
    if (left) this.endWith(left.id, "AdGroupEnd");
  }

  /** The host app may skip at any time; the offset restricts the viewer only. */
  skip(): void {
    this.current?.reportSkip();
    this.leaveAndContinue();
  }

  /** Also before the start: the viewer may close the window of an ad that is about to begin. */
  close(): void {
    const first = this.group?.ads[0];
    if (this.lifecycle === "ready" && first) {
      this.native.event(first.id, "AdUserClose");
      this.endWith(first.id, "AdGroupEnd");
      return;
    }
    this.current?.reportClose();
    this.stop();
  }

  /** The viewer's skip button. */
  skipByViewer(): void {
    if (this.current?.canSkip) this.skip();
  }

  /** Playback resumes when the native side or the viewer asks for it. */
  clickThrough(): void {
    this.current?.clickThrough(() => this.pause());
  }

  iconClicked(icon: Icon): void {
    this.current?.iconClicked(
      icon,
      () => this.pause(),
      () => this.resume(),
    );
  }

  endCardClicked(link: string | undefined): void {
    this.current?.endCardClicked(link, () => this.pause());
  }

  togglePause(): void {
    if (this.current?.isPlaying) this.pause();
    else this.resume();
  }

  toggleMute(): void {
    this.current?.toggleMute();
  }

  private playAt(position: number): void {
    const ad = this.group?.ads[position];
    if (!this.group || !ad) return;
    const { ads, macros, payload, config } = this.group;
    const prepared = this.takePrepared(ad);
    const isLast = position + 1 === ads.length;
    this.position = position;
    this.current = new PlayingAd({
      ad,
      files: prepared?.files ?? this.filesOf(ad, config),
      isPrepared: prepared !== undefined,
      isExpired: ad.expires !== undefined && performance.now() - this.loadedAt > ad.expires * 1000,
      endCard:
        isLast && config.endCardTime > 0
          ? endCardOf(ad.companions, payload.placementType, this.view.size())
          : undefined,
      native: this.native,
      view: this.view,
      config,
      sessionMacros: macros,
      playerState: () => this.playerState(payload),
      onTimeToPrepare: () => this.prepareNext(),
      onComplete: () => this.leaveAndContinue(),
      onFailed: (failure) => this.onFailed(failure),
    });
    this.view.showAd({
      ad,
      position,
      count: ads.length,
      closable: payload.placementType === "interstitial",
      captionsOn: payload.playback.captions,
    });
    this.current.start();
    this.holdInBackground();
  }

  private playerState({ placementType }: Payload): PlayerState {
    const { innerWidth, innerHeight } = window;
    const { muted } = this.view.video;
    return { width: innerWidth, height: innerHeight, muted, fullscreen: placementType === "interstitial" };
  }

  private fireForBreak(event: "breakStart" | "breakEnd"): void {
    const { adBreak, macros } = this.group ?? {};
    for (const url of adBreak?.tracking[event] ?? []) this.native.beacon(resolveMacros(url, macros ?? {}));
  }

  private filesOf(ad: Ad, config: Config) {
    const canPlayType = (type: string) => this.view.video.canPlayType(type);
    return rankMedia(ad.media, canPlayType, this.view.size(), config.maxBitrate);
  }

  private prepareNext(): void {
    const ad = this.group?.ads[this.position + 1];
    if (this.group && ad) this.next = new NextAd(ad, this.filesOf(ad, this.group.config), this.view.spareVideo);
  }

  /** Puts the element that has loaded this ad on the screen, if one has. */
  private takePrepared(ad: Ad): NextAd | undefined {
    const next = this.next;
    this.next = undefined;
    if (next?.ad !== ad) return undefined;
    this.view.swapVideos();
    return next;
  }

  /** An ad that follows while the app is in the background waits for the app to come back. */
  private holdInBackground(): void {
    if (!this.background) return;
    this.background.wasPlaying = true;
    this.current?.pause();
  }

  private onFailed(failure: AdFailure): void {
    if (this.hasNext) {
      this.leaveAndContinue();
      return;
    }
    const left = this.leaveCurrent();
    if (left) this.fail(left.id, failure.text);
  }

  private get hasNext(): boolean {
    return this.position + 1 < (this.group?.ads.length ?? 0);
  }

  private leaveAndContinue(): void {
    const left = this.leaveCurrent();
    if (!left) return;
    if (this.hasNext) this.playAt(this.position + 1);
    else this.endWith(left.id, "AdGroupEnd");
  }

  private leaveCurrent(): PlayingAd | undefined {
    const current = this.current;
    current?.leave();
    this.current = undefined;
    return current;
  }

  private fail(id: string, reason: string): void {
    this.view.showFailure();
    this.endWith(id, "AdError", reason);
  }

  private endWith(id: string, name: "AdGroupEnd" | "AdError", data?: string): void {
    if (this.lifecycle === "playing") this.fireForBreak("breakEnd");
    this.lifecycle = "ended";
    this.next?.discard();
    this.next = undefined;
    this.native.event(id, name, data);
  }
}
