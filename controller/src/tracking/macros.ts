import type { PrivacyData } from "../payload";

export type MacroValues = Record<string, string | undefined>;

const unknownValue = "-1";

/** Macros that trackers may use; those we hold no value for say so instead of staying in the address. */
const knownMacros = new Set(
  (
    "ADCATEGORIES ADCOUNT ADPLAYHEAD ADSERVINGID ADTYPE APIFRAMEWORKS APPBUNDLE ASSETURI BLOCKEDADCATEGORIES " +
    "BREAKMAXADLENGTH BREAKMAXADS BREAKMAXDURATION BREAKMINADLENGTH BREAKMINDURATION BREAKPOSITION CACHEBUSTING " +
    "CLICKPOS CLICKTYPE CLIENTUA CONTENTCAT CONTENTID CONTENTPLAYHEAD CONTENTURI DEVICEIP DEVICEUA DOMAIN ERRORCODE " +
    "EXTENSIONS GDPR GDPRCONSENT IFA IFATYPE INVENTORYSTATE LATLONG LIMITADTRACKING MEDIAMIME MEDIAPLAYHEAD " +
    "OMIDPARTNER PAGEURL PLACEMENTTYPE PLAYERCAPABILITIES PLAYERSIZE PLAYERSTATE PODSEQUENCE RANDOM REASON REGULATIONS " +
    "SERVERSIDE SERVERUA TIMESTAMP TRANSACTIONID UNIVERSALADID VASTVERSIONS VERIFICATIONVENDORS"
  ).split(" "),
);

const supportedVastVersions = "2,3,5,6,7,8,11,12,13,14";

function cacheBuster(): string {
  return String(Math.floor(Math.random() * 1e8)).padStart(8, "0");
}

/** encodeURIComponent leaves a few characters that some trackers trip over. */
function encode(value: string): string {
  return encodeURIComponent(value).replace(
    /[!'()*]/g,
    (character) => `%${character.charCodeAt(0).toString(16).toUpperCase()}`,
  );
}

/** Values that hold for the whole session. An advertising id is withheld from who limits tracking. */
export function sessionMacros(privacy: PrivacyData): MacroValues {
  const { latitude, longitude } = privacy;
  return {
    IFA: privacy.limitAdTracking ? undefined : privacy.advertisingId,
    LIMITADTRACKING: privacy.limitAdTracking ? "1" : "0",
    DEVICEUA: privacy.userAgent,
    APPBUNDLE: privacy.bundle,
    LATLONG: latitude && longitude ? `${latitude},${longitude}` : undefined,
    GDPR: privacy.gdprApplies,
    GDPRCONSENT: privacy.gdprConsent,
    REGULATIONS: privacy.gdprApplies === "1" ? "gdpr" : undefined,
    PAGEURL: location.href,
    DOMAIN: location.hostname,
    SERVERSIDE: "0",
    CLICKTYPE: "1",
    VASTVERSIONS: supportedVastVersions,
  };
}

/** Fills [NAME] and %%NAME%%. What is no known macro stays as it is. */
export function resolveMacros(template: string, values: MacroValues): string {
  const random = cacheBuster();
  const all: MacroValues = {
    ...values,
    CACHEBUSTING: random,
    RANDOM: random,
    TIMESTAMP: new Date().toISOString(),
  };
  return template.replace(/\[([A-Za-z]+)\]|%%([A-Za-z]+)%%/g, (whole, bracketed?: string, percented?: string) => {
    const name = (bracketed ?? percented ?? "").toUpperCase();
    if (!knownMacros.has(name)) return whole;
    return encode(all[name] ?? unknownValue);
  });
}
