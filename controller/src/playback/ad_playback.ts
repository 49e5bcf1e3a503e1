import type { MediaFile } from "../ads/ad";
import { AdFailure, VastCode } from "../ads/vast_error";
import { mediaFailure } from "./media_failure";
import { Milestones, type Quartile } from "./milestones";
import { keep, releaseLater } from "./release";
import { StallWatch } from "./stall_watch";
import { StartLimit } from "./start_limit";
import { TickClock } from "./tick_clock";

/** What one ad's playback reports to its owner. Nothing follows `ended` or `failed`. */
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

export interface PlaybackOptions {
  /** In the order in which they are tried. */
  files: MediaFile[];
  /** The first file is in the element already and may have loaded. */
  isPrepared: boolean;
  declaredDuration?: number;
  /** Seconds. */
  startTimeout: number;
  stallTimeout: number;
}

const tickMs = 250;

/** How near to its end a file counts as played when the web view pauses it there first. */
const endSlackSeconds = 0.3;

/** With this much buffered ahead, only the web view itself can be holding playback up. */
const leastDataSeconds = 0.25;

/**
 * Plays one ad on a video element: tries its files in order until one shows a first frame, and reports progress from a
 * timer, because neither animation frames nor the visibility state are reliable while the view is parked.
 */
export class AdPlayback {
  private readonly milestones = new Milestones();
  private readonly clock = new TickClock();
  private readonly startLimit: StartLimit;
  private readonly stall: StallWatch;
  private readonly unlisten: Array<() => void> = [];
  private timer: ReturnType<typeof setInterval> | undefined;
  private candidate = 0;
  /** Grows with every file tried, so that late results of an earlier one can be recognised. */
  private attempt = 0;
  private hasLoaded = false;
  private hasStarted = false;
  private isDone = false;
  private wantsToPlay = true;
  private lastReported = -1;

