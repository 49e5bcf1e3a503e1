export type Quartile = "firstQuartile" | "midpoint" | "thirdQuartile";

const quartiles: ReadonlyArray<[Quartile, number]> = [
  ["firstQuartile", 0.25],
  ["midpoint", 0.5],
  ["thirdQuartile", 0.75],
];

/** Tells each quartile once and in order, however far the playhead jumps. */
export class Milestones {
  private told = 0;

  reached(playhead: number, duration: number): Quartile[] {
    if (!(duration > 0)) return [];
    return this.tellWhile((share) => playhead >= duration * share);
  }

  /** What is still owed when the ad has played to its end. */
  rest(): Quartile[] {
    return this.tellWhile(() => true);
  }

  private tellWhile(isDue: (share: number) => boolean): Quartile[] {
    const due: Quartile[] = [];
    for (let next = quartiles[this.told]; next && isDue(next[1]); next = quartiles[this.told]) {
      due.push(next[0]);
      this.told += 1;
    }
    return due;
  }
}
