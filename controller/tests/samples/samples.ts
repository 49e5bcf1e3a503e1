import { expect } from "vitest";
import type { Ad } from "../../src/ads/ad";
import type { AdLoad } from "../../src/load/ad_source";
import { companion, icon, inline, leaf, linear, mediaFile, origin, tracking, vast, wrapper } from "./vast_text";

export interface Sample {
  name: string;
  versions: string[];
  what: string;
  /** How the page answers, in the words of the table in docs/page.md. */
  answer: string;
  document: (version: string) => string;
  /** Further documents by path. */
  wrapped?: (version: string) => Record<string, string>;
  params?: Record<string, string>;
  /** The ids of the ads in the reply. */
  ads: string[];
  /** Beacons that follow the reply, without the origin. */
  beacons?: string[];
  check?: (ad: Ad, load: AdLoad) => void;
}

const v2 = ["2.0", "3.0", "4.0", "4.1", "4.2", "4.3"];
const v3 = v2.slice(1);
const v4 = v2.slice(2);
const v41 = v2.slice(3);
const v42 = v2.slice(4);

const onTracker = (name: string) => [`${origin}/${name}`];
const staticImage = leaf("StaticResource", `${origin}/end.png`, { creativeType: "image/png" });
const playing = (extras: string) => inline("a", { creatives: [linear({ extras })] });
const withMedia = (...files: string[]) => inline("a", { creatives: [linear({ media: files.join("") })] });
const vpaid = mediaFile({ apiFramework: "VPAID", type: "application/javascript" }, `${origin}/unit.js`);
const unplayable = (id: string, values: Record<string, number> = {}) =>
  inline(id, { values, creatives: [linear({ media: mediaFile({ type: "video/x-flv" }) })] });
const verifications = `<AdVerifications><Verification vendor="measure.example-omid">
  ${leaf("JavaScriptResource", `${origin}/measure.js`, { apiFramework: "omid", browserOptional: "true" })}
  ${tracking(["verificationNotExecuted"], "-[REASON]")}</Verification></AdVerifications>`;
const category = (name: string, value: string) => `<${name} authority="iabtechlab.com">${value}</${name}>`;

