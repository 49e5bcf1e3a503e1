import type { MediaFile } from "../ads/ad";

export interface ViewSize {
  /** Device pixels. */
  width: number;
  height: number;
}

export type CanPlayType = (type: string) => string;

const typesByAnotherName: Record<string, string> = {
  "video/x-mp4": "video/mp4",
  "video/m4v": "video/mp4",
  "video/x-m4v": "video/mp4",
  "application/x-mpegurl": "application/vnd.apple.mpegurl",
};

/** Where a view has no size yet, the middle of what is common. */
const assumedView: ViewSize = { width: 640, height: 360 };

/** Bits per second that a pixel is worth: about 700 kbit/s at 640x360 and 6 Mbit/s at 1920x1080. */
const bitsPerPixel = 3;

function typeWithCodec(file: MediaFile): string {
  const plain = file.type.toLowerCase();
  const type = typesByAnotherName[plain] ?? plain;
  return file.codec ? `${type}; codecs="${file.codec}"` : type;
}

export function playableMedia(media: MediaFile[], canPlayType: CanPlayType): MediaFile[] {
  return media.filter((file) => canPlayType(typeWithCodec(file)) !== "");
}

/** Too small costs sharpness that is seen, too large only bytes: so it weighs twice. */
function sizePenalty(file: MediaFile, view: ViewSize): number {
  if (!file.width || !file.height) return 0.5;
  const scale = Math.max(file.width / view.width, file.height / view.height);
  return scale >= 1 ? Math.log2(scale) : -2 * Math.log2(scale);
}

function bitratePenalty(file: MediaFile, wanted: number): number {
  return file.bitrate ? Math.abs(Math.log2(file.bitrate / wanted)) : 0.5;
}

/**
 * The files that can be played, best first: none above the ceiling while there are others, then the
 * size that fits the view best, then the bitrate that suits that size, then the order of the ad.
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
  const rated = playableMedia(media, canPlayType).map((file) => ({
    file,
    ratings: [overCeiling(file), sizePenalty(file, view), bitratePenalty(file, wanted)],
  }));
  rated.sort((one, other) => {
    const differences = one.ratings.map((rating, index) => rating - (other.ratings[index] ?? 0));
    return differences.find((difference) => Math.abs(difference) > 1e-6) ?? 0;
  });
  return rated.map(({ file }) => file);
}
