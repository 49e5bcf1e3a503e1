/** The package has no types of its own; these are the parts that are used. */
declare module "@dailymotion/vmap" {
  export interface VMAPAdBreak {
    timeOffset: string | null;
    breakType: string | null;
    breakId: string | null;
    adSource: {
      vastAdData: Element | null;
      adTagURI: { templateType: string | null; uri: string } | null;
    } | null;
    trackingEvents: Array<{ event: string | null; uri: string }>;
  }

  export default class VMAP {
    constructor(xml: Document);
    adBreaks: VMAPAdBreak[];
  }
}
