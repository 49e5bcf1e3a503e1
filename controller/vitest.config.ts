import { defineConfig } from "vitest/config";

export default defineConfig({
  test: {
    include: ["tests/unit/**/*.test.ts"],
    environment: "jsdom",
    environmentOptions: { jsdom: { url: "https://ads.test/mobile/sdk/v4/native/VMRWebViewRuntime.html" } },
  },
});
