import type { Ad } from "../ads/ad";
import { adsFromList } from "../ads/ad_list";
import type { ParsedAd } from "../ads/parsed_ad";
import { adFromVast, lossesOf, macrosOf } from "../ads/vast_ads";
import { requireVast } from "../ads/vast_document";
import { AdFailure, VastCode } from "../ads/vast_error";
import { VastResolver } from "../ads/vast_resolver";
import { breakOf, isVmap, VmapCode, type AdBreak } from "../ads/vmap_breaks";
import { xmlDocument } from "../ads/xml_document";
import type { Config } from "../config";
import { isPlayable, type CanPlayType } from "../media/media_choice";
import { hasEndCards, type Payload } from "../payload";
import { resolveMacros, sessionMacros, type MacroValues } from "../tracking/macros";
import { loadableAddress } from "../util/address";
import type { Deadline } from "../util/deadline";
import { diagnosed, fetchDocument, FetchFailure, fetchText, type FetchedText } from "../util/fetching";

export interface AdSourceTools {
  canPlayType: CanPlayType;
  log: (text: string) => void;
}

/** What one request for ads brings. */
export interface AdLoad {
  ads: Ad[];
  /** Macro values that hold for all ads of the load. */
  macros: MacroValues;
  /** Addresses to be fired after the request has been answered. */
  beacons: string[];
  /** Set when the ads come from a break of a VMAP document. */
  adBreak?: AdBreak;
  /** Why the source of the ads could not be read. Absent when it was read, even if it has no ads. */
  failure?: string;
}

/**
 * Finds the ads of one request: a VAST or VMAP document that came with it, or else an ad tag, or else the
 * server's own list. What cannot be played here is dropped, and its error beacons are part of the result.
 */
export class AdSource {
  private readonly beacons: string[] = [];
  private readonly macros: MacroValues;
  private adBreak: AdBreak | undefined;

  constructor(
    private readonly payload: Payload,
    private readonly config: Config,
    private readonly deadline: Deadline,
    private readonly tools: AdSourceTools,
  ) {
    this.macros = sessionMacros(payload, tools.canPlayType);
  }

  async load(): Promise<AdLoad> {
    let ads: Ad[] = [];
    let failure: string | undefined;
    try {
      ads = withDistinctIds(await this.find());
    } catch (error) {
      if (error instanceof FetchFailure) failure = error.message;
      this.tools.log(`No ads: ${error instanceof AdFailure ? error.text : (error as Error).message}`);
    }
    const macros = { ...this.macros, ADCOUNT: String(ads.length) };
    return { ads, macros, beacons: this.beacons, adBreak: this.adBreak, failure };
  }

  private async find(): Promise<Ad[]> {
    if (this.config.faults.noAds) return [];
    const { vastXml, vastUrl } = this.payload;
    if (vastXml !== undefined) return this.fromText({ text: vastXml, url: null });
    if (vastUrl !== undefined) return this.fromText(await this.fetchTag(vastUrl));
    return this.fromServerList();
  }

  private async fromServerList(): Promise<Ad[]> {
    try {
      const ads = adsFromList(await fetchText("/ads.json", this.deadline.remainingSeconds));
      return ads.filter((ad) => this.isPlayable(ad));
    } catch (error) {
      if (error instanceof FetchFailure && error.status === 404) return [];
      throw error;
    }
  }

  /** Fails with a `FetchFailure` whose message names the tag and what is wrong with it. */
  private async fetchTag(tag: string): Promise<FetchedText> {
    const address = this.loadable(tag);
    if (!address) throw new FetchFailure("unreachable", `The ad tag is not a web address: ${tag}`);
    try {
      return await fetchDocument(address, Math.min(this.config.wrapperTimeout, this.deadline.remainingSeconds));
    } catch (error) {
      if (!(error instanceof FetchFailure)) throw error;
      const { problem, message, status } = await diagnosed(address, error);
      throw new FetchFailure(problem, `The ad tag could not be read: ${address}: ${message}`, status);
    }
  }

  /** An ad server without an ad for this request may answer with nothing at all. */
  private async fromText({ text, url }: { text: string; url: string | null }): Promise<Ad[]> {
    if (text.trim() === "") return [];
    const xml = xmlDocument(text, url);
    return isVmap(xml) ? this.fromBreak(xml, url) : this.fromVast(requireVast(xml), url);
  }