const linearSamples: Sample[] = [
  {
    name: "inline-linear",
    versions: v2,
    what: "One in-line ad with one video",
    answer: "plays",
    document: (version) => vast(version, inline("a")),
    ads: ["a"],
    check: (ad) => expect(ad.media.map(({ src }) => src)).toEqual(onTracker("ad.mp4")),
  },
  {
    name: "video-clicks",
    versions: v2,
    what: "Click-through, click tracking, custom click",
    answer: "plays; clicks open the page and are counted",
    document: (version) =>
      vast(
        version,
        playing(
          `<VideoClicks>${leaf("ClickThrough", "https://advertiser.example/")}${leaf("ClickTracking", `${origin}/click`)}${leaf("CustomClick", `${origin}/custom`)}</VideoClicks>`,
        ),
      ),
    ads: ["a"],
    check: (ad) => {
      expect(ad.clickthru).toBe("https://advertiser.example/");
      expect(ad.beacons.urls.clickTracking).toEqual(onTracker("click"));
    },
  },
  {
    name: "click-tracking-alone",
    versions: v3,
    what: "Click tracking without a click-through",
    answer: "plays; clicks are counted",
    document: (version) =>
      vast(version, playing(`<VideoClicks>${leaf("ClickTracking", `${origin}/click`)}</VideoClicks>`)),
    ads: ["a"],
    check: (ad) => {
      expect(ad.clickthru).toBeUndefined();
      expect(ad.beacons.urls.clickTracking).toEqual(onTracker("click"));
    },
  },
  {
    name: "event-tracking",
    versions: v3,
    what: "Trackers for all linear events and for progress in seconds and per cent",
    answer: "plays; fires each event that occurs",
    document: (version) =>
      vast(
        version,
        playing(
          tracking([
            "creativeView",
            "start",
            "firstQuartile",
            "midpoint",
            "thirdQuartile",
            "complete",
            "mute",
            "skip",
          ]) +
            `<TrackingEvents>${leaf("Tracking", `${origin}/p5`, { event: "progress", offset: "00:00:05.500" })}${leaf("Tracking", `${origin}/p50`, { event: "progress", offset: "50%" })}</TrackingEvents>`,
        ),
      ),
    ads: ["a"],
    check: (ad) => {
      expect(ad.beacons.urls.thirdQuartile).toEqual(onTracker("thirdQuartile"));
      expect(ad.beacons.progress).toEqual([
        { offset: { seconds: 5.5 }, url: `${origin}/p5` },
        { offset: { share: 0.5 }, url: `${origin}/p50` },
      ]);
    },
  },
  {
    name: "skippable",
    versions: v3,
    what: "A skip offset",
    answer: "plays; skippable from 5 s",
    document: (version) => vast(version, inline("a", { creatives: [linear({ values: { skipoffset: "00:00:05" } })] })),
    ads: ["a"],
    check: (ad) => expect(ad.skipOffset).toEqual({ seconds: 5 }),
  },
  {
    name: "ready-to-serve",
    versions: v4,
    what: 'Three bitrates, a mezzanine, and `codec` written as "H.264", "0" and "VP8"',
    answer: "plays the file that fits; the mezzanine is not played",
    document: (version) =>
      vast(
        version,
        withMedia(
          leaf("Mezzanine", `${origin}/source.mov`, {
            delivery: "progressive",
            type: "video/mp4",
            width: 1,
            height: 1,
          }),
          ...["H.264", "0", "VP8"].map((codec, at) =>
            mediaFile({ codec, bitrate: 500 * (at + 1) }, `${origin}/${at}.mp4`),
          ),
        ),
      ),
    ads: ["a"],
    check: (ad) => expect(ad.media).toHaveLength(3),
  },
  ...[
    ["type-mp4", "A type without a slash", { type: "mp4" }],
    ["type-octet-stream", "A type without information", { type: "application/octet-stream" }],
    ["type-missing", "No type", { type: undefined }],
    ["type-x-m4v", "Another name for MP4", { type: "video/x-m4v" }],
    ["type-with-codecs", "Codecs in the type", { type: "video/mp4; codecs=&quot;avc1.42E01E, mp4a.40.2&quot;" }],
    ["framework-of-measurement", "A video whose `apiFramework` only measures", { apiFramework: "OMID" }],
  ].map(([name, what, values]) => ({
    name: name as string,
    versions: ["4.2"],
    what: what as string,
    answer: "plays",
    document: (version: string) => vast(version, withMedia(mediaFile(values as Record<string, string>))),
    ads: ["a"],
  })),
  {
    name: "unplayable-types",
    versions: v2,
    what: "Flash, DASH and a registered codec that does not play",
    answer: "dropped, error 403",
    document: (version) =>
      vast(
        version,
        withMedia(
          mediaFile({ type: "video/x-flv" }),
          mediaFile({ type: "application/dash+xml" }),
          mediaFile({ codec: "hvc1.1.6.L93.B0" }),
        ),
      ),
    ads: [],
    beacons: ["error-a-403"],
  },
  {
    name: "hls",
    versions: v3,
    what: "HLS and MP4; the engine of the test plays no HLS",
    answer: "plays the MP4; HLS comes first in an engine that plays it",
    document: (version) =>
      vast(
        version,
        withMedia(mediaFile({ type: "application/x-mpegURL", delivery: "streaming" }, `${origin}/a.m3u8`), mediaFile()),
      ),
    ads: ["a"],
  },
  {
    name: "http-media",
    versions: ["3.0"],
    what: "A video whose address begins with http",
    answer: "plays over https",
    document: (version) => vast(version, withMedia(mediaFile({}, "http://media.example/a.mp4"))),
    ads: ["a"],
    check: (ad) => expect(ad.media[0]?.src).toBe("https://media.example/a.mp4"),
  },
  {
    name: "closed-captions",
    versions: v41,
    what: "Caption files: WebVTT with a character set, TTML",
    answer: "plays with the WebVTT captions",
    document: (version) =>
      vast(
        version,
        inline("a", {
          creatives: [
            linear({
              mediaExtras: `<ClosedCaptionFiles>${leaf("ClosedCaptionFile", `${origin}/en.vtt`, { type: "text/vtt; charset=utf-8", language: "en" })}${leaf("ClosedCaptionFile", `${origin}/en.ttml`, { type: "application/ttml+xml", language: "en" })}</ClosedCaptionFiles>`,
            }),
          ],
        }),
      ),
    ads: ["a"],
    check: (ad) =>
      expect(ad.captions).toEqual([{ src: `${origin}/en.vtt`, type: "text/vtt", lang: "en", label: "en" }]),
  },
  {
    name: "universal-ad-id",
    versions: v4,
    what: "Two universal ad ids",
    answer: "plays; the macro lists both",
    document: (version) =>
      vast(
        version,
        inline("a", {
          creatives: [
            `<UniversalAdId idRegistry="ad-id.example">8465</UniversalAdId><UniversalAdId idRegistry="other.example">X1</UniversalAdId>${linear()}`,
          ],
        }),
      ),
    ads: ["a"],
    check: (ad) => expect(ad.macros.UNIVERSALADID).toEqual(["ad-id.example 8465", "other.example X1"]),
  },
  {
    name: "serving-id-and-expiry",
    versions: v41,
    what: "An ad serving id and an expiry",
    answer: "plays",
    document: (version) =>
      vast(version, inline("a", { extras: leaf("AdServingId", "a-2f8") + "<Expires>300</Expires>" })),
    ads: ["a"],
    check: (ad) => expect([ad.macros.ADSERVINGID, ad.expires]).toEqual(["a-2f8", 300]),
  },
  {
    name: "audio-ad",
    versions: v41,
    what: 'An ad of the type "audio" with an MP4 file',
    answer: "plays",
    document: (version) => vast(version, inline("a", { values: { adType: "audio" } })),
    ads: ["a"],
    check: (ad) => expect([ad.adType, ad.macros.ADTYPE]).toEqual(["audio", "audio"]),
  },
  {
    name: "conditional-ad",
    versions: ["4.0"],
    what: "A conditional ad",
    answer: "plays",
    document: (version) => vast(version, inline("a", { values: { conditionalAd: "true" } })),
    ads: ["a"],
  },
];

