import { VASTParser } from "@dailymotion/vast-client";
import type { Deadline } from "../util/deadline";
import { diagnosed, FetchFailure, type FetchedText } from "../util/fetching";
import type { ParsedAd } from "./parsed_ad";
import {
  adaptToParser,
  adElements,
  errorAddressesOf,
  formOf,
  hasSequence,
  isBeforePods,
  vastDocument,
} from "./vast_document";
import { AdFailure, VastCode } from "./vast_error";

export interface ResolverOptions {
  wrapperLimit: number;
  /** How many wrapped documents are fetched at most. */
  fetchLimit: number;
  /** Seconds, for each wrapped document. */
  wrapperTimeout: number;
  deadline: Deadline;
  fetch: (url: string, timeoutSeconds: number) => Promise<FetchedText>;
  /** The address to load for an address of a document; undefined when it cannot be loaded. */
  loadable: (template: string) => string | undefined;
  reportErrors: (urls: string[], code: number) => void;
  log: (text: string) => void;
}

interface ParseOptions {
  url?: string | null;
  isRootVAST?: boolean;
  allowMultipleAds?: boolean;
  followAdditionalWrappers?: boolean;
}

interface WrapperRequest {
  url: string;
  wrapperAd: object;
}

function bySequence(one: ParsedAd, other: ParsedAd): number {
  return parseInt(one.sequence ?? "", 10) - parseInt(other.sequence ?? "", 10);
}

/**
 * Turns a VAST document into its in-line ads, following wrappers. The parser of the library has no access
 * to the network: documents are fetched and errors are reported through the options.
 */
export class VastResolver extends VASTParser {
  /** Ads that lead to another document; one that is left of them in the result led nowhere. */
  private readonly wrappers = new WeakSet<object>();
  private readonly fetchFailures = new WeakMap<object, AdFailure>();
  private fetches = 0;

  constructor(private readonly options: ResolverOptions) {
    super();
    this.fetcher = { fetchVAST: (request: WrapperRequest) => this.fetchWrapped(request) };
  }

  /**
   * The pod of the document, or else its first ad, as far as `accept` takes the ads. Stand-alone ads of the
   * document replace what failed, in their order. The errors of failed ads are reported.
   */
  async resolve<T>(vast: Document, url: string | null, accept: (ad: ParsedAd) => T | undefined): Promise<T[]> {
    const places = (ads: ParsedAd[]) =>
      ads.flatMap((ad) => {
        if (!this.hasFailed(ad)) return [accept(ad)];
        return ad.fallbackOnNoAd === false ? [] : [undefined];
      });
    const resolveAll = isBeforePods(vast);
    // The parser counts the document itself.
    const wrapperLimit = this.options.wrapperLimit + 1;
    const first = await this.parseVAST(vast, { url, resolveAll, wrapperLimit });
    const isPod = adElements(vast).some((ad) => hasSequence({ sequence: ad.getAttribute("sequence") }));
    let accepted = places(first.ads);
    const isIncomplete = () => (isPod ? accepted.includes(undefined) : accepted.every((ad) => ad === undefined));
    while (isIncomplete() && this.remainingAds.length > 0 && !this.options.deadline.hasPassed) {
      const substitutes = places((await this.getRemainingAds(false)).ads).filter((ad) => ad !== undefined);
      if (!isPod) accepted = substitutes;
      else if (substitutes.length > 0) accepted.splice(accepted.indexOf(undefined), 1, ...substitutes);
    }
    return accepted.filter((ad): ad is Awaited<T> => ad !== undefined);
  }

  override parseVastXml(vast: Document, options: ParseOptions): object[] {
    const errorsBefore = this.errorURLTemplates.length;
    const reportForDocument = (code: number) => {
      this.options.log(`VAST error ${code}: the document ${options.url ?? ""} has no usable ad`);
      const ofWrapped = this.errorURLTemplates.splice(errorsBefore);
      this.options.reportErrors(options.isRootVAST ? this.rootErrorURLTemplates : ofWrapped, code);
    };
    const silent = this.removeUnusable(vast, options);
    adaptToParser(vast);
    // Which ads of a pod are allowed is decided below: the parser would refuse a single ad with a sequence.
    const ads: ParsedAd[] = super.parseVastXml(vast, { ...options, allowMultipleAds: undefined });
    if (ads.length === 0) reportForDocument(silent > 0 ? VastCode.schema : VastCode.noAdsAfterWrappers);
    return options.isRootVAST ? ads : this.allowedOf(ads, options.allowMultipleAds !== false);
  }

