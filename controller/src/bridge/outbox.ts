/**
 * The native side may handle each message on its own thread. Two messages posted in the same instant can overtake each
 * other there; a few milliseconds apart they do not.
 */
const gapMs = 5;

/** A timer this late is being throttled by the web view: waiting for one per message would take seconds. */
const throttledMs = 100;

/** Kept before a message that makes the native side close the page: everything before it must have been handled. */
const lastGapMs = 100;

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
  sendInOrder(post: () => void): void {
    this.enqueue({ post, gap: gapMs });
  }

  /** After everything else, and long enough after it. */
  sendLast(post: () => void): void {
    this.enqueue({ post, gap: lastGapMs });
  }

  /** At once, or with the last of the events that a request has caused; before the end of the session. */
  sendReply(post: () => void): void {
    const last = this.waiting.findIndex(({ gap }) => gap === lastGapMs);
    const index = last < 0 ? this.waiting.length : last;
    if (index === 0) this.sendNow(post);
    else this.waiting.splice(index, 0, { post, gap: 0 });
  }

  /** Posts everything that waits: the page is about to go. */
  flush(): void {
    for (const { post } of this.waiting.splice(0)) this.sendNow(post);
  }

  private enqueue(message: Waiting): void {
    this.waiting.push(message);
    if (this.timer === undefined) this.drain();
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
