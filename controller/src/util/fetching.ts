/** A request that did not bring a usable body: why, and whether time ran out. */
export class FetchFailure extends Error {
  constructor(
    message: string,
    readonly timedOut: boolean,
    readonly status?: number,
  ) {
    super(message);
  }
}

/** Fetches text without credentials; the time-out covers the body as well as the headers. */
export async function fetchText(url: string, timeoutSeconds: number): Promise<string> {
  const abort = new AbortController();
  const timer = setTimeout(() => abort.abort(), Math.max(0, timeoutSeconds * 1000));
  try {
    const response = await fetch(url, { credentials: "omit", signal: abort.signal });
    if (!response.ok) throw new FetchFailure(`HTTP status ${response.status}`, false, response.status);
    return await response.text();
  } catch (error) {
    if (error instanceof FetchFailure) throw error;
    const reason = abort.signal.aborted ? "timed out" : String(error);
    throw new FetchFailure(reason, abort.signal.aborted);
  } finally {
    clearTimeout(timer);
  }
}
