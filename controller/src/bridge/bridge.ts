import type { AdEventName, NativeSide } from "./events";
import { isObject, objectAt } from "../util/json";
import { webAddress } from "../util/address";
import { Outbox } from "./outbox";
import { RpcCodes, RpcError, type RequestHandler, type Result } from "./rpc";

interface MessageHandler {
  postMessage(body: unknown): void;
}

declare global {
  interface Window {
    VemoraProxy?: { bridge: { onMessage(text: string): void } };
    webkit?: { messageHandlers?: Record<string, MessageHandler | undefined> };
  }
}

/** The native side ends the session and closes the page when it handles one of these. */
const lastEvents: ReadonlySet<AdEventName> = new Set<AdEventName>(["AdGroupEnd", "AdError"]);

/** Has no id: nothing answers it, and an invented id could equal that of a call in flight. */
function notification(method: string, params: Record<string, unknown>): object {
  return { jsonrpc: "2.0", method, params };
}

/** JSON-RPC with the native side, in both directions. */
export class Bridge implements NativeSide {
  private handler: RequestHandler | undefined;
  private readonly outbox = new Outbox();

  constructor(private readonly page: Window) {
    page.VemoraProxy = { bridge: { onMessage: (text) => this.onMessage(text) } };
  }

  serve(handler: RequestHandler): void {
    this.handler = handler;
  }

  ping(): void {
    this.post(notification("ping", {}));
  }

  event(id: string, name: AdEventName, data?: unknown): void {
    const message = notification("event", data === undefined ? { id, event: name } : { id, event: name, data });
    const post = () => this.post(message);
    if (lastEvents.has(name)) this.outbox.sendLast(post);
    else this.outbox.sendInOrder(post);
  }

  /** Sent at once, so that it precedes the event it belongs to and survives a shutdown that follows. */
  beacon(url: string): void {
    const message = this.windowMessage("beacon", url);
    if (message) this.outbox.sendNow(() => this.post(message));
  }

  /** Follows the events that led to it. */
  open(url: string): void {
    const message = this.windowMessage("open", url);
    if (message) this.outbox.sendInOrder(() => this.post(message));
  }

  /** Posts whatever still waits; for a page that is being closed. */
  flush(): void {
    this.outbox.flush();
  }

  log(text: string): void {
    this.handlerNamed("VemoraLog")?.postMessage(text);
  }

  private windowMessage(event: string, address: string): object | undefined {
    const url = webAddress(address);
    if (url) return notification("window", { event, url });
    this.log(`Dropped "${event}" with an unusable address: ${address}`);
    return undefined;
  }

  /** Must return undefined and must not throw: the native side treats anything else as a failed call. */
  private onMessage(text: string): void {
    const message = this.decode(text);
    if (!message || typeof message.method !== "string" || message.method === "") return;
    const { id, method } = message;
    const tasks: Array<() => void> = [];
    void this.call(method, objectAt(message, "params"), (task) => tasks.push(task))
      .then(
        (result) => this.reply(id, { result }),
        (error: unknown) => this.reply(id, { error: this.describe(method, error) }),
      )
      .then(() => tasks.forEach((task) => task()));
  }

  private decode(text: string): Record<string, unknown> | undefined {
    try {
      const message: unknown = JSON.parse(text);
      if (isObject(message)) return message;
    } catch {
      // Logged below, like any other message that is not an object.
    }
    this.log("Ignored a message that is not a JSON object");
    return undefined;
  }

  private async call(...request: Parameters<RequestHandler>): Promise<Result> {
    if (!this.handler) throw new RpcError(RpcCodes.internal, "The page is not ready");
    return this.handler(...request);
  }

  private describe(method: string, error: unknown): { code: number; message: string } {
    const code = error instanceof RpcError ? error.code : RpcCodes.internal;
    const message = (error instanceof Error && error.message) || String(error);
    this.log(`${method} failed: ${message}`);
    return { code, message };
  }

  private reply(id: unknown, answer: { result: Result } | { error: object }): void {
    if (typeof id !== "string" || id === "") return;
    this.outbox.sendReply(() => this.post({ jsonrpc: "2.0", id, ...answer }));
  }

  /** Plain JSON only: web views differ in how they convert other values. */
  private post(body: object): void {
    this.handlerNamed("Vemora")?.postMessage(JSON.parse(JSON.stringify(body)));
  }

  private handlerNamed(name: string): MessageHandler | undefined {
    return this.page.webkit?.messageHandlers?.[name];
  }
}
