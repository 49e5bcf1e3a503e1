import type { CaptionFile } from "../ads/ad";
import { fetchText } from "../util/fetching";
import { element } from "./dom";

const fetchTimeout = 8;

/**
 * Captions drawn by the page, so that they look alike in every web view and keep clear of the controls. The page fetches
 * the files itself: given to the element, they would make it ask the servers of the media for CORS permission, which most
 * do not grant.
 */
export class Captions {
  readonly box = element("div", "captions");
  private isOn = false;
  /** Grows with every ad, so that a late file of an earlier ad is dropped. */
  private generation = 0;
  private track: HTMLTrackElement | undefined;
  private objectUrl: string | undefined;

  constructor(
    private readonly onAvailable: (available: boolean) => void,
    private readonly log: (text: string) => void,
  ) {}

  get on(): boolean {
    return this.isOn;
  }

  async show(video: HTMLVideoElement, files: CaptionFile[], language: string): Promise<void> {
    this.clear();
    const file = files.find(({ lang }) => lang.split(/[-_]/)[0] === language.split(/[-_]/)[0]) ?? files[0];
    if (!file) return;
    const generation = this.generation;
    try {
      const text = await fetchText(file.src, fetchTimeout);
      if (generation === this.generation) this.attach(video, file, text);
    } catch (error) {
      this.log(`Captions could not be read: ${(error as Error).message}`);
    }
  }

  setOn(on: boolean): void {
    this.isOn = on;
    this.box.hidden = !on;
  }

  clear(): void {
    this.generation += 1;
    this.track?.remove();
    this.track = undefined;
    if (this.objectUrl) URL.revokeObjectURL(this.objectUrl);
    this.objectUrl = undefined;
    this.box.textContent = "";
    this.onAvailable(false);
  }

  private attach(video: HTMLVideoElement, file: CaptionFile, text: string): void {
    this.objectUrl = URL.createObjectURL(new Blob([text], { type: "text/vtt" }));
    const track = document.createElement("track");
    track.kind = "captions";
    track.srclang = file.lang;
    track.label = file.label;
    track.src = this.objectUrl;
    track.track.mode = "hidden";
    track.track.addEventListener("cuechange", () => this.draw(track.track));
    track.addEventListener("load", () => this.onAvailable(true));
    track.addEventListener("error", () => this.log("Captions could not be read: not in WebVTT"));
    video.append(track);
    // The browser's own preferences may choose another mode when a track is attached.
    track.track.mode = "hidden";
    this.track = track;
  }

  private draw(track: TextTrack): void {
    const cues = Array.from(track.activeCues ?? []) as VTTCue[];
    this.box.textContent = "";
    this.box.append(...cues.map(drawn));
  }
}

/** Captions may be in another language than the controls, written the other way. */
function drawn(cue: VTTCue): HTMLElement {
  const line = element("span", "cue", cue.getCueAsHTML());
  line.dir = "auto";
  return line;
}
