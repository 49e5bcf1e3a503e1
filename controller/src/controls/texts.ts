import translations from "./texts.json";

export type Texts = Record<keyof (typeof translations)["en"], string>;

const all: Record<string, Texts> = translations;

const rightToLeft: ReadonlySet<string> = new Set(["ar", "he"]);

/** Codes that platforms still use for languages that have another one today. */
const oldCodes: Record<string, string> = { iw: "he" };

/** Regions that write Chinese with traditional characters. */
const traditional = /^zh\b.*-(hant|tw|hk|mo)\b/i;

export interface Language {
  /** A BCP 47 tag. */
  tag: string;
  direction: "ltr" | "rtl";
  texts: Texts;
}

/** The first of these languages that there are texts in, otherwise English. Takes "de_AT" and "de-AT". */
export function languageFor(wanted: Array<string | undefined>): Language {
  const tags = wanted.flatMap((language) => (language ? [tagOf(language)] : []));
  const tag = tags.find((candidate) => candidate in all) ?? "en";
  return { tag, direction: rightToLeft.has(tag) ? "rtl" : "ltr", texts: all[tag] ?? translations.en };
}

function tagOf(language: string): string {
  const tag = language.replace(/_/g, "-");
  if (traditional.test(tag)) return "zh-Hant";
  const primary = (tag.split("-")[0] ?? "").toLowerCase();
  return oldCodes[primary] ?? primary;
}

/** Puts values in the place of "{name}". */
export function fillIn(text: string, values: Record<string, string | number>): string {
  return text.replace(/\{(\w+)\}/g, (whole, name: string) => String(values[name] ?? whole));
}
