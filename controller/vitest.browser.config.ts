import { defineConfig } from "vitest/config";

export default defineConfig({
  test: {
    include: ["tests/browser/**/*.test.ts"],
    globalSetup: "tests/browser/chromium.ts",
    testTimeout: 60_000,
    hookTimeout: 60_000,
    // The pages play in real time: a second browser on a small machine would make the first one late.
    fileParallelism: false,
  },
});
