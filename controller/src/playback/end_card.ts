import type { Companion } from "../ads/ad";
import { hasEndCards, type PlacementType } from "../payload";

/** An image or frame that has not loaded by then is not waited for. */
const loadTimeoutSeconds = 2;

const tickMs = 250;

/** How well a companion fills a view: 0 when it fits exactly, more the more it has to be scaled. */
function misfit(companion: Companion, view: { width: number; height: number }): number {
  if (!companion.width || !companion.height || !view.width || !view.height) return Infinity;
  return Math.abs(Math.log2(Math.min(view.width / companion.width, view.height / companion.height)));
}

/** The companion that is shown behind the video. */
export function endCardOf(
  companions: Companion[],
  placement: PlacementType,
  view: { width: number; height: number },
): Companion | undefined {
  if (!hasEndCards(placement)) return undefined;
  const rank = (companion: Companion) => [companion.renderingMode === "end-card" ? 0 : 1, misfit(companion, view)];
  return companions
    .filter(({ renderingMode }) => renderingMode !== "concurrent")
    .map((companion) => ({ companion, rank: rank(companion) }))
    .sort((one, other) => {
      const byMode = (one.rank[0] ?? 0) - (other.rank[0] ?? 0);
      return byMode || (one.rank[1] ?? 0) - (other.rank[1] ?? 0) || 0;
    })[0]?.companion;
}

/** Limits how long an end card stays: from when it shows, not counting pauses. */
export class EndCardTimer {
  private isShown = false;
  private isPaused = false;
  private left = loadTimeoutSeconds;
  private readonly timer: ReturnType<typeof setInterval>;

  constructor(
    private readonly seconds: number,
    private readonly onTime: () => void,
  ) {
    this.timer = setInterval(() => this.tick(), tickMs);
  }

  get isRunning(): boolean {
    return !this.isPaused;
  }

  shown(): void {
    if (this.isShown) return;
    this.isShown = true;
    this.left = this.seconds;
  }

  pause(): void {
    this.isPaused = true;
  }

  resume(): void {
    this.isPaused = false;
  }

  stop(): void {
    clearInterval(this.timer);
  }

  private tick(): void {
    if (this.isPaused) return;
    this.left -= tickMs / 1000;
    if (this.left > 0) return;
    this.stop();
    this.onTime();
  }
}
