// The page of depthrw view, driven in a browser as a user does.
import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import {
  WIDTH,
  dumpedDepth,
  makeDirectory,
  openPage,
  pointAt,
  run,
  shownFrame,
  sourceOf,
  startBrowser,
  startViewer,
  waitForFrame,
} from './support.mjs';

const FRAMES = 40;
const directory = makeDirectory();
const recording = join(directory, 'kitchen');
const faults = [];
const requests = [];
let viewer;
let browser;
let page;

before(async () => {
  run('record', '--out', recording, '--source', sourceOf('kinect_kitchen'), '--frames', String(FRAMES));
  viewer = await startViewer(recording, directory);
  browser = await startBrowser();
  page = await openPage(browser.context, viewer.address, { faults, requests });
});

after(async () => {
  await browser?.stop();
  assert.equal(await viewer?.stop(), 0, 'the server ends well');
});

const text = (id) => page.locator(`#${id}`).textContent();

/** Counts the pixels of an image of the page that have a colour. */
function countPixels(stage, wanted) {
  return page.evaluate(
    ([id, [red, green, blue]]) => {
      const canvas = document.querySelector(`#${id} canvas`);
      const { data } = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
      let count = 0;
      for (let i = 0; i < data.length; i += 4) {
        if (data[i] === red && data[i + 1] === green && data[i + 2] === blue) count += 1;
      }
      return count;
    },
    [stage, wanted],
  );
}

/** How far the pixels of an image of the page lie from those of another image, and what share differs. */
function compareWith(stage, base64) {
  return page.evaluate(
    async ([id, encoded]) => {
      const canvas = document.querySelector(`#${id} canvas`);
      const { width, height } = canvas;
      const bytes = Uint8Array.from(atob(encoded), (c) => c.charCodeAt(0));
      const image = await createImageBitmap(new Blob([bytes], { type: 'image/png' }));
      const context = Object.assign(document.createElement('canvas'), { width, height }).getContext('2d');
      context.drawImage(image, 0, 0);
      const other = context.getImageData(0, 0, width, height).data;
      const { data } = canvas.getContext('2d').getImageData(0, 0, width, height);
      let sum = 0;
      let differing = 0;
      for (let i = 0; i < data.length; i += 1) {
        sum += Math.abs(data[i] - other[i]);
        if (data[i] !== other[i]) differing += 1;
      }
      return { mean: sum / data.length, share: differing / data.length };
    },
    [stage, base64],
  );
}

/** An image of the page as it is now. */
function pictureOf(stage) {
  return page.evaluate((id) => document.querySelector(`#${id} canvas`).toDataURL('image/png').split(',')[1], stage);
}

function colourAt(stage, index) {
  return page.evaluate(
    ([id, place]) => {
      const canvas = document.querySelector(`#${id} canvas`);
      const across = place % canvas.width;
      const down = Math.floor(place / canvas.width);
      return [...canvas.getContext('2d').getImageData(across, down, 1, 1).data].slice(0, 3);
    },
    [stage, index],
  );
}

async function chooseOverlay(name) {
  for (let i = 0; i < 3 && (await page.locator('#overlay').inputValue()) !== name; i += 1) await page.keyboard.press('o');
  assert.equal(await page.locator('#overlay').inputValue(), name);
}

/** Chooses frames by keys that do not depend on what has the focus. */
async function show(frame) {
  await page.evaluate(() => document.activeElement?.blur());
  await page.keyboard.press('Home');
  await waitForFrame(page, 0);
  for (let i = 0; i < frame; i += 1) await page.keyboard.press('ArrowRight');
  await waitForFrame(page, frame);
}

test('it opens with the first frame, the name and the number of frames', async () => {
  assert.equal(await shownFrame(page), 0);
  assert.equal(await text('name'), 'kitchen');
  assert.match(await text('summary'), new RegExp(`^${FRAMES} frames`));
  assert.equal(await page.title(), 'kitchen – depthrw view');
});

test('its token does not stay in the address bar', () => {
  assert.ok(!page.url().includes('token'), page.url());
});

test('it shows the metres under the pointer as depthrw reads them', async () => {
  const places = [];
  for (const column of [0, 77, 200, 320, 411, 555, 639]) for (const row of [0, 63, 240, 333, 479]) places.push([column, row]);
  let readings = 0;
  for (const frame of [0, 7]) {
    await show(frame);
    const depth = dumpedDepth(recording, frame, directory);
    for (const [column, row] of places) {
      await pointAt(page, column, row);
      const metres = depth[row * WIDTH + column];
      const isReading = metres >= 0.05;
      assert.equal(await text('pixel-value'), isReading ? `${metres.toFixed(3)} m` : 'no reading', `${column}, ${row}`);
      if (isReading) readings += 1;
    }
  }
  assert.ok(readings > 20, `${readings} of the pixels have a reading`);
});

