import { afterEach, beforeEach, describe, expect, it, vi } from "vitest";
import { adWith, beaconNames, type Ad, type Companion, type FallbackImage, type Icon } from "../../src/ads/ad";
import { adsFromList } from "../../src/ads/ad_list";
import { configFrom } from "../../src/config";
import { payloadFrom } from "../../src/payload";
import { GroupPlayer } from "../../src/playback/group_player";
import type { EndCardEvents, PlayerView } from "../../src/playback/player_view";
import { FakeVideo } from "./fake_video";

/** Left out of the lists, so that the expected beacons stay short. */
const unused: ReadonlySet<string> = new Set(["creativeView", "loaded", "firstQuartile", "thirdQuartile", "error"]);

const decodeError = 3;
const networkError = 2;
const sourceError = 4;

/** The elements of the view: the first one is on the screen. */
let videos: [FakeVideo, FakeVideo];
let video: FakeVideo;
let skip: number | undefined;
/** Events and beacons in the order in which they left. */
let posted: string[];
let data: Record<string, unknown>;
let player: GroupPlayer;
/** What the view was asked to show, and its callbacks. */
let shown: { icons: Icon[]; notice?: FallbackImage[]; endCard?: Companion; hasFailed: boolean };
let iconShown: (icon: Icon) => void;
let dismissNotice: () => void;
let endCard: EndCardEvents;
let setShare: ((share: number) => void) | undefined;

function listed(id: string, more: object = {}): object {
  const beacons: Record<string, string[]> = { error: ["https://t/error-[ERRORCODE]"] };
  for (const name of beaconNames.filter((name) => !unused.has(name))) beacons[name] = [`https://t/${name}`];
  const media = [{ src: `https://m/${id}.mp4`, type: "video/mp4" }];
  return { id, clickthru: "https://advertiser.example/", media, beacons, ...more };
}

function startWith(ads: object[], request: object = {}, config: object = {}): void {
  startAds(adsFromList(JSON.stringify({ ads })), request, config);
}

function startAds(ads: Ad[], request: object = {}, config: object = {}, wait = 0): void {
  player.prepare({ ads, macros: {}, payload: payloadFrom({ ...request }), config: configFrom({ ...config }) });
  passTime(wait);
  player.start();
}

/** Starts and goes to the first frame of a video of ten seconds. */
function watchAds(ads: Ad[], request: object = {}): void {
  startAds(ads, request);
  video.begin(10);
  news();
}

function watch(ads: object[], request: object = {}): void {
  watchAds(adsFromList(JSON.stringify({ ads })), request);
}

async function fail(code: number): Promise<void> {
  video.fail(code);
  await vi.advanceTimersByTimeAsync(0);
}

/** What has been posted since the last look. */
function news(): string[] {
  return posted.splice(0);
}

function passTime(seconds: number): void {
  vi.advanceTimersByTime(seconds * 1000);
}

/** Plays on, a tick after the other. */
function playTo(seconds: number): void {
  while (video.currentTime < seconds) {
    video.currentTime += 0.25;
    passTime(0.25);
  }
}

const media = [{ src: "https://m/a.mp4", type: "video/mp4", width: 640, height: 360, bitrate: 0 }];
const firstFrame = ["impression", "start", "AdStarted", "AdImpression", "AdVideoStart"];

