import { describe, expect, it } from "vitest";
import { adWith, type Ad } from "../../src/ads/ad";
import { payloadFrom } from "../../src/payload";
import { Milestones } from "../../src/playback/milestones";
import { TickClock } from "../../src/playback/tick_clock";
import { resolveMacros, sessionMacros } from "../../src/tracking/macros";
import { AdTracker } from "../../src/tracking/tracker";
import { countdownText, playheadText } from "../../src/util/clock_text";

function ad(beacons: Partial<Ad["beacons"]>, parts: Partial<Ad>): Ad {
  return adWith({
    id: "ad-1",
    index: 0,
    media: [{ src: "https://m.example/a b.mp4", type: "video/mp4", width: 0, height: 0, bitrate: 0 }],
    beacons: { urls: {}, progress: [], ...beacons },
    macros: { PODSEQUENCE: "2" },
    ...parts,
  });
}

function tracked(beacons: Partial<Ad["beacons"]>, parts: Partial<Ad> = {}): { tracker: AdTracker; sent: string[] } {
  const sent: string[] = [];
  const player = () => ({ width: 640, height: 359.6, muted: true, fullscreen: false });
  return {
    tracker: new AdTracker(ad(beacons, parts), { APPBUNDLE: "org.example" }, (url) => sent.push(url), player),
    sent,
  };
}

describe("macros", () => {
  const plays = (type: string) => (type === "video/mp4" || type === "video/webm" ? "maybe" : "");
  const payload = (limited: boolean) =>
    payloadFrom({
      params: { "regs[gdpr]": "1", "user[consent]": "BO&x" },
      device: { ifa: "AB-CD", os: "iOS", ua: "Agent (1)", lmt: limited, geo: { lat: "1.5", lon: "-2" } },
      app: { bundle: "org.example" },
    });
  const fill = (template: string, limited = false) => resolveMacros(template, sessionMacros(payload(limited), plays));

  it("are filled with the values of the request, encoded", () => {
    expect(fill("[IFA]|[DEVICEUA]|[APPBUNDLE]|[LATLONG]|[GDPR]|[GDPRCONSENT]|[LIMITADTRACKING]")).toBe(
      "AB-CD|Agent%20%281%29|org.example|1.5,-2|1|BO%26x|0",
    );
  });

  it("withhold the advertising id of a user who limits tracking", () => {
    expect(fill("[IFA]/[IFATYPE]/[LIMITADTRACKING]", true)).toBe("-2/-2/1");
    expect(fill("[IFATYPE]")).toBe("idfa");
  });

  it("keep the commas of lists, and are filled in either notation and in encoded brackets", () => {
    expect(fill("[MEDIAMIME]|%%mediamime%%|%5BREGULATIONS%5D|[BREAKPOSITION]")).toBe(
      "video%2Fmp4,video%2Fwebm|video%2Fmp4,video%2Fwebm|gdpr|-1",
    );
  });

  it("are -1 where there is no value; other bracketed text stays as it is", () => {
    expect(fill("%%OMIDPARTNER%%-[cachebuster2]-[ids]-[0]")).toBe("-1-[cachebuster2]-[ids]-[0]");
  });

  it("are new in every address", () => {
    const [one, other] = [fill("[CACHEBUSTING]"), fill("[CACHEBUSTING]")];
    expect(one).toMatch(/^\d{8}$/);
    expect(one).not.toBe(other);
    expect(fill("[TIMESTAMP]")).toMatch(/^\d{4}-\d\d-\d\dT\d\d%3A\d\d%3A\d\d\.\d{3}Z$/);
  });
});

describe("beacons", () => {
  it("are sent once unless the event can repeat, and the same address once in a moment", () => {
    const { tracker, sent } = tracked({
      urls: { start: ["https://t/s", "https://t/s", "https://t/w"], mute: ["https://t/m"] },
    });
    for (const name of ["start", "start", "mute", "mute", "complete"] as const) tracker.fire(name);
    expect(sent).toEqual(["https://t/s", "https://t/w", "https://t/m", "https://t/m"]);
  });

  it("carry the playhead, the media file, the error code and the values of the ad", () => {
    const urls = {
      error: ["https://t/[ERRORCODE]/[ADPLAYHEAD]/[CONTENTPLAYHEAD]/[ASSETURI]/[PODSEQUENCE]/[APPBUNDLE]"],
    };
    const { tracker, sent } = tracked({ urls });
    tracker.setPosition(3725.25, "https://m.example/a b.mp4");
    tracker.fireError(402);
    expect(sent).toEqual([
      "https://t/402/01%3A02%3A05.250/01%3A02%3A05.250/https%3A%2F%2Fm.example%2Fa%20b.mp4/2/org.example",
    ]);
  });

  it("carry the state of the player, and the reason why a measurement script is not run", () => {
    const notExecuted = ["https://t/[REASON]/[PLAYERSIZE]/[PLAYERSTATE]"];
    const { tracker, sent } = tracked({}, { verifications: [{ notExecuted }] });
    tracker.fireVerificationNotExecuted();
    tracker.fireVerificationNotExecuted();
    expect(sent).toEqual(["https://t/2/640,360/autoplayed,muted"]);
  });

  it("of progress are sent once each, in the order of their offsets", () => {
    const progress = [
      { offset: { share: 0.5 }, url: "https://t/half" },
      { offset: { seconds: 1 }, url: "https://t/1" },
      { offset: { seconds: 99 }, url: "https://t/99" },
    ];
    const { tracker, sent } = tracked({ progress });
    tracker.fireProgress(0.5, 10);
    expect(sent).toEqual([]);
    tracker.fireProgress(7, 10);
    tracker.fireProgress(8, 10);
    expect(sent).toEqual(["https://t/1", "https://t/half"]);
  });
});

describe("milestones", () => {
  const names = (due: Array<{ name: string }>) => due.map(({ name }) => name);

  it("are reported once and in order when the playhead jumps", () => {
    const milestones = new Milestones();
    expect(names(milestones.reached(0.9, 4))).toEqual([]);
    expect(names(milestones.reached(2.5, 4))).toEqual(["firstQuartile", "midpoint"]);
    expect(names(milestones.reached(0, 4))).toEqual([]);
    expect(names(milestones.rest())).toEqual(["thirdQuartile"]);
    expect(milestones.rest()).toEqual([]);
  });

  it("need a duration", () => expect(new Milestones().reached(5, 0)).toEqual([]));
});

it("a clock of ticks does not count the time in which a machine slept", () => {
  const clock = new TickClock();
  expect([10, 10.25, 3600].map((now) => clock.step(now))).toEqual([0, 0.25, 1]);
  clock.interrupt();
  expect(clock.step(3601)).toBe(0);
});

it("writes times for trackers and for viewers", () => {
  expect([playheadText(0), playheadText(59.9996), playheadText(-1)]).toEqual([
    "00:00:00.000",
    "00:01:00.000",
    "00:00:00.000",
  ]);
  expect([countdownText(0), countdownText(4.1), countdownText(61)]).toEqual(["0:00", "0:05", "1:01"]);
});
