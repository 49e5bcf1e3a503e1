import { Bridge } from "./bridge/bridge";
import { loadConfig, type Config } from "./config";
import { Controls } from "./controls/controls";
import { Heartbeat } from "./heartbeat";
import { GroupPlayer } from "./playback/group_player";
import { Session } from "./session";

const bridge = new Bridge(window);
const log = (text: string) => bridge.log(text);

const heartbeat = new Heartbeat(() => bridge.ping());

window.addEventListener("error", (event) => log(`Uncaught: ${event.message}`));
window.addEventListener("pagehide", () => bridge.flush());
window.addEventListener("unhandledrejection", (event) => log(`Unhandled rejection: ${String(event.reason)}`));

const controls = new Controls(document.body, log);
const player = new GroupPlayer(bridge, controls);
controls.connect(player);

let config: Promise<Config> | undefined;

/** Loaded once, by the first request that needs it. */
function sharedConfig(): Promise<Config> {
  config ??= loadConfig(log).then((loaded) => {
    const { stopPingAfter } = loaded.faults;
    if (stopPingAfter !== undefined) setTimeout(() => heartbeat.stop(), stopPingAfter * 1000);
    return loaded;
  });
  return config;
}

const session = new Session({
  config: sharedConfig,
  player,
  heartbeat,
  tools: {
    canPlayType: (type) => controls.video.canPlayType(type),
    log,
  },
  beacon: (url) => bridge.beacon(url),
});
bridge.serve((...request) => session.handle(...request));
