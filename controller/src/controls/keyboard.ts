export interface KeyActions {
  pause(): void;
  mute(): void;
  captions(): void;
  skip(): void;
  close(): void;
}

const actionsByKey: Record<string, keyof KeyActions> = {
  " ": "pause",
  k: "pause",
  m: "mute",
  c: "captions",
  s: "skip",
  escape: "close",
};

/** Keys that work wherever the focus is. A focused button keeps those that press it. */
export function listenForKeys(target: Document, actions: KeyActions): void {
  target.addEventListener("keydown", (event) => {
    if (event.repeat || event.altKey || event.ctrlKey || event.metaKey) return;
    const action = actionsByKey[event.key.toLowerCase()];
    const pressesButton = event.key === " " && event.target instanceof HTMLButtonElement;
    if (!action || pressesButton) return;
    event.preventDefault();
    actions[action]();
  });
}
