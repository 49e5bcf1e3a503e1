import { VASTParser } from "@dailymotion/vast-client";
import { AdFailure, VastCode } from "./vast_error";
import type { Deadline } from "../util/deadline";
import { fetchText } from "../util/fetching";
import { isBeforePods, vastDocument } from "./vast_document";

/** The parts of a parsed ad that are read here; the parser leaves out and adds as the document does. */
export interface ParsedAd {
  id: string | null;
  sequence: string | null;
  title: string | null;
  adServingId: string | null;
  pricing: { value: string } | null;
  errorURLTemplates: string[];
  impressionURLTemplates: Array<{ url: string }>;
  creatives: ParsedCreative[];
  errorCode?: number;
  errorMessage?: string;
}

export interface ParsedCreative {
  type: string;
  id: string | null;
  adId: string | null;
  sequence: string | null;
  duration?: number;
  skipDelay?: number | null;
  mediaFiles?: ParsedMediaFile[];
  interactiveCreativeFile?: { apiFramework: string | null } | null;
  closedCaptionFiles?: Array<{ type: string | null; language: string | null; fileURL: string | null }>;
  trackingEvents?: Record<string, string[]>;
  videoClickThroughURLTemplate?: { url: string } | null;
  videoClickTrackingURLTemplates?: Array<{ url: string }>;
  universalAdIds?: Array<{ idRegistry: string; value: string }>;
}

export interface ParsedMediaFile {
  fileURL: string | null;
  mimeType: string | null;
  codec: string | null;
  apiFramework: string | null;
  width: number;
  height: number;
  bitrate: number;
  maxBitrate: number;
}

export interface ResolverOptions {
  wrapperLimit: number;
  /** Seconds, for each wrapped document. */
  wrapperTimeout: number;
  deadline: Deadline;
  /** Fills the macros of a wrapped address. */
  resolveMacros: (template: string) => string;
  reportErrors: (urls: string[], code: number) => void;
}

interface ParseOptions {
  isRootVAST?: boolean;
  allowMultipleAds?: boolean;
}

interface WrapperRequest {
  url: string;
  wrapperAd: object;
}

/**
 * Turns a VAST document into its in-line ads, following wrappers. The parser of the library is kept
 * from the network: documents come and error beacons leave through what is given here.
 */
export class VastResolver extends VASTParser {
  /** Ads that lead to another document; what remains of one that led nowhere is known by it. */
  private readonly wrappers = new WeakSet<object>();
  private readonly fetchFailures = new WeakMap<object, AdFailure>();

  constructor(private readonly options: ResolverOptions) {
    super();
    this.fetcher = { fetchVAST: (request: WrapperRequest) => this.fetchWrapped(request) };
  }

  /** The first pod, or else the first ad, that yields anything `accept` takes; what failed is reported. */
  async resolve<T>(text: string, url: string | null, accept: (ads: ParsedAd[]) => T[]): Promise<T[]> {
    const document = vastDocument(text);
    const resolveAll = isBeforePods(document);
    // The parser counts the document itself.
    const wrapperLimit = this.options.wrapperLimit + 1;
    let response = await this.parseVAST(document, { url, resolveAll, wrapperLimit });
    for (;;) {
      const accepted = accept(this.withoutFailed(response.ads));
      const isLast = this.remainingAds.length === 0 || this.options.deadline.hasPassed;
      if (accepted.length > 0 || isLast) return accepted;
      response = await this.getRemainingAds(false);
    }
  }

  override parseVastXml(document: Document, options: ParseOptions): object[] {
    const errorsBefore = this.errorURLTemplates.length;
    const report = (code: number) => {
      const ofWrapped = this.errorURLTemplates.splice(errorsBefore);
      this.options.reportErrors(options.isRootVAST ? this.rootErrorURLTemplates : ofWrapped, code);
    };
    try {
      const ads: object[] = super.parseVastXml(document, options);
      if (ads.length === 0) report(VastCode.noAdsAfterWrappers);
      const isPodAllowed = options.isRootVAST || options.allowMultipleAds !== false;
      return isPodAllowed ? ads : ads.slice(0, 1);
    } catch (error) {
      // The parser trips over an ad that holds neither of the two forms, or a wrapper that may not be followed.
      if (!(error instanceof TypeError)) throw error;
      report(VastCode.schema);
      throw new AdFailure(VastCode.schema, "An ad of the answer holds nothing usable");
    }
  }

  override trackVastError(urls: string[], error: { ERRORCODE: number }): void {
    this.options.reportErrors(urls, error.ERRORCODE);
  }

  /** Failed ads are told apart, reported and dropped by `withoutFailed`. */
  override completeWrapperResolving(): void {}

  private async fetchWrapped({ url, wrapperAd }: WrapperRequest): Promise<Document> {
    this.wrappers.add(wrapperAd);
    const { deadline, wrapperTimeout, resolveMacros } = this.options;
    try {
      const timeout = Math.min(wrapperTimeout, deadline.remainingSeconds);
      return vastDocument(await fetchText(resolveMacros(url), timeout));
    } catch (error) {
      const failure =
        error instanceof AdFailure
          ? error
          : new AdFailure(VastCode.wrapperTimeout, `${url}: ${(error as Error).message}`);
      this.fetchFailures.set(wrapperAd, failure);
      throw failure;
    }
  }

  private withoutFailed(ads: ParsedAd[]): ParsedAd[] {
    return ads.filter((ad) => {
      const code = this.failureOf(ad);
      if (code !== undefined) this.options.reportErrors(ad.errorURLTemplates, code);
      return code === undefined;
    });
  }

  private failureOf(ad: ParsedAd): number | undefined {
    const fetchFailure = this.fetchFailures.get(ad);
    if (fetchFailure) return fetchFailure.code;
    // Fetched, but not to be parsed.
    if (ad.errorCode === VastCode.wrapperTimeout) return VastCode.schema;
    if (ad.errorCode !== undefined) return ad.errorCode;
    return this.wrappers.has(ad) ? VastCode.noAdsAfterWrappers : undefined;
  }
}
