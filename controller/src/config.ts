import { fetchText, FetchFailure } from "./util/fetching";
import { flagAt, isObject, numberAt, objectAt, textAt, type JsonObject } from "./util/json";

export interface Faults {
  /** Seconds after which the page stops pinging. */
  stopPingAfter?: number;
  /** Text sent as AdError instead of playing. */
  adError?: string;
  /** Answers "get.ads" with an empty list. */
  noAds: boolean;
}

/** Times in seconds, bitrates in kbit/s. */
export interface Config {
  /** How many wrappers may lie between the tag and the ad. */
  wrapperLimit: number;
  /** How many wrapped documents are fetched for one request. */
  fetchLimit: number;
  /** For each wrapped document. */
  wrapperTimeout: number;
  /** For the whole of "get.ads"; the native side waits 5 s for the reply. */
  adsTimeout: number;
  /** Playback that makes no progress for this long has failed. */
  stallTimeout: number;
  /** For the first frame of an ad, all its files together. */
  startTimeout: number;
  /** How long an end card stays; 0 shows none. */
  endCardTime: number;
  /** Ceiling for the media choice; 0 leaves it to the size of the view. */
  maxBitrate: number;
  faults: Faults;
  /** What "get.config" is answered with. */
  data: JsonObject;
}

const defaults = {
  wrapperLimit: 5,
  fetchLimit: 50,
  wrapperTimeout: 3,
  adsTimeout: 4,
  stallTimeout: 8,
  startTimeout: 8,
  endCardTime: 5,
  maxBitrate: 0,
} as const;

const longestAdsTimeout = 4.5;
const fetchTimeout = 2;

/** The defaults of the page, overridden by the members of the host's object. */
export function configFrom(host: JsonObject): Config {
  const data: JsonObject = { ...defaults, ...host };
  const positive = (key: keyof typeof defaults) => {
    const value = numberAt(data, key);
    return value !== undefined && value >= 0 ? value : defaults[key];
  };
  const faults = objectAt(data, "faults");
  return {
    wrapperLimit: Math.floor(positive("wrapperLimit")),
    fetchLimit: Math.floor(positive("fetchLimit")),
    wrapperTimeout: positive("wrapperTimeout"),
    adsTimeout: Math.min(positive("adsTimeout"), longestAdsTimeout),
    stallTimeout: positive("stallTimeout"),
    startTimeout: positive("startTimeout"),
    endCardTime: positive("endCardTime"),
    maxBitrate: positive("maxBitrate"),
    faults: {
      stopPingAfter: numberAt(faults, "stopPingAfter"),
      adError: textAt(faults, "adError"),
      noAds: flagAt(faults, "noAds"),
    },
    data,
  };
}

/** Reads the host's optional object; without a valid one the defaults apply. */
export async function loadConfig(log: (text: string) => void): Promise<Config> {
  try {
    const host: unknown = JSON.parse(await fetchText("/config.json", fetchTimeout));
    if (isObject(host)) return configFrom(host);
    log("Ignored a configuration that is not an object");
  } catch (error) {
    const isAbsent = error instanceof FetchFailure && error.status === 404;
    if (!isAbsent) log(`The host's configuration could not be read: ${(error as Error).message}`);
  }
  return configFrom({});
}