  override trackVastError(urls: string[], error: { ERRORCODE: number }): void {
    this.options.reportErrors(urls, error.ERRORCODE);
  }

  /** `hasFailed` finds failed ads and reports them. */
  override completeWrapperResolving(): void {}

  /** The ads of a wrapped document that its wrapper may take. */
  private allowedOf(ads: ParsedAd[], multiple: boolean): ParsedAd[] {
    const pod = ads.filter(hasSequence).sort(bySequence);
    if (multiple) return pod.length > 0 ? pod : ads;
    const single = ads.find((ad) => !hasSequence(ad)) ?? pod[0];
    return single ? [single] : [];
  }

  /**
   * Removes the ads at which the parser would give up the whole document. Returns how many of them have no
   * error address of their own.
   */
  private removeUnusable(vast: Document, { followAdditionalWrappers }: ParseOptions): number {
    let silent = 0;
    for (const ad of adElements(vast)) {
      const form = formOf(ad);
      if (form === "hollow") {
        const urls = errorAddressesOf(ad);
        if (urls.length === 0) silent += 1;
        this.options.log(`Ad ${ad.getAttribute("id") ?? ""}: it holds nothing usable`);
        this.options.reportErrors(urls, VastCode.schema);
      }
      if (form === "hollow" || (form === "wrapper" && followAdditionalWrappers === false)) ad.remove();
    }
    return silent;
  }

  private async fetchWrapped({ url, wrapperAd }: WrapperRequest): Promise<Document> {
    this.wrappers.add(wrapperAd);
    try {
      const { text, url: address } = await this.fetchCounted(url);
      return vastDocument(text, address);
    } catch (error) {
      const failure = error instanceof AdFailure ? error : new AdFailure(VastCode.wrapperTimeout, String(error));
      this.fetchFailures.set(wrapperAd, failure);
      if (error instanceof FetchFailure) void this.logFetchFailure(url, error);
      else if (this.fetches <= this.options.fetchLimit + 1) this.options.log(`Wrapper ${url}: ${failure.text}`);
      throw failure;
    }
  }

  private async fetchCounted(url: string): Promise<FetchedText> {
    const { deadline, fetch, fetchLimit, loadable, wrapperTimeout } = this.options;
    this.fetches += 1;
    if (this.fetches > fetchLimit) throw new AdFailure(VastCode.wrapperLimit, "Too many wrapped documents");
    const address = loadable(url);
    if (!address) throw new AdFailure(VastCode.wrapperTimeout, "Not an address that can be loaded");
    return fetch(address, Math.min(wrapperTimeout, deadline.remainingSeconds));
  }

  private async logFetchFailure(url: string, failure: FetchFailure): Promise<void> {
    const { message } = await diagnosed(url, failure);
    this.options.log(`Wrapper ${url}: VAST error ${VastCode.wrapperTimeout}: ${message}`);
  }

  private hasFailed(ad: ParsedAd): boolean {
    const code = this.failureOf(ad);
    if (code !== undefined) this.options.reportErrors(ad.errorURLTemplates, code);
    return code !== undefined;
  }

  private failureOf(ad: ParsedAd): number | undefined {
    const fetchFailure = this.fetchFailures.get(ad);
    if (fetchFailure) return fetchFailure.code;
    // Fetched, but the parser could not read it.
    if (ad.errorCode === VastCode.wrapperTimeout) return VastCode.schema;
    if (ad.errorCode !== undefined) return ad.errorCode;
    return this.wrappers.has(ad) ? VastCode.noAdsAfterWrappers : undefined;
  }
}
