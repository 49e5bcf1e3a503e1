/**
 * The native side may handle each message on its own thread. Two messages posted in the same instant can overtake each
 * other there; a few milliseconds apart they do not.
 */
const gapMs = 5;

/** A timer this late is being throttled by the web view: waiting for one per message would take seconds. */
const throttledMs = 100;

interface Waiting {
  post: () => void;
  /** Milliseconds to keep after the message before it. */
  gap: number;
}

/** Posts messages to the native side: at once where order cannot be observed, otherwise one after the other. */
export class Outbox {
  private readonly waiting: Waiting[] = [];
  private timer: ReturnType<typeof setTimeout> | undefined;
  private lastPost = -Infinity;

  sendNow(post: () => void): void {
    this.lastPost = performance.now();
    post();
  }

  /** Keeps the order among these messages, and a gap after everything that was posted before. */
  sendInOrder(post: () => void, gap = gapMs): void {
    this.waiting.push({ post, gap });
    if (this.timer === undefined) this.drain();
  }

  /** Posts everything that waits: the page is about to go. */
  flush(): void {
    for (const { post } of this.waiting.splice(0)) this.sendNow(post);
  }

  private drain(): void {
    for (let next = this.waiting[0]; next; next = this.waiting[0]) {
      const delay = this.lastPost + next.gap - performance.now();
      if (delay > 0) {
        this.wait(Math.ceil(delay));
        return;
      }
      this.waiting.shift();
      this.sendNow(next.post);
    }
  }

  private wait(delay: number): void {
    const due = performance.now() + delay;
    this.timer = setTimeout(() => {
      this.timer = undefined;
      if (performance.now() - due > throttledMs) this.flush();
      else this.drain();
    }, delay);
  }
}