  constructor(
    private readonly video: HTMLVideoElement,
    private readonly options: PlaybackOptions,
    private readonly listener: PlaybackListener,
  ) {
    this.startLimit = new StartLimit(options.startTimeout);
    this.stall = new StallWatch(options.stallTimeout);
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

  /** In pixels, as the video is meant to be shown; undefined before its metadata has been read, and for sound alone. */
  get videoSize(): { width: number; height: number } | undefined {
    const { videoWidth: width, videoHeight: height } = this.video;
    return width > 0 && height > 0 ? { width, height } : undefined;
  }

  get duration(): number {
    const known = this.video.duration;
    return Number.isFinite(known) && known > 0 ? known : (this.options.declaredDuration ?? 0);
  }

  /** The file being tried or played, the last one when all have failed. */
  get file(): MediaFile | undefined {
    const { files } = this.options;
    return files[Math.min(this.candidate, files.length - 1)];
  }

  /** Everything has been buffered, so that the network is free for the next ad. */
  get isFullyBuffered(): boolean {
    return this.bufferedEnd() >= this.duration - endSlackSeconds;
  }

  start(): void {
    this.listen("loadedmetadata", () => this.onLoaded());
    this.listen("playing", () => this.onPlaying());
    this.listen("timeupdate", () => this.reportQuartiles());
    this.listen("play", () => this.onElementPlay());
    this.listen("pause", () => this.onElementPause());
    this.listen("ended", () => this.onEnded());
    this.listen("error", () => void this.onElementError());
    this.timer = setInterval(() => this.onTick(), tickMs);
    if (this.options.isPrepared && !this.video.error) this.playPrepared();
    else this.tryCandidate();
  }

  pause(): void {
    if (this.isDone || !this.wantsToPlay) return;
    this.wantsToPlay = false;
    this.clock.interrupt();
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

  /** Ends without notifying the listener. */
  stop(): void {
    this.isDone = true;
    clearInterval(this.timer);
    for (const remove of this.unlisten.splice(0)) remove();
    this.video.pause();
    releaseLater(this.video);
  }

  private listen(event: string, handler: () => void): void {
    const guarded = () => {
      if (!this.isDone) handler();
    };
    this.video.addEventListener(event, guarded);
    this.unlisten.push(() => this.video.removeEventListener(event, guarded));
  }

  private playPrepared(): void {
    this.attempt += 1;
    if (this.video.readyState > 0) this.onLoaded();
    if (this.wantsToPlay) this.play();
  }

  private tryCandidate(): void {
    const file = this.options.files[this.candidate];
    if (!file) {
      this.fail(new AdFailure(VastCode.noSupportedMedia, "No media file of the ad can be played here"));
      return;
    }
    this.attempt += 1;
    this.startLimit.nextFile();
    this.stall.reset();
    keep(this.video);
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
    const step = this.clock.step(performance.now() / 1000);
    if (!this.hasStarted) {
      this.limitStart(step);
      if (this.isDone) return;
    }
    this.reportQuartiles();
    if (this.isDone) return;
    this.reportTime();
    if (this.stall.isStalled(this.video.currentTime, step)) {
      this.giveUpFile(new AdFailure(VastCode.mediaTimeout, "The media file made no progress"));
    } else if (this.stall.isNudgeDue() && this.hasDataAhead()) {
      this.nudge();
    }
  }

  private limitStart(step: number): void {
    this.startLimit.add(step);
    const filesLeft = this.options.files.length - this.candidate - 1;
    if (this.startLimit.isReached) {
      this.fail(new AdFailure(VastCode.mediaTimeout, "The ad showed no frame in time"));
    } else if (this.video.readyState === 0 && this.startLimit.isFileShareUsed(filesLeft)) {
      this.giveUpFile(new AdFailure(VastCode.mediaTimeout, "The media file did not arrive in time"));
    }
  }

  private hasDataAhead(): boolean {
    return this.bufferedEnd() > this.video.currentTime + leastDataSeconds;
  }

  /** The end of the buffered range in which the playhead is; -1 without one. */
  private bufferedEnd(): number {
    const { buffered, currentTime } = this.video;
    for (let i = 0; i < buffered.length; i += 1) {
      if (buffered.start(i) <= currentTime && buffered.end(i) >= currentTime) return buffered.end(i);
    }
    return -1;
  }

  /** WebKitGTK can wait forever for data that it has. Only a pause followed by a play makes it continue. */
  private nudge(): void {
    this.video.pause();
    this.play();
  }

  private reportQuartiles(): void {
    if (!this.hasStarted) return;
    for (const quartile of this.milestones.reached(this.video.currentTime, this.duration)) {
      this.listener.quartile(quartile);
    }
  }

  private reportTime(): void {
    const playhead = this.video.currentTime;
    if (!this.hasStarted || playhead === this.lastReported) return;
    this.lastReported = playhead;
    this.listener.time(playhead, this.duration);
  }

  /** A media key or the system may pause and play the element without the page. */
  private onElementPause(): void {
    const atEnd = this.video.ended || this.video.currentTime >= this.duration - endSlackSeconds;
    // The event is asynchronous: what counts is the state now, which may have been undone meanwhile.
    const isPaused = this.video.paused && !atEnd && !this.video.error;
    if (isPaused && this.wantsToPlay && this.hasStarted) this.pause();
  }

  private onElementPlay(): void {
    if (!this.video.paused && !this.wantsToPlay) this.resume();
  }

  private onEnded(): void {
    this.onPlaying();
    for (const quartile of this.milestones.rest()) this.listener.quartile(quartile);
    this.reportTime();
    this.isDone = true;
    this.listener.ended();
  }

  private async onElementError(): Promise<void> {
    const attempt = this.attempt;
    const failure = await mediaFailure(this.video.error, this.video.currentSrc || this.video.src);
    if (!this.isDone && attempt === this.attempt) this.giveUpFile(failure);
  }

  /** Before the first frame another file may still work; afterwards the ad has failed. */
  private giveUpFile(failure: AdFailure): void {
    this.candidate += 1;
    if (!this.hasStarted && this.candidate < this.options.files.length) this.tryCandidate();
    else this.fail(failure);
  }

  private fail(failure: AdFailure): void {
    this.isDone = true;
    this.listener.failed(failure);
  }
}
