import type { ViewableImpression } from "../ads/ad";

/** The MRC's definition of a viewable video: half of its pixels, for two seconds of uninterrupted playback. */
const leastShare = 0.5;
const leastSeconds = 2;

/** Decides once for each impression whether the ad was viewable. */
export class Viewability {
  /** Absent until the view has been measured. */
  private share: number | undefined;
  private viewedFor = 0;
  private lastPlayhead: number | undefined;
  private isDecided = false;

  constructor(private readonly report: (group: keyof ViewableImpression) => void) {}

  /** How much of the view can be seen, 0 to 1. */
  setShare(share: number): void {
    this.share = share;
    if (share < leastShare) this.viewedFor = 0;
  }

  /** The ad plays and has reached this time. */
  playedTo(playhead: number): void {
    const step = Math.max(0, playhead - (this.lastPlayhead ?? playhead));
    this.lastPlayhead = playhead;
    if (this.share === undefined || this.share < leastShare) return;
    this.viewedFor += step;
    if (this.viewedFor >= leastSeconds) this.decide("viewable");
  }

  /** Playback was paused: what follows is not the same uninterrupted view. */
  interrupt(): void {
    this.viewedFor = 0;
  }

  /** The ad is removed from the screen. */
  finish(): void {
    this.decide(this.share === undefined ? "viewUndetermined" : "notViewable");
  }

  private decide(group: keyof ViewableImpression): void {
    if (this.isDecided) return;
    this.isDecided = true;
    this.report(group);
  }
}
