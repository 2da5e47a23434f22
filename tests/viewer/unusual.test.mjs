// The page of depthrw view with recordings that are damaged, bare or still growing, and without its server.
import assert from 'node:assert/strict';
import { mkdirSync, readdirSync, renameSync, rmSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { makeDirectory, openPage, run, startBrowser, startViewer, waitForFrame } from './support.mjs';

const directory = makeDirectory();
const recording = join(directory, 'recording');
let browser;

before(async () => {
  run('record', '--out', recording, '--source', 'synthetic', '--frames', '12');
  browser = await startBrowser();
});

after(() => browser?.stop());

test('it goes on over a damaged frame, and tells in its place what is wrong', async () => {
  const damaged = join(directory, 'damaged');
  run('record', '--out', damaged, '--source', 'synthetic', '--layout', 'flat', '--frames', '6');
  rmSync(join(damaged, 'depth-00000002.rle'));
  writeFileSync(join(damaged, 'bgrimage-00000003.jpg'), 'no picture');
  const shown = await startViewer(damaged, join(directory, 'damaged-exports'));
  const own = await openPage(browser.context, shown.address);
  await own.keyboard.press('ArrowRight');
  await own.keyboard.press('ArrowRight');
  await waitForFrame(own, 2);
  assert.match(await own.locator('#depth-stage .stage-message').textContent(), /depth-00000002.*\.rle' is missing/);
  await own.keyboard.press('ArrowRight');
  await waitForFrame(own, 3);
  assert.match(await own.locator('#colour-stage .stage-message').textContent(), /No colour image/);
  await own.keyboard.press('Home');
  await waitForFrame(own, 0);
  await own.keyboard.press('Space');
  await waitForFrame(own, 5);
  await own.close();
  await shown.stop();
});

test('it shows frames that have neither times nor colour, and a single one', async () => {
  const plain = join(directory, 'plain');
  run('record', '--out', plain, '--source', 'synthetic', '--layout', 'numbered', '--per-directory', '2', '--frames', '3', '--no-colour');
  const flat = join(directory, 'flat');
  run('record', '--out', flat, '--source', 'synthetic', '--layout', 'flat', '--frames', '1', '--no-colour');
  rmSync(join(flat, 'recording.json'));
  for (const [path, last] of [
    [plain, 2],
    [flat, 0],
  ]) {
    const shown = await startViewer(path, join(directory, 'more-exports'));
    const own = await openPage(browser.context, shown.address);
    assert.equal(await own.locator('#colour-panel').isVisible(), false);
    await own.keyboard.press('End');
    await waitForFrame(own, last);
    await own.keyboard.press('Space');
    await own.locator('#play[aria-label=Play]').waitFor();
    await own.close();
    await shown.stop();
  }
});

test('it follows a recording that grows', async () => {
  const growing = join(directory, 'growing');
  const aside = join(directory, 'aside');
  run('record', '--out', growing, '--source', 'synthetic', '--layout', 'flat', '--frames', '4');
  mkdirSync(aside);
  const late = readdirSync(growing).filter((name) => name.includes('00000003'));
  for (const name of late) renameSync(join(growing, name), join(aside, name));
  const shown = await startViewer(growing, join(directory, 'growing-exports'));
  const own = await openPage(browser.context, shown.address);
  await own.keyboard.press('f');
  await waitForFrame(own, 2);
  for (const name of late) renameSync(join(aside, name), join(growing, name));
  await waitForFrame(own, 3);
  await own.close();
  await shown.stop();
});

test('it wants the whole address', async () => {
  const shown = await startViewer(recording, directory);
  const own = await browser.context.newPage();
  await own.goto(shown.address.replace(/#.*/, ''));
  await own.locator('#gate', { hasText: 'whole address' }).waitFor();
  await own.close();
  await shown.stop();
});

test('it tells when the server is gone', async () => {
  const shown = await startViewer(recording, join(directory, 'gone-exports'));
  const own = await openPage(browser.context, shown.address);
  await shown.stop();
  await own.keyboard.press('End');
  await own.locator('#trouble', { hasText: 'does not answer' }).waitFor();
  await own.close();
});
