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

/** Reports each quartile once and in order, however far the playhead jumps. */
export class Milestones {
  private reported = 0;

  reached(playhead: number, duration: number): Quartile[] {
    if (!(duration > 0)) return [];
    return this.takeWhile(({ share }) => playhead >= duration * share);
  }

  /** The quartiles that remain when the ad has played to its end. */
  rest(): Quartile[] {
    return this.takeWhile(() => true);
  }

  private takeWhile(isDue: (quartile: Quartile) => boolean): Quartile[] {
    const due: Quartile[] = [];
    for (let next = quartiles[this.reported]; next && isDue(next); next = quartiles[this.reported]) {
      due.push(next);
      this.reported += 1;
    }
    return due;
  }
}
