function parse(address: string): URL | undefined {
  try {
    return new URL(address, document.baseURI);
  } catch {
    return undefined;
  }
}

/** Addresses that may be sent to the native side: http and https, made absolute. */
export function webAddress(address: string | undefined): string | undefined {
  const url = address ? parse(address.trim()) : undefined;
  return url && (url.protocol === "https:" || url.protocol === "http:") ? url.href : undefined;
}

/** The text unchanged, when it is the address of a page that can be opened. */
export function openableText(address: string | undefined): string | undefined {
  return webAddress(address) ? address : undefined;
}

/**
 * Addresses that the page itself may load. A page that came over https loads nothing over http, but many
 * servers named with http answer over https as well, so https is tried.
 */
export function loadableAddress(address: string | undefined): string | undefined {
  const url = address ? parse(address.trim()) : undefined;
  if (url?.protocol === "http:" && location.protocol === "https:") url.protocol = "https:";
  const isLoadable = url?.protocol === "https:" || (url?.protocol === "http:" && location.protocol === "http:");
  return isLoadable ? url.href : undefined;
}

const hasScheme = /^[a-z][a-z0-9+.-]*:/i;
const beginsWithMacro = /^(\[|%%|%5b)/i;
const looksRelative = /^[^\s]*[/.?][^\s]*$/;

/** A relative address made absolute against the document that holds it; any other text unchanged. */
export function resolvedAgainst(base: string, text: string): string {
  if (hasScheme.test(text) || beginsWithMacro.test(text) || !looksRelative.test(text)) return text;
  try {
    return new URL(text, base).href;
  } catch {
    return text;
  }
}
