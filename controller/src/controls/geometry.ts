export interface Size {
  width: number;
  height: number;
}

export interface Box extends Size {
  left: number;
  top: number;
}

/** Where a picture of this size is drawn in a view that shows all of it ("object-fit: contain"). */
export function containedBox(picture: Size, view: Size): Box {
  if (!(picture.width > 0 && picture.height > 0)) return { left: 0, top: 0, ...view };
  const scale = Math.min(view.width / picture.width, view.height / picture.height);
  const width = picture.width * scale;
  const height = picture.height * scale;
  return { left: (view.width - width) / 2, top: (view.height - height) / 2, width, height };
}

export function overlap(one: Box, other: Box): boolean {
  return (
    one.left < other.left + other.width &&
    other.left < one.left + one.width &&
    one.top < other.top + other.height &&
    other.top < one.top + one.height
  );
}

export function boxOf(target: Element): Box {
  const { left, top, width, height } = target.getBoundingClientRect();
  return { left, top, width, height };
}

/** Moves a box into bounds by as little as possible. */
export function clampInto(box: Box, bounds: Box): Box {
  const clamp = (value: number, low: number, high: number) => Math.max(low, Math.min(value, high));
  return {
    ...box,
    left: clamp(box.left, bounds.left, bounds.left + bounds.width - box.width),
    top: clamp(box.top, bounds.top, bounds.top + bounds.height - box.height),
  };
}
