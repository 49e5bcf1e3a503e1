import type { Ad } from "../ads/ad";
import type { ViewSize } from "../media/media_choice";

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
