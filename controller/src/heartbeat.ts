const intervalMs = 1000;

/**
 * Tells the native side every second that the page is alive; nothing in playback stops it.
 *
 * It begins with the answer to "get.ads", and its first ping comes one interval later. The native side starts its own
 * watch when that answer has arrived, and a watch that an earlier ping had started would go on beside it, out of reach of
 * any later ping, and end the session.
 */
export class Heartbeat {
  private timer: ReturnType<typeof setInterval> | undefined;
  private hasStopped = false;

  constructor(private readonly ping: () => void) {}

  start(): void {
    if (this.timer !== undefined || this.hasStopped) return;
    this.timer = setInterval(() => this.ping(), intervalMs);
  }

  /** For good. */
  stop(): void {
    clearInterval(this.timer);
    this.hasStopped = true;
  }
}
