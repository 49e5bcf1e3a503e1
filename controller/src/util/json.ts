/** Reading untrusted JSON: every answer is of the asked type or absent. */

export type JsonObject = Record<string, unknown>;

export function isObject(value: unknown): value is JsonObject {
  return typeof value === "object" && value !== null && !Array.isArray(value);
}

export function objectAt(value: unknown, key: string): JsonObject {
  const found = isObject(value) ? value[key] : undefined;
  return isObject(found) ? found : {};
}

export function textAt(value: unknown, key: string): string | undefined {
  const found = isObject(value) ? value[key] : undefined;
  if (typeof found === "string") return found.trim() || undefined;
  if (typeof found === "number" && Number.isFinite(found)) return String(found);
  return undefined;
}

export function numberAt(value: unknown, key: string): number | undefined {
  const found = isObject(value) ? value[key] : undefined;
  return typeof found === "number" && Number.isFinite(found) ? found : undefined;
}

export function flagAt(value: unknown, key: string): boolean {
  const found = isObject(value) ? value[key] : undefined;
  return found === true || found === 1;
}

export function listAt(value: unknown, key: string): unknown[] {
  const found = isObject(value) ? value[key] : undefined;
  return Array.isArray(found) ? found : [];
}
