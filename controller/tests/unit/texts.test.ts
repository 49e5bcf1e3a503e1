import { expect, it } from "vitest";
import translations from "../../src/controls/texts.json";
import { fillIn, languageFor } from "../../src/controls/texts";

const placeholders = (text: string) => [...text.matchAll(/\{\w+\}/g)].map(String).sort();

it.each(Object.entries(translations))("%s has all texts, with the values of the English ones", (_, texts) => {
  expect(Object.keys(texts)).toEqual(Object.keys(translations.en));
  for (const [name, text] of Object.entries(texts)) {
    expect(text.trim(), name).not.toBe("");
    expect(placeholders(text), name).toEqual(placeholders(translations.en[name as keyof typeof translations.en]));
  }
});

it("the first language with texts is taken, in any notation", () => {
  const chosen = (...wanted: Array<string | undefined>) => {
    const { tag, direction } = languageFor(wanted);
    return `${tag} ${direction}`;
  };
  expect(chosen("de_AT", "fr")).toBe("de ltr");
  expect(chosen("cy-GB", "ar-EG")).toBe("ar rtl");
  expect(chosen("iw")).toBe("he rtl");
  expect([chosen("zh_CN"), chosen("zh-TW"), chosen("zh-Hant-HK")]).toEqual(["zh ltr", "zh-Hant ltr", "zh-Hant ltr"]);
  expect(chosen(undefined, "cy", "")).toBe("en ltr");
  expect(fillIn("{a} of {b}, {c}", { a: 1, b: "{a}" })).toBe("1 of {a}, {c}");
});
