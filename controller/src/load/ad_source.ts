import type { Config } from "../config";
import { playableMedia, type CanPlayType } from "../media/media_choice";
import type { Payload } from "../payload";
import { AdFailure, VastCode } from "../ads/vast_error";
import { resolveMacros, sessionMacros, type MacroValues } from "../tracking/macros";
import { loadableAddress } from "../util/address";
import type { Deadline } from "../util/deadline";
import { fetchText, FetchFailure } from "../util/fetching";
import type { Ad } from "../ads/ad";
import { adsFromList } from "../ads/ad_list";
import { adFromVast } from "../ads/vast_ads";
import { VastResolver, type ParsedAd } from "../ads/vast_resolver";

export interface AdSourceTools {
  canPlayType: CanPlayType;
  beacon: (url: string) => void;
  log: (text: string) => void;
}

/**
 * Finds the ads of one request: a VAST document that came with it, or else an ad tag, or else the
 * server's own list. What cannot be played here is dropped, and its error beacon fired.
 */
export class AdSource {
  private readonly macros: MacroValues;

  constructor(
    private readonly payload: Payload,
    private readonly config: Config,
    private readonly deadline: Deadline,
    private readonly tools: AdSourceTools,
  ) {
    this.macros = sessionMacros(payload.privacy);
  }

  async load(): Promise<Ad[]> {
    if (this.config.faults.noAds) return [];
    const { vastXml, vastUrl } = this.payload;
    try {
      if (vastXml !== undefined) return withDistinctIds(await this.fromVast(vastXml, null));
      if (vastUrl !== undefined) return withDistinctIds(await this.fromTag(vastUrl));
      return withDistinctIds(await this.fromServerList());
    } catch (error) {
      this.tools.log(`No ads: ${error instanceof AdFailure ? error.text : (error as Error).message}`);
      return [];
    }
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

  private async fromTag(tag: string): Promise<Ad[]> {
    const address = loadableAddress(this.fill(tag));
    if (!address) throw new Error(`The ad tag is not an https address: ${tag}`);
    const timeout = Math.min(this.config.wrapperTimeout, this.deadline.remainingSeconds);
    return this.fromVast(await fetchText(address, timeout), address);
  }

  private async fromVast(text: string, url: string | null): Promise<Ad[]> {
    const resolver = new VastResolver({
      wrapperLimit: this.config.wrapperLimit,
      wrapperTimeout: this.config.wrapperTimeout,
      deadline: this.deadline,
      resolveMacros: (template) => this.fill(template),
      reportErrors: (urls, code) => this.fireErrors(urls, code),
    });
    return resolver.resolve(text, url, (parsed) => this.playableOf(parsed));
  }

  private playableOf(parsed: ParsedAd[]): Ad[] {
    return bySequence(parsed).flatMap((one, position) => {
      try {
        const ad = adFromVast(one, position, (template) => this.fill(template));
        return this.isPlayable(ad) ? [ad] : [];
      } catch (error) {
        if (!(error instanceof AdFailure)) throw error;
        this.tools.log(`Ad ${one.id ?? position + 1}: ${error.text}`);
        this.fireErrors(one.errorURLTemplates, error.code);
        return [];
      }
    });
  }

  private isPlayable(ad: Ad): boolean {
    if (playableMedia(ad.media, this.tools.canPlayType).length > 0) return true;
    this.tools.log(`Ad ${ad.id}: no media file can be played here`);
    this.fireErrors(ad.beacons.urls.error ?? [], VastCode.noSupportedMedia);
    return false;
  }

  private fireErrors(templates: string[], code: number): void {
    const values = { ...this.macros, ERRORCODE: String(code) };
    for (const template of new Set(templates)) this.tools.beacon(resolveMacros(template, values));
  }

  private fill(template: string): string {
    return resolveMacros(template, this.macros);
  }
}

/** In playing order; ads without a sequence keep their places behind those that have one. */
function bySequence(ads: ParsedAd[]): ParsedAd[] {
  const rank = ({ sequence }: ParsedAd) => parseInt(sequence ?? "", 10) || Infinity;
  return [...ads].sort((one, other) => (rank(one) === rank(other) ? 0 : rank(one) - rank(other)));
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
