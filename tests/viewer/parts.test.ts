// Parts of the page that need no browser.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Axis, PlayClock } from '../src/axis';
import { cameraOf, pointOf, seemsSwapped } from '../src/camera';
import { DepthPalette, NO_READING, scaleTicks, usualScale } from '../src/colour_map';
import { DepthFrame } from '../src/depth_frame';
import { bytesText, clockText, countText, dateText, durationText, metresText } from '../src/format';
import { Sequence, lastAtMost } from '../src/sequence';
import { timeTicks } from '../src/time_ticks';

function sequenceOf(times: number[], hasTimes = true): Sequence {
  const bytes = new ArrayBuffer(9 * times.length);
  new Float64Array(bytes, 0, times.length).set(times);
  return new Sequence(bytes, hasTimes);
}

test('the frame at or before a moment is found', () => {
  const values = [1, 3, 3, 8];
  assert.deepEqual([0, 1, 2, 3, 7, 8, 9].map((value) => lastAtMost(values, value)), [-1, 0, 0, 2, 2, 3, 3]);
});

test('steps longer than twice the usual one are gaps', () => {
  const sequence = sequenceOf([0, 33, 66, 200, 233]);
  assert.equal(sequence.medianStep, 33);
  assert.deepEqual(sequence.gaps, [{ after: 2, length: 134 }]);
});

test('frames without times are taken as 30 a second', () => {
  const sequence = sequenceOf([10, 11, 12], false);
  assert.ok(Math.abs(sequence.medianStep - 1000 / 30) < 1e-9);
});

test('a single frame and no frame are no trouble', () => {
  assert.equal(new Axis(sequenceOf([5]), true).frameAt(1e9), 0);
  assert.equal(new PlayClock(sequenceOf([5])).frameAt(0), 0);
  assert.equal(sequenceOf([]).count, 0);
});

test('long pauses are short on the axis, and their moments still found', () => {
  const hour = 3600e3;
  const times = [0, 33, 66, 99].flatMap((time) => [time, time + hour]).sort((a, b) => a - b);
  const axis = new Axis(sequenceOf(times), true);
  assert.ok(axis.end < 2000, `${axis.end}`);
  assert.equal(axis.stretches.length, 2);
  times.forEach((time, i) => {
    assert.equal(axis.frameAt(axis.places[i]), i);
    assert.equal(axis.placeOf(time), axis.places[i]);
    assert.equal(axis.timeAt(axis.places[i]), time);
  });
  assert.equal(new Axis(sequenceOf(times), false).end, hour + 99 + 33);
});

test('playing waits a second at most in a pause', () => {
  const clock = new PlayClock(sequenceOf([0, 33, 66, 3600e3]));
  assert.equal(clock.places[3], 1066);
});

test('ticks stand apart and in order', () => {
  const axis = new Axis(sequenceOf(Array.from({ length: 900 }, (_, i) => i * 33)), true);
  const ticks = timeTicks(axis, 0, axis.end, 1000 / axis.end);
  assert.ok(ticks.length >= 5 && ticks.length <= 11, `${ticks.length}`);
  ticks.slice(1).forEach((tick, i) => assert.ok((tick.place - ticks[i].place) * (1000 / axis.end) >= 80));
});

test('the principal point is taken row first, or swapped where that is plausible', () => {
  const asus = { a11: 533, a22: 533, cx: 240, cy: 320 };
  const kinect = { a11: 528, a22: 528, cx: 320, cy: 267 };
  assert.equal(seemsSwapped(asus, 640, 480), false);
  assert.equal(seemsSwapped(kinect, 640, 480), true);
  assert.deepEqual(pointOf(cameraOf(asus, false), 320 + 533, 240, 2), { x: 2, y: 0, z: 2 });
  assert.deepEqual(pointOf(cameraOf(kinect, true), 320, 267 + 528, 3), { x: 0, y: 3, z: 3 });
});

test('depths have their colours by the scale, and none without a reading', () => {
  const palette = new DepthPalette(usualScale);
  assert.equal(palette.colour(0.4), palette.colour(0.1));
  assert.equal(palette.colour(8), palette.colour(100));
  assert.notEqual(palette.colour(1), palette.colour(2));
  for (const none of [0, 0.01, 0.0499, NaN, Infinity]) assert.equal(palette.colour(none), NO_READING);
  assert.ok(Math.abs(palette.depthAt(palette.position(1.7)) - 1.7) < 1e-9);
});

test('the scale is written in round depths', () => {
  assert.deepEqual(scaleTicks(new DepthPalette({ ...usualScale, logarithmic: false, near: 1, far: 5 }), 6), [1, 2, 3, 5]);
  assert.deepEqual(scaleTicks(new DepthPalette(usualScale), 12), [0.4, 0.6, 0.8, 1, 1.5, 2, 3, 4, 6, 8]);
});

test('a frame with more labels than the table takes is read, too', () => {
  const pixels = 16;
  const words = new Uint32Array(10 + 1 + 2 * pixels);
  const reals = new Float32Array(words.buffer);
  new Uint8Array(words.buffer).set([68, 70, 82, 77]);
  words.set([1, 8, 2, 1, 1], 1);
  reals[10] = 1.5;
  reals[11 + 3] = 2.25;
  new Int32Array(words.buffer).fill(-1, 11 + pixels);
  words[11 + pixels + 3] = 0;
  const bytes = new Uint8Array(4 * words.length + 2);
  bytes.set(new Uint8Array(words.buffer));
  bytes[4 * words.length] = 8;
  const frame = new DepthFrame(bytes.buffer);
  assert.deepEqual(frame.pixel(3, 0), { column: 3, row: 0, depth: 2.25, label: 0, reference: 1.5, hasRecord: true });
  assert.deepEqual(frame.pixel(4, 1), { column: 4, row: 1, depth: 0, label: -1, reference: 0, hasRecord: false });
});

test('what is no frame is refused', () => {
  assert.throws(() => new DepthFrame(new ArrayBuffer(3)));
  assert.throws(() => new DepthFrame(new ArrayBuffer(100)));
});

test('numbers and times are written for people', () => {
  assert.equal(clockText(Date.UTC(2013, 3, 9, 14, 5, 7, 42)), '14:05:07.042');
  assert.equal(dateText(Date.UTC(2013, 3, 9)), '2013-04-09');
  assert.deepEqual(
    [5, 1500, 61e3, 3600e3, 3 * 3600e3 + 12 * 60e3, 26 * 3600e3, 3599.9e3].map(durationText),
    ['5 ms', '1.5 s', '1 min 1 s', '1 h', '3 h 12 min', '1 d 2 h', '1 h'],
  );
  assert.deepEqual([7, 999, 1500, 187000, 999600, 2.5e9].map(bytesText), ['7 B', '999 B', '1.5 kB', '187 kB', '1 MB', '2.5 GB']);
  assert.equal(countText(1234567), '1\u202f234\u202f567');
  assert.equal(metresText(-0.0814), '\u22120.081 m');
});
