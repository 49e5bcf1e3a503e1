import { afterEach, beforeEach, describe, expect, it, vi } from "vitest";
import { Bridge } from "../../src/bridge/bridge";
import { RpcError } from "../../src/bridge/rpc";
import { Heartbeat } from "../../src/heartbeat";

let posted: unknown[];
let logged: unknown[];
let bridge: Bridge;

function deliver(message: unknown): unknown {
  const text = typeof message === "string" ? message : JSON.stringify(message);
  return window.VemoraProxy?.bridge.onMessage(text);
}

/** Until everything has been posted. */
const settled = () => vi.advanceTimersByTimeAsync(1000);

beforeEach(() => {
  vi.useFakeTimers();
  posted = [];
  logged = [];
  const list = (bodies: unknown[]) => ({ postMessage: (body: unknown) => void bodies.push(body) });
  window.webkit = { messageHandlers: { Vemora: list(posted), VemoraLog: list(logged) } };
  bridge = new Bridge(window);
});

afterEach(() => void vi.useRealTimers());

describe("requests", () => {
  it("are answered under their id, with a result or an error", async () => {
    bridge.serve(async (method, params) => {
      if (method === "known") return { echo: params.x };
      throw new RpcError(-32601, "Unknown");
    });
    expect(deliver({ id: "7", method: "known", params: { x: 1 } })).toBeUndefined();
    expect(deliver({ id: "8", method: "strange" })).toBeUndefined();
    await settled();
    expect(posted).toEqual([
      { jsonrpc: "2.0", id: "7", result: { echo: 1 } },
      { jsonrpc: "2.0", id: "8", error: { code: -32601, message: "Unknown" } },
    ]);
  });

  it("that crash their handler are answered too", async () => {
    bridge.serve(async () => {
      throw new TypeError("broken");
    });
    deliver({ id: "9", method: "control.start" });
    await settled();
    expect(posted).toEqual([{ jsonrpc: "2.0", id: "9", error: { code: -32603, message: "broken" } }]);
  });

  it.each(["", "{", "[]", "null", '"text"', "{}", '{"id":"1","result":{}}', '{"id":"1","method":7}'])(
    "that are none are ignored: %s",
    async (text) => {
      bridge.serve(async () => ({ ok: true }));
      expect(deliver(text)).toBeUndefined();
      await settled();
      expect(posted).toEqual([]);
    },
  );

  it("can have tasks that follow the reply, also when it is an error", async () => {
    bridge.serve(async (method, _, afterReply) => {
      afterReply(() => bridge.beacon("https://tracker.example/"));
      if (method === "failing") throw new Error("broken");
      return { ok: true };
    });
    deliver({ id: "1", method: "working" });
    await Promise.resolve();
    deliver({ id: "2", method: "failing" });
    await settled();
    const order = (posted as Array<{ id?: string; method?: string }>).map(({ id, method }) => id ?? method);
    expect(order).toEqual(["1", "window", "2", "window"]);
  });

  it("without an id are carried out and not answered", async () => {
    const calls: string[] = [];
    bridge.serve(async (method) => {
      calls.push(method);
      return { ok: true };
    });
    deliver({ method: "control.pause" });
    await settled();
    expect(calls).toEqual(["control.pause"]);
    expect(posted).toEqual([]);
  });
});

describe("notifications", () => {
  it("are plain JSON objects without an id", async () => {
    bridge.event("ad-1", "AdTimeChange", 1.5);
    bridge.event("ad-1", "AdStarted");
    await settled();
    bridge.beacon("https://tracker.example/?a=1");
    await settled();
    expect(posted).toEqual([
      { jsonrpc: "2.0", method: "event", params: { id: "ad-1", event: "AdTimeChange", data: 1.5 } },
      { jsonrpc: "2.0", method: "event", params: { id: "ad-1", event: "AdStarted" } },
      { jsonrpc: "2.0", method: "window", params: { event: "beacon", url: "https://tracker.example/?a=1" } },
    ]);
  });

  const names = () => {
    return posted.map((body) => {
      const { method, params } = body as { method?: string; params?: Record<string, unknown> };
      return method === "window" || method === "event" ? params?.event : (method ?? "reply");
    });
  };

  it("are beacons that are sent at once, events that follow in order, and replies without a wait of their own", async () => {
    bridge.serve(async () => ({ ok: true }));
    for (let count = 0; count < 60; count += 1) bridge.beacon(`https://tracker.example/${count}`);
    bridge.event("a", "AdStarted");
    bridge.event("a", "AdImpression");
    bridge.open("https://advertiser.example/");
    deliver({ id: "7", method: "control.pause" });
    bridge.ping();
    await vi.advanceTimersByTimeAsync(0);
    expect(names().slice(0, 60)).toEqual(Array(60).fill("beacon"));
    expect(names().slice(60)).toEqual(["ping"]);
    await vi.advanceTimersByTimeAsync(5);
    expect(names().slice(61)).toEqual(["AdStarted"]);
    bridge.beacon("https://tracker.example/last");
    await vi.advanceTimersByTimeAsync(10);
    expect(names().slice(62)).toEqual(["beacon", "AdImpression", "open", "reply"]);
    deliver({ id: "8", method: "control.pause" });
    await vi.advanceTimersByTimeAsync(0);
    expect(names().slice(66)).toEqual(["reply"]);
  });

  it("that end the session are sent a moment after everything else", async () => {
    bridge.beacon("https://tracker.example/1");
    bridge.event("a", "AdStopped");
    bridge.event("a", "AdGroupEnd");
    bridge.serve(async () => ({ ok: true }));
    deliver({ id: "7", method: "control.stop" });
    await vi.advanceTimersByTimeAsync(100);
    expect(names()).toEqual(["beacon", "AdStopped", "reply"]);
    await vi.advanceTimersByTimeAsync(5);
    expect(names().slice(3)).toEqual(["AdGroupEnd"]);
  });

  it("do not wait in a page that is closed, or whose timers are throttled", async () => {
    const burst = () => {
      posted.length = 0;
      for (const name of ["AdVideoComplete", "AdStopped", "AdGroupEnd"] as const) bridge.event("a", name);
    };
    burst();
    bridge.flush();
    expect(names()).toEqual(["AdVideoComplete", "AdStopped", "AdGroupEnd"]);
    await settled();
    burst();
    const now = performance.now.bind(performance);
    vi.spyOn(performance, "now").mockImplementation(() => now() + 900);
    await vi.advanceTimersByTimeAsync(5);
    vi.mocked(performance.now).mockRestore();
    expect(names()).toEqual(["AdVideoComplete", "AdStopped", "AdGroupEnd"]);
  });

  it("send only web addresses", () => {
    for (const address of ["javascript:alert(1)", "file:///etc/passwd", "data:text/html,x", "", "https://"]) {
      bridge.open(address);
    }
    expect(posted).toEqual([]);
    expect(logged).toHaveLength(5);
  });

  it("do no harm in a page without a native side", () => {
    window.webkit = undefined;
    expect(() => bridge.ping()).not.toThrow();
  });
});

it("pings each second from one second on, until it is stopped", () => {
  vi.useFakeTimers();
  let pings = 0;
  const heartbeat = new Heartbeat(() => (pings += 1));
  heartbeat.start();
  heartbeat.start();
  vi.advanceTimersByTime(999);
  expect(pings).toBe(0);
  vi.advanceTimersByTime(3001);
  expect(pings).toBe(4);
  heartbeat.stop();
  heartbeat.start();
  vi.advanceTimersByTime(3000);
  expect(pings).toBe(4);
  vi.useRealTimers();
});
