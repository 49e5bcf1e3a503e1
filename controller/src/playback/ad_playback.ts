import type { MediaFile } from "../ads/ad";
import { mediaFailure } from "./media_failure";
import { Milestones, type Quartile } from "./milestones";
import { StallWatch } from "./stall_watch";
import { AdFailure, VastCode } from "../ads/vast_error";

/** What one ad's playback tells its owner. After `ended` or `failed` nothing more is told. */
export interface PlaybackListener {
  loaded(): void;
  firstFrame(): void;
  /** The playhead moved; seconds. */
  time(playhead: number, duration: number): void;
  quartile(quartile: Quartile): void;
  paused(): void;
  resumed(): void;
  ended(): void;
  failed(failure: AdFailure): void;
  /** The web view refused to start with sound. */
  mutedToStart(): void;
}

const tickMs = 250;

/** How near to its end a file counts as played when the web view pauses it there first. */
const endSlackSeconds = 0.3;

/** With this much at hand nothing but the web view itself holds a film up. */
const leastDataSeconds = 0.25;

/**
 * Plays one ad on a video element: tries its files in order until one shows a first frame, and
 * reports progress from a timer, because neither animation frames nor the visibility state can be
 * relied on while the view is parked.
 */
export class AdPlayback {
  private readonly milestones = new Milestones();
  private readonly stall: StallWatch;
  private readonly unlisten: Array<() => void> = [];
  private timer: ReturnType<typeof setInterval> | undefined;
  private candidate = 0;
  /** Grows with every file tried, so that late answers about an earlier one are known for such. */
  private attempt = 0;
  private hasLoaded = false;
  private hasStarted = false;
  private isDone = false;
  private wantsToPlay = true;
  private lastTold = -1;

  constructor(
    private readonly video: HTMLVideoElement,
    private readonly files: MediaFile[],
    private readonly declaredDuration: number | undefined,
    stallTimeout: number,
    private readonly listener: PlaybackListener,
  ) {
    this.stall = new StallWatch(stallTimeout);
  }

  get isPlaying(): boolean {
    return this.wantsToPlay && !this.isDone;
  }

  get started(): boolean {
    return this.hasStarted;
  }

  get playhead(): number {
    return this.video.currentTime;
  }

  get duration(): number {
    const known = this.video.duration;
    return Number.isFinite(known) && known > 0 ? known : (this.declaredDuration ?? 0);
  }

  /** The file being tried or played, the last one when all have failed. */
  get file(): MediaFile | undefined {
    return this.files[Math.min(this.candidate, this.files.length - 1)];
  }

  start(): void {
    this.listen("loadedmetadata", () => this.onLoaded());
    this.listen("playing", () => this.onPlaying());
    this.listen("timeupdate", () => this.look());
    this.listen("play", () => this.onElementPlay());
    this.listen("pause", () => this.onElementPause());
    this.listen("ended", () => this.onEnded());
    this.listen("error", () => void this.onElementError());
    this.timer = setInterval(() => this.onTick(), tickMs);
    this.tryCandidate();
  }

  pause(): void {
    if (this.isDone || !this.wantsToPlay) return;
    this.wantsToPlay = false;
    this.video.pause();
    this.listener.paused();
  }

  resume(): void {
    if (this.isDone || this.wantsToPlay) return;
    this.wantsToPlay = true;
    this.stall.reset();
    this.listener.resumed();
    this.play();
  }

  /** Ends without a word to the listener. */
  stop(): void {
    this.isDone = true;
    clearInterval(this.timer);
    for (const forget of this.unlisten.splice(0)) forget();
    this.video.pause();
    this.video.removeAttribute("src");
    this.video.load();
  }

  private listen(event: string, handler: () => void): void {
    const guarded = () => {
      if (!this.isDone) handler();
    };
    this.video.addEventListener(event, guarded);
    this.unlisten.push(() => this.video.removeEventListener(event, guarded));
  }

