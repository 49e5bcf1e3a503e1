import { accessSync, readFileSync } from "node:fs";
import { chromium } from "playwright-core";
import type { TestProject } from "vitest/node";

declare module "vitest" {
  interface ProvidedContext {
    browserAddress: string;
  }
}

const executablePath = process.env.CHROMIUM ?? "/usr/bin/chromium";

const args = JSON.parse(readFileSync(new URL("../../scripts/chromium.json", import.meta.url), "utf8")) as string[];

/** One browser for all files of the run; CHROMIUM names another than Debian's. */
export default async function setup(project: TestProject): Promise<() => Promise<void>> {
  accessSync(executablePath);
  const server = await chromium.launchServer({ executablePath, args, timeout: 60_000 });
  project.provide("browserAddress", server.wsEndpoint());
  return () => server.close();
}
