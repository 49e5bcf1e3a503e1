/** A file gets at least this long to deliver its first bytes while other files wait to be tried. */
const leastShareSeconds = 3;

/** Limits the time to the first frame, for all files of an ad together. */
export class StartLimit {
  private elapsed = 0;
  private fileElapsed = 0;

  constructor(private readonly limitSeconds: number) {}

  nextFile(): void {
    this.fileElapsed = 0;
  }

  add(stepSeconds: number): void {
    this.elapsed += stepSeconds;
    this.fileElapsed += stepSeconds;
  }

  /** The ad has taken all the time that it may. */
  get isReached(): boolean {
    return this.elapsed >= this.limitSeconds;
  }

  /** A file of which nothing has arrived must not use up the time of those after it. */
  isFileShareUsed(filesLeft: number): boolean {
    const remaining = this.limitSeconds - this.elapsed + this.fileElapsed;
    return filesLeft > 0 && this.fileElapsed >= Math.max(remaining / (filesLeft + 1), leastShareSeconds);
  }
}
