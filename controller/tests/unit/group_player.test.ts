import { afterEach, beforeEach, describe, expect, it, vi } from "vitest";
import { beaconNames } from "../../src/ads/ad";
import { adsFromList } from "../../src/ads/ad_list";
import { configFrom } from "../../src/config";
import { payloadFrom } from "../../src/payload";
import { GroupPlayer } from "../../src/playback/group_player";
import type { PlayerView } from "../../src/playback/player_view";
import { FakeVideo } from "./fake_video";

/** Left out of the lists, so that the expected beacons stay short. */
const unused: ReadonlySet<string> = new Set(["creativeView", "loaded", "firstQuartile", "thirdQuartile", "error"]);

const decodeError = 3;
const networkError = 2;
const sourceError = 4;

let video: FakeVideo;
let skip: number | undefined;
/** Events and beacons in the order in which they left. */
let told: string[];
let data: Record<string, unknown>;
let player: GroupPlayer;

function listed(id: string, more: object = {}): object {
  const beacons: Record<string, string[]> = { error: ["https://t/error-[ERRORCODE]"] };
  for (const name of beaconNames.filter((name) => !unused.has(name))) beacons[name] = [`https://t/${name}`];
  const media = [{ src: `https://m/${id}.mp4`, type: "video/mp4" }];
  return { id, clickthru: "https://advertiser.example/", media, beacons, ...more };
}

function startWith(ads: object[], request: object = {}, config: object = {}): void {
  player.prepare({
    ads: adsFromList(JSON.stringify({ ads: ads.map((ad, index) => ({ index, ...ad })) })),
    macros: {},
    payload: payloadFrom({ ...request }),
    config: configFrom({ ...config }),
  });
  player.start();
}

/** What has been told since the last look. */
function news(): string[] {
  return told.splice(0);
}

function passTime(seconds: number): void {
  vi.advanceTimersByTime(seconds * 1000);
}

const firstFrame = ["impression", "start", "AdStarted", "AdImpression", "AdVideoStart"];

beforeEach(() => {
  vi.useFakeTimers();
  video = new FakeVideo();
  told = [];
  data = {};
  skip = undefined;
  vi.stubGlobal("MediaError", {
    MEDIA_ERR_NETWORK: networkError,
    MEDIA_ERR_DECODE: decodeError,
    MEDIA_ERR_SRC_NOT_SUPPORTED: sourceError,
  });
  const view: PlayerView = {
    video: video as unknown as HTMLVideoElement,
    size: () => ({ width: 640, height: 360 }),
    showAd: () => undefined,
    setTime: () => undefined,
    setSkip: (wait) => (skip = wait),
    setPaused: () => undefined,
    setMuted: () => undefined,
    clear: () => undefined,
  };
  player = new GroupPlayer(
    {
      event: (_id, name, value) => {
        told.push(name);
        data[name] = value;
      },
      beacon: (url) => told.push(url.replace("https://t/", "")),
      open: () => told.push("open"),
      log: () => undefined,
    },
    view,
  );
});

afterEach(() => {
  vi.useRealTimers();
  vi.unstubAllGlobals();
});

