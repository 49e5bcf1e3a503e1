/** The codes that error beacons and the native side's AdError carry. */
export const VastCode = {
  xmlParsing: 100,
  schema: 101,
  version: 102,
  unexpectedAdType: 200,
  unexpectedLinearity: 201,
  blockedCategory: 205,
  wrapperTimeout: 301,
  wrapperLimit: 302,
  noAdsAfterWrappers: 303,
  linear: 400,
  fileNotFound: 401,
  mediaTimeout: 402,
  noSupportedMedia: 403,
  mediaDisplay: 405,
  interactiveNotExecuted: 409,
  requiredCompanion: 602,
  undefinedError: 900,
  vpaid: 901,
  interactive: 902,
} as const;

export class AdFailure extends Error {
  constructor(
    readonly code: number,
    message: string,
  ) {
    super(message);
  }

  /** The text that reaches the host app as the reason of the failure. */
  get text(): string {
    return `VAST error ${this.code}: ${this.message}`;
  }
}
