// Where frames stand along the timeline, and how fast they are played: time, with long pauses made short.

import { type Sequence, lastAtMost } from './sequence';

/** A stretch of time in which the axis runs evenly. */
export interface Stretch {
  firstFrame: number;
  lastFrame: number;
  /** On the axis. */
  begin: number;
  end: number;
  startTime: number;
}

/** Units of the axis are milliseconds, except in pauses. */
export class Axis {
  /** Place of each frame. */
  readonly places: Float64Array;
  readonly end: number;
  readonly stretches: Stretch[] = [];

  constructor(
    readonly sequence: Sequence,
    readonly shortensGaps: boolean,
  ) {
    this.places = new Float64Array(sequence.count);
    const longest = shortensGaps ? longestShown(sequence) : Infinity;
    let firstFrame = 0;
    const close = (lastFrame: number): void => {
      this.stretches.push({
        firstFrame,
        lastFrame,
        begin: this.places[firstFrame],
        end: this.places[lastFrame] + sequence.medianStep,
        startTime: sequence.times[firstFrame],
      });
      firstFrame = lastFrame + 1;
    };
    for (let i = 1; i < sequence.count; i += 1) {
      const step = Math.max(0, sequence.step(i - 1));
      this.places[i] = this.places[i - 1] + Math.min(step, longest + sequence.medianStep);
      if (step > longest + sequence.medianStep) close(i - 1);
    }
    if (sequence.count > 0) close(sequence.last);
    this.end = sequence.count > 0 ? this.places[sequence.last] + sequence.medianStep : 1;
  }

  /** The frame that is shown at a place. */
  frameAt(place: number): number {
    return Math.max(0, lastAtMost(this.places, place));
  }

  /** The place of a moment; moments in a shortened pause stand where it begins. */
  placeOf(time: number): number {
    const { times } = this.sequence;
    const frame = lastAtMost(times, time);
    if (frame < 0) return 0;
    const next = frame < this.sequence.last ? this.places[frame + 1] : this.end;
    return Math.min(this.places[frame] + time - times[frame], next);
  }

  /** The moment of a place; within a shortened pause, that of the frame before it. */
  timeAt(place: number): number {
    const frame = this.frameAt(place);
    const beyond = Math.min(Math.max(0, place - this.places[frame]), this.sequence.step(frame));
    return this.sequence.times[frame] + beyond;
  }
}

/** Pauses longer than this are shown that long. */
function longestShown(sequence: Sequence): number {
  const { medianStep } = sequence;
  const long = Math.max(1500, 20 * medianStep);
  let rest = 0;
  let pauses = 0;
  for (let i = 0; i < sequence.last; i += 1) {
    if (sequence.step(i) > long) pauses += 1;
    else rest += Math.max(0, sequence.step(i));
  }
  if (pauses === 0) return Infinity;
  // All pauses together take at most a third of the axis.
  return Math.min(long, Math.max(2 * medianStep, rest / (2 * pauses), 1), Math.max(rest * 0.05, medianStep));
}

/** Where playing is, in milliseconds of the recording: pauses last a second at most. */
export class PlayClock {
  readonly places: Float64Array;
  readonly end: number;

  constructor(sequence: Sequence) {
    const longest = Math.max(1000, 2 * sequence.medianStep);
    this.places = new Float64Array(sequence.count);
    for (let i = 1; i < sequence.count; i += 1) {
      this.places[i] = this.places[i - 1] + Math.min(Math.max(0, sequence.step(i - 1)), longest);
    }
    this.end = (this.places[sequence.last] ?? 0) + sequence.medianStep;
  }

  frameAt(place: number): number {
    return Math.max(0, lastAtMost(this.places, place));
  }
}
