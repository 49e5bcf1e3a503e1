/** The event names that the native side knows. */
export type AdEventName =
  | "AdLoaded"
  | "AdStarted"
  | "AdStopped"
  | "AdSkipped"
  | "AdImpression"
  | "AdVideoStart"
  | "AdVideoFirstQuartile"
  | "AdVideoMidpoint"
  | "AdVideoThirdQuartile"
  | "AdVideoComplete"
  | "AdUserClose"
  | "AdPaused"
  | "AdPlaying"
  | "AdVolumeChange"
  | "AdClickThru"
  | "AdTimeChange"
  | "AdGroupStart"
  | "AdGroupEnd"
  | "AdError"
  | "AdSkippableStateChange";

/** What the page tells the native side unasked. */
export interface NativeSide {
  event(id: string, name: AdEventName, data?: unknown): void;
  beacon(url: string): void;
  open(url: string): void;
  log(text: string): void;
}
