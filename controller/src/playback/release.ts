/**
 * Longer than the end of a session waits for the messages before it. A web view can take seconds to release a file whose
 * playback has just begun, and the page is blocked meanwhile: it neither pings nor sends "AdGroupEnd".
 */
const delayMs = 300;

const pending = new WeakMap<HTMLVideoElement, ReturnType<typeof setTimeout>>();

/** Releases the file of an element whose ad has ended, unless the element is used again before. */
export function releaseLater(video: HTMLVideoElement): void {
  keep(video);
  const release = () => {
    video.removeAttribute("src");
    video.load();
  };
  pending.set(video, setTimeout(release, delayMs));
}

/** Before an element gets its next file. */
export function keep(video: HTMLVideoElement): void {
  clearTimeout(pending.get(video));
}
