/** Below this height there is one row for everything. */
const stripHeight = 96;

/** Below this height nothing is drawn between the two rows: no captions, no large play button. */
const shortHeight = 160;

/** From this height on the skip button has room for a row of its own. */
const tallHeight = 240;

/** What is hidden in the upper row when it is too narrow, in this order: see docs/page.md. */
const fromTop = ["no-position", "no-time"];

/** What changes in the lower row. Skip, Close, Learn more and the label of the ad are never hidden. */
const fromBottom = ["short-learn", "no-captions", "short-skip", "no-mute", "no-pause"];

const everything = ["strip", "short", "skip-row", ...fromTop, ...fromBottom];

function isTooNarrow(row: Element): boolean {
  return row.scrollWidth > row.clientWidth;
}

export interface Rows {
  stage: HTMLElement;
  /** Holds both rows; is the only row of a strip. */
  chrome: HTMLElement;
  top: HTMLElement;
  bottom: HTMLElement;
  skip: HTMLElement;
}

/** Makes the controls fit the view, whatever its size and however long the words of the language. */
export function fitControls({ stage, chrome, top, bottom, skip }: Rows): void {
  const { clientHeight, classList } = stage;
  classList.remove(...everything);
  if (clientHeight === 0) return;
  const narrow = (row: Element, steps: string[]) => {
    for (const step of steps) {
      if (!isTooNarrow(row)) return;
      classList.add(step);
    }
  };
  classList.toggle("short", clientHeight < shortHeight);
  if (clientHeight < stripHeight) {
    classList.add("strip");
    narrow(chrome, [...fromTop, ...fromBottom]);
    return;
  }
  narrow(top, fromTop);
  narrow(bottom, clientHeight < tallHeight ? fromBottom : ["skip-row", ...fromBottom]);
  if (skip.offsetWidth > bottom.clientWidth) classList.add("short-skip");
}
