/** The parts of a parsed ad that are read here; members are absent where the document does not have them. */
export interface ParsedAd {
  id: string | null;
  sequence: string | null;
  adType: string | null;
  title: string | null;
  adServingId: string | null;
  pricing: { value: string } | null;
  /** Seconds. */
  expires: number | null;
  categories: ParsedCategory[];
  blockedAdCategories: ParsedCategory[];
  errorURLTemplates: string[];
  impressionURLTemplates: Array<{ url: string }>;
  viewableImpression: Array<{ viewable: string[]; notViewable: string[]; viewUndetermined: string[] }>;
  adVerifications: ParsedVerification[];
  creatives: ParsedCreative[];
  /** Of a wrapper: false when no other ad may take its place. */
  fallbackOnNoAd: boolean | null;
  errorCode?: number;
  errorMessage?: string;
}

export interface ParsedCategory {
  authority: string | null;
  value: string;
}

export interface ParsedVerification {
  resource: string | null;
  vendor: string | null;
  apiFramework: string | null;
  trackingEvents: Record<string, string[]>;
}

export interface ParsedCreative {
  /** "linear", "nonlinear" or "companion". */
  type: string;
  id: string | null;
  adId: string | null;
  sequence: string | null;
  duration?: number;
  skipDelay?: number | null;
  mediaFiles?: ParsedMediaFile[];
  interactiveCreativeFile?: { apiFramework: string | null } | null;
  closedCaptionFiles?: Array<{ type: string | null; language: string | null; fileURL: string | null }>;
  icons?: ParsedIcon[];
  /** The companions of a companion creative; a nonlinear creative has its overlays here, which are not read. */
  variations?: ParsedCompanion[];
  /** Of a companion creative: "all", "any" or "none". */
  required?: string | null;
  trackingEvents?: Record<string, string[]>;
  videoClickThroughURLTemplate?: { url: string } | null;
  videoClickTrackingURLTemplates?: Array<{ url: string }>;
  universalAdIds?: Array<{ idRegistry: string; value: string }>;
}

export interface ParsedMediaFile {
  fileURL: string | null;
  mimeType: string | null;
  codec: string | null;
  apiFramework: string | null;
  width: number;
  height: number;
  bitrate: number;
  maxBitrate: number;
}

export interface ParsedIcon {
  program: string | null;
  width: number;
  height: number;
  xPosition: "left" | "right" | number;
  yPosition: "top" | "bottom" | number;
  /** Seconds; -1 when absent. */
  offset: number;
  duration: number;
  pxratio: string;
  type: string | 0 | null;
  staticResource: string | null;
  htmlResource: string | null;
  iframeResource: string | null;
  altText: string | null;
  hoverText: string | null;
  iconClickThroughURLTemplate: string | null;
  iconClickTrackingURLTemplates: Array<{ url: string }>;
  iconViewTrackingURLTemplate: string | null;
  iconClickFallbackImages: Array<{ url: string | null; width: string | null; height: string | null }>;
}

export interface ParsedCompanion {
  id: string | null;
  adSlotId: string | null;
  width: string | number;
  height: string | number;
  pxratio: string;
  renderingMode: string;
  staticResources: Array<{ url: string; creativeType: string | null }>;
  htmlResources: string[];
  iframeResources: string[];
  altText: string | null;
  companionClickThroughURLTemplate: string | null;
  companionClickTrackingURLTemplates: Array<{ url: string }>;
  trackingEvents: Record<string, string[]>;
}
