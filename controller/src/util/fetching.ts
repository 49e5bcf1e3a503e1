export type FetchProblem = "timedOut" | "status" | "tooLarge" | "unreachable" | "forbidden";

/** A request that brought no usable body, and why. */
export class FetchFailure extends Error {
  constructor(
    readonly problem: FetchProblem,
    message: string,
    readonly status?: number,
  ) {
    super(message);
  }
}

export interface FetchedText {
  text: string;
  /** The address after redirects. */
  url: string;
}

/** The largest document that is read, in bytes. */
export const largestDocument = 1024 * 1024;

const probeSeconds = 1;

function tooLarge(): FetchFailure {
  return new FetchFailure("tooLarge", `The answer is larger than ${largestDocument / 1024} KiB`);
}

/** Stops reading at the limit, so that an endless answer costs neither time nor memory. */
async function limitedText(response: Response): Promise<string> {
  if (Number(response.headers.get("content-length")) > largestDocument) throw tooLarge();
  const reader = response.body?.getReader();
  if (!reader) return response.text();
  const decoder = new TextDecoder(characterSetOf(response.headers.get("content-type") ?? ""));
  let text = "";
  let size = 0;
  for (let part = await reader.read(); !part.done; part = await reader.read()) {
    size += part.value.byteLength;
    if (size > largestDocument) {
      void reader.cancel().catch(() => undefined);
      throw tooLarge();
    }
    text += decoder.decode(part.value, { stream: true });
  }
  return text + decoder.decode();
}

function characterSetOf(contentType: string): string {
  const label = /charset="?([\w-]+)/i.exec(contentType)?.[1] ?? "utf-8";
  try {
    return new TextDecoder(label).encoding;
  } catch {
    return "utf-8";
  }
}

/** Runs a request that is aborted after the time-out, which covers the body as well as the headers. */
async function timed<T>(seconds: number, request: (signal: AbortSignal) => Promise<T>): Promise<T> {
  const abort = new AbortController();
  const timer = setTimeout(() => abort.abort(), Math.max(0, seconds * 1000));
  try {
    return await request(abort.signal);
  } catch (error) {
    if (error instanceof FetchFailure) throw error;
    if (abort.signal.aborted) throw new FetchFailure("timedOut", `No answer within ${seconds.toFixed(1)} s`);
    throw new FetchFailure("unreachable", String(error));
  } finally {
    clearTimeout(timer);
  }
}

/** Fetches a document without credentials. */
export function fetchDocument(url: string, timeoutSeconds: number): Promise<FetchedText> {
  return timed(timeoutSeconds, async (signal) => {
    const response = await fetch(url, { credentials: "omit", signal });
    if (!response.ok) throw new FetchFailure("status", `HTTP status ${response.status}`, response.status);
    return { text: await limitedText(response), url: response.url || url };
  });
}

export async function fetchText(url: string, timeoutSeconds: number): Promise<string> {
  return (await fetchDocument(url, timeoutSeconds)).text;
}

/**
 * Distinguishes a server that cannot be reached from one that does not allow this page to read its answers
 * (CORS): a browser reports both in the same way.
 */
export async function diagnosed(url: string, failure: FetchFailure): Promise<FetchFailure> {
  if (failure.problem !== "unreachable") return failure;
  try {
    const probe = { method: "HEAD", mode: "no-cors", credentials: "omit" } as const;
    await timed(probeSeconds, (signal) => fetch(url, { ...probe, signal }));
  } catch {
    return new FetchFailure("unreachable", "The server cannot be reached");
  }
  const remedy = `set "Access-Control-Allow-Origin: ${location.origin}" (or "*") on the answers of that server`;
  return new FetchFailure("forbidden", `The server does not allow this page to read its answers (CORS): ${remedy}`);
}
