// The frames of a recording in their order: when each was taken, and where the long pauses are.

export const enum FrameState {
  lacksDepthFile = 1,
  lacksColour = 2,
  hasColour = 4,
}

/** A step between two frames that is longer than usual. */
export interface Gap {
  /** The frame before it. */
  after: number;
  /** Milliseconds. */
  length: number;
}

const USUAL_STEP = 1000 / 30;

export class Sequence {
  readonly count: number;
  /** Milliseconds; of frames without times, as if they had come at 30 a second. */
  readonly times: Float64Array;
  readonly states: Uint8Array;
  /** Milliseconds from a frame to the next, in the middle. */
  readonly medianStep: number;
  readonly gaps: Gap[] = [];

  constructor(
    bytes: ArrayBuffer,
    readonly hasTimes: boolean,
  ) {
    this.count = Math.floor(bytes.byteLength / 9);
    const places = new Float64Array(bytes, 0, this.count);
    this.times = hasTimes ? places : places.map((number) => number * USUAL_STEP);
    this.states = new Uint8Array(bytes, 8 * this.count, this.count);
    this.medianStep = medianStep(this.times);
    this.findGaps();
  }

  get last(): number {
    return this.count - 1;
  }

  has(index: number, state: FrameState): boolean {
    return (this.states[index] & state) !== 0;
  }

  step(index: number): number {
    return index < this.last ? this.times[index + 1] - this.times[index] : this.medianStep;
  }

  isGapBefore(index: number): boolean {
    return index > 0 && this.step(index - 1) > 2 * this.medianStep;
  }

  clamp(index: number): number {
    return Math.min(this.last, Math.max(0, Math.round(index)));
  }

  private findGaps(): void {
    for (let i = 0; i < this.last; i += 1) {
      const length = this.step(i);
      if (length > 2 * this.medianStep) this.gaps.push({ after: i, length });
    }
  }
}

function medianStep(times: Float64Array): number {
  if (times.length < 2) return USUAL_STEP;
  const steps = new Float64Array(times.length - 1);
  for (let i = 0; i < steps.length; i += 1) steps[i] = times[i + 1] - times[i];
  steps.sort();
  return Math.max(1, steps[steps.length >> 1]);
}

/** Number of the last of increasing values that is at most `value`; -1 when there is none. */
export function lastAtMost(values: ArrayLike<number>, value: number): number {
  let low = 0;
  let high = values.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (values[middle] <= value) low = middle + 1;
    else high = middle;
  }
  return low - 1;
}