const extraSamples: Sample[] = [
  ...(
    [
      ["static", staticImage, { kind: "static", src: `${origin}/end.png`, type: "image/png" }],
      ["html", leaf("HTMLResource", "<b>More</b>"), { kind: "html", html: "<b>More</b>" }],
      ["iframe", leaf("IFrameResource", `${origin}/end.html`), { kind: "iframe", src: `${origin}/end.html` }],
    ] as const
  ).map(([kind, resource, expected]) => ({
    name: `companion-${kind}`,
    versions: v2,
    what: `A video with a companion (${kind})`,
    answer: "plays; the companion is an end card with its trackers",
    document: (version: string) => vast(version, inline("a", { creatives: [linear(), companion(resource)] })),
    ads: ["a"],
    check: (ad: Ad) =>
      expect(ad.companions).toMatchObject([
        {
          width: 300,
          height: 250,
          resources: [expected],
          clickTracking: onTracker("companion-click"),
          creativeView: onTracker("creativeView"),
        },
      ]),
  })),
  {
    name: "companion-alone",
    versions: v2,
    what: "A companion and no video",
    answer: "dropped, error 200",
    document: (version) => vast(version, inline("a", { creatives: [companion(staticImage)] })),
    ads: [],
    beacons: ["error-a-200"],
  },
  {
    name: "nonlinear",
    versions: v2,
    what: "An overlay",
    answer: "dropped, error 201",
    document: (version) =>
      vast(
        version,
        inline("a", {
          creatives: [`<NonLinearAds><NonLinear width="300" height="60">${staticImage}</NonLinear></NonLinearAds>`],
        }),
      ),
    ads: [],
    beacons: ["error-a-201"],
  },
  {
    name: "icons",
    versions: v3,
    what: "An icon with a position, a click-through and view tracking",
    answer: "plays; the icon is shown and counted",
    document: (version) => vast(version, playing(icon("AdChoices", "", { offset: "00:00:02", duration: "00:00:05" }))),
    ads: ["a"],
    check: (ad) =>
      expect(ad.icons).toMatchObject([
        {
          program: "AdChoices",
          x: "right",
          y: "top",
          offset: 2,
          duration: 5,
          clickthru: "https://choices.example/",
          viewTracking: onTracker("icon-view"),
        },
      ]),
  },
  {
    name: "icon-fallback",
    versions: v42,
    what: "An icon with an image for devices that cannot open its page",
    answer: "plays; the model has the image",
    document: (version) =>
      vast(
        version,
        playing(
          icon(
            "AdChoices",
            `<IconClickFallbackImages><IconClickFallbackImage width="200" height="100"><AltText>Your choices</AltText> ${leaf("StaticResource", `${origin}/choices.png`)}</IconClickFallbackImage></IconClickFallbackImages>`,
          ),
        ),
      ),
    ads: ["a"],
    check: (ad) =>
      expect(ad.icons[0]?.fallbackImages).toEqual([
        { src: `${origin}/choices.png`, width: 200, height: 100, altText: "Your choices" },
      ]),
  },
  {
    name: "verification",
    versions: v4,
    what: "A measurement script",
    answer: "plays; verificationNotExecuted with reason 2",
    document: (version) => vast(version, inline("a", { extras: verifications })),
    ads: ["a"],
    check: (ad) =>
      expect(ad.verifications).toMatchObject([{ notExecuted: onTracker("verificationNotExecuted-[REASON]") }]),
  },
  {
    name: "verification-extension",
    versions: ["2.0", "3.0"],
    what: "A measurement script in an extension",
    answer: "plays; verificationNotExecuted with reason 2",
    document: (version) =>
      vast(
        version,
        inline("a", {
          extras: `<Extensions><Extension type="AdVerifications">${verifications}</Extension></Extensions>`,
        }),
      ),
    ads: ["a"],
    check: (ad) => expect(ad.verifications).toHaveLength(1),
  },
  {
    name: "viewable-impression",
    versions: v4,
    what: "Trackers for viewable, not viewable and undetermined",
    answer: "plays; one of the three groups is fired",
    document: (version) =>
      vast(
        version,
        inline("a", {
          extras: `<ViewableImpression>${["Viewable", "NotViewable", "ViewUndetermined"].map((name) => leaf(name, `${origin}/${name}`)).join("")}</ViewableImpression>`,
        }),
      ),
    ads: ["a"],
    check: (ad) =>
      expect(ad.viewableImpression).toEqual({
        viewable: onTracker("Viewable"),
        notViewable: onTracker("NotViewable"),
        viewUndetermined: onTracker("ViewUndetermined"),
      }),
  },
  {
    name: "vpaid",
    versions: v2,
    what: "A VPAID unit alone",
    answer: "dropped, error 901",
    document: (version) => vast(version, withMedia(vpaid)),
    ads: [],
    beacons: ["error-a-901"],
  },
  {
    name: "vpaid-and-video",
    versions: v2,
    what: "A VPAID unit and a plain video",
    answer: "plays the video",
    document: (version) => vast(version, withMedia(vpaid, mediaFile())),
    ads: ["a"],
    check: (ad) => expect(ad.media.map(({ src }) => src)).toEqual(onTracker("ad.mp4")),
  },
  {
    name: "interactive-file",
    versions: v4,
    what: "A video with an interactive file (SIMID)",
    answer: "plays the video, error 409",
    document: (version) =>
      vast(
        version,
        inline("a", {
          creatives: [
            linear({
              mediaExtras: leaf("InteractiveCreativeFile", `${origin}/layer.html`, {
                type: "text/html",
                apiFramework: "SIMID",
              }),
            }),
          ],
        }),
      ),
    ads: ["a"],
    beacons: ["error-a-409"],
  },
  {
    name: "interactive-alone",
    versions: v41,
    what: "An interactive file and no video",
    answer: "dropped, error 902",
    document: (version) =>
      vast(
        version,
        inline("a", {
          creatives: [linear({ media: "", mediaExtras: leaf("InteractiveCreativeFile", `${origin}/layer.html`) })],
        }),
      ),
    ads: [],
    beacons: ["error-a-902"],
  },
];

