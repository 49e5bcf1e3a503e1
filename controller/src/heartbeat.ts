const intervalMs = 1000;

/** Tells the native side every second that the page is alive; nothing in playback stops it. */
export class Heartbeat {
  private timer: ReturnType<typeof setInterval> | undefined;

  constructor(private readonly ping: () => void) {}

  start(): void {
    if (this.timer !== undefined) return;
    this.ping();
    this.timer = setInterval(() => this.ping(), intervalMs);
  }

  stop(): void {
    clearInterval(this.timer);
    this.timer = undefined;
  }
}
