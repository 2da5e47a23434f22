// What the server finds out about all frames in the background, fetched bit by bit.

import { ApiError, api } from './api';
import type { Sequence } from './sequence';

/** What the files of a frame tell; see tools/viewer/frame_facts.h. */
export interface Facts {
  colour: number;
  codes: number;
  labelMap: number;
  references: number;
  errors: number;
  labels: number;
  runs: number;
  records: number;
}

const FIELDS = 8;
const QUICK_POLL = 250;
const SLOW_POLL = 1500;

export class Survey {
  /** Fields of each frame in a row. */
  private facts: Uint32Array;
  private isKnown: Uint8Array;
  /** Share of pixels that moved; NaN: not known. */
  motion: Float32Array;
  knownFacts = 0;
  knownMotion = 0;
  private motionPart = { first: 0, last: 0 };
  private motionTimer = 0;
  private isAsking = false;
  onNews: () => void = () => {};

  /** Largest of all frames known. */
  mostBytes = 1;
  mostLabels = 1;

  constructor(
    private sequence: Sequence,
    private generation: number,
  ) {
    const { count } = sequence;
    this.facts = new Uint32Array(FIELDS * count);
    this.isKnown = new Uint8Array(count);
    this.motion = new Float32Array(count).fill(NaN);
    this.motionPart = { first: 0, last: count - 1 };
  }

  start(): void {
    void this.askForFacts();
    void this.askForMotion();
  }

  renew(sequence: Sequence, generation: number): void {
    const { count } = sequence;
    const stays = generation === this.generation;
    const grow = <T extends Uint32Array | Uint8Array | Float32Array>(fresh: T, old: T): T => {
      if (stays) fresh.set(old.subarray(0, fresh.length));
      return fresh;
    };
    this.facts = grow(new Uint32Array(FIELDS * count), this.facts);
    this.isKnown = grow(new Uint8Array(count), this.isKnown);
    this.motion = grow(new Float32Array(count).fill(NaN), this.motion);
    if (!stays) this.knownFacts = this.knownMotion = 0;
    this.sequence = sequence;
    this.generation = generation;
    this.start();
  }

  factsOf(index: number): Facts | null {
    if (!this.isKnown[index]) return null;
    const [colour, codes, labelMap, references, errors, labels, runs, records] = this.facts.subarray(
      FIELDS * index,
      FIELDS * (index + 1),
    );
    return { colour, codes, labelMap, references, errors, labels, runs, records };
  }

  knows(index: number): boolean {
    return this.isKnown[index] !== 0;
  }

  field(index: number, field: number): number {
    return this.facts[FIELDS * index + field];
  }

  /** The part of the recording that is looked at: its motion is measured first. */
  look(first: number, last: number): void {
    if (first === this.motionPart.first && last === this.motionPart.last) return;
    this.motionPart = { first, last };
    window.clearTimeout(this.motionTimer);
    this.motionTimer = window.setTimeout(() => void this.askForMotion(), QUICK_POLL);
  }

  private async askForFacts(): Promise<void> {
    if (this.isAsking) return;
    this.isAsking = true;
    try {
      while (this.knownFacts < this.sequence.count) {
        const words = new Uint32Array(await api.facts(this.generation, this.knownFacts));
        const found = this.takeFacts(words);
        await pause(found > 0 ? QUICK_POLL : SLOW_POLL / 3);
      }
    } catch (error) {
      // The chart stays as it is; a changed recording starts anew.
      if (!(error instanceof ApiError)) window.setTimeout(() => void this.askForFacts(), SLOW_POLL);
    } finally {
      this.isAsking = false;
    }
  }

  private takeFacts(words: Uint32Array): number {
    const generation = words[0];
    if (generation !== this.generation) return 0;
    const stride = FIELDS + 1;
    const found = Math.floor((words.length - 2) / stride);
    for (let i = 0; i < found; i += 1) {
      const finding = words.subarray(2 + i * stride, 2 + (i + 1) * stride);
      const index = finding[0];
      if (index >= this.sequence.count) continue;
      this.facts.set(finding.subarray(1), FIELDS * index);
      this.isKnown[index] = 1;
      this.mostBytes = Math.max(this.mostBytes, finding[1] + finding[2] + finding[3] + finding[4] + finding[5]);
      this.mostLabels = Math.max(this.mostLabels, finding[6]);
    }
    this.knownFacts += found;
    if (found > 0) this.onNews();
    return found;
  }

  private async askForMotion(): Promise<void> {
    window.clearTimeout(this.motionTimer);
    const { generation, motionPart } = this;
    try {
      const answer = await api.motion(generation, this.knownMotion, motionPart.first, motionPart.last);
      if (generation !== this.generation) return;
      for (const [index, share] of answer.samples) {
        // After a pause, the frame before is no measure.
        const isKnown = share >= 0 && !this.sequence.isGapBefore(index);
        if (index < this.sequence.count) this.motion[index] = isKnown ? share : NaN;
      }
      this.knownMotion = answer.known;
      if (answer.samples.length > 0) this.onNews();
      if (answer.complete && motionPart === this.motionPart) return;
      this.motionTimer = window.setTimeout(() => void this.askForMotion(), 2 * QUICK_POLL);
    } catch {
      this.motionTimer = window.setTimeout(() => void this.askForMotion(), SLOW_POLL);
    }
  }
}

function pause(milliseconds: number): Promise<void> {
  return new Promise((resolve) => {
    window.setTimeout(resolve, milliseconds);
  });
}
