// Bundles the page into the one file that any web host can serve.
import { createHash } from "node:crypto";
import { mkdir, readFile, writeFile } from "node:fs/promises";
import { fileURLToPath } from "node:url";
import { build } from "esbuild";

const root = new URL("../", import.meta.url);
const inRoot = (path) => fileURLToPath(new URL(path, root));

// The oldest web views that the SDK runs in.
const target = ["safari13", "chrome80"];

async function bundle(entry) {
  const { outputFiles } = await build({
    entryPoints: [inRoot(entry)],
    bundle: true,
    format: "iife",
    legalComments: "inline",
    logLevel: "warning",
    minify: true,
    platform: "browser",
    target,
    write: false,
  });
  return outputFiles[0].text.trim();
}

const hashOf = (text) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`;

// "<\/" means the same in a script and does not end the script element.
const script = (await bundle("src/main.ts")).replace(/<\/(script)/gi, "<\\/$1").replace(/<!--/g, "<\\!--");
const style = await bundle("src/controls/controls.css");

const policy = [
  "default-src 'none'",
  `script-src ${hashOf(script)}`,
  // HTML of an ad is shown in a sandboxed frame that inherits this policy: it may bring its styles, never a script.
  "style-src 'unsafe-inline' https:",
  "font-src https:",
  "img-src 'self' https: data:",
  "frame-src 'self' https:",
  "connect-src 'self' https:",
  "media-src 'self' https: blob:",
  "base-uri 'none'",
  "form-action 'none'",
].join("; ");

/** A page that every first ad waits for. Bytes. */
const largestSize = 150_000;

// The licences of the bundled libraries require their notices in every copy.
const libraries = ["@dailymotion/vast-client", "@dailymotion/vmap"];
const notices = libraries.map(async (name) => {
  return `${name}:\n${(await readFile(inRoot(`node_modules/${name}/LICENSE`), "utf8")).trim()}`;
});
const notice = (await Promise.all(notices)).join("\n\n");

const parts = { notice, policy, style, script };
const template = await readFile(inRoot("src/page.html"), "utf8");
const page = template.replace(/\{\{(\w+)\}\}/g, (_, name) => parts[name]);

await mkdir(inRoot("dist"), { recursive: true });
await writeFile(inRoot("dist/VMRWebViewRuntime.html"), page);
const size = Buffer.byteLength(page);
console.log(`dist/VMRWebViewRuntime.html: ${(size / 1024).toFixed(1)} KiB`);
if (size > largestSize) {
  console.error(`The page is larger than ${largestSize / 1000} kB.`);
  process.exitCode = 1;
}
