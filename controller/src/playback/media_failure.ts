import { AdFailure, VastCode } from "../ads/vast_error";

const probeTimeoutMs = 1500;

/** Media elements do not report portably whether a file is missing or unreadable: ask the server. */
async function isMissing(address: string): Promise<boolean> {
  const abort = new AbortController();
  const timer = setTimeout(() => abort.abort(), probeTimeoutMs);
  try {
    const response = await fetch(address, { method: "HEAD", credentials: "omit", signal: abort.signal });
    // A server that refuses the method may well have the file.
    return !response.ok && response.status !== 405 && response.status !== 501;
  } catch {
    return true;
  } finally {
    clearTimeout(timer);
  }
}

/** What the error of a media element means to a tracker. */
export async function mediaFailure(error: MediaError | null, address: string): Promise<AdFailure> {
  switch (error?.code) {
    case MediaError.MEDIA_ERR_NETWORK:
      return new AdFailure(VastCode.mediaTimeout, "The media file stopped arriving");
    case MediaError.MEDIA_ERR_DECODE:
      return new AdFailure(VastCode.mediaDisplay, "The media file could not be decoded");
    case MediaError.MEDIA_ERR_SRC_NOT_SUPPORTED:
      return (await isMissing(address))
        ? new AdFailure(VastCode.fileNotFound, "The media file was not found")
        : new AdFailure(VastCode.mediaDisplay, "The media file could not be displayed");
    default:
      return new AdFailure(VastCode.linear, "The media file could not be played");
  }
}
