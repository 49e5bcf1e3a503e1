import type { MediaFile } from "../ads/ad";

export const hlsType = "application/vnd.apple.mpegurl";

/** By the subtype of a media type, a type without a slash, or the extension of an address. */
const typesByShortName: Record<string, string> = {
  "3gp": "video/3gpp",
  aac: "audio/aac",
  avc: "video/mp4",
  h264: "video/mp4",
  hls: hlsType,
  m3u8: hlsType,
  m4a: "audio/mp4",
  m4v: "video/mp4",
  mov: "video/quicktime",
  mp3: "audio/mpeg",
  mp4: "video/mp4",
  mpeg4: "video/mp4",
  mpegurl: hlsType,
  mpd: "application/dash+xml",
  ogg: "video/ogg",
  ogv: "video/ogg",
  quicktime: "video/quicktime",
  "vnd.apple.mpegurl": hlsType,
  webm: "video/webm",
};

/** Types without information: servers send them for any file. */
const emptyTypes: ReadonlySet<string> = new Set([
  "",
  "application/octet-stream",
  "binary/octet-stream",
  "application/binary",
  "text/plain",
  "video",
  "video/*",
]);

function shortNameType(name: string): string | undefined {
  return typesByShortName[name.replace(/^x-/, "")];
}

function typeOfAddress(src: string): string | undefined {
  const path = src.replace(/[?#].*$/, "");
  return shortNameType(/\.(\w+)$/.exec(path)?.[1]?.toLowerCase() ?? "");
}

/** The container of a file under the name that engines know; undefined when neither its type nor its address states it. */
export function containerOf({ type, src }: Pick<MediaFile, "type" | "src">): string | undefined {
  const stated = type.split(";")[0]?.trim().toLowerCase() ?? "";
  if (emptyTypes.has(stated)) return typeOfAddress(src);
  const [family = "", name] = stated.split("/");
  if (name === undefined) return shortNameType(family) ?? typeOfAddress(src);
  // "audio/mp4" is a type of its own and "video/x-mp4" another name for "video/mp4".
  if (family === "audio" && !name.endsWith("mpegurl")) return stated;
  return shortNameType(name) ?? stated;
}

/** Codecs as RFC 6381 writes them: a registered four-character code with its parameters, or WebM's plain names. */
const registeredCodec =
  /^((avc[1-4]|hev1|hvc1|dvh1|dvhe|dva1|dvav|vvc1|vp08|vp09|av01|mp4a|mp4v|s263)(\.[0-9A-Za-z]+)+|vp8|vp9|vorbis|opus|flac|theora|ac-3|ec-3)$/;

/** Common names of codecs, each with an example of its registered form. */
const everydayCodecs: Array<[RegExp, string]> = [
  [/^(h\.?-?265|hevc|x265)/i, "hvc1.1.6.L93.B0"],
  [/^(h\.?-?264|avc|x264)/i, "avc1.42E01E"],
  [/^(av-?1|av01)/i, "av01.0.04M.08"],
  [/^vp0?9/i, "vp9"],
  [/^vp0?8/i, "vp8"],
];

function codecsOf({ codec, type }: Pick<MediaFile, "codec" | "type">): string[] {
  const inType = /codecs\s*=\s*"?([^";]+)/i.exec(type)?.[1];
  return (codec || inType || "")
    .split(",")
    .map((one) => one.trim())
    .filter(Boolean);
}

/**
 * What to ask an engine about the codecs of a file. Registered names are binding; an everyday name is only a
 * hint, because many ads have "H.264", "0" or "VP8" on files that play.
 */
export function codecQuestion(
  file: Pick<MediaFile, "codec" | "type">,
): { codecs: string; isBinding: boolean } | undefined {
  const codecs = codecsOf(file);
  if (codecs.length === 0) return undefined;
  if (codecs.every((codec) => registeredCodec.test(codec))) return { codecs: codecs.join(", "), isBinding: true };
  const everyday = everydayCodecs.find(([name]) => name.test(codecs[0] ?? ""));
  return everyday && { codecs: everyday[1], isBinding: false };
}
