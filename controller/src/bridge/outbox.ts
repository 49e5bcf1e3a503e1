/**
 * The native side takes each message on a thread of its own, where close ones overtake each other, and sends each beacon
 * on a connection of its own. So that what happened first is told first, nothing leaves sooner than this after what left
 * before.
 */
const gapMs = 40;

/** Sends one after the other, the first of them at once. */
export class Outbox {
  private readonly waiting: Array<() => void> = [];
  private timer: ReturnType<typeof setTimeout> | undefined;

  send(message: () => void): void {
    if (this.timer !== undefined) {
      this.waiting.push(message);
      return;
    }
    message();
    this.rest();
  }

  private rest(): void {
    this.timer = setTimeout(() => {
      this.timer = undefined;
      const next = this.waiting.shift();
      if (next) this.send(next);
    }, gapMs);
  }
}
