import type { Ad, MediaFile } from "../ads/ad";
import { keep, releaseLater } from "./release";

/** The ad that follows, loaded by the spare video element while another one plays. */
export class NextAd {
  constructor(
    readonly ad: Ad,
    /** In the order in which they are tried; the first one is loaded. */
    readonly files: MediaFile[],
    private readonly video: HTMLVideoElement,
  ) {
    const first = files[0];
    if (!first) return;
    keep(video);
    video.src = first.src;
    video.load();
  }

  discard(): void {
    releaseLater(this.video);
  }
}
