// Measures how quickly a recording of 10,000 frames is shown: the time to the first frame, the time of seeks to
// frames that were never shown before, and the server's memory.
// Usage: npm run bench -- DEPTHRW [FRAMES] [SOURCE]   SOURCE as of depthrw record (default: synthetic)
import { readFileSync, linkSync, mkdirSync, readdirSync } from 'node:fs';
import { join } from 'node:path';

const [program, frameCount = '10000', source = 'synthetic'] = process.argv.slice(2);
if (!program) {
  console.error('usage: npm run bench -- DEPTHRW [FRAMES] [SOURCE]');
  process.exit(2);
}
process.env.DEPTHRW = program;
const { makeDirectory, openPage, run, startBrowser, startViewer } = await import('../../tests/viewer/support.mjs');

const FRAMES = Number(frameCount);
const RECORDED = 20;
const SEEKS = 200;
const ENDINGS = ['depth.rle', 'depth.ref', 'depth.jpg', 'depth.err', 'bgrimage.jpg'];

/** A tree of many stamps, all of them links to the files of a few frames. */
function makeTree(directory) {
  const few = join(directory, 'few');
  run('record', '--out', few, '--source', source, '--frames', String(RECORDED), '--layout', 'tree');
  const stems = readdirSync(few, { recursive: true })
    .filter((name) => name.endsWith('-depth.rle'))
    .map((name) => join(few, name.slice(0, -'depth.rle'.length)))
    .sort();
  const tree = join(directory, 'tree');
  const two = (value) => String(value).padStart(2, '0');
  for (let i = 0; i < FRAMES; i += 1) {
    // Clips of two minutes, each hour one.
    const time = new Date(Date.UTC(2026, 3, 9, 6) + Math.floor(i / 3600) * 3600e3 + Math.round((i % 3600) * (1000 / 30)));
    const [year, month, day] = [time.getUTCFullYear(), two(time.getUTCMonth() + 1), two(time.getUTCDate())];
    const [hour, minute, second] = [time.getUTCHours(), time.getUTCMinutes(), time.getUTCSeconds()].map(two);
    const folder = join(tree, `${year}-${month}-${day}`, `${hour}h`, `${minute}mn`);
    mkdirSync(folder, { recursive: true });
    const milliseconds = String(time.getUTCMilliseconds()).padStart(3, '0');
    const stamp = `${year}-${month}-${day}T${hour}-${minute}-${second}.${milliseconds}000`;
    for (const ending of ENDINGS) linkSync(stems[i % stems.length] + ending, join(folder, `${stamp}-${ending}`));
  }
  return tree;
}

function memoryOf(id) {
  const status = readFileSync(`/proc/${id}/status`, 'utf8');
  return Number(/VmHWM:\s+(\d+) kB/.exec(status)[1]) / 1024;
}

/** Milliseconds from a key press or click until the frame wanted is on the screen. */
async function measureSeek(page, frame) {
  return page.evaluate(
    (wanted) =>
      new Promise((resolve) => {
        const begin = performance.now();
        const root = document.documentElement;
        const watcher = new MutationObserver(() => {
          if (root.dataset.frame !== String(wanted)) return;
          watcher.disconnect();
          // When the browser has painted it.
          requestAnimationFrame(() => requestAnimationFrame(() => resolve(performance.now() - begin)));
        });
        watcher.observe(root, { attributes: true });
        window.dispatchEvent(new CustomEvent('depthrw-seek', { detail: wanted }));
      }),
    frame,
  );
}

const text = (milliseconds) => `${milliseconds.toFixed(0)} ms`;
const middle = (values) => [...values].sort((a, b) => a - b)[values.length >> 1];

const directory = makeDirectory();
const tree = makeTree(directory);
const started = performance.now();
const viewer = await startViewer(tree, directory);
console.log(`frames                     ${FRAMES}`);
console.log(`server ready after         ${text(performance.now() - started)}`);
const browser = await startBrowser();
const warmUp = await openPage(browser.context, viewer.address);
await warmUp.close();
const firsts = [];
let page;
for (let i = 0; i < 5; i += 1) {
  await page?.close();
  page = await openPage(browser.context, viewer.address);
  firsts.push(
    await page.evaluate(
      () => performance.getEntriesByName('first frame')[0]?.startTime ?? NaN,
    ),
  );
}
console.log(`first frame on the page    ${text(middle(firsts))} (median of 5 loads, ${text(Math.max(...firsts))} at most)`);

let seed = 12345;
const random = () => {
  seed = (seed * 1103515245 + 12345) % 2147483648;
  return seed / 2147483648;
};
const seeks = [];
const visited = new Set([0]);
while (seeks.length < SEEKS) {
  const frame = Math.floor(random() * FRAMES);
  if (visited.has(frame)) continue;
  visited.add(frame);
  seeks.push(await measureSeek(page, frame));
}
const sorted = [...seeks].sort((a, b) => a - b);
console.log(
  `${SEEKS} random seeks           ${text(middle(seeks))} median, ${text(sorted[Math.floor(0.95 * SEEKS)])} for 95 %, ` +
    `${text(sorted[SEEKS - 1])} at most (seek ${seeks.indexOf(sorted[SEEKS - 1]) + 1}), ` +
    `${seeks.filter((seek) => seek > 100).length} over 100 ms`,
);
console.log(`server's memory at most    ${memoryOf(viewer.id).toFixed(0)} MB`);
await browser.stop();
await viewer.stop();
