import VMAP, { type VMAPAdBreak } from "@dailymotion/vmap";
import { documentOf } from "./xml_document";

/** The values of the macro BREAKPOSITION. */
export type BreakPosition = 1 | 2 | 3;

export interface BreakTracking {
  breakStart: string[];
  breakEnd: string[];
  error: string[];
}

/** One ad break of a VMAP document, with the one place that its ads come from. */
export interface AdBreak {
  id?: string;
  position: BreakPosition;
  vast?: Document;
  tag?: string;
  tracking: BreakTracking;
}

/** The codes of VMAP for a break that brings no ads. */
export const VmapCode = { undefinedError: 1000, noUsableAds: 1005, timedOut: 1008, unreachable: 1009 } as const;

export function isVmap(xml: Document): boolean {
  return xml.documentElement.localName === "VMAP";
}

const clockTime = /^(\d+):(\d{1,2}):(\d{1,2}(?:\.\d+)?)$/;

/** Offsets of one moment as one text: "start", "00:00:00.000" and "0%" are the same. */
function normalOffset(text: string): string {
  const offset = text.trim().toLowerCase();
  const [, hours, minutes, seconds] = clockTime.exec(offset) ?? [];
  const total = hours === undefined ? undefined : Number(hours) * 3600 + Number(minutes) * 60 + Number(seconds);
  if (total === 0 || /^0+(\.0+)?%?$/.test(offset)) return "start";
  if (/^100(\.0+)?%$/.test(offset)) return "end";
  return total === undefined ? offset : String(total);
}

function positionOf(offset: string): BreakPosition {
  if (offset === "start") return 1;
  return offset === "end" ? 3 : 2;
}

function isLinear({ breakType }: VMAPAdBreak): boolean {
  const kinds = (breakType ?? "").toLowerCase().split(",");
  return kinds.some((kind) => ["", "linear", "any"].includes(kind.trim()));
}

function breakFrom(found: VMAPAdBreak): AdBreak {
  const { adSource, breakId, timeOffset, trackingEvents } = found;
  const addresses = (name: string) => trackingEvents.flatMap(({ event, uri }) => (event === name && uri ? [uri] : []));
  return {
    id: breakId ?? undefined,
    position: positionOf(normalOffset(timeOffset ?? "")),
    vast: adSource?.vastAdData ? documentOf(adSource.vastAdData) : undefined,
    tag: adSource?.adTagURI?.uri || undefined,
    tracking: { breakStart: addresses("breakStart"), breakEnd: addresses("breakEnd"), error: addresses("error") },
  };
}

/** The break with this id, or else the first linear one at this offset. */
export function breakOf(vmap: Document, wanted = "start"): AdBreak | undefined {
  const breaks = new VMAP(vmap).adBreaks;
  const offset = normalOffset(wanted);
  const found =
    breaks.find(({ breakId }) => breakId === wanted) ??
    breaks.find((one) => isLinear(one) && normalOffset(one.timeOffset ?? "") === offset);
  return found && breakFrom(found);
}
