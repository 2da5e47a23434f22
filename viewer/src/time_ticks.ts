// Which moments are written along the timeline.

import type { Axis, Stretch } from './axis';
import { clockText, dateText } from './format';

export interface Tick {
  /** On the axis. */
  place: number;
  text: string;
  isMajor: boolean;
}

const STEPS = [
  1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 15000, 30000, 60000, 120000, 300000, 600000, 900000,
  1800000, 3600000, 7200000, 10800000, 21600000, 43200000, 86400000, 172800000, 604800000, 2592000000,
];

/** Ticks between two places of the axis, `perUnit` pixels for each of its units. */
export function timeTicks(axis: Axis, from: number, to: number, perUnit: number): Tick[] {
  const { hasTimes } = axis.sequence;
  const apart = 92 / perUnit;
  const step = STEPS.find((candidate) => candidate >= apart) ?? STEPS[STEPS.length - 1];
  const ticks: Tick[] = [];
  let day = '';
  for (const stretch of axis.stretches) {
    if (stretch.end < from || stretch.begin > to) continue;
    const stamps = stretchTicks(stretch, step, from, to);
    // A short stretch between pauses gets its beginning at least.
    if (stamps.length === 0 && axis.stretches.length > 1) stamps.push(stretch.startTime);
    for (const time of stamps) {
      const place = stretch.begin + (time - stretch.startTime);
      const last = ticks[ticks.length - 1];
      if (last && place - last.place < apart * 0.98) continue;
      const newDay = hasTimes && dateText(time) !== day;
      if (newDay) day = dateText(time);
      ticks.push({ place, text: hasTimes ? tickText(time, step, newDay) : String(Math.round((time * 30) / 1000)), isMajor: newDay });
    }
  }
  return ticks;
}

function stretchTicks(stretch: Stretch, step: number, from: number, to: number): number[] {
  const begin = Math.max(stretch.begin, from) - stretch.begin + stretch.startTime;
  const end = Math.min(stretch.end, to) - stretch.begin + stretch.startTime;
  const stamps: number[] = [];
  for (let time = Math.ceil(begin / step) * step; time <= end && stamps.length < 200; time += step) stamps.push(time);
  return stamps;
}

function tickText(time: number, step: number, withDate: boolean): string {
  if (step >= 86400000) return dateText(time);
  const clock = clockText(time, step < 1000);
  const short = step >= 60000 ? clock.slice(0, 5) : clock;
  return withDate ? `${dateText(time).slice(5)} ${short}` : short;
}