test('it reads the pixel of the depth under a pointer on the colour image', async () => {
  await show(0);
  const metres = dumpedDepth(recording, 0, directory)[300 * WIDTH + 400];
  await pointAt(page, 400, 300, 'colour-stage');
  assert.equal(await text('pixel-value'), metres >= 0.05 ? `${metres.toFixed(3)} m` : 'no reading');
  assert.match(await text('pixel-line'), /column400row300/);
});

test('it shows the colours that were recorded, red as red', async () => {
  await show(0);
  const exported = join(directory, 'colours');
  run('export', recording, '--to', 'png', '--colour', 'png', '--out', exported, '--stride', String(FRAMES));
  const [name] = readdirSync(join(exported, 'rgb'));
  const png = readFileSync(join(exported, 'rgb', name)).toString('base64');
  const { mean } = await compareWith('colour-stage', png);
  assert.ok(mean < 3, `colours differ by ${mean}`);
});

test('it steps, jumps to the ends and seeks on the timeline', async () => {
  await show(0);
  await page.keyboard.press('ArrowRight');
  await waitForFrame(page, 1);
  await page.keyboard.press('End');
  await waitForFrame(page, FRAMES - 1);
  assert.equal(await text('place'), `frame ${FRAMES} of ${FRAMES}`);
  await page.keyboard.press('ArrowLeft');
  await waitForFrame(page, FRAMES - 2);
  const lanes = await page.locator('#timeline').boundingBox();
  await page.mouse.click(lanes.x + 70 + (lanes.width - 80) / 2, lanes.y + 60);
  await waitForFrame(page, FRAMES / 2 - 1, FRAMES / 2 + 1);
  const slider = page.locator('#timeline');
  assert.equal(Number(await slider.getAttribute('aria-valuenow')), (await shownFrame(page)) + 1);
});

test('it plays, and stops where it is paused', async () => {
  await show(0);
  await page.keyboard.press('Space');
  await waitForFrame(page, 5, FRAMES);
  assert.equal(await page.locator('#play').getAttribute('aria-label'), 'Pause');
  await page.keyboard.press('Space');
  await page.waitForTimeout(300);
  const paused = await shownFrame(page);
  await page.waitForTimeout(300);
  assert.equal(await shownFrame(page), paused);
});

test('it plays to the end and stays there', async () => {
  await show(0);
  await page.selectOption('#speed', '8');
  await page.click('#play');
  await waitForFrame(page, FRAMES - 1);
  await page.locator('#play[aria-label=Play]').waitFor();
  await page.selectOption('#speed', '1');
});

test('it lays the error map over the depth: a pixel for each record', async () => {
  await show(2);
  await chooseOverlay('records');
  const marked = await countPixels('depth-stage', [255, 64, 210]);
  await page.waitForFunction(() => document.getElementById('frame-line').textContent.includes('exact codes'));
  const told = /exact codes([\d\u202f]+)/.exec(await text('frame-line'))[1].replace(/\u202f/g, '');
  assert.ok(marked > 0);
  assert.equal(marked, Number(told));
});

test('it lays the labels over the depth', async () => {
  await chooseOverlay('labels');
  const labels = await pictureOf('depth-stage');
  await chooseOverlay('none');
  const { share } = await compareWith('depth-stage', labels);
  assert.ok(share > 0.2, `${share} of the values changed`);
});

test('its colours mean the same metres on every frame', async () => {
  await show(0);
  const metres = dumpedDepth(recording, 0, directory)[240 * WIDTH + 320];
  const colours = [];
  for (const frame of [0, 9]) {
    await show(frame);
    const place = dumpedDepth(recording, frame, directory).findIndex((depth) => Math.abs(depth - metres) < 0.004);
    assert.ok(place >= 0);
    colours.push(await colourAt('depth-stage', place));
  }
  const apart = colours[0].map((value, i) => Math.abs(value - colours[1][i]));
  assert.ok(Math.max(...apart) <= 4, colours.join(' and '));
});

test('its cloud turns by keys and by the mouse', async () => {
  await show(0);
  await page.keyboard.press('3');
  const stage = page.locator('#cloud-stage');
  await stage.waitFor();
  const settled = async () => {
    await page.waitForTimeout(700);
    return stage.screenshot();
  };
  const colours = await page.evaluate(async (base64) => {
    const bytes = Uint8Array.from(atob(base64), (c) => c.charCodeAt(0));
    const image = await createImageBitmap(new Blob([bytes]));
    const context = Object.assign(document.createElement('canvas'), { width: image.width, height: image.height }).getContext('2d');
    context.drawImage(image, 0, 0);
    const { data } = context.getImageData(0, 0, image.width, image.height);
    const seen = new Set();
    for (let i = 0; i < data.length; i += 4) seen.add((data[i] << 16) | (data[i + 1] << 8) | data[i + 2]);
    return seen.size;
  }, (await settled()).toString('base64'));
  assert.ok(colours > 500, `the cloud shows ${colours} colours`);
  const still = await settled();
  assert.deepEqual(await settled(), still, 'nothing turns by itself');
  await stage.focus();
  await page.keyboard.press('Shift+ArrowRight');
  const turned = await settled();
  assert.notDeepEqual(turned, still);
  const box = await stage.boundingBox();
  await page.mouse.move(box.x + 100, box.y + 100);
  await page.mouse.down();
  await page.mouse.move(box.x + 180, box.y + 120, { steps: 4 });
  await page.mouse.up();
  assert.notDeepEqual(await settled(), turned);
  await page.keyboard.press('3');
});