beforeEach(() => {
  vi.useFakeTimers();
  videos = [new FakeVideo(), new FakeVideo()];
  video = videos[0];
  posted = [];
  data = {};
  skip = undefined;
  shown = { icons: [], hasFailed: false };
  setShare = undefined;
  vi.stubGlobal("MediaError", {
    MEDIA_ERR_NETWORK: networkError,
    MEDIA_ERR_DECODE: decodeError,
    MEDIA_ERR_SRC_NOT_SUPPORTED: sourceError,
  });
  const view: PlayerView = {
    get video() {
      return videos[0] as unknown as HTMLVideoElement;
    },
    get spareVideo() {
      return videos[1] as unknown as HTMLVideoElement;
    },
    swapVideos: () => {
      videos.reverse();
      video = videos[0];
    },
    size: () => ({ width: 640, height: 360 }),
    observeShare: (onShare) => {
      setShare = onShare;
      return () => (setShare = undefined);
    },
    setLanguage: () => undefined,
    showAd: () => undefined,
    setTime: () => undefined,
    setSkip: (wait) => (skip = wait),
    setPaused: () => undefined,
    setMuted: () => undefined,
    setIcons: (icons, onShown) => {
      shown.icons = icons;
      iconShown = onShown;
    },
    showIconNotice: (images, onDismiss) => {
      shown.notice = images;
      dismissNotice = onDismiss;
    },
    prepareEndCard: () => undefined,
    showEndCard: (companion, events) => {
      shown.endCard = companion;
      endCard = events;
    },
    showFailure: () => (shown.hasFailed = true),
    clear: () => undefined,
  };
  player = new GroupPlayer(
    {
      event: (_id, name, value) => {
        posted.push(name === "AdVolumeChange" ? `${name} ${String(value)}` : name);
        data[name] = value;
      },
      beacon: (url) => posted.push(url.replace("https://t/", "")),
      open: (url) => posted.push(`open ${url}`),
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
  it("reports the size of a video with AdLoaded", () => {
    startWith([listed("a")]);
    [video.videoWidth, video.videoHeight] = [640, 400];
    video.begin(10);
    expect(data["AdLoaded"]).toEqual({ width: 640, height: 400 });
  });

  it("plays one ad after the other, each beacon before its event", () => {
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
    expect(news().slice(-3)).toEqual(["AdVideoComplete", "AdStopped", "AdGroupEnd"]);
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

  it("starts once and reports the time four times a second while it moves", () => {
    startWith([listed("a")]);
    player.start();
    video.begin(10);
    news();
    playTo(1);
    passTime(1);
    expect(news()).toEqual(Array(4).fill("AdTimeChange"));
    expect(data.AdTimeChange).toBe(1);
  });

  it("ignores commands without ads and after its end, but can be closed before it starts", () => {
    const commands = ["pause", "resume", "skip", "stop", "close", "play", "start"] as const;
    for (const command of commands) player[command]();
    expect(news()).toEqual([]);
    player.prepare({
      ads: [adWith({ id: "a", index: 0 })],
      macros: {},
      payload: payloadFrom({}),
      config: configFrom({}),
    });
    for (const command of ["pause", "resume", "skip", "stop", "close"] as const) player[command]();
    for (const command of commands) player[command]();
    passTime(1);
    expect(news()).toEqual(["AdUserClose", "AdGroupEnd"]);
  });
});

describe("the next ad", () => {
  it("is loaded in the spare element once this one needs the network no more, and starts there at once", () => {
    startWith([listed("a"), listed("b"), listed("c")]);
    const [first, second] = videos;
    first.begin(60);
    playTo(1);
    expect(second.src).toBe("");
    first.arrived = 60;
    playTo(1.25);
    expect(second.src).toBe("https://m/b.mp4");
    second.receive(10);
    news();
    first.finish();
    expect(news().slice(-3)).toEqual(["AdVideoComplete", "AdStopped", "AdLoaded"]);
    expect(video.paused).toBe(false);
    expect(second.sources).toEqual(["https://m/b.mp4"]);
    // Ten seconds before the end it is loaded regardless of how much of this one has arrived.
    video.begin(20);
    playTo(9.75);
    expect(first.src).toBe("");
    playTo(10);
    expect(first.src).toBe("https://m/c.mp4");
    player.close();
    // "AdGroupEnd" leaves 100 ms later, and releasing files can block a web view for seconds.
    vi.advanceTimersByTime(200);
    expect([first.src, second.src]).toEqual(["https://m/c.mp4", "https://m/b.mp4"]);
    vi.advanceTimersByTime(100);
    expect([first.src, second.src]).toEqual(["", ""]);
  });

  it("keeps its file when the one before it was in the same element", () => {
    startWith([listed("a"), listed("b")]);
    video.begin(5);
    player.skip();
    vi.advanceTimersByTime(1000);
    expect(video.src).toBe("https://m/b.mp4");
  });

  it("that could not be prepared is loaded again, and reported when it fails", async () => {
    startWith([listed("a"), listed("b")]);
    video.begin(5);
    playTo(1);
    videos[1].fail(decodeError);
    video.finish();
    expect(video.sources).toEqual(["https://m/b.mp4", "https://m/b.mp4"]);
    news();
    await fail(decodeError);
    expect(news()).toEqual(["error-405", "AdError"]);
  });
});

describe("viewability", () => {
  const viewableImpression = { viewable: ["viewable"], notViewable: ["notViewable"], viewUndetermined: ["unknown"] };
  const reported = () => news().filter((name) => !name.startsWith("Ad"));

  beforeEach(() => {
    watchAds([adWith({ id: "a", index: 0, media, viewableImpression })]);
  });

  it("is half of the view for two seconds of uninterrupted playback", () => {
    setShare?.(0.5);
    playTo(1.5);
    player.pause();
    player.resume();
    playTo(3);
    setShare?.(0.4);
    playTo(4);
    setShare?.(1);
    playTo(5.75);
    expect(reported()).toEqual([]);
    playTo(6);
    player.stop();
    expect(reported()).toEqual(["viewable"]);
  });

  it.each([
    [0.4, "notViewable"],
    [undefined, "unknown"],
  ])("ends with a share of %s as %s", (share, expected) => {
    if (share !== undefined) setShare?.(share);
    playTo(5);
    player.stop();
    expect(reported()).toEqual([expected]);
  });
});

describe("icons", () => {
  const fallbackImages = [{ src: "https://m/choices.png", width: 200, height: 100, altText: "Your choices" }];
  const icon = (parts: Partial<Icon>): Icon => ({
    program: "AdChoices",
    resources: [{ kind: "static", src: "https://m/icon.png", type: "image/png" }],
    width: 20,
    height: 20,
    x: "right",
    y: "top",
    offset: 0,
    pixelRatio: 1,
    fallbackImages: [],
    clickTracking: ["icon-click"],
    viewTracking: ["icon-view"],
    ...parts,
  });

  it("appear and disappear at their times, in the version for this screen, and are counted once visible", () => {
    const about = icon({ clickthru: "https://choices.example/", fallbackImages });
    const sharp = icon({ pixelRatio: 2 });
    const later = icon({ program: "other", offset: 2, duration: 3 });
    startAds([adWith({ id: "a", index: 0, media, icons: [sharp, about, later] })]);
    video.begin(10);
    expect(shown.icons).toEqual([about]);
    expect(news()).not.toContain("icon-view");
    iconShown(about);
    expect(news()).toEqual(["icon-view"]);
    playTo(2);
    expect(shown.icons).toEqual([about, later]);
    playTo(5);
    expect(shown.icons).toEqual([about]);
    news();
    player.iconClicked(about);
    expect(news()).toEqual(["icon-click", "AdPaused", "AdInteraction", "open https://choices.example/"]);
    expect(shown.notice).toBeUndefined();
  });

  it("without a page show their image over the paused ad, which then is as it was before", () => {
    const about = icon({ fallbackImages });
    watchAds([adWith({ id: "a", index: 0, media, icons: [about] })]);
    player.iconClicked(about);
    expect(shown.notice).toEqual(fallbackImages);
    expect(news()).toEqual(["icon-click", "AdPaused", "AdInteraction"]);
    dismissNotice();
    expect(news()).toEqual(["AdPlaying"]);
    player.pause();
    player.iconClicked(about);
    dismissNotice();
    expect(news()).toEqual(["AdPaused", "icon-click", "AdInteraction"]);
  });
});

describe("an end card", () => {
  const companion = (parts: Partial<Companion>): Companion => ({
    resources: [{ kind: "static", src: "https://m/card.png", type: "image/png" }],
    width: 640,
    height: 360,
    pixelRatio: 1,
    renderingMode: "default",
    clickTracking: ["card-click"],
    creativeView: ["card-view"],
    ...parts,
  });
  const small = companion({ width: 300, height: 250 });
  const fitting = companion({ clickthru: "https://card.example/" });
  const companions = [companion({ renderingMode: "concurrent" }), small, fitting];

  function playOut(placement: string, config = {}): void {
    const ads = ["a", "b"].map((id, index) => adWith({ id, index, media, companions }));
    startAds(ads, { params: { placement_type: placement } }, config);
    for (let ad = 0; ad < ads.length; ad += 1) {
      video.begin(10);
      expect(shown.endCard).toBeUndefined();
      video.finish();
    }
  }

  it("that fits best follows the last ad, until its time is over", () => {
    playOut("resizeable");
    expect(news().at(-1)).toBe("AdVideoComplete");
    expect(shown.endCard).toBe(fitting);
    passTime(1);
    endCard.shown();
    expect(news()).toEqual(["card-view"]);
    passTime(4);
    player.endCardClicked(undefined);
    expect(news()).toEqual(["card-click", "AdClickThru", "open https://card.example/"]);
    passTime(60);
    player.resume();
    passTime(0.75);
    expect(news()).toEqual([]);
    passTime(0.25);
    expect(news()).toEqual(["AdStopped", "AdGroupEnd"]);
  });

  it("can be closed", () => {
    playOut("interstitial");
    endCard.shown();
    news();
    player.skipByViewer();
    player.close();
    expect(news()).toEqual(["AdUserClose", "AdStopped", "AdGroupEnd"]);
  });

  it.each([
    ["that does not load", "interstitial", {}, 2],
    ["over an inline ad", "inline", {}, 0],
    ["that is turned off", "interstitial", { endCardTime: 0 }, 0],
  ])("%s holds nothing up", (_, placement, config, seconds) => {
    playOut(placement, config);
    passTime(seconds);
    expect(news().at(-1)).toBe("AdGroupEnd");
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
    watch([listed("a"), listed("b")]);
  });

  const background = (ignorePreviousState = false) => ({ background: true, ignorePreviousState });

  it("is reported once, and the time does not move", () => {
    player.pause();
    player.pause();
    passTime(60);
    player.resume();
    player.resume();
    expect(news()).toEqual(["pause", "AdPaused", "resume", "AdPlaying"]);
  });

  it.each([
    ["playing: resumes", [], background(), [], true],
    ["paused: stays paused", ["pause"], background(), [], false],
    ["paused, previous state ignored: resumes", ["pause"], background(true), [], true],
    ["playing, paused meanwhile: stays paused", [], background(), ["pause"], false],
    ["playing, resumed meanwhile: resumes", [], background(), ["resume"], true],
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
    video.emit("pause");
    video.paused = false;
    video.emit("play");
    expect(news()).toEqual(["pause", "AdPaused", "resume", "AdPlaying"]);
  });

  it("is not undone by a late event of an earlier play", () => {
    player.pause();
    player.resume();
    player.pause();
    video.emit("play");
    expect(video.paused).toBe(true);
  });
});

it.each<[string, object, Array<"clickThrough" | "toggleMute" | "resume">, string[]]>([
  [
    "opens the advertiser's page, which pauses the ad",
    {},
    ["clickThrough", "resume"],
    ["clickTracking", "pause", "AdPaused", "AdClickThru", "open https://advertiser.example/", "resume", "AdPlaying"],
  ],
  ["clicks on a video without a page to open", { clickthru: undefined }, ["clickThrough"], ["clickTracking"]],
  ["mutes and unmutes", {}, ["toggleMute", "toggleMute"], ["mute", "AdVolumeChange 0", "unmute", "AdVolumeChange 0.5"]],
])("the viewer %s", (_, more, commands, expected) => {
  watch([listed("a", more)], { playback: { volume: 0.5 } });
  for (const command of commands) player[command]();
  expect(news()).toEqual(expected);
});

describe("a failure", () => {
  const files = (...names: string[]) => names.map((name) => ({ src: `https://m/${name}.mp4`, type: "video/mp4" }));

  it("of the last ad ends the group with its code, of another one continues", async () => {
    startWith([listed("a"), listed("b")]);
    video.begin(20);
    video.fail(decodeError);
    await vi.runOnlyPendingTimersAsync();
    expect(news().slice(-2)).toEqual(["error-405", "AdStopped"]);
    expect(shown.hasFailed).toBe(false);
    await fail(networkError);
    expect(news()).toEqual(["error-402", "AdError"]);
    expect(data.AdError).toMatch(/^VAST error 402: /);
    expect(shown.hasFailed).toBe(true);
  });

  it.each([
    ["is missing", 404, 401],
    ["is there but cannot be read", 200, 405],
  ])("of a file that %s has its own code", async (_, status, code) => {
    vi.stubGlobal("fetch", async () => new Response(null, { status }));
    startWith([listed("a")]);
    await fail(sourceError);
    expect(news()).toEqual(["AdGroupStart", `error-${code}`, "AdError"]);
  });

  it("is reported for an ad that was started after its expiry", () => {
    const ads = adsFromList(JSON.stringify({ ads: [listed("a"), listed("b")] }));
    const expiring = () => ads.map((ad) => ({ ...ad, expires: ad.id === "a" ? 60 : undefined }));
    startAds(expiring(), {}, {}, 61);
    expect(news()).toEqual(["AdGroupStart", "error-400"]);
    video.begin(20);
    expect(video.sources).toEqual(["https://m/b.mp4"]);
  });

  it("of one file tries the next one before the first frame, and none after it", async () => {
    startWith([listed("a", { media: files("one", "two", "three") })]);
    await fail(decodeError);
    video.begin(10);
    expect(news()).toEqual(["AdGroupStart", "AdLoaded", ...firstFrame]);
    await fail(decodeError);
    expect(video.sources).toEqual(["https://m/one.mp4", "https://m/two.mp4"]);
    expect(news()).toEqual(["error-405", "AdStopped", "AdError"]);
  });

  it("to show a frame within eight seconds is reported, for any number of files", () => {
    startWith([listed("a", { media: files("one", "two", "three") }), listed("b", { media: files("four", "five") })]);
    passTime(3.25);
    // Of the first file nothing has arrived; the second one arrives too slowly.
    expect(video.sources).toHaveLength(2);
    video.receive(10);
    player.pause();
    passTime(60);
    player.resume();
    passTime(5);
    expect(news()).toEqual(["AdGroupStart", "AdLoaded"]);
    passTime(0.5);
    expect(news()).toEqual(["error-402"]);
    expect(video.sources.slice(2)).toEqual(["https://m/four.mp4"]);
    // The last file has all the time that is left.
    passTime(4.25);
    expect(video.sources.slice(2)).toEqual(["https://m/four.mp4", "https://m/five.mp4"]);
    video.begin(10);
    expect(news()).toContain("AdStarted");
  });

  it("to make progress is reported after eight seconds, but not while paused", () => {
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

  it("to continue with buffered data is recovered silently, but not when data is missing", () => {
    startWith([listed("a")]);
    video.begin(60);
    video.isStuck = true;
    passTime(3);
    expect(video.isStuck).toBe(true);
    video.arrived = 10;
    passTime(1.25);
    expect(video.isStuck).toBe(false);
    expect(news()).toEqual(["AdGroupStart", "AdLoaded", ...firstFrame, "AdTimeChange"]);
  });

  it("to play with sound starts muted; to play muted is reported", async () => {
    video.refuses = "sound";
    startWith([listed("a")]);
    await vi.advanceTimersByTimeAsync(0);
    expect(news()).toEqual(["AdGroupStart", "AdVolumeChange 0"]);
    expect([video.muted, video.paused]).toEqual([true, false]);
    video.refuses = "always";
    player.pause();
    player.resume();
    await vi.advanceTimersByTimeAsync(0);
    expect(news()).toEqual(["error-400", "AdError"]);
  });
});
