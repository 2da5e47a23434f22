// Draws the pictures of the documentation: a recording of the program's own scene, in the page.
// Usage: npm run screenshots -- DEPTHRW DIRECTORY
import { execFileSync, spawn } from 'node:child_process';
import { join } from 'node:path';

const [program, target] = process.argv.slice(2);
if (!program || !target) {
  console.error('usage: npm run screenshots -- DEPTHRW DIRECTORY');
  process.exit(2);
}
process.env.DEPTHRW = program;
const { makeDirectory, openPage, pointAt, startBrowser, startViewer, waitForFrame } = await import(
  '../../tests/viewer/support.mjs'
);

const sleep = (milliseconds) => new Promise((resolve) => setTimeout(resolve, milliseconds));

/** Two signals, each with the seconds around it: a recording with a pause. */
async function record(recording) {
  const recorder = spawn(program, [
    ...['record', '--out', recording, '--source', 'synthetic', '--loop', '--realtime', '--duration', '13'],
    ...['--trigger', 'signal', '--before', '2', '--after', '1'],
  ]);
  const ended = new Promise((resolve) => recorder.once('exit', resolve));
  for (const wait of [3500, 5500]) {
    await sleep(wait);
    recorder.kill('SIGUSR1');
  }
  await ended;
}

const directory = makeDirectory();
const recording = join(directory, 'workshop');
await record(recording);
const viewer = await startViewer(recording, directory);

async function picture(name, options, prepare) {
  const browser = await startBrowser(options);
  const page = await openPage(browser.context, viewer.address);
  await prepare(page);
  await sleep(1500);
  const full = join(directory, name);
  await page.screenshot({ path: full });
  await browser.stop();
  // With a palette it is half as large, and looks the same.
  const palette = 'split[a][b];[a]palettegen=max_colors=256[p];[b][p]paletteuse=dither=sierra2_4a';
  execFileSync('ffmpeg', ['-loglevel', 'error', '-y', '-i', full, '-vf', palette, join(target, name)]);
}

async function goTo(page, frame) {
  await page.evaluate((wanted) => window.dispatchEvent(new CustomEvent('depthrw-seek', { detail: wanted })), frame);
  await waitForFrame(page, frame);
}

await picture('viewer-light.png', { viewport: { width: 1600, height: 900 }, colorScheme: 'light' }, async (page) => {
  await goTo(page, 40);
  await pointAt(page, 330, 250);
});
await picture('viewer-dark.png', { viewport: { width: 1600, height: 900 }, colorScheme: 'dark' }, async (page) => {
  await goTo(page, 62);
  await page.keyboard.press('[');
  await goTo(page, 120);
  await page.keyboard.press(']');
  await goTo(page, 75);
  await page.selectOption('#overlay', 'records');
  await page.focus('#cloud-stage');
  for (let i = 0; i < 3; i += 1) await page.keyboard.press('Shift+ArrowLeft');
  await pointAt(page, 200, 200, 'colour-stage');
});
await viewer.stop();