describe("a group", () => {
  it("plays ad after ad, each beacon before its event, and ends behind everything else", () => {
    startWith([listed("a"), listed("b")]);
    expect(news()).toEqual(["AdGroupStart"]);
    video.begin(10);
    expect(news()).toEqual(["AdLoaded", ...firstFrame]);
    video.finish();
    const rest = ["AdVideoFirstQuartile", "midpoint", "AdVideoMidpoint", "AdVideoThirdQuartile", "AdTimeChange"];
    expect(news()).toEqual([...rest, "complete", "AdVideoComplete", "AdStopped"]);
    expect(video.src).toBe("https://m/b.mp4");
    video.begin(10);
    video.finish();
    expect(news().slice(-2)).toEqual(["AdVideoComplete", "AdStopped"]);
    passTime(0.05);
    expect(news()).toEqual([]);
    passTime(0.1);
    expect(news()).toEqual(["AdGroupEnd"]);
  });

  it("keeps the beacons in the order of their offsets when the time has jumped", () => {
    const progress = [8, 99, 3, 10].map((offset) => ({ offset, url: `https://t/${offset}s` }));
    startWith([
      listed("a", { beacons: { midpoint: ["https://t/midpoint"], complete: ["https://t/complete"], progress } }),
    ]);
    video.begin(10);
    news();
    video.finish();
    expect(news().filter((name) => !name.startsWith("Ad"))).toEqual(["3s", "midpoint", "8s", "10s", "complete"]);
  });

  it("starts once and tells the time four times a second while it moves", () => {
    startWith([listed("a")]);
    player.start();
    video.begin(10);
    news();
    for (let tick = 1; tick <= 4; tick += 1) {
      video.currentTime = tick / 4;
      passTime(0.25);
    }
    passTime(1);
    expect(news()).toEqual(Array(4).fill("AdTimeChange"));
    expect(data.AdTimeChange).toBe(1);
  });

  it("can be commanded before it starts and after it has ended without an effect", () => {
    for (const command of ["pause", "resume", "skip", "stop", "close", "play"] as const) player[command]();
    startWith([listed("a")]);
    player.stop();
    passTime(1);
    for (const command of ["pause", "resume", "skip", "stop", "close", "play", "start"] as const) player[command]();
    passTime(1);
    expect(news()).toEqual(["AdGroupStart", "AdGroupEnd"]);
  });

  it("rehearses an error", () => {
    startWith([listed("a")], {}, { faults: { adError: "on purpose" } });
    passTime(1);
    expect(news()).toEqual(["AdError"]);
    expect(data.AdError).toBe("on purpose");
  });
});

describe("skipping", () => {
  it("is for the viewer from the offset on, and for the host always", () => {
    startWith([listed("a", { skipOffset: 5 }), listed("b", { skipOffset: 5 }), listed("c", { skipOffset: 60 })]);
    video.begin(10);
    expect(skip).toBe(5);
    player.skipByViewer();
    expect(news()).not.toContain("AdSkipped");
    video.currentTime = 5;
    passTime(0.25);
    expect(news()).toContain("AdSkippableStateChange");
    expect(skip).toBe(0);
    player.skipByViewer();
    expect(news()).toEqual(["skip", "AdSkipped", "AdStopped"]);
    video.begin(10);
    news();
    player.skip();
    expect(news()).toEqual(["skip", "AdSkipped", "AdStopped"]);
    // An offset that is never reached shows no button.
    skip = undefined;
    video.begin(10);
    expect(skip).toBeUndefined();
    player.close();
    passTime(1);
    expect(news().slice(-4)).toEqual(["closeLinear", "AdUserClose", "AdStopped", "AdGroupEnd"]);
  });
});

describe("pausing", () => {
  beforeEach(() => {
    startWith([listed("a"), listed("b")]);
    video.begin(10);
    news();
  });

  const background = (ignorePreviousState = false) => ({ background: true, ignorePreviousState });

  it("is told once, and the time stands still", () => {
    player.pause();
    player.pause();
    passTime(60);
    player.resume();
    player.resume();
    expect(news()).toEqual(["pause", "AdPaused", "resume", "AdPlaying"]);
  });

  it.each([
    ["playing: plays on", [], background(), [], true],
    ["paused: stays paused", ["pause"], background(), [], false],
    ["paused, previous state ignored: plays on", ["pause"], background(true), [], true],
    ["playing, paused meanwhile: stays paused", [], background(), ["pause"], false],
    ["playing, resumed meanwhile: plays on", [], background(), ["resume"], true],
  ] as const)("in the background while %s", (_, before, pauseData, during, isPlaying) => {
    for (const command of before) player[command]();
    player.pause(pauseData);
    expect(video.paused).toBe(true);
    for (const command of during) player[command]();
    player.resume(background());
    expect(video.paused).toBe(!isPlaying);
  });

  it("in the background twice remembers the first time", () => {
    player.pause(background());
    player.pause(background());
    player.resume(background());
    expect(video.paused).toBe(false);
  });

  it("in the background holds for the ad that follows", () => {
    player.pause(background());
    player.skip();
    expect([video.src, video.paused]).toEqual(["https://m/b.mp4", true]);
    player.resume(background());
    expect(video.paused).toBe(false);
  });

  it("by a media key counts as any other", () => {
    video.paused = true;
    video.tell("pause");
    video.paused = false;
    video.tell("play");
    expect(news()).toEqual(["pause", "AdPaused", "resume", "AdPlaying"]);
  });

  it("is not undone by the late event of an earlier play", () => {
    player.pause();
    player.resume();
    player.pause();
    video.tell("play");
    expect(video.paused).toBe(true);
  });
});

