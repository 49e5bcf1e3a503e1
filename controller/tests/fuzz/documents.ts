import fc from "fast-check";
import { readdirSync, readFileSync } from "node:fs";
import { join } from "node:path";

/** The samples and the fixtures, each once. */
export const seeds: string[] = ["samples", "samples/wrapped", "fixtures", "fixtures/wrapped"].flatMap((name) => {
  const folder = join(process.cwd(), "tests", name);
  const files = readdirSync(folder).filter((file) => file.endsWith(".xml"));
  return files.map((file) => readFileSync(join(folder, file), "utf8"));
});

function namesIn(pattern: RegExp): string[] {
  return [...new Set(seeds.flatMap((text) => Array.from(text.matchAll(pattern), ([, name]) => name ?? "")))];
}

const inherited = ["__proto__", "constructor", "toString", "hasOwnProperty"];
const elementNames = [...namesIn(/<([A-Za-z]+)/g), "VideoAdServingTemplate", "constructor"];
const attributeNames = [...namesIn(/\s([A-Za-z]+)=/g), "constructor"];

/** Texts at the edges of what addresses, times, numbers, macros and names may be. */
const texts = [
  ...inherited,
  ...["", " ", "0", "-1", "NaN", "Infinity", "1e308", "0x10", "true", "%", "-5%", "101%", "1e999%"],
  ...["00:00:00", "-00:00:05", "99:99:99.9999", "00:00", "1:2:3:4", "progress-", "start", "end", "linear,nonlinear"],
  ...["javascript:alert(1)", "http://", "//host", "https://[", "https://ads.test/tag", "https://ads.test/0", "a b"],
  ...["data:text/xml,<VAST/>", "[ERRORCODE]", "[", "]", "%%CACHEBUSTING%%", "%5bTIMESTAMP%5d", "[[ERRORCODE]]", "%"],
  ...["]]>", "<b>", "&", "\u{1F600}", "\ud800", "\u2028", "\u0000", "VPAID", "SIMID", "x".repeat(5000)],
];

export type Edit =
  | { kind: "remove" | "repeat" | "empty"; at: number }
  | { kind: "move"; at: number; to: number }
  | { kind: "text" | "cdata"; at: number; text: string }
  | { kind: "attribute"; at: number; name: string; text: string }
  | { kind: "rename"; at: number; name: string }
  | { kind: "cut" | "insert"; at: number; to: number; text: string };

function renamed(element: Element, name: string): Element {
  const other = element.ownerDocument.createElementNS(null, name);
  for (const { localName, value } of Array.from(element.attributes)) other.setAttribute(localName, value);
  other.append(...Array.from(element.childNodes));
  return other;
}

/** Changes one element of a well-formed document. Throws a DOM error for what the tree cannot take. */
function change(element: Element, other: Element, edit: Edit): void {
  if (edit.kind === "remove") element.remove();
  if (edit.kind === "repeat") element.after(element.cloneNode(true));
  if (edit.kind === "empty") element.replaceChildren();
  if (edit.kind === "move") other.append(element);
  if (edit.kind === "text") element.textContent = edit.text;
  if (edit.kind === "cdata") element.replaceChildren(element.ownerDocument.createCDATASection(edit.text));
  if (edit.kind === "attribute") element.setAttribute(edit.name, edit.text);
  if (edit.kind === "rename") element.replaceWith(renamed(element, edit.name));
}

function edited(text: string, edit: Edit): string {
  if (edit.kind === "cut" || edit.kind === "insert") {
    const start = edit.at % (text.length + 1);
    const end = edit.kind === "cut" ? start + (edit.to % 50) : start;
    return text.slice(0, start) + edit.text + text.slice(end);
  }
  const xml = new DOMParser().parseFromString(text.trim(), "text/xml");
  const elements = Array.from(xml.getElementsByTagName("*"));
  const element = elements[edit.at % elements.length];
  const other = elements[("to" in edit ? edit.to : 0) % elements.length];
  if (!element || !other) return text;
  try {
    change(element, other, edit);
  } catch (error) {
    if (error instanceof DOMException) return text;
    throw error;
  }
  return new XMLSerializer().serializeToString(xml);
}

const anywhere = fc.nat(10_000);
const anyText = fc.oneof({ weight: 4, arbitrary: fc.constantFrom(...texts) }, fc.string({ unit: "binary" }));
const edits: fc.Arbitrary<Edit> = fc.oneof(
  fc.record({ kind: fc.constantFrom("remove" as const, "repeat" as const, "empty" as const), at: anywhere }),
  fc.record({ kind: fc.constant("move" as const), at: anywhere, to: anywhere }),
  fc.record({ kind: fc.constantFrom("text" as const, "cdata" as const), at: anywhere, text: anyText }),
  fc.record({
    kind: fc.constant("attribute" as const),
    at: anywhere,
    name: fc.constantFrom(...attributeNames),
    text: anyText,
  }),
  fc.record({ kind: fc.constant("rename" as const), at: anywhere, name: fc.constantFrom(...elementNames) }),
  fc.record({
    kind: fc.constantFrom("cut" as const, "insert" as const),
    at: anywhere,
    to: anywhere,
    text: fc.constantFrom(...texts),
  }),
);

/** A document of the seeds with some changes. */
export const documents: fc.Arbitrary<string> = fc
  .tuple(fc.constantFrom(...seeds), fc.array(edits, { maxLength: 6 }))
  .map(([seed, changes]) => changes.reduce(edited, seed));