const podSamples: Sample[] = [
  {
    name: "ads-before-pods",
    versions: ["2.0"],
    what: "Two ads in a document from before pods",
    answer: "both play",
    document: (version) => vast(version, inline("a"), inline("b")),
    ads: ["a", "b"],
  },
  {
    name: "pod",
    versions: v3,
    what: "Three ads of a pod, out of order, and a stand-alone ad",
    answer: "the pod plays in its order",
    document: (version) =>
      vast(
        version,
        ...["c", "a", "b"].map((id) => inline(id, { values: { sequence: "abc".indexOf(id) + 1 } })),
        inline("spare"),
      ),
    ads: ["a", "b", "c"],
  },
  {
    name: "pod-with-substitute",
    versions: v3,
    what: "A pod whose second ad does not play, and two stand-alone ads",
    answer: "the first stand-alone ad that plays replaces it; its own error 403",
    document: (version) =>
      vast(
        version,
        inline("a", { values: { sequence: 1 } }),
        unplayable("b", { sequence: 2 }),
        inline("c", { values: { sequence: 3 } }),
        unplayable("d"),
        inline("e"),
      ),
    ads: ["a", "e", "c"],
    beacons: ["error-b-403", "error-d-403"],
  },
  {
    name: "ad-buffet",
    versions: v3,
    what: "Several stand-alone ads",
    answer: "the first that plays",
    document: (version) => vast(version, unplayable("a"), inline("b"), inline("c")),
    ads: ["b"],
    beacons: ["error-a-403"],
  },
  {
    name: "hollow-ad",
    versions: v2,
    what: "An empty ad, a wrapper that leads nowhere, and a good ad",
    answer: "the good ad plays, error 101 for the wrapper",
    document: (version) =>
      vast(version, `<Ad id="x"></Ad>`, wrapper("w", "").replace(origin + "]]", "]]"), inline("a")),
    ads: ["a"],
    beacons: ["error-w-101"],
  },
  {
    name: "blocked-category",
    versions: v41,
    what: "A wrapper that blocks the category of its ad",
    answer: "dropped, error 205",
    document: (version) => vast(version, wrapper("w", "/in", { extras: category("BlockedAdCategories", "IAB7,IAB1") })),
    wrapped: (version) => ({ "/in": vast(version, inline("a", { extras: category("Category", "IAB1-5") })) }),
    ads: [],
    beacons: ["error-w-205", "error-a-205"],
  },
  {
    name: "category",
    versions: v4,
    what: "A category that no wrapper blocks",
    answer: "plays; the macro has it",
    document: (version) => vast(version, inline("a", { extras: category("Category", "IAB1-5") })),
    ads: ["a"],
    check: (ad) => expect(ad.macros.ADCATEGORIES).toEqual(["IAB1-5"]),
  },
];

