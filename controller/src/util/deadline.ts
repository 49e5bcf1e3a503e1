/** A moment by which a piece of work must be done. */
export class Deadline {
  private readonly end: number;

  constructor(seconds: number, from = performance.now()) {
    this.end = from + seconds * 1000;
  }

  get remainingSeconds(): number {
    return Math.max(0, (this.end - performance.now()) / 1000);
  }

  get hasPassed(): boolean {
    return this.remainingSeconds === 0;
  }
}
