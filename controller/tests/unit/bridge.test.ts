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

/** Until all that was to be sent has left. */
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
    bridge.beacon("https://tracker.example/?a=1");
    await settled();
    expect(posted).toEqual([
      { jsonrpc: "2.0", method: "event", params: { id: "ad-1", event: "AdTimeChange", data: 1.5 } },
      { jsonrpc: "2.0", method: "event", params: { id: "ad-1", event: "AdStarted" } },
      { jsonrpc: "2.0", method: "window", params: { event: "beacon", url: "https://tracker.example/?a=1" } },
    ]);
  });

  it("leave one after the other, and the heartbeat between them", async () => {
    bridge.serve(async () => ({ ok: true }));
    bridge.beacon("https://tracker.example/1");
    bridge.beacon("https://tracker.example/2");
    deliver({ id: "7", method: "get.ads" });
    bridge.ping();
    const names = () => posted.map((body) => (body as { method?: string }).method ?? "reply");
    expect(names()).toEqual(["window", "ping"]);
    await vi.advanceTimersByTimeAsync(45);
    expect(names()).toEqual(["window", "ping", "window"]);
    await vi.advanceTimersByTimeAsync(45);
    expect(names()).toEqual(["window", "ping", "window", "reply"]);
  });

  it("send nothing out but web addresses", () => {
    for (const address of ["javascript:alert(1)", "file:///etc/passwd", "data:text/html,x", "", "https://"]) {
      bridge.open(address);
    }
    expect(posted).toEqual([]);
    expect(logged).toHaveLength(5);
  });

  it("are harmless in a page that nobody hosts", () => {
    window.webkit = undefined;
    expect(() => bridge.ping()).not.toThrow();
  });
});

it("pings each second from one second on, until it is stopped for good", () => {
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
