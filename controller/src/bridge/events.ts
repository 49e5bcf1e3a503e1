/** Event names of the native side that this page sends. */
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
  | "AdInteraction"
  | "AdTimeChange"
  | "AdGroupStart"
  | "AdGroupEnd"
  | "AdError"
  | "AdSkippableStateChange";

/** Notifications from the page to the native side. */
export interface NativeSide {
  event(id: string, name: AdEventName, data?: unknown): void;
  beacon(url: string): void;
  open(url: string): void;
  log(text: string): void;
}
