// Bundles the page. The answer is one HTML file without data; with --cpp, a C++ source that holds it.
//   node build.mjs OUT.html
//   node build.mjs --cpp OUT.cpp
import { createHash } from 'node:crypto';
import { readFileSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { build } from 'esbuild';

const here = dirname(fileURLToPath(import.meta.url));

async function bundle(entry) {
  const { outputFiles } = await build({
    entryPoints: [join(here, entry)], bundle: true, minify: true, write: false,
    format: 'iife', target: 'es2022', charset: 'ascii', legalComments: 'inline',
  });
  return outputFiles[0].text.trim();
}

/** Text of an element that only its own end tag ends. */
const inside = (tag, text) => {
  if (text.toLowerCase().includes(`</${tag}`)) throw new Error(`</${tag} in the bundle`);
  return text;
};
const hashOf = (text) => `'sha256-${createHash('sha256').update(text).digest('base64')}'`;

const script = inside('script', await bundle('src/main.js')).replaceAll('<!--', '<\\!--');
const style = inside('style', await bundle('src/style.css'));
// Pictures of the FBX are blobs, some of which are fetched to be decoded. Nothing else is loaded.
const policy = ["default-src 'none'", `script-src ${hashOf(script)}`, `style-src ${hashOf(style)}`,
  'img-src data: blob:', 'connect-src blob:', "base-uri 'none'", "form-action 'none'"].join('; ');
const parts = { POLICY: policy, STYLE: style, SCRIPT: script };
const page = readFileSync(join(here, 'page.html'), 'utf8')
  .replace(/@([A-Z]+)@/g, (_, name) => parts[name]);

/** The page as C++ literals, cut into pieces that compilers take. */
function sourceOf(text) {
  const delimiter = 'kestrix_page';
  if (text.includes(`)${delimiter}"`)) throw new Error('the delimiter stands in the page');
  const literal = (part) => part.match(/[^]{1,16000}/g)
    .map((piece) => `R"${delimiter}(${piece})${delimiter}"`).join('\n');
  const [before, after] = text.split('<!--DATA-->');
  return `// Made by view/build.mjs.
#include "viewtemplate.h"

ViewTemplate TheViewTemplate() { return {
${literal(before)},
${literal(after)}}; }
`;
}

const [first, second] = process.argv.slice(2);
const asSource = first === '--cpp';
writeFileSync(asSource ? second : first, asSource ? sourceOf(page) : page);
