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

/** Without an id: nothing answers it, and one made up here could be that of a call in flight. */
function notification(method: string, params: Record<string, unknown>): object {
  return { jsonrpc: "2.0", method, params };
}

/** Both directions of the JSON-RPC traffic with the native side. */
export class Bridge implements NativeSide {
  private handler: RequestHandler | undefined;
  private readonly outbox = new Outbox();

  constructor(private readonly page: Window) {
    page.VemoraProxy = { bridge: { onMessage: (text) => this.onMessage(text) } };
  }

  serve(handler: RequestHandler): void {
    this.handler = handler;
  }

  /** Waits for nothing: it tells that the page is alive. */
  ping(): void {
    this.post(notification("ping", {}));
  }

  event(id: string, name: AdEventName, data?: unknown): void {
    this.notify("event", data === undefined ? { id, event: name } : { id, event: name, data });
  }

  beacon(url: string): void {
    this.window("beacon", url);
  }

  open(url: string): void {
    this.window("open", url);
  }

  log(text: string): void {
    this.handlerNamed("VemoraLog")?.postMessage(text);
  }

  private window(event: string, address: string): void {
    const url = webAddress(address);
    if (url) this.notify("window", { event, url });
    else this.log(`Dropped "${event}" with an unusable address: ${address}`);
  }

  /** Must return undefined and must not throw: the native side takes either for a failed call. */
  private onMessage(text: string): void {
    const message = this.decode(text);
    if (!message || typeof message.method !== "string" || message.method === "") return;
    const { id, method } = message;
    this.call(method, objectAt(message, "params")).then(
      (result) => this.reply(id, { result }),
      (error: unknown) => this.reply(id, { error: this.describe(method, error) }),
    );
  }

  private decode(text: string): Record<string, unknown> | undefined {
    try {
      const message: unknown = JSON.parse(text);
      if (isObject(message)) return message;
    } catch {
      // Told below, as any other message that is no object.
    }
    this.log("Ignored a message that is not a JSON object");
    return undefined;
  }

  private async call(method: string, params: Record<string, unknown>): Promise<Result> {
    if (!this.handler) throw new RpcError(RpcCodes.internal, "The page is not ready");
    return this.handler(method, params);
  }

  private describe(method: string, error: unknown): { code: number; message: string } {
    const code = error instanceof RpcError ? error.code : RpcCodes.internal;
    const message = (error instanceof Error && error.message) || String(error);
    this.log(`${method} failed: ${message}`);
    return { code, message };
  }

  private reply(id: unknown, answer: { result: Result } | { error: object }): void {
    if (typeof id !== "string" || id === "") return;
    this.outbox.send(() => this.post({ jsonrpc: "2.0", id, ...answer }));
  }

  private notify(method: string, params: Record<string, unknown>): void {
    this.outbox.send(() => this.post(notification(method, params)));
  }

  /** Plain JSON and nothing else: web views differ in what they make of the rest. */
  private post(body: object): void {
    this.handlerNamed("Vemora")?.postMessage(JSON.parse(JSON.stringify(body)));
  }

  private handlerNamed(name: string): MessageHandler | undefined {
    return this.page.webkit?.messageHandlers?.[name];
  }
}
