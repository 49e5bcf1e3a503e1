/** How long the playhead rests before playback is nudged, and again before each further nudge. */
const nudgeEverySeconds = 1;

/** Adds up the time in which the playhead should have moved and did not. */
export class StallWatch {
  private stalledFor = 0;
  private nextNudge = nudgeEverySeconds;
  private lastPlayhead = -1;

  constructor(private readonly limitSeconds: number) {}

  /** Forgets what was counted: another file, or a pause. */
  reset(): void {
    this.stalledFor = 0;
    this.nextNudge = nudgeEverySeconds;
    this.lastPlayhead = -1;
  }

  /** True once the playhead has rested for the limit. */
  isStalled(playhead: number, stepSeconds: number): boolean {
    if (playhead !== this.lastPlayhead) {
      this.reset();
      this.lastPlayhead = playhead;
      return false;
    }
    this.stalledFor += stepSeconds;
    return this.stalledFor >= this.limitSeconds;
  }

  /** True once for each further interval in which the playhead has rested. */
  isNudgeDue(): boolean {
    if (this.stalledFor < this.nextNudge) return false;
    this.nextNudge += nudgeEverySeconds;
    return true;
  }
}
