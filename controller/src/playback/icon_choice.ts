import type { Icon } from "../ads/ad";

/** Of the versions of an icon for several screens, the one with enough pixels for this screen, or else with the most. */
export function iconsForScreen(icons: Icon[], pixelRatio: number): Icon[] {
  const chosen = new Map<string, Icon>();
  for (const icon of icons) {
    const key = [icon.program, icon.x, icon.y, icon.offset].join("|");
    const before = chosen.get(key);
    if (!before || isBetter(icon.pixelRatio, before.pixelRatio, pixelRatio)) chosen.set(key, icon);
  }
  return [...chosen.values()];
}

function isBetter(ratio: number, than: number, wanted: number): boolean {
  return than < wanted ? ratio > than : ratio >= wanted && ratio < than;
}

export function iconsAt(icons: Icon[], playhead: number): Icon[] {
  return icons.filter(({ offset, duration }) => {
    return playhead >= offset && (duration === undefined || playhead < offset + duration);
  });
}
