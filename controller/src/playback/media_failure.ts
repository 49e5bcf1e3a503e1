import { AdFailure, VastCode } from "../ads/vast_error";

const probeTimeoutMs = 1500;

/**
 * A media element reports a missing file and an unreadable one in the same way, so the server is asked. A
 * server that keeps its answer from the page (CORS) has answered: then the file counts as unreadable.
 */
async function isMissing(address: string): Promise<boolean> {
  const abort = new AbortController();
  const timer = setTimeout(() => abort.abort(), probeTimeoutMs);
  const ask = (mode: RequestMode) =>
    fetch(address, { method: "HEAD", credentials: "omit", mode, signal: abort.signal });
  try {
    const response = await ask("cors").catch(() => ask("no-cors"));
    // A server that refuses the method may well have the file.
    return response.type !== "opaque" && !response.ok && response.status !== 405 && response.status !== 501;
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
