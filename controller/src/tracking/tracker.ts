import { secondsOf, type Ad, type BeaconName, type ProgressBeacon, type ViewableImpression } from "../ads/ad";
import { playheadText } from "../util/clock_text";
import { playerMacros, resolveMacros, type MacroValues, type PlayerState } from "./macros";

/** These can happen any number of times in an ad; everything else happens once. */
const repeatable: ReadonlySet<BeaconName> = new Set<BeaconName>(["pause", "resume", "mute", "unmute", "clickTracking"]);

/** The reason code of VAST 4.1 for a kind of verification that the player does not run. */
const verificationNotSupported = "2";

/** Fires the beacons of one ad, at most once unless the event can repeat. */
export class AdTracker {
  private readonly fired = new Set<BeaconName>();
  private readonly pending: ProgressBeacon[];
  private hasReportedViewability = false;
  private hasReportedVerification = false;
  private playhead = 0;
  private assetUri: string | undefined;

  constructor(
    private readonly ad: Ad,
    private readonly session: MacroValues,
    private readonly send: (url: string) => void,
    private readonly player: () => PlayerState,
  ) {
    this.pending = [...ad.beacons.progress];
  }

  /** The position in the ad and the file that plays, for the macros about them. */
  setPosition(playhead: number, assetUri: string | undefined): void {
    this.playhead = playhead;
    this.assetUri = assetUri;
  }

  fire(name: BeaconName, extra: MacroValues = {}): void {
    if (this.fired.has(name) && !repeatable.has(name)) return;
    this.fired.add(name);
    this.sendAll(this.ad.beacons.urls[name] ?? [], extra);
  }

  fireError(code: number): void {
    this.fire("error", { ERRORCODE: String(code) });
  }

  /** Fires addresses that belong to a part of the ad, such as an icon or a companion, each time it is called. */
  fireAll(urls: string[], extra: MacroValues = {}): void {
    this.sendAll(urls, extra);
  }

  /** One of the three groups, once for the impression. */
  fireViewability(group: keyof ViewableImpression): void {
    if (this.hasReportedViewability) return;
    this.hasReportedViewability = true;
    this.sendAll(this.ad.viewableImpression[group], {});
  }

  /** Reports once that no measurement script of the ad is run. */
  fireVerificationNotExecuted(): void {
    if (this.hasReportedVerification) return;
    this.hasReportedVerification = true;
    const urls = this.ad.verifications.flatMap(({ notExecuted }) => notExecuted);
    this.sendAll(urls, { REASON: verificationNotSupported });
  }

  /** Fires the progress beacons whose offset the playhead has reached, earliest first. */
  fireProgress(playhead: number, duration: number): void {
    const due = this.pending.filter(({ offset }) => secondsOf(offset, duration) <= playhead);
    due.sort((one, other) => secondsOf(one.offset, duration) - secondsOf(other.offset, duration));
    for (const beacon of due) this.pending.splice(this.pending.indexOf(beacon), 1);
    this.sendAll(
      due.map(({ url }) => url),
      {},
    );
  }

  /** An address that several wrappers name for one moment is fired once. */
  private sendAll(templates: string[], extra: MacroValues): void {
    const position = playheadText(this.playhead);
    const values: MacroValues = {
      ...this.session,
      ...playerMacros(this.player()),
      ...this.ad.macros,
      ASSETURI: this.assetUri ?? this.ad.media[0]?.src,
      CONTENTPLAYHEAD: position,
      ADPLAYHEAD: position,
      ...extra,
    };
    for (const template of new Set(templates)) this.send(resolveMacros(template, values));
  }
}
