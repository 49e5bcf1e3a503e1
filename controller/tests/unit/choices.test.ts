import { describe, expect, it } from "vitest";
import { adsFromList } from "../../src/ads/ad_list";
import type { MediaFile } from "../../src/ads/ad";
import { configFrom } from "../../src/config";
import { isPlayable, rankMedia } from "../../src/media/media_choice";
import { payloadFrom } from "../../src/payload";

function file(src: string, more: Partial<MediaFile> = {}): MediaFile {
  return { src, type: "video/mp4", width: 0, height: 0, bitrate: 0, ...more };
}

const plays =
  (...types: string[]) =>
  (type: string) =>
    types.some((known) => type.startsWith(known)) ? "maybe" : "";

describe("the media choice", () => {
  const small = file("small", { width: 320, height: 180, bitrate: 200 });
  const middle = file("middle", { width: 640, height: 360, bitrate: 700 });
  const rich = file("rich", { width: 640, height: 360, bitrate: 3000 });
  const large = file("large", { width: 1920, height: 1080, bitrate: 6000 });
  const all = [large, small, rich, middle];
  const order = (width: number, height: number, ceiling = 0) =>
    rankMedia(all, plays("video/mp4"), { width, height }, ceiling).map(({ src }) => src);

  it("goes by the size of the view, then by the bitrate that suits it", () => {
    expect(order(640, 360)).toEqual(["middle", "rich", "large", "small"]);
    expect(order(1920, 1080)[0]).toBe("large");
    expect(order(320, 180)[0]).toBe("small");
  });

  it("prefers a file that is too large to one that is too small", () => {
    expect(order(900, 506)[0]).toBe("middle");
    expect(order(1100, 620)[0]).toBe("large");
  });

  it("stays below the ceiling while it can", () => {
    expect(order(1920, 1080, 1000)).toEqual(["middle", "small", "rich", "large"]);
  });

  it("assumes a size for a view that has none yet", () => {
    expect(order(0, 0)[0]).toBe("middle");
  });

  /** An engine that plays MP4 with H.264 and AAC, and HLS. */
  const engine = (type: string) => {
    const [, container = "", codecs = ""] = /^([^;]+)(?:; codecs="(.+)")?$/.exec(type) ?? [];
    if (container === "application/vnd.apple.mpegurl") return "maybe";
    return container === "video/mp4" && /^(|(avc1|mp4a)\S+)$/.test(codecs) ? "maybe" : "";
  };

  it.each<[string, Partial<MediaFile>, boolean]>([
    ["another name for MP4", { type: "video/x-mp4" }, true],
    ["M4V", { type: "video/x-m4v" }, true],
    ["a type in capitals with parameters", { type: 'VIDEO/MP4; codecs="avc1.42E01E"' }, true],
    ["HLS by its old name", { type: "application/x-mpegURL" }, true],
    ["a type without a slash", { type: "mp4" }, true],
    ["a type without information", { type: "application/octet-stream", src: "https://m/a.mp4?x=1" }, true],
    ["no type and the address of another container", { type: "", src: "https://m/a.webm" }, false],
    ["neither a type nor an extension", { type: "", src: "https://m/a" }, true],
    ["WebM", { type: "video/webm" }, false],
    ["Flash", { type: "video/x-flv" }, false],
    ["DASH", { type: "application/dash+xml" }, false],
    ["a registered codec that plays", { codec: "avc1.42E01E" }, true],
    ["a registered codec that does not", { codec: "hvc1.1.6.L93.B0" }, false],
    ["registered codecs in the type that do not", { type: 'video/mp4; codecs="av01.0.04M.08"' }, false],
    ["an everyday name", { codec: "H.264" }, true],
    ["an everyday name of a codec that does not play", { codec: "VP8" }, true],
    ["a number", { codec: "0" }, true],
  ])("judges %s", (_, parts, expected) => expect(isPlayable(file("https://m/a.mp4", parts), engine)).toBe(expected));

  it("puts files that are the least certain to play last", () => {
    const media = [file("b", { codec: "HEVC" }), file("c", { type: "" }), file("a", { codec: "H.264" })];
    const ranked = rankMedia(media, engine, { width: 640, height: 360 }, 0);
    expect(ranked.map(({ src }) => src)).toEqual(["a", "c", "b"]);
  });
});

describe("the configuration", () => {
  it("merges the host's object into the defaults and passes all of it to the native side", () => {
    const config = configFrom({ wrapperLimit: 2, features: { moat: 1 }, faults: { noAds: true, stopPingAfter: 3 } });
    expect(config).toMatchObject({ wrapperLimit: 2, wrapperTimeout: 3, stallTimeout: 8 });
    expect(config.faults).toEqual({ noAds: true, stopPingAfter: 3, adError: undefined });
    expect(config.data).toMatchObject({ wrapperLimit: 2, adsTimeout: 4, features: { moat: 1 } });
  });

  it("limits the time for the ads to what the native side waits, and ignores invalid values", () => {
    expect(configFrom({ adsTimeout: 60 }).adsTimeout).toBe(4.5);
    expect(configFrom({ wrapperLimit: "9", stallTimeout: -1, faults: [] })).toMatchObject({
      wrapperLimit: 5,
      stallTimeout: 8,
    });
  });
});

describe("the ad request", () => {
  it("is read with every part missing or of the wrong type", () => {
    const expected = { placementType: "none", playback: { muted: false, volume: 1, captions: false } };
    expect(payloadFrom({})).toMatchObject(expected);
    expect(payloadFrom({ params: 7, playback: null, device: [], app: "x" })).toMatchObject(expected);
  });

  it("is read with native booleans that come as numbers", () => {
    const payload = payloadFrom({ playback: { muted: 1, volume: 7 }, device: { lmt: true, ifa: null } });
    expect(payload.playback).toEqual({ muted: true, volume: 1, captions: false });
    expect(payload.privacy).toMatchObject({ limitAdTracking: true, advertisingId: undefined });
  });
});

describe("the server's ad list", () => {
  it("is sorted, and invalid entries are ignored", () => {
    const list = {
      ads: [{ id: "b", index: 1 }, null, "x", { index: 0, media: [{ src: "rtmp://x.example/a.mp4" }, 5] }],
    };
    const ads = adsFromList(JSON.stringify(list));
    expect(ads.map(({ id }) => id)).toEqual(["ad-2", "b"]);
    expect(ads[0]?.media).toEqual([]);
  });

  it.each(["[]", "7", '{"ads":{}}'])("may be of another shape: %s", (text) => expect(adsFromList(text)).toEqual([]));
});
