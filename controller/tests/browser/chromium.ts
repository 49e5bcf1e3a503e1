import { accessSync } from "node:fs";
import { chromium } from "playwright-core";
import type { TestProject } from "vitest/node";

declare module "vitest" {
  interface ProvidedContext {
    browserAddress: string;
  }
}

const executablePath = process.env.CHROMIUM ?? "/usr/bin/chromium";

const args = [
  "--headless",
  "--no-sandbox",
  "--disable-gpu",
  "--disable-quic",
  "--no-first-run",
  "--disable-background-networking",
  "--disable-component-update",
  "--disable-sync",
];

/** One browser for all files of the run; CHROMIUM names another than Debian's. */
export default async function setup(project: TestProject): Promise<() => Promise<void>> {
  accessSync(executablePath);
  const server = await chromium.launchServer({ executablePath, args, timeout: 60_000 });
  project.provide("browserAddress", server.wsEndpoint());
  return () => server.close();
}
