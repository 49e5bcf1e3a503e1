function parse(address: string): URL | undefined {
  try {
    return new URL(address, document.baseURI);
  } catch {
    return undefined;
  }
}

/** Addresses that may leave the page for the native side: http and https, made absolute. */
export function webAddress(address: string | undefined): string | undefined {
  const url = address ? parse(address.trim()) : undefined;
  return url && (url.protocol === "https:" || url.protocol === "http:") ? url.href : undefined;
}

/** The text as it stands, when it is the address of a page that can be opened. */
export function openableText(address: string | undefined): string | undefined {
  return webAddress(address) ? address : undefined;
}

/**
 * Addresses the page itself may load. A page served over https loads nothing over http; a page
 * that a developer serves over plain http may.
 */
export function loadableAddress(address: string | undefined): string | undefined {
  const url = address ? parse(address.trim()) : undefined;
  if (!url) return undefined;
  const secure = url.protocol === "https:";
  const asInsecureAsThePage = url.protocol === "http:" && location.protocol === "http:";
  return secure || asInsecureAsThePage ? url.href : undefined;
}