describe("the viewer", () => {
  beforeEach(() => {
    startWith([listed("a")], { playback: { volume: 0.5 } });
    video.begin(10);
    news();
  });

  it("opens the advertiser's page, which pauses the ad", () => {
    player.clickThrough();
    expect(news()).toEqual(["clickTracking", "pause", "AdPaused", "AdClickThru", "open"]);
    player.resume();
    expect(news()).toEqual(["resume", "AdPlaying"]);
  });

  it("mutes and unmutes", () => {
    player.toggleMute();
    expect(data.AdVolumeChange).toBe(0);
    player.toggleMute();
    expect(data.AdVolumeChange).toBe(0.5);
    expect(news()).toEqual(["mute", "AdVolumeChange", "unmute", "AdVolumeChange"]);
  });
});

describe("a failure", () => {
  const reason = () => String(data.AdError);

  it("of the last ad ends the group with the code, of another goes on", async () => {
    startWith([listed("a"), listed("b")]);
    video.begin(10);
    video.fail(decodeError);
    await vi.runOnlyPendingTimersAsync();
    expect(news().slice(-2)).toEqual(["error-405", "AdStopped"]);
    video.fail(networkError);
    await vi.advanceTimersByTimeAsync(200);
    expect(news()).toEqual(["error-402", "AdError"]);
    expect(reason()).toMatch(/^VAST error 402: /);
  });

  it.each([
    ["is missing", 404, 401],
    ["is there but cannot be read", 200, 405],
  ])("of a file that %s is told apart", async (_, status, code) => {
    vi.stubGlobal("fetch", async () => new Response(null, { status }));
    startWith([listed("a")]);
    video.fail(sourceError);
    await vi.advanceTimersByTimeAsync(200);
    expect(news()).toEqual(["AdGroupStart", `error-${code}`, "AdError"]);
  });

  it("of one file tries the next before the first frame, without a word", async () => {
    const media = ["one", "two"].map((name) => ({ src: `https://m/${name}.mp4`, type: "video/mp4" }));
    startWith([listed("a", { media })]);
    video.fail(decodeError);
    await vi.advanceTimersByTimeAsync(10);
    expect(video.sources).toEqual(["https://m/one.mp4", "https://m/two.mp4"]);
    video.begin(10);
    expect(news()).toEqual(["AdGroupStart", "AdLoaded", ...firstFrame]);
  });

  it("behind the first frame is not mended with another file", async () => {
    const media = ["one", "two"].map((name) => ({ src: `https://m/${name}.mp4`, type: "video/mp4" }));
    startWith([listed("a", { media })]);
    video.begin(10);
    video.fail(decodeError);
    await vi.advanceTimersByTimeAsync(200);
    expect(video.sources).toEqual(["https://m/one.mp4"]);
    expect(news().slice(-3)).toEqual(["error-405", "AdStopped", "AdError"]);
  });

  it("to make progress is one after eight seconds, but not while paused", () => {
    startWith([listed("a")]);
    video.begin(10);
    passTime(5);
    player.pause();
    passTime(60);
    player.resume();
    passTime(7.5);
    expect(news()).not.toContain("error-402");
    passTime(1.5);
    expect(news()).toEqual(["error-402", "AdStopped", "AdError"]);
  });

  it("to go on with what has arrived is mended without a word, but not for want of data", () => {
    startWith([listed("a")]);
    video.begin(10);
    video.isStuck = true;
    passTime(3);
    expect(video.isStuck).toBe(true);
    video.arrived = 10;
    passTime(1.25);
    expect(video.isStuck).toBe(false);
    expect(news()).toEqual(["AdGroupStart", "AdLoaded", ...firstFrame, "AdTimeChange"]);
  });

  it("to be allowed sound starts muted; to be allowed at all is one", async () => {
    video.refuses = "sound";
    startWith([listed("a")]);
    await vi.advanceTimersByTimeAsync(0);
    expect(news()).toEqual(["AdGroupStart", "AdVolumeChange"]);
    expect([video.muted, video.paused]).toEqual([true, false]);
    video.refuses = "always";
    player.pause();
    player.resume();
    await vi.advanceTimersByTimeAsync(200);
    expect(news()).toEqual(["error-400", "AdError"]);
  });
});
