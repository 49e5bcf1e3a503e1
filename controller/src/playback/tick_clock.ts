/** A timer that was held up (a suspended machine, a hidden view) must not count as time spent playing. */
const longestStepSeconds = 1;

/** Measures the time between ticks of a timer. */
export class TickClock {
  private lastTick: number | undefined;

  /** Seconds since the last tick, 0 for the first one. */
  step(nowSeconds: number): number {
    const step = this.lastTick === undefined ? 0 : Math.min(nowSeconds - this.lastTick, longestStepSeconds);
    this.lastTick = nowSeconds;
    return step;
  }

  /** The next tick is a first one: ticks were suspended in between. */
  interrupt(): void {
    this.lastTick = undefined;
  }
}
