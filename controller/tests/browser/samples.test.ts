import { execFile } from "node:child_process";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { expect, it } from "vitest";
import { inline, linear, mediaFile, vast } from "../vast_text";

function run(...words: string[]): Promise<{ code: unknown; lines: string[] }> {
  return new Promise((resolve) => {
    execFile("node", ["scripts/samples.mjs", "--offline", ...words], (error, output, errors) =>
      resolve({ code: error?.code ?? 0, lines: (output + errors).trim().split("\n") }),
    );
  });
}

it("the command for samples plays what can be played, and says why the rest is not", async () => {
  const names = ["spaced-out", "relative-addresses", "http-media", "vpaid", "no-ad"];
  const { code, lines } = await run(...names.map((name) => `tests/samples/${name}.xml`));
  expect(lines).toEqual([
    "plays    spaced-out.xml  a of a: https://ads.test/media/ad-1.mp4",
    "plays    relative-addresses.xml  a of a: https://other.example/media/ad-1.mp4",
    "plays    http-media.xml  a of a: https://ads.test/media/ad-1.mp4",
    "no ad    vpaid.xml  Ad a: VAST error 901: VPAID is not supported",
    expect.stringMatching(/^no ad {4}no-ad.xml {2}VAST error 303: .*no usable ad/),
    "5 documents: 3 plays, 2 no ad",
  ]);
  expect(code).toBe(0);
});

it("the command fails for videos that are not played, and for arguments that it cannot use", async () => {
  const folder = mkdtempSync(join(tmpdir(), "samples-"));
  try {
    const media = mediaFile({}, "https://media.example/absent.mp4");
    writeFileSync(join(folder, "absent.xml"), vast("4.2", inline("a", { creatives: [linear({ media })] })));
    writeFileSync(join(folder, "lost.xml"), vast("4.2", "<Wrong>", inline("b"), "</Wrong>"));
    const { code, lines } = await run(folder);
    expect(lines[0]).toMatch(/^fails {4}absent.xml {2}VAST error 401: /);
    expect(lines[1]).toMatch(/^lost {5}lost.xml/);
    expect(code).toBe(1);
    expect(await run(join(folder, "none"))).toMatchObject({
      code: 2,
      lines: [expect.stringContaining("none"), expect.stringContaining("Usage")],
    });
  } finally {
    rmSync(folder, { recursive: true });
  }
});
