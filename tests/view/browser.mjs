// Pages of the program in a real Chromium, which is kept off the network.
import { existsSync, statSync } from 'node:fs';
import { pathToFileURL } from 'node:url';
import { chromium } from 'playwright-core';
import { freshPath, run, tool } from '../readers/program.mjs';

export { freshPath, root, samples } from '../readers/program.mjs';
export const runTool = (args) => run(tool, args);

/** Writes the page of a model; answers its path. Anything on standard error is a failure. */
export function writePage(files, options = []) {
  const page = freshPath('.html');
  const { status, stderr } = runTool(['view', ...files, ...options, '-o', page]);
  if (status !== 0 || stderr !== '' || !existsSync(page)) {
    throw new Error(`view ${files.join(' ')}: status ${status}\n${stderr}`);
  }
  return page;
}

export const sizeOf = (path) => statSync(path).size;

// Software rendering, and nothing that would call home.
const flags = ['--no-sandbox', '--disable-gpu', '--use-gl=angle', '--use-angle=swiftshader',
  '--enable-unsafe-swiftshader', '--disable-quic', '--no-first-run', '--disable-sync',
  '--disable-background-networking', '--disable-component-update', '--hide-scrollbars',
  '--host-resolver-rules=MAP * ~NOTFOUND'];

export const launch = () => chromium.launch({
  executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium', headless: true, args: flags,
});

/**
 * Opens a page; answers it with what went wrong: errors and warnings of the console, exceptions,
 * and requests for anything but the page itself and what it holds.
 */
export async function open(browser, path, settings = {}) {
  const context = await browser.newContext({
    viewport: { width: 1280, height: 800 }, ...settings });
  const page = await context.newPage();
  const complaints = [];
  page.on('console', (message) => {
    // Reading the picture back, as tests do, makes the driver remark on it.
    const remark = /GL Driver Message/.test(message.text());
    if (['error', 'warning'].includes(message.type()) && !remark) complaints.push(message.text());
  });
  page.on('pageerror', (error) => complaints.push(String(error)));
  const url = pathToFileURL(path).href;
  page.on('request', (request) => {
    if (request.url() !== url && !/^(blob|data):/.test(request.url())) {
      complaints.push(`asks for ${request.url()}`);
    }
  });
  await page.goto(url);
  await page.waitForFunction(() => globalThis.kestrixView?.frames() > 0 ||
    !document.getElementById('trouble').hidden);
  return { page, complaints, close: () => context.close() };
}

/** Waits until the picture stands still, drawn in full. */
export const rested = (page) => page.waitForFunction(() => {
  const frames = kestrixView.frames();
  globalThis.seen = globalThis.seen?.frames === frames ? globalThis.seen : { frames, at: Date.now() };
  return Date.now() - globalThis.seen.at > 300;
});

/** The canvas as PNG, once it stands still. */
export async function shotOf(page) {
  await rested(page);
  return page.locator('#canvas').screenshot();
}

/** The canvas as { pixels: red, green, blue, opacity of each, width, height }. */
export async function pictureOf(page) {
  const png = await shotOf(page);
  const other = await page.context().newPage();  // without the policy of the page
  const [text, width, height] = await other.evaluate(async (letters) => {
    const bytes = Uint8Array.from(atob(letters), (letter) => letter.charCodeAt(0));
    const image = await createImageBitmap(new Blob([bytes]));
    const context = new OffscreenCanvas(image.width, image.height).getContext('2d');
    context.drawImage(image, 0, 0);
    const { data } = context.getImageData(0, 0, image.width, image.height);
    let packed = '';
    for (let i = 0; i < data.length; i += 8192) {
      packed += String.fromCharCode(...data.subarray(i, i + 8192));
    }
    return [btoa(packed), image.width, image.height];
  }, png.toString('base64'));
  await other.close();
  return { pixels: Buffer.from(text, 'base64'), width, height };
}
