import type { Resource } from "../ads/ad";

/** Sandboxed frames run no scripts, so HTML is usable when something remains without them. */
function showsWithoutScripts(html: string): boolean {
  const { body } = new DOMParser().parseFromString(html, "text/html");
  for (const hidden of Array.from(body.querySelectorAll("script, style, noscript"))) hidden.remove();
  return body.querySelector("img, picture, svg, video, iframe") !== null || (body.textContent ?? "").trim() !== "";
}

function isDisplayable(resource: Resource): boolean {
  if (resource.kind === "static") return resource.type === "" || resource.type.startsWith("image/");
  return resource.kind === "iframe" || showsWithoutScripts(resource.html);
}

/** An image if there is one, since it shows the same everywhere; a frame of another host last. */
export function displayableResource(resources: Resource[]): Resource | undefined {
  const usable = resources.filter(isDisplayable);
  const ofKind = (kind: Resource["kind"]) => usable.find((resource) => resource.kind === kind);
  return ofKind("static") ?? ofKind("html") ?? ofKind("iframe");
}

/** The first link of HTML that is shown without scripts and without navigation of its own. */
export function linkIn(resource: Resource): string | undefined {
  if (resource.kind !== "html") return undefined;
  const { body } = new DOMParser().parseFromString(resource.html, "text/html");
  return body.querySelector("a[href]")?.getAttribute("href") ?? undefined;
}