const wrapperSamples: Sample[] = [
  {
    name: "wrapper",
    versions: v2,
    what: "Two wrappers with impressions, trackers and click tracking",
    answer: "plays; trackers of all levels",
    document: (version) =>
      vast(version, wrapper("w", "/inner", { creatives: [`<Linear>${tracking(["start"], "-w")}</Linear>`] })),
    wrapped: (version) => ({
      "/inner": vast(
        version,
        wrapper("v", "/in", {
          creatives: [`<Linear><VideoClicks>${leaf("ClickTracking", `${origin}/click-v`)}</VideoClicks></Linear>`],
        }),
      ),
      "/in": vast(version, playing(tracking(["start"], "-a"))),
    }),
    ads: ["a"],
    check: (ad) => {
      expect(ad.beacons.urls.impression).toEqual(["w", "v", "a"].map((id) => `${origin}/impression-${id}`));
      expect(ad.beacons.urls.start).toEqual([`${origin}/start-a`, `${origin}/start-w`]);
      expect(ad.beacons.urls.clickTracking).toEqual(onTracker("click-v"));
    },
  },
  {
    name: "wrapper-extras",
    versions: v4,
    what: "A wrapper with an icon, a companion, a measurement script and viewability trackers of its own",
    answer: "plays; all of them apply to the ad",
    document: (version) =>
      vast(
        version,
        wrapper("w", "/in", {
          creatives: [`<Linear>${icon("W")}</Linear>`, companion(staticImage)],
          extras: `${verifications}<ViewableImpression>${leaf("Viewable", `${origin}/viewable-w`)}</ViewableImpression>`,
        }),
      ),
    wrapped: (version) => ({ "/in": vast(version, playing(icon("A"))) }),
    ads: ["a"],
    check: (ad) => {
      expect(ad.icons.map(({ program }) => program)).toEqual(["A", "W"]);
      expect([ad.companions.length, ad.verifications.length]).toEqual([1, 1]);
      expect(ad.viewableImpression.viewable).toEqual(onTracker("viewable-w"));
    },
  },
  {
    name: "wrapped-pod",
    versions: v3,
    what: "A wrapper that allows several ads, around a pod",
    answer: "the pod plays",
    document: (version) => vast(version, wrapper("w", "/in", {}, 'allowMultipleAds="true"')),
    wrapped: (version) => ({
      "/in": vast(version, inline("b", { values: { sequence: 2 } }), inline("a", { values: { sequence: 1 } })),
    }),
    ads: ["a", "b"],
  },
  {
    name: "wrapped-sequence",
    versions: v3,
    what: "A wrapper around one ad with a sequence",
    answer: "plays",
    document: (version) => vast(version, wrapper("w", "/in")),
    wrapped: (version) => ({ "/in": vast(version, inline("a", { values: { sequence: 1 } })) }),
    ads: ["a"],
  },
  {
    name: "no-wrapper",
    versions: v3,
    what: "A wrapper that allows no further one, around a wrapper",
    answer: "dropped, error 303",
    document: (version) => vast(version, wrapper("w", "/inner", {}, 'followAdditionalWrappers="false"')),
    wrapped: (version) => ({ "/inner": vast(version, wrapper("v", "/in")), "/in": vast(version, inline("a")) }),
    ads: [],
    beacons: ["error-w-303"],
  },
  {
    name: "no-ad",
    versions: v2,
    what: "No ad and an error address",
    answer: "no ads, error 303",
    document: (version) => vast(version, leaf("Error", `${origin}/none-[ERRORCODE]`)),
    ads: [],
    beacons: ["none-303"],
  },
  {
    name: "wrapper-no-ad",
    versions: v2,
    what: "A wrapper around a document without an ad",
    answer: "no ads, error 303 at both",
    document: (version) => vast(version, wrapper("w", "/in")),
    wrapped: (version) => ({ "/in": vast(version, leaf("Error", `${origin}/none-[ERRORCODE]`)) }),
    ads: [],
    beacons: ["none-303", "error-w-303"],
  },
  {
    name: "wrapper-lost",
    versions: v3,
    what: "A wrapper whose document is not there, and a stand-alone ad",
    answer: "the stand-alone ad plays, error 301",
    document: (version) => vast(version, wrapper("w", "/lost"), inline("a")),
    ads: ["a"],
    beacons: ["error-w-301"],
  },
  {
    name: "wrapper-without-fallback",
    versions: v3,
    what: "A pod with a lost wrapper that allows no substitute",
    answer: "the rest of the pod plays, error 301",
    document: (version) =>
      vast(
        version,
        wrapper("w", "/lost", { values: { sequence: 1 } }, 'fallbackOnNoAd="false"'),
        inline("a", { values: { sequence: 2 } }),
        inline("spare"),
      ),
    ads: ["a"],
    beacons: ["error-w-301"],
  },
  {
    name: "self-pointing-wrappers",
    versions: v3,
    what: "A document of ten wrappers around itself",
    answer: "no ads after at most 50 requests, error 302",
    document: (version) =>
      vast(
        version,
        ...Array.from({ length: 10 }, (_, at) =>
          wrapper(`w${at}`, "/all", { values: { sequence: at + 1 } }, 'allowMultipleAds="true"'),
        ),
      ),
    wrapped: (version) => ({
      "/all": vast(
        version,
        ...Array.from({ length: 10 }, (_, at) =>
          wrapper(`v${at}`, "/all", { values: { sequence: at + 1 } }, 'allowMultipleAds="true"'),
        ),
      ),
    }),
    ads: [],
    check: (_, { beacons }) => expect(new Set(beacons.map((url) => url.slice(-3)))).toEqual(new Set(["302"])),
  },
];

