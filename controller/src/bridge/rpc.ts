import type { JsonObject } from "../util/json";

export type RequestParams = JsonObject;

/** The result of a request. The native side drops empty results, so it has at least one member. */
export type Result = { [key: string]: unknown };

export class RpcError extends Error {
  constructor(
    readonly code: number,
    message: string,
  ) {
    super(message);
  }
}

export const RpcCodes = {
  methodNotFound: -32601,
  internal: -32603,
  noAds: -32001,
  busy: -32002,
  sourceFailed: -32003,
} as const;

/** Tasks given to `afterReply` run immediately after the reply has been posted, also when it is an error. */
export type RequestHandler = (
  method: string,
  params: RequestParams,
  afterReply: (task: () => void) => void,
) => Promise<Result>;
