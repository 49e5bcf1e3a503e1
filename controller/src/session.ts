import { describeAd } from "./ads/ad";
import { AdSource, type AdSourceTools } from "./load/ad_source";
import { RpcCodes, RpcError, type RequestHandler, type RequestParams, type Result } from "./bridge/rpc";
import type { Config } from "./config";
import type { Heartbeat } from "./heartbeat";
import { payloadFrom } from "./payload";
import type { GroupPlayer, PauseData } from "./playback/group_player";
import { Deadline } from "./util/deadline";
import { flagAt, objectAt } from "./util/json";

export interface SessionParts {
  config: () => Promise<Config>;
  tools: AdSourceTools;
  beacon: (url: string) => void;
  player: GroupPlayer;
  heartbeat: Heartbeat;
}

function pauseDataFrom(params: RequestParams): PauseData {
  const data = objectAt(params, "data");
  return { background: flagAt(data, "background"), ignorePreviousState: flagAt(data, "ignorePreviousState") };
}

/** Answers the requests of the native side. */
export class Session {
  constructor(private readonly parts: SessionParts) {}

  async handle(...[method, params, afterReply]: Parameters<RequestHandler>): Promise<Result> {
    if (method === "get.config") return { data: (await this.parts.config()).data };
    if (method === "get.ads") return this.getAds(params, afterReply);
    if (method.startsWith("control.")) return this.control(method.slice("control.".length), params);
    throw new RpcError(RpcCodes.methodNotFound, `Unknown method ${method}`);
  }

  private async getAds(params: RequestParams, afterReply: (task: () => void) => void): Promise<Result> {
    const received = performance.now();
    const { heartbeat, player, tools } = this.parts;
    if (player.hasBegun) throw new RpcError(RpcCodes.busy, "This page has begun to play its ads");
    const payload = payloadFrom(params);
    const config = await this.parts.config();
    const deadline = new Deadline(config.adsTimeout, received);
    const load = await new AdSource(payload, config, deadline, tools).load();
    // The native side waits for the reply, not for the beacons.
    afterReply(() => load.beacons.forEach((url) => this.parts.beacon(url)));
    player.prepare({ ...load, payload, config });
    if (load.ads.length > 0) heartbeat.start();
    if (load.failure !== undefined) throw new RpcError(RpcCodes.sourceFailed, load.failure);
    return { data: { adgroup: { ads: load.ads.map(describeAd) } } };
  }

  private control(command: string, params: RequestParams): Result {
    const { player } = this.parts;
    switch (command) {
      case "start":
        if (player.state === "empty") throw new RpcError(RpcCodes.noAds, "No ads are loaded");
        player.start();
        break;
      case "play":
        player.play();
        break;
      case "pause":
        player.pause(pauseDataFrom(params));
        break;
      case "resume":
        player.resume(pauseDataFrom(params));
        break;
      case "stop":
        player.stop();
        break;
      case "skip":
        player.skip();
        break;
      case "close":
        player.close();
        break;
      default:
        throw new RpcError(RpcCodes.methodNotFound, `Unknown method control.${command}`);
    }
    return { state: player.state };
  }
}
