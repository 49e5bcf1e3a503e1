import { existsSync } from "node:fs";
import { readFile } from "node:fs/promises";
import { basename } from "node:path";
import { chromium, type Browser, type Page, type Route } from "playwright-core";
import { inject } from "vitest";

/** This host does not exist: every request is answered below, or refused. */
export const origin = "https://ads.test";
export const pagePath = "/mobile/sdk/v4/native/VMRWebViewRuntime.html";

const builtPage = new URL("../../dist/VMRWebViewRuntime.html", import.meta.url);
const mediaFolder = new URL("../media/", import.meta.url);
const fixtureFolder = new URL("../fixtures/", import.meta.url);

export interface Message {
  jsonrpc: string;
  id?: string;
  method?: string;
  params?: { id?: string; event?: string; data?: unknown; url?: string };
  result?: Record<string, unknown>;
  error?: { code: number; message: string };
}

interface PlannedCall {
  after: string;
  message: Message;
}

/** An answer in place of a file: a status, a text, or a time to wait (milliseconds) before either. */
export interface Answer {
  status?: number;
  body?: string;
  delay?: number;
  contentType?: string;
}

export interface DriverOptions {
  answers?: Record<string, Answer>;
  width?: number;
  height?: number;
  /** Runs in the page before its own script. */
  prepare?: () => void;
  /** Time stops until the clock of the page is advanced. */
  manualClock?: boolean;
}

const contentTypes: Record<string, string> = {
  html: "text/html",
  json: "application/json",
  m3u8: "application/vnd.apple.mpegurl",
  mp4: "video/mp4",
  ts: "video/mp2t",
  vtt: "text/vtt",
  xml: "text/xml",
};

let browser: Browser | undefined;

async function sharedBrowser(): Promise<Browser> {
  browser ??= await chromium.connect(inject("browserAddress"));
  return browser;
}

async function fixture(name: string): Promise<string> {
  const text = await readFile(new URL(name, fixtureFolder), "utf8");
  return text.split("{{origin}}").join(origin);
}

/** Plays the native side for one built page in a real browser. */
export class PageDriver {
  readonly messages: Message[] = [];
  readonly logs: string[] = [];
  /** Requests the page made itself. */
  readonly requests: string[] = [];
  private nextId = 1;

  private constructor(readonly page: Page) {}

  static async open(options: DriverOptions = {}): Promise<PageDriver> {
    const viewport = { width: options.width ?? 640, height: options.height ?? 360 };
    const context = await (await sharedBrowser()).newContext({ viewport });
    const page = await context.newPage();
    const driver = new PageDriver(page);
    if (options.manualClock) await page.clock.install();
    await page.exposeFunction("postToDriver", (text: string) => driver.messages.push(JSON.parse(text) as Message));
    await page.exposeFunction("logToDriver", (text: string) => driver.logs.push(text));
    await page.addInitScript(() => {
      const native = window as unknown as Record<string, (text: string) => void>;
      const planned: PlannedCall[] = [];
      Object.assign(window, { planned });
      const callWhatIsPlanned = ({ method, params }: Message) => {
        if (method !== "event" || !planned[0] || params?.event !== planned[0].after) return;
        const text = JSON.stringify(planned.shift()?.message);
        setTimeout(() => window.VemoraProxy?.bridge.onMessage(text), 0);
      };
      const handler = (name: string, encode: (body: unknown) => string) => ({
        postMessage: (body: unknown) => {
          native[name]?.(encode(structuredClone(body)));
          if (name === "postToDriver") callWhatIsPlanned(body as Message);
        },
      });
      window.webkit = {
        messageHandlers: { Vemora: handler("postToDriver", JSON.stringify), VemoraLog: handler("logToDriver", String) },
      };
    });
    if (options.prepare) await page.addInitScript(options.prepare);
    await context.route("**/*", (route) => driver.answer(route, options.answers ?? {}));
    await page.goto(origin + pagePath);
    return driver;
  }

  /** Delivers a message as the native side does. */
  async post(message: object): Promise<unknown> {
    return this.page.evaluate(
      (text) => eval(`window.VemoraProxy.bridge.onMessage(JSON.stringify(${text}));`) as unknown,
      JSON.stringify(message),
    );
  }

