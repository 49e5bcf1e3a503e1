/** A timer that was held up (a suspended machine, a hidden view) must not pass for a stall. */
const longestStepSeconds = 1;

/** How long the playhead stands still before it is worth a nudge, and then another. */
const nudgeEverySeconds = 1;

/** Adds up the time in which the playhead should have moved and did not. */
export class StallWatch {
  private stalledFor = 0;
  private nextNudge = nudgeEverySeconds;
  private lastPlayhead = -1;
  private lastLook: number | undefined;

  constructor(private readonly limitSeconds: number) {}

  /** Forgets what was counted: another file, or a pause. */
  reset(): void {
    this.moved();
    this.lastPlayhead = -1;
    this.lastLook = undefined;
  }

  /** True once the playhead has stood still for the limit. */
  isStalled(playhead: number, nowSeconds: number): boolean {
    const step = this.lastLook === undefined ? 0 : Math.min(nowSeconds - this.lastLook, longestStepSeconds);
    this.lastLook = nowSeconds;
    if (playhead !== this.lastPlayhead) {
      this.lastPlayhead = playhead;
      this.moved();
      return false;
    }
    this.stalledFor += step;
    return this.stalledFor >= this.limitSeconds;
  }

  /** True once for each further while that the playhead has stood still. */
  isNudgeDue(): boolean {
    if (this.stalledFor < this.nextNudge) return false;
    this.nextNudge += nudgeEverySeconds;
    return true;
  }

  private moved(): void {
    this.stalledFor = 0;
    this.nextNudge = nudgeEverySeconds;
  }
}
