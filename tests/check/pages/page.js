"use strict";

// A small controller page that keeps the protocol. Its ads only let time pass. The pages next to this file replace members
// of `page`, and so break rules.
const tick = 0.1;
const lastWordDelay = 100;
const quartiles = [
  [0.25, "AdVideoFirstQuartile"],
  [0.5, "AdVideoMidpoint"],
  [0.75, "AdVideoThirdQuartile"],
];

const page = {
  ads: [
    { id: "one", index: 0, duration: 3, clickthru: "https://advertiser.example/" },
    { id: "two", index: 1, duration: 3 },
  ],
  position: -1,
  time: 0,
  plays: false,
  playedBefore: undefined,

  post: (body) => window.webkit.messageHandlers.Vemora.postMessage(body),
  reply: (id, answer) => page.post({ jsonrpc: "2.0", id, ...answer }),
  ping: () => page.post({ jsonrpc: "2.0", method: "ping", params: {} }),
  event: (event, data) => {
    const id = page.ads[Math.max(page.position, 0)].id;
    page.post({ jsonrpc: "2.0", method: "event", params: data === undefined ? { id, event } : { id, event, data } });
  },
  beacon: (url) => page.post({ jsonrpc: "2.0", method: "window", params: { event: "beacon", url } }),

  beginAd: () => {
    page.time = 0;
    page.plays = true;
    for (const name of ["AdLoaded", "AdStarted", "AdImpression", "AdVideoStart"]) page.event(name);
    page.beacon("https://tracker.example/impression");
  },
  endAd: () => {
    page.event("AdStopped");
    page.plays = false;
    if (page.position + 1 < page.ads.length) {
      page.position += 1;
      page.beginAd();
    } else page.endGroup();
  },
  endGroup: () => {
    page.plays = false;
    setTimeout(() => page.event("AdGroupEnd"), lastWordDelay);
  },
  tick: () => {
    if (!page.plays) return;
    const { duration } = page.ads[page.position];
    const before = page.time;
    page.time += tick;
    page.event("AdTimeChange", page.time);
    for (const [share, name] of quartiles) {
      if (before < share * duration && page.time >= share * duration) page.event(name);
    }
    if (page.time < duration) return;
    page.event("AdVideoComplete");
    page.endAd();
  },

  start: () => {
    page.position = 0;
    page.event("AdGroupStart");
    page.beginAd();
  },
  pause: (background) => {
    if (page.position < 0) return;
    if (background) page.playedBefore ??= page.plays;
    if (page.plays) page.event("AdPaused");
    page.plays = false;
  },
  resume: (background) => {
    if (page.position < 0) return;
    const shallPlay = !background || page.playedBefore;
    page.playedBefore = undefined;
    if (!shallPlay || page.plays) return;
    page.plays = true;
    page.event("AdPlaying");
  },
  command: (name, data) => {
    if (name === "start") page.start();
    if (name === "pause") page.pause(data.background);
    if (name === "resume") page.resume(data.background);
    if (name === "skip") {
      page.event("AdSkipped");
      page.endAd();
    }
    if (name === "close") page.event("AdUserClose");
    if (name === "close" || name === "stop") {
      page.event("AdStopped");
      page.endGroup();
    }
  },

  answer: (method, params) => {
    if (method === "get.config") return { result: { data: { name: "page" } } };
    if (method === "get.ads") {
      setInterval(() => page.ping(), 1000);
      return { result: { data: { adgroup: { ads: page.ads } } } };
    }
    if (!method.startsWith("control.")) return { error: { code: -32601, message: "Unknown method" } };
    page.command(method.slice("control.".length), params?.data ?? {});
    return { result: { ok: true } };
  },
  onMessage: (text) => {
    let message;
    try {
      message = JSON.parse(text);
    } catch {
      return;
    }
    if (typeof message?.method !== "string") return;
    page.reply(message.id, page.answer(message.method, message.params));
  },
};

setInterval(() => page.tick(), tick * 1000);
window.VemoraProxy = { bridge: { onMessage: (text) => page.onMessage(text) } };