const documentSamples: Sample[] = [
  {
    name: "namespace-prefix",
    versions: v4,
    what: "Element names with a namespace prefix",
    answer: "plays",
    document: (version) =>
      vast(version, inline("a"))
        .replace(/<(\/?)(?=[A-Z])(?!!)/g, "<$1v:")
        .replace("<v:VAST ", '<v:VAST xmlns:v="http://www.iab.com/VAST" '),
    ads: ["a"],
  },
  {
    name: "misspelt-inline",
    versions: v2,
    what: "The element InLine in another case",
    answer: "plays",
    document: (version) => vast(version, inline("a")).replace(/InLine/g, "Inline"),
    ads: ["a"],
  },
  {
    name: "relative-addresses",
    versions: v3,
    what: "Relative addresses in a wrapped document on another host",
    answer: "plays; they are relative to that document",
    document: (version) => vast(version, wrapper("w", "").replace(`${origin}]]`, "//other.example/ads/in.xml]]")),
    wrapped: (version) => ({
      "//other.example/ads/in.xml": vast(
        version,
        inline("a", {
          creatives: [
            linear({
              media: mediaFile({}, "video/ad.mp4"),
              extras: `<TrackingEvents>${leaf("Tracking", "/t?x=[CACHEBUSTING]", { event: "start" })}</TrackingEvents>`,
            }),
          ],
        }),
      ),
    }),
    ads: ["a"],
    check: (ad) => {
      expect(ad.media[0]?.src).toBe("https://other.example/ads/video/ad.mp4");
      expect(ad.beacons.urls.start).toEqual(["https://other.example/t?x=[CACHEBUSTING]"]);
    },
  },
  {
    name: "document-type",
    versions: v3,
    what: "A document type with entities that expand a millionfold",
    answer: "refused unread; error 100 in a wrapper",
    document: (version) => vast(version, wrapper("w", "/bomb")),
    wrapped: (version) => ({
      "/bomb": vast(version, inline("&e;")).replace(
        "<VAST",
        '<!-- <x> --><!DOCTYPE VAST [<!ENTITY a "aaaaaaaaaa"><!ENTITY e "&a;&a;&a;">]><VAST',
      ),
    }),
    ads: [],
    beacons: ["error-w-100"],
  },
  {
    name: "vast-1",
    versions: ["1.0"],
    what: "A document of VAST 1",
    answer: "no ads; error 102 in a wrapper",
    document: () => vast("3.0", wrapper("w", "/in")),
    wrapped: () => ({ "/in": "<VideoAdServingTemplate/>" }),
    ads: [],
    beacons: ["error-w-102"],
  },
  ...(["in-line", "tag"] as const).map((source) => ({
    name: `vmap-${source}`,
    versions: ["VMAP 1.0"],
    what: `Ad breaks whose ads come ${source === "tag" ? "from a tag" : "in the document"}`,
    answer: "the pre-roll plays, with breakStart and breakEnd",
    document: () => vmapWith(source),
    wrapped: () => ({ "/pre": vast("3.0", inline("pre")) }),
    ads: ["pre"],
    check: (_: Ad, { adBreak, macros }: AdLoad) => {
      expect(adBreak?.tracking.breakStart).toEqual(onTracker("breakStart"));
      expect(macros.BREAKPOSITION).toBe("1");
    },
  })),
  ...[
    ["vmap-by-id", "middle", "An ad break asked for by its id"],
    ["vmap-by-offset", "0:10:00", "An ad break asked for by its offset"],
  ].map(([name = "", wanted = "", what = ""]) => ({
    name,
    versions: ["VMAP 1.0"],
    what,
    answer: "that break plays",
    document: () => vmapWith("in-line"),
    params: { vmap_break: wanted },
    ads: ["mid"],
    check: (_: Ad, { macros }: AdLoad) => expect(macros.BREAKPOSITION).toBe("2"),
  })),
  {
    name: "vmap-empty-break",
    versions: ["VMAP 1.0"],
    what: "An ad break whose document has no ad",
    answer: "no ads, VMAP error 1005",
    document: () => vmapWith("in-line"),
    params: { vmap_break: "end" },
    ads: [],
    beacons: ["break-error-1005"],
  },
];