  private tryCandidate(): void {
    const file = this.files[this.candidate];
    if (!file) {
      this.fail(new AdFailure(VastCode.noSupportedMedia, "No media file of the ad can be played here"));
      return;
    }
    this.attempt += 1;
    this.stall.reset();
    this.video.src = file.src;
    this.video.load();
    if (this.wantsToPlay) this.play();
  }

  private play(): void {
    const attempt = this.attempt;
    Promise.resolve(this.video.play()).catch((error: unknown) => {
      if (this.isDone || attempt !== this.attempt || !this.wantsToPlay) return;
      if ((error as DOMException)?.name === "NotAllowedError") this.onRefused();
      // Every other failure also arrives as an error of the element, or as a stall.
    });
  }

  private onRefused(): void {
    if (this.video.muted) {
      this.giveUpFile(new AdFailure(VastCode.linear, "The web view refused to start playback"));
      return;
    }
    this.video.muted = true;
    this.listener.mutedToStart();
    this.play();
  }

  private onLoaded(): void {
    if (this.hasLoaded) return;
    this.hasLoaded = true;
    this.listener.loaded();
  }

  private onPlaying(): void {
    if (this.hasStarted) return;
    this.onLoaded();
    this.hasStarted = true;
    this.listener.firstFrame();
  }

  private onTick(): void {
    if (this.isDone || !this.wantsToPlay) return;
    this.look();
    if (this.isDone) return;
    this.tellTime();
    if (this.stall.isStalled(this.video.currentTime, performance.now() / 1000)) {
      this.giveUpFile(new AdFailure(VastCode.mediaTimeout, "The media file made no progress"));
    } else if (this.stall.isNudgeDue() && this.hasDataAhead()) {
      this.nudge();
    }
  }

  private hasDataAhead(): boolean {
    const { buffered, currentTime } = this.video;
    for (let i = 0; i < buffered.length; i += 1) {
      if (buffered.start(i) <= currentTime && buffered.end(i) > currentTime + leastDataSeconds) return true;
    }
    return false;
  }

  /** WebKitGTK can wait for ever for data that it has; of all that asks it to go on, only this is heard. */
  private nudge(): void {
    this.video.pause();
    this.play();
  }

  private look(): void {
    if (!this.hasStarted) return;
    for (const quartile of this.milestones.reached(this.video.currentTime, this.duration)) {
      this.listener.quartile(quartile);
    }
  }

  private tellTime(): void {
    const playhead = this.video.currentTime;
    if (!this.hasStarted || playhead === this.lastTold) return;
    this.lastTold = playhead;
    this.listener.time(playhead, this.duration);
  }

  /** A media key or the system may pause and play the element behind our back. */
  private onElementPause(): void {
    const atEnd = this.video.ended || this.video.currentTime >= this.duration - endSlackSeconds;
    // The event comes late: only what still holds counts, not what was undone meanwhile.
    const isPaused = this.video.paused && !atEnd && !this.video.error;
    if (isPaused && this.wantsToPlay && this.hasStarted) this.pause();
  }

  private onElementPlay(): void {
    if (!this.video.paused && !this.wantsToPlay) this.resume();
  }

  private onEnded(): void {
    this.onPlaying();
    for (const quartile of this.milestones.rest()) this.listener.quartile(quartile);
    this.tellTime();
    this.isDone = true;
    this.listener.ended();
  }

  private async onElementError(): Promise<void> {
    const attempt = this.attempt;
    const failure = await mediaFailure(this.video.error, this.video.currentSrc || this.video.src);
    if (!this.isDone && attempt === this.attempt) this.giveUpFile(failure);
  }

  /** Before the first frame another file may still do; afterwards the ad has failed. */
  private giveUpFile(failure: AdFailure): void {
    this.candidate += 1;
    if (!this.hasStarted && this.candidate < this.files.length) this.tryCandidate();
    else this.fail(failure);
  }

  private fail(failure: AdFailure): void {
    this.isDone = true;
    this.listener.failed(failure);
  }
}
