// What is shown and what is played: the one place that decides which frame comes next.

import { PlayClock } from './axis';
import type { FrameStore, LoadedFrame } from './frame_store';
import { Observable } from './observable';
import type { Sequence } from './sequence';

export const SPEEDS = [0.1, 0.25, 0.5, 1, 2, 4, 8, 16, 32, 64];

export interface Range {
  first: number;
  last: number;
}

const AHEAD = 10;
/** A frame that is looked at for so many milliseconds gets its neighbours fetched: before, more seeks may come. */
const REST = 150;
/** A late frame holds the clock no longer than this many milliseconds ahead of what is shown. */
const MOST_LEAD = 200;

export class Player {
  readonly playing = new Observable(false);
  readonly speed = new Observable(1);
  readonly loops = new Observable(false);
  /** Where the user wants to be; what is shown follows. */
  readonly target = new Observable(0);
  readonly shown = new Observable<LoadedFrame | null>(null);
  /** Marked by the user. */
  readonly range = new Observable<Range | null>(null);
  /** A frame that could not be fetched at all: the server is gone. */
  readonly failure = new Observable('');

  private clock: PlayClock;
  private place = 0;
  private lastTick = 0;
  private restTimer = 0;

  constructor(
    private sequence: Sequence,
    private readonly store: FrameStore,
  ) {
    this.clock = new PlayClock(sequence);
  }

  renew(sequence: Sequence): void {
    this.sequence = sequence;
    this.clock = new PlayClock(sequence);
    this.target.set(sequence.clamp(this.target.value));
    this.place = this.clock.places[this.target.value];
    const range = this.range.value;
    if (range && range.last > sequence.last) this.range.set(null);
  }

  seek(index: number): void {
    const wanted = this.sequence.clamp(index);
    this.place = this.clock.places[wanted];
    this.target.set(wanted);
    void this.showTarget();
  }

  step(count: number): void {
    this.playing.set(false);
    this.seek(this.target.value + count);
  }

  /** Shows the frame again, fetched anew. */
  refresh(): void {
    void this.showTarget();
  }

  toggle(): void {
    if (this.playing.value) this.pause();
    else this.play();
  }

  play(): void {
    const [first, last] = this.limits();
    const isOutside = this.target.value < first || this.target.value >= last;
    if (isOutside) this.seek(first);
    this.lastTick = performance.now();
    this.playing.set(true);
    requestAnimationFrame((now) => this.tick(now));
  }

  pause(): void {
    this.playing.set(false);
    this.seek(this.shown.value?.index ?? this.target.value);
  }

  changeSpeed(steps: number): void {
    const place = SPEEDS.indexOf(this.speed.value) + steps;
    this.speed.set(SPEEDS[Math.min(SPEEDS.length - 1, Math.max(0, place))]);
  }

  /** Sets one end of the marked range at the current frame. */
  mark(end: 'first' | 'last'): void {
    const here = this.target.value;
    const range = this.range.value ?? { first: 0, last: this.sequence.last };
    const marked = { ...range, [end]: here };
    // The end that was set last stays; the other one gives way.
    if (marked.first > marked.last) marked[end === 'first' ? 'last' : 'first'] = end === 'first' ? this.sequence.last : 0;
    this.range.set(marked);
  }

  private limits(): [number, number] {
    const range = this.range.value;
    return range ? [range.first, range.last] : [0, this.sequence.last];
  }

  private tick(now: number): void {
    if (!this.playing.value) return;
    const passed = Math.min(100, now - this.lastTick);
    this.lastTick = now;
    const [first, last] = this.limits();
    const shown = this.shown.value?.index ?? this.target.value;
    const lead = this.clock.places[shown] + Math.max(this.stepAfter(shown), MOST_LEAD * this.speed.value);
    this.place = Math.min(this.place + passed * this.speed.value, lead);
    const wanted = Math.min(last, this.clock.frameAt(this.place));
    this.showNewest(shown, wanted);
    this.prefetchFrom(wanted, last);
    if (shown >= last && wanted >= last && !this.atEnd(first)) return;
    requestAnimationFrame((next) => this.tick(next));
  }

  /** At the end of what is played: from the beginning again, or stop. True when it goes on. */
  private atEnd(first: number): boolean {
    if (!this.loops.value) {
      this.pause();
      return false;
    }
    this.seek(first);
    return true;
  }

  private stepAfter(index: number): number {
    const next = Math.min(this.sequence.last, index + 1);
    return this.clock.places[next] - this.clock.places[index] + 1;
  }

  /** Shows the newest frame up to the wanted one that is here. */
  private showNewest(shown: number, wanted: number): void {
    for (let index = wanted; index > shown; index -= 1) {
      const frame = this.store.peek(index);
      if (!frame) continue;
      this.target.set(index);
      this.shown.set(frame);
      return;
    }
  }

  private prefetchFrom(wanted: number, last: number): void {
    const wishes: number[] = [];
    // So many frames a second are worth fetching.
    const stride = Math.max(1, (1000 / 30) * this.speed.value);
    let place = this.clock.places[wanted];
    for (let index = wanted; index <= last && wishes.length < AHEAD; ) {
      wishes.push(index);
      place = Math.max(place, this.clock.places[index]) + stride;
      index = Math.max(index + 1, this.clock.frameAt(place));
    }
    this.store.prefetch(wishes);
  }

  private async showTarget(): Promise<void> {
    const wanted = this.target.value;
    window.clearTimeout(this.restTimer);
    if (!this.playing.value) this.store.prefetch([]);
    try {
      const frame = await this.store.get(wanted);
      if (!frame || this.target.value !== wanted) return;
      this.shown.set(frame);
      this.failure.set('');
      this.restTimer = window.setTimeout(() => this.prefetchAround(wanted), REST);
    } catch {
      this.failure.set('The server does not answer. Is depthrw view still running?');
    }
  }

  private prefetchAround(index: number): void {
    if (this.playing.value || this.target.value !== index) return;
    const near = [index + 1, index - 1, index + 2];
    this.store.prefetch(near.filter((place) => place >= 0 && place <= this.sequence.last));
  }
}