function vmapWith(source: "in-line" | "tag"): string {
  const inDocument = (...ads: string[]) =>
    `<vmap:VASTAdData>${vast("3.0", ...ads).replace(/<\?.*\?>/, "")}</vmap:VASTAdData>`;
  const tag = `<vmap:AdTagURI templateType="vast3">${origin}/pre</vmap:AdTagURI>`;
  const adBreak = (offset: string, id: string, type: string, content: string) =>
    `<vmap:AdBreak timeOffset="${offset}" breakType="${type}" breakId="${id}"><vmap:AdSource id="1">${content}</vmap:AdSource><vmap:TrackingEvents>${["breakStart", "breakEnd"].map((event) => `<vmap:Tracking event="${event}">${origin}/${event}</vmap:Tracking>`).join("")}<vmap:Tracking event="error">${origin}/break-error-[ERRORCODE]</vmap:Tracking></vmap:TrackingEvents></vmap:AdBreak>`;
  return `<vmap:VMAP xmlns:vmap="http://www.iab.net/videosuite/vmap" version="1.0">
    ${adBreak("start", "overlay", "nonlinear", inDocument(inline("no")))}
    ${adBreak("00:00:00.000", "first", "linear", source === "tag" ? tag : inDocument(inline("pre")))}
    ${adBreak("00:10:00", "middle", "linear,nonlinear", inDocument(inline("mid")))}
    ${adBreak("end", "last", "linear", inDocument())}</vmap:VMAP>`;
}

export const samples: Sample[] = [
  ...linearSamples,
  ...extraSamples,
  ...podSamples,
  ...wrapperSamples,
  ...documentSamples,
];
