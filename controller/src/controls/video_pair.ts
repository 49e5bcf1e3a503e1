import { element } from "./dom";

/** The video on the screen, and one out of sight that loads the next ad. */
export class VideoPair {
  private readonly pair: [HTMLVideoElement, HTMLVideoElement] = [newVideo(), newVideo()];

  constructor() {
    this.spare.classList.add("spare");
  }

  get current(): HTMLVideoElement {
    return this.pair[0];
  }

  get spare(): HTMLVideoElement {
    return this.pair[1];
  }

  get elements(): readonly HTMLVideoElement[] {
    return this.pair;
  }

  swap(): void {
    const { current, spare } = this;
    spare.muted = current.muted;
    spare.volume = current.volume;
    spare.classList.remove("spare");
    current.classList.add("spare");
    this.pair.reverse();
  }

  /** Calls the handler for events of the video on the screen only. */
  listen(events: string[], handler: () => void): void {
    for (const video of this.pair) {
      for (const event of events) video.addEventListener(event, () => video === this.current && handler());
    }
  }
}

function newVideo(): HTMLVideoElement {
  const video = element("video", "video");
  video.playsInline = true;
  video.disableRemotePlayback = true;
  video.preload = "auto";
  video.tabIndex = -1;
  return video;
}