  private async fromBreak(vmap: Document, url: string | null): Promise<Ad[]> {
    const adBreak = breakOf(vmap, this.payload.adBreak);
    if (!adBreak) {
      this.tools.log(`The VMAP document has no ad break "${this.payload.adBreak ?? "start"}"`);
      return [];
    }
    this.adBreak = adBreak;
    this.macros.BREAKPOSITION = String(adBreak.position);
    try {
      const ads = await this.adsOfBreak(adBreak, url);
      if (ads.length === 0) this.fireBreakError(adBreak, VmapCode.noUsableAds);
      return ads;
    } catch (error) {
      this.fireBreakError(adBreak, breakCodeOf(error));
      throw error;
    }
  }

  private async adsOfBreak({ vast, tag }: AdBreak, url: string | null): Promise<Ad[]> {
    if (vast) return this.fromVast(requireVast(vast), url);
    if (tag === undefined) return [];
    const fetched = await this.fetchTag(tag);
    return fetched.text.trim() === ""
      ? []
      : this.fromVast(requireVast(xmlDocument(fetched.text, fetched.url)), fetched.url);
  }

  private async fromVast(vast: Document, url: string | null): Promise<Ad[]> {
    const resolver = new VastResolver({
      wrapperLimit: this.config.wrapperLimit,
      fetchLimit: this.config.fetchLimit,
      wrapperTimeout: this.config.wrapperTimeout,
      deadline: this.deadline,
      fetch: fetchDocument,
      loadable: (template) => this.loadable(template),
      reportErrors: (urls, code) => this.fireErrors(urls, code),
      log: this.tools.log,
    });
    let position = 0;
    const ads = await resolver.resolve(vast, url, (parsed) => this.playableOf(parsed, position++));
    return ads.map((ad, index) => ({ ...ad, index }));
  }

  private playableOf(parsed: ParsedAd, position: number): Ad | undefined {
    try {
      const ad = adFromVast(parsed, position, (template) => this.fill(template));
      if (!this.isPlayable(ad)) return undefined;
      const companionRoom = hasEndCards(this.payload.placementType) ? 1 : 0;
      for (const code of lossesOf(parsed, companionRoom)) this.fireErrors(parsed.errorURLTemplates, code, ad.macros);
      return ad;
    } catch (error) {
      // An ad that the reader was not made for must not take the other ads of the document with it.
      const failure = error instanceof AdFailure ? error : new AdFailure(VastCode.undefinedError, String(error));
      this.tools.log(`Ad ${parsed.id ?? position + 1}: ${failure.text}`);
      this.fireErrors(parsed.errorURLTemplates, failure.code, macrosOf(parsed));
      return undefined;
    }
  }

  private isPlayable(ad: Ad): boolean {
    if (ad.media.some((file) => isPlayable(file, this.tools.canPlayType))) return true;
    this.tools.log(`Ad ${ad.id}: no media file can be played here`);
    this.fireErrors(ad.beacons.urls.error ?? [], VastCode.noSupportedMedia, ad.macros);
    return false;
  }

  private fireBreakError({ tracking }: AdBreak, code: number): void {
    this.fireErrors(tracking.error, code);
  }

  private fireErrors(templates: string[], code: number, more: MacroValues = {}): void {
    const values = { ...this.macros, ...more, ERRORCODE: String(code) };
    for (const template of new Set(templates)) this.beacons.push(resolveMacros(template, values));
  }

  private loadable(template: string): string | undefined {
    return loadableAddress(this.fill(template));
  }

  private fill(template: string): string {
    return resolveMacros(template, this.macros);
  }
}

function breakCodeOf(error: unknown): number {
  if (error instanceof AdFailure) return VmapCode.noUsableAds;
  if (!(error instanceof FetchFailure)) return VmapCode.undefinedError;
  return error.problem === "timedOut" ? VmapCode.timedOut : VmapCode.unreachable;
}

/** Events name ads by their id, so two ads of a group must not share one. */
function withDistinctIds(ads: Ad[]): Ad[] {
  const taken = new Set<string>();
  return ads.map((ad) => {
    let id = ad.id;
    for (let copy = 2; taken.has(id); copy += 1) id = `${ad.id}-${copy}`;
    taken.add(id);
    return { ...ad, id };
  });
}
