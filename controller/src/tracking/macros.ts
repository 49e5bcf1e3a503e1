import type { MacroValues } from "../ads/ad";
import type { Payload } from "../payload";

export type { MacroValues } from "../ads/ad";

const unknownValue = "-1";

/** A value that the page has and does not pass on. */
const withheldValue = "-2";

/** Those of VAST 4.3, older ones that are still in use, and two that ad servers added. */
const knownMacros: ReadonlySet<string> = new Set(
  (
    "ADCATEGORIES ADCOUNT ADPLAYHEAD ADSERVINGID ADTYPE APIFRAMEWORKS APPBUNDLE ASSETURI BLOCKEDADCATEGORIES " +
    "BREAKMAXADLENGTH BREAKMAXADS BREAKMAXDURATION BREAKMINADLENGTH BREAKMINDURATION BREAKPOSITION CACHEBUSTING " +
    "CLICKPOS CLICKTYPE CLIENTUA CONTENTCAT CONTENTID CONTENTPLAYHEAD CONTENTURI DEVICEIP DEVICEUA DOMAIN ERRORCODE " +
    "EXTENSIONS GDPR GDPRCONSENT IFA IFATYPE INVENTORYSTATE LATLONG LIMITADTRACKING MEDIAMIME MEDIAPLAYHEAD " +
    "OMIDPARTNER PAGEURL PLACEMENTTYPE PLAYERCAPABILITIES PLAYERSIZE PLAYERSTATE PODSEQUENCE RANDOM REASON " +
    "REGULATIONS SERVERSIDE SERVERUA STOREID STOREURL TIMESTAMP TRANSACTIONID UNIVERSALADID VASTVERSIONS " +
    "VERIFICATIONVENDORS"
  ).split(" "),
);

/** VAST 2 to 4.3 and their wrappers. */
const supportedVastVersions = ["2", "3", "5", "6", "7", "8", "11", "12", "13", "14", "15", "16"];

const playerCapabilities = ["skip", "mute", "autoplay", "mautoplay", "icon"];

const askedTypes = ["video/mp4", "video/webm", "video/ogg", "application/vnd.apple.mpegurl", "audio/mp4", "audio/mpeg"];

/** The values of PLACEMENTTYPE and BREAKPOSITION; whether an inline view has content around it is unknown. */
const interstitialPlacement = "5";
const standaloneBreak = "4";

function randomDigits(): string {
  return String(Math.floor(Math.random() * 1e8)).padStart(8, "0");
}

/** A version 4 UUID. */
function uuid(): string {
  const bytes = crypto.getRandomValues(new Uint8Array(16));
  bytes[6] = ((bytes[6] ?? 0) & 0x0f) | 0x40;
  bytes[8] = ((bytes[8] ?? 0) & 0x3f) | 0x80;
  const digits = Array.from(bytes, (byte) => byte.toString(16).padStart(2, "0")).join("");
  return digits.replace(/^(.{8})(.{4})(.{4})(.{4})/, "$1-$2-$3-$4-");
}

/** encodeURIComponent leaves a few characters that some trackers cannot read. */
function encode(value: string): string {
  return encodeURIComponent(value).replace(
    /[!'()*]/g,
    (character) => `%${character.charCodeAt(0).toString(16).toUpperCase()}`,
  );
}

/** The commas between the members of a list stay as they are. */
function encodeValue(value: string | string[] | undefined): string {
  if (value === undefined) return unknownValue;
  return Array.isArray(value) ? value.map(encode).join(",") : encode(value);
}

function identityMacros({ privacy }: Payload): MacroValues {
  const { advertisingId, limitAdTracking, system } = privacy;
  const kinds: Record<string, string> = { ios: "idfa", ipados: "idfa", tvos: "idfa", android: "aaid" };
  const kind = advertisingId ? kinds[(system ?? "").toLowerCase()] : undefined;
  return {
    IFA: limitAdTracking ? withheldValue : advertisingId,
    IFATYPE: limitAdTracking ? withheldValue : kind,
    LIMITADTRACKING: limitAdTracking ? "1" : "0",
  };
}

function regulationMacros({ privacy }: Payload): MacroValues {
  return {
    GDPR: privacy.gdprApplies,
    GDPRCONSENT: privacy.gdprConsent,
    REGULATIONS: privacy.gdprApplies === "1" ? ["gdpr"] : undefined,
  };
}

/** Values that hold for the whole session. */
export function sessionMacros(payload: Payload, canPlayType: (type: string) => string): MacroValues {
  const { placementType, privacy, sdkVersion } = payload;
  const { latitude, longitude } = privacy;
  const isInterstitial = placementType === "interstitial";
  return {
    ...identityMacros(payload),
    ...regulationMacros(payload),
    DEVICEUA: privacy.userAgent ?? navigator.userAgent,
    CLIENTUA: sdkVersion ? `Vemora/${sdkVersion}` : "Vemora",
    APPBUNDLE: privacy.bundle,
    LATLONG: latitude && longitude ? [latitude, longitude] : undefined,
    PAGEURL: location.href,
    DOMAIN: location.hostname,
    SERVERSIDE: "0",
    CLICKTYPE: "1",
    VASTVERSIONS: supportedVastVersions,
    MEDIAMIME: askedTypes.filter((type) => canPlayType(type) !== ""),
    PLAYERCAPABILITIES: playerCapabilities,
    PLACEMENTTYPE: isInterstitial ? interstitialPlacement : undefined,
    BREAKPOSITION: isInterstitial ? standaloneBreak : undefined,
    TRANSACTIONID: uuid(),
  };
}

/** What the viewer sees at one moment. */
export interface PlayerState {
  /** CSS pixels. */
  width: number;
  height: number;
  muted: boolean;
  fullscreen: boolean;
}

/** Values that change while an ad plays. */
export function playerMacros({ width, height, muted, fullscreen }: PlayerState): MacroValues {
  const states = ["autoplayed", ...(muted ? ["muted"] : []), ...(fullscreen ? ["fullscreen"] : [])];
  return { PLAYERSIZE: [String(Math.round(width)), String(Math.round(height))], PLAYERSTATE: states };
}

const macro = /\[([A-Za-z]+)\]|%%([A-Za-z]+)%%|%5B([A-Za-z]+)%5D/gi;

/** Fills [NAME] and %%NAME%%. Any other text stays as it is. */
export function resolveMacros(template: string, values: MacroValues): string {
  const random = randomDigits();
  const all: MacroValues = {
    ...values,
    CACHEBUSTING: random,
    RANDOM: random,
    TIMESTAMP: new Date().toISOString(),
  };
  return template.replace(macro, (whole, bracketed?: string, percented?: string, encoded?: string) => {
    const name = (bracketed ?? percented ?? encoded ?? "").toUpperCase();
    return knownMacros.has(name) ? encodeValue(all[name]) : whole;
  });
}
