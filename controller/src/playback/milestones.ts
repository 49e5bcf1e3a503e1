export type QuartileName = "firstQuartile" | "midpoint" | "thirdQuartile";

export interface Quartile {
  name: QuartileName;
  /** Of the ad's length. */
  share: number;
}

const quartiles: readonly Quartile[] = [
  { name: "firstQuartile", share: 0.25 },
  { name: "midpoint", share: 0.5 },
  { name: "thirdQuartile", share: 0.75 },
];

/** Tells each quartile once and in order, however far the playhead jumps. */
export class Milestones {
  private told = 0;

  reached(playhead: number, duration: number): Quartile[] {
    if (!(duration > 0)) return [];
    return this.tellWhile(({ share }) => playhead >= duration * share);
  }

  /** What is still owed when the ad has played to its end. */
  rest(): Quartile[] {
    return this.tellWhile(() => true);
  }

  private tellWhile(isDue: (quartile: Quartile) => boolean): Quartile[] {
    const due: Quartile[] = [];
    for (let next = quartiles[this.told]; next && isDue(next); next = quartiles[this.told]) {
      due.push(next);
      this.told += 1;
    }
    return due;
  }
}
