// A recording, the program that shows it, and a browser that looks at it.
import { execFileSync, spawn } from 'node:child_process';
import { existsSync, mkdirSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

// Installed where the test or the benchmark runs, which is not where this file lies.
const { chromium } = createRequire(join(process.cwd(), 'package.json'))('playwright-core');

export const WIDTH = 640;
export const HEIGHT = 480;

const depthrw = process.env.DEPTHRW;
if (!depthrw) throw new Error('DEPTHRW must name the program');

export function run(...args) {
  return execFileSync(depthrw, args, { encoding: 'utf8', stdio: ['ignore', 'pipe', 'pipe'] });
}

/** A directory of its own, removed at the end. */
export function makeDirectory() {
  const path = mkdtempSync(join(tmpdir(), 'depthrw-page-'));
  process.on('exit', () => rmSync(path, { recursive: true, force: true }));
  return path;
}

/** Real frames where there are some, the synthetic scene elsewhere. */
export function sourceOf(name) {
  const frames = join(process.env.REAL_FRAMES ?? '', name);
  if (process.env.REAL_FRAMES && existsSync(join(frames, 'depth'))) return `images:${frames}`;
  console.log(`# there are no real frames '${frames}': the synthetic scene takes their place`);
  return 'synthetic';
}

/** The depth of a frame as `depthrw dump` gives it: metres, row by row. */
export function dumpedDepth(recording, frame, directory) {
  const file = join(directory, 'dump');
  run('dump', recording, String(frame), file);
  const bytes = readFileSync(file);
  return new Float32Array(bytes.buffer.slice(bytes.byteOffset + 8, bytes.byteOffset + bytes.length));
}

/** Starts `depthrw view`; resolves with the address it prints. */
export async function startViewer(recording, directory) {
  const exports = join(directory, 'exports');
  mkdirSync(exports, { recursive: true });
  const program = spawn(depthrw, ['view', recording, '--exports', exports], { stdio: ['ignore', 'pipe', 'pipe'] });
  let messages = '';
  program.stderr.on('data', (data) => {
    messages += data;
  });
  const ended = new Promise((resolve) => program.once('exit', resolve));
  const address = await new Promise((resolve, reject) => {
    let text = '';
    program.stdout.on('data', (data) => {
      text += data;
      if (text.includes('\n')) resolve(text.trim());
    });
    program.once('exit', () => reject(new Error(`depthrw view ended: ${messages}`)));
  });
  return {
    address,
    exports,
    id: program.pid,
    /** Resolves with the exit status. */
    stop() {
      program.kill('SIGTERM');
      return ended;
    },
  };
}

/** A Chromium that draws by software and goes nowhere by itself. */
export async function startBrowser(options = {}) {
  const profile = mkdtempSync(join(tmpdir(), 'depthrw-profile-'));
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    headless: true,
    viewport: { width: 1280, height: 720 },
    args: [
      '--no-sandbox',
      '--use-gl=angle',
      '--use-angle=swiftshader',
      '--enable-unsafe-swiftshader',
      '--disable-quic',
      '--no-first-run',
      '--disable-background-networking',
      '--disable-component-update',
      '--disable-sync',
    ],
    ...options,
  });
  return {
    context,
    async stop() {
      await context.close();
      rmSync(profile, { recursive: true, force: true });
    },
  };
}

/** Opens the page and waits for its first frame. What goes wrong in it is kept in `faults`. */
export async function openPage(context, address, { faults = [], requests = [] } = {}) {
  const page = await context.newPage();
  page.on('pageerror', (error) => faults.push(String(error)));
  page.on('console', (message) => {
    if (message.type() === 'error') faults.push(message.text());
  });
  page.on('request', (request) => requests.push(request.url()));
  await page.goto(address);
  await waitForFrame(page, 0, Infinity);
  return page;
}

export function shownFrame(page) {
  return page.evaluate(() => Number(document.documentElement.dataset.frame));
}

/** Waits until a frame from `least` to `most` is shown. */
export async function waitForFrame(page, least = 0, most = least) {
  await page.waitForFunction(
    ([first, last]) => {
      const { frame } = document.documentElement.dataset;
      return frame !== undefined && Number(frame) >= first && Number(frame) <= last;
    },
    [least, most],
    { timeout: 20000 },
  );
}

/** Where a pixel of an image lies on the screen. */
export async function placeOfPixel(page, stage, column, row) {
  const box = await page.locator(`#${stage} canvas`).first().boundingBox();
  return { x: box.x + ((column + 0.5) * box.width) / WIDTH, y: box.y + ((row + 0.5) * box.height) / HEIGHT };
}

export async function pointAt(page, column, row, stage = 'depth-stage') {
  const place = await placeOfPixel(page, stage, column, row);
  await page.mouse.move(place.x, place.y);
}