  async call(method: string, params: object = {}): Promise<Message> {
    const id = String(this.nextId++);
    await this.post({ jsonrpc: "2.0", id, method, params });
    return this.replyTo(id);
  }

  /**
   * Calls at the moment when the page posts an event, regardless of the load of the machine. Several calls are made in
   * the order in which they were planned. Returns the id of the reply.
   */
  async planCall(after: string, method: string): Promise<string> {
    const id = String(this.nextId++);
    const call: PlannedCall = { after, message: { jsonrpc: "2.0", id, method, params: {} } };
    await this.page.evaluate((added) => {
      (window as unknown as { planned: PlannedCall[] }).planned.push(added);
    }, call);
    return id;
  }

  replyTo(id: string): Promise<Message> {
    return this.waitFor(
      (message) => message.id === id && (message.result !== undefined || message.error !== undefined),
    );
  }

  /** `request` is laid over the ad request of the native side. */
  async loadAds(request: object = {}): Promise<Array<Record<string, unknown>>> {
    const reply = await this.call("get.ads", { apikey: "key", params: {}, playback: {}, ...request });
    const data = reply.result?.data as { adgroup: { ads: Array<Record<string, unknown>> } };
    return data.adgroup.ads;
  }

  async waitFor(wanted: (message: Message) => boolean, seconds = 20): Promise<Message> {
    const deadline = Date.now() + seconds * 1000;
    for (;;) {
      const found = this.messages.find(wanted);
      if (found) return found;
      if (Date.now() > deadline) throw new Error(`Timed out. So far:\n${this.summary()}`);
      await new Promise((resolve) => setTimeout(resolve, 20));
    }
  }

  async waitForEvent(name: string, seconds = 20, id?: string): Promise<Message> {
    return this.waitFor(({ method, params }) => {
      return method === "event" && params?.event === name && (id === undefined || params.id === id);
    }, seconds);
  }

  /** Names of the events so far, except those of the time. */
  events(): string[] {
    const names = this.messages.filter(({ method }) => method === "event").map(({ params }) => params?.event ?? "");
    return names.filter((name) => name !== "AdTimeChange");
  }

  /** Beacons so far, in the order in which the page posted them, without the origin. */
  beacons(): string[] {
    return this.windowUrls("beacon").map((url) => url.replace(origin, ""));
  }

  windowUrls(event: "beacon" | "open"): string[] {
    const windows = this.messages.filter(({ method, params }) => method === "window" && params?.event === event);
    return windows.map(({ params }) => params?.url ?? "");
  }

  pings(): number {
    return this.messages.filter(({ method }) => method === "ping").length;
  }

  async close(): Promise<void> {
    await this.page.context().close();
  }

  private summary(): string {
    const posted = this.messages.filter(({ method }) => method !== "ping").map((message) => JSON.stringify(message));
    return [...posted.slice(-30), ...this.logs].join("\n");
  }

  private async answer(route: Route, answers: Record<string, Answer>): Promise<void> {
    const url = new URL(route.request().url());
    if (url.pathname !== pagePath) this.requests.push(url.pathname + url.search);
    const given = answers[url.pathname];
    if (given?.delay) await new Promise((resolve) => setTimeout(resolve, given.delay));
    const body = given?.body ?? (given?.status === undefined ? await this.file(url) : "");
    if (body === undefined || url.origin !== origin) return this.settle(route.fulfill({ status: 404 }));
    const extension = basename(url.pathname).split(".").pop() ?? "";
    const contentType = given?.contentType ?? contentTypes[extension] ?? "text/plain";
    return this.settle(route.fulfill({ status: given?.status ?? 200, contentType, body }));
  }

  /** A closed page no longer takes the answer. */
  private async settle(answer: Promise<void>): Promise<void> {
    await answer.catch(() => undefined);
  }

  private async file(url: URL): Promise<Buffer | string | undefined> {
    if (url.pathname === pagePath) return readFile(builtPage);
    const name = url.pathname.slice(1);
    const mediaName = basename(name);
    if (name === `media/${mediaName}` && existsSync(new URL(mediaName, mediaFolder))) {
      return readFile(new URL(mediaName, mediaFolder));
    }
    return name.endsWith(".xml") && existsSync(new URL(name, fixtureFolder)) ? fixture(name) : undefined;
  }
}
