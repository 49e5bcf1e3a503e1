import type { MediaFile } from "../ads/ad";
import { codecQuestion, containerOf } from "./media_type";

export interface ViewSize {
  /** Device pixels. */
  width: number;
  height: number;
}

export type CanPlayType = (type: string) => string;

/** Where a view has no size yet, the middle of what is common. */
const assumedView: ViewSize = { width: 640, height: 360 };

/** Bits per second that a pixel is worth: about 700 kbit/s at 640x360 and 6 Mbit/s at 1920x1080. */
const bitsPerPixel = 3;

/** How uncertain it is that a file plays: 0 stated, 1 nothing is stated, 2 its codec probably does not. */
type Doubt = 0 | 1 | 2;

/** Undefined for a file that the engine does not play. A file of which nothing is known is worth an attempt. */
function doubtAbout(file: MediaFile, canPlayType: CanPlayType): Doubt | undefined {
  const container = containerOf(file);
  if (!container) return 1;
  if (canPlayType(container) === "") return undefined;
  const question = codecQuestion(file);
  if (!question || canPlayType(`${container}; codecs="${question.codecs}"`) !== "") return 0;
  return question.isBinding ? undefined : 2;
}

export function isPlayable(file: MediaFile, canPlayType: CanPlayType): boolean {
  return doubtAbout(file, canPlayType) !== undefined;
}

/** Too small costs visible sharpness and weighs twice; too large costs only bytes. */
function sizePenalty(file: MediaFile, view: ViewSize): number {
  if (!file.width || !file.height) return 0.5;
  const scale = Math.max(file.width / view.width, file.height / view.height);
  return scale >= 1 ? Math.log2(scale) : -2 * Math.log2(scale);
}

function bitratePenalty(file: MediaFile, wanted: number): number {
  return file.bitrate ? Math.abs(Math.log2(file.bitrate / wanted)) : 0.5;
}

/**
 * The files that can be played, best first: none above the ceiling while there are others, then those that
 * are the most certain to play, then the size that fits the view best, then the bitrate that suits that
 * size, then the order of the ad.
 */
export function rankMedia(
  media: MediaFile[],
  canPlayType: CanPlayType,
  viewSize: ViewSize,
  maxBitrate: number,
): MediaFile[] {
  const view = viewSize.width > 0 && viewSize.height > 0 ? viewSize : assumedView;
  const wanted = (view.width * view.height * bitsPerPixel) / 1000;
  const overCeiling = (file: MediaFile) => (maxBitrate > 0 && file.bitrate > maxBitrate ? file.bitrate : 0);
  const rated = media.flatMap((file) => {
    const doubt = doubtAbout(file, canPlayType);
    if (doubt === undefined) return [];
    return [{ file, ratings: [overCeiling(file), doubt, sizePenalty(file, view), bitratePenalty(file, wanted)] }];
  });
  rated.sort((one, other) => {
    const differences = one.ratings.map((rating, index) => rating - (other.ratings[index] ?? 0));
    return differences.find((difference) => Math.abs(difference) > 1e-6) ?? 0;
  });
  return rated.map(({ file }) => file);
}
