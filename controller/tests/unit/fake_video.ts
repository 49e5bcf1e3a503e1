/** A media element that the test drives: its events come at once and in order. */
export class FakeVideo extends EventTarget {
  currentTime = 0;
  duration = NaN;
  videoWidth = 0;
  videoHeight = 0;
  paused = true;
  ended = false;
  muted = false;
  volume = 1;
  src = "";
  currentSrc = "";
  error: { code: number } | null = null;
  /** What `play` does: nothing, refuse always, or refuse while there is sound. */
  refuses: "never" | "always" | "sound" = "never";
  readonly sources: string[] = [];
  readyState = 0;
  /** Seconds from the beginning that have arrived. */
  arrived = 0;
  /** Waits although it has data; a pause and a play make it continue. */
  isStuck = false;

  get buffered() {
    return { length: this.arrived > 0 ? 1 : 0, start: () => 0, end: () => this.arrived };
  }

  canPlayType(type: string): string {
    return type.startsWith("video/mp4") ? "maybe" : "";
  }

  load(): void {
    this.currentTime = 0;
    this.ended = false;
    this.error = null;
    this.readyState = 0;
    this.currentSrc = this.src;
    if (this.src) this.sources.push(this.src);
  }

  removeAttribute(): void {
    this.src = "";
  }

  play(): Promise<void> {
    if (this.refuses === "always" || (this.refuses === "sound" && !this.muted)) {
      return Promise.reject(new DOMException("refused", "NotAllowedError"));
    }
    if (this.paused) this.isStuck = false;
    this.paused = false;
    return Promise.resolve();
  }

  pause(): void {
    this.paused = true;
  }

  /** The file, this long, has loaded. */
  receive(duration: number): void {
    this.duration = duration;
    this.readyState = 4;
    this.emit("loadedmetadata");
  }

  /** The first frame of a file this long. */
  begin(duration: number): void {
    this.receive(duration);
    this.emit("playing");
  }

  moveTo(seconds: number): void {
    this.currentTime = seconds;
    this.emit("timeupdate");
  }

  /** Files end a little before the duration that they state. */
  finish(): void {
    this.moveTo(this.duration - 0.02);
    this.ended = true;
    this.paused = true;
    this.emit("pause");
    this.emit("ended");
  }

  fail(code: number): void {
    this.error = { code };
    this.emit("error");
  }

  emit(event: string): void {
    this.dispatchEvent(new Event(event));
  }
}