test('it marks a range by keys and exports it', async () => {
  await show(3);
  await page.keyboard.press('[');
  for (let i = 0; i < 4; i += 1) await page.keyboard.press('ArrowRight');
  await waitForFrame(page, 7);
  await page.keyboard.press(']');
  assert.match(await text('range-text'), /^5 frames marked/);
  await page.keyboard.press('e');
  await page.locator('#export').waitFor();
  assert.match(await text('export-what'), /^The marked range: 5 frames/);
  await page.check('input[value=png]');
  await page.fill('#export-name', 'clip');
  await page.click('#export-start');
  await page.locator('.job.done').waitFor({ timeout: 30000 });
  assert.equal(readdirSync(join(viewer.exports, 'clip', 'depth')).length, 5);
  await page.click('#export-start');
  await page.locator('#export-fault', { hasText: 'there already' }).waitFor();
  // The browser tells of the refusal, too.
  faults.splice(0, faults.length, ...faults.filter((fault) => !fault.includes('409')));
  await page.keyboard.press('Escape');
  await page.keyboard.press('Escape');
  assert.equal(await text('range-text'), '');
});

test('it can be used without a mouse', async () => {
  await page.evaluate(() => document.activeElement?.blur());
  const reached = new Set();
  for (let i = 0; i < 60; i += 1) {
    await page.keyboard.press('Tab');
    reached.add(await page.evaluate(() => document.activeElement?.id || document.activeElement?.textContent.trim()));
  }
  for (const id of ['show-cloud', 'export-open', 'overlay', 'depth-stage', 'colour-stage', 'play', 'speed', 'timeline']) {
    assert.ok(reached.has(id), `${id} is not reached`);
  }
  await show(0);
  await page.locator('#depth-stage').focus();
  await page.mouse.move(640, 5);
  await page.keyboard.press('Shift+ArrowRight');
  assert.match(await text('pixel-line'), /column321row240/);
  await page.keyboard.press('Enter');
  await page.keyboard.press('Escape');
});

test('every control has a name', async () => {
  const nameless = await page.evaluate(() =>
    [...document.querySelectorAll('button, select, input, [role=slider], [role=img], dialog')]
      .filter((control) => {
        const labels = control.labels ? [...control.labels].map((label) => label.textContent).join('') : '';
        const labelledBy = control.getAttribute('aria-labelledby');
        const named = labelledBy ? document.getElementById(labelledBy)?.textContent : '';
        return !(control.getAttribute('aria-label') || labels || named || control.textContent).trim();
      })
      .map((control) => control.id),
  );
  assert.deepEqual(nameless, []);
});

test('its texts stand out in light and in dark', async () => {
  for (const theme of ['light', 'dark']) {
    await page.emulateMedia({ colorScheme: theme });
    await page.locator(`html[data-theme=${theme}]`).waitFor();
    const contrasts = await page.evaluate(() => {
      const context = document.createElement('canvas').getContext('2d');
      const luminance = (name) => {
        context.fillStyle = getComputedStyle(document.documentElement).getPropertyValue(`--${name}`);
        context.fillRect(0, 0, 1, 1);
        const [red, green, blue] = [...context.getImageData(0, 0, 1, 1).data].map((value) => {
          const share = value / 255;
          return share <= 0.04045 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4;
        });
        return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
      };
      const pairs = ['text panel', 'text-soft panel', 'text-soft background', 'text-soft lane', 'accent-text accent', 'fault panel', 'fault fault-soft', 'text accent-soft'];
      return pairs.map((pair) => {
        const [darker, lighter] = pair.split(' ').map(luminance).sort((a, b) => a - b);
        return [pair, (lighter + 0.05) / (darker + 0.05)];
      });
    });
    for (const [pair, contrast] of contrasts) assert.ok(contrast >= 4.5, `${pair} in ${theme}: ${contrast.toFixed(2)}`);
  }
});

test('it asked nobody but its server, and nothing went wrong in it', () => {
  const place = viewer.address.replace(/#.*/, '');
  const foreign = requests.filter((url) => !url.startsWith(place) && !url.startsWith('data:') && !url.startsWith('blob:'));
  assert.deepEqual(foreign, []);
  assert.ok(requests.length > 10);
  assert.deepEqual(faults, []);
});
