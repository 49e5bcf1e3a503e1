import type { Config } from "../config";
import { playableMedia, type CanPlayType } from "../media/media_choice";
import type { Payload } from "../payload";
import { VastCode } from "../playback/vast_error";
import { sessionMacros } from "../tracking/macros";
import { AdTracker } from "../tracking/tracker";
import { fetchText, FetchFailure } from "../util/fetching";
import type { Ad } from "./ad";
import { adsFromList } from "./ad_list";

export interface AdSourceTools {
  canPlayType: CanPlayType;
  beacon: (url: string) => void;
  log: (text: string) => void;
}

/** Finds the ads of a request and drops, with their error beacon, those that cannot be played here. */
export class AdSource {
  constructor(private readonly tools: AdSourceTools) {}

  async load(payload: Payload, config: Config): Promise<Ad[]> {
    if (config.faults.noAds) return [];
    const ads = await this.fromServerList(config);
    return withDistinctIds(ads.filter((ad) => this.isPlayable(ad, payload)));
  }

  private async fromServerList(config: Config): Promise<Ad[]> {
    try {
      return adsFromList(await fetchText("/ads.json", config.adsTimeout));
    } catch (error) {
      const isAbsent = error instanceof FetchFailure && error.status === 404;
      if (!isAbsent) this.tools.log(`The ad list could not be read: ${(error as Error).message}`);
      return [];
    }
  }

  private isPlayable(ad: Ad, payload: Payload): boolean {
    if (playableMedia(ad.media, this.tools.canPlayType).length > 0) return true;
    this.tools.log(`Ad ${ad.id}: no media file can be played here`);
    new AdTracker(ad, sessionMacros(payload.privacy), this.tools.beacon).fireError(VastCode.noSupportedMedia);
    return false;
  }
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
