import type { Ad, Companion, FallbackImage, Icon } from "../ads/ad";
import type { ViewSize } from "../media/media_choice";

/** What the viewer sees. The player decides what is shown, the view how. */
export interface PlayerView {
  /** The element of the ad on the screen. */
  readonly video: HTMLVideoElement;
  /** An element out of sight that loads the next ad. */
  readonly spareVideo: HTMLVideoElement;
  /** Puts the spare element on the screen, with the sound settings of the other one. */
  swapVideos(): void;
  size(): ViewSize;
  /** Calls back with the share of the view that can be seen, 0 to 1, whenever it changes, until the result is called. */
  observeShare(onShare: (share: number) => void): () => void;
  setLanguage(language: string | undefined): void;
  showAd(presentation: AdPresentation): void;
  setTime(playhead: number, duration: number): void;
  setSkip(skip: SkipState): void;
  setPaused(paused: boolean): void;
  setMuted(muted: boolean): void;
  /** Exactly these are shown; `onShown` is called for each once it can be seen. */
  setIcons(icons: Icon[], onShown: (icon: Icon) => void): void;
  /** Shows one of these images, which say what the page of an icon would. Ends when the viewer dismisses it or the ad plays. */
  showIconNotice(images: FallbackImage[], onDismiss: () => void): void;
  /** Loads the end card out of sight. */
  prepareEndCard(companion: Companion): void;
  showEndCard(companion: Companion, events: EndCardEvents): void;
  /** Says that the ad cannot be shown, until the native side takes the view. */
  showFailure(): void;
  clear(): void;
}

export interface AdPresentation {
  ad: Ad;
  position: number;
  count: number;
  closable: boolean;
  captionsOn: boolean;
}

export interface EndCardEvents {
  shown(): void;
  failed(): void;
}

/** Seconds until the ad can be skipped, 0 when it can be, absent when it never can. */
export type SkipState = number | undefined;
