const intervalMs = 1000;

/**
 * Pings the native side every second; nothing in playback stops it.
 *
 * Starts with the reply to "get.ads"; the first ping follows one interval later. The native side starts its own watch when
 * that reply arrives. A watch that an earlier ping had started would run on in parallel, could not be re-armed by later
 * pings, and would end the session.
 */
export class Heartbeat {
  private timer: ReturnType<typeof setInterval> | undefined;
  private hasStopped = false;

  constructor(private readonly ping: () => void) {}

  start(): void {
    if (this.timer !== undefined || this.hasStopped) return;
    this.timer = setInterval(() => this.ping(), intervalMs);
  }

  /** Permanently: `start` has no effect any more. */
  stop(): void {
    clearInterval(this.timer);
    this.hasStopped = true;
  }
}
