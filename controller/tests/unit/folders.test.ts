import { readdirSync, readFileSync } from "node:fs";
import { dirname, join, relative } from "node:path";
import { expect, it } from "vitest";

const root = join(process.cwd(), "src");

/** The folders of src/ that each folder imports from. */
function importsOfFolders(): Map<string, Set<string>> {
  const folders = new Map<string, Set<string>>();
  for (const entry of readdirSync(root, { recursive: true, encoding: "utf8" })) {
    const folder = dirname(entry);
    if (!entry.endsWith(".ts") || folder === ".") continue;
    const imports = folders.get(folder) ?? new Set<string>();
    folders.set(folder, imports);
    for (const [, path] of readFileSync(join(root, entry), "utf8").matchAll(/ from "(\.[^"]+)"/g)) {
      const target = dirname(relative(root, join(root, folder, path ?? "")));
      if (target !== folder && target !== ".") imports.add(target);
    }
  }
  return folders;
}

/** Removes folders whose imports have all been removed, until none is left or the rest form a cycle. */
function cycleIn(folders: Map<string, Set<string>>): string[] {
  const left = new Map(folders);
  for (;;) {
    const free = [...left].find(([, imports]) => [...imports].every((target) => !left.has(target)));
    if (!free) return [...left.keys()];
    left.delete(free[0]);
  }
}

it("folders of src/ do not import one another in cycles", () => {
  const folders = importsOfFolders();
  expect(folders.size).toBeGreaterThan(5);
  expect(cycleIn(folders)).toEqual([]);
});
