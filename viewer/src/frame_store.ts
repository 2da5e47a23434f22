// Frames that were fetched, those being fetched, and those that will be wanted next.

import { ApiError, api } from './api';
import { DepthFrame } from './depth_frame';
import { decodeColour } from './colour_image';
import { FrameState, type Sequence } from './sequence';

/** A frame as far as it could be had: what is wrong stands in the faults. */
export interface LoadedFrame {
  index: number;
  depth: DepthFrame | null;
  depthFaults: string[];
  colour: ImageData | null;
  colourFault: string;
}

interface Fetch {
  promise: Promise<LoadedFrame | null>;
  abort: AbortController;
}

const MOST_KEPT = 48;
const MOST_FETCHES = 4;
/** Once it comes slower than this, depth is sent compressed; on the same machine that would only take time. */
const SLOW_BYTES_PER_SECOND = 6e6;

export class FrameStore {
  private readonly kept = new Map<number, LoadedFrame>();
  private readonly fetches = new Map<number, Fetch>();
  private wishes: number[] = [];
  private bytesPerSecond = 100e6;
  private isSlow = false;
  /** The recording on the server is another one now. */
  onChanged: () => void = () => {};

  constructor(
    private sequence: Sequence,
    private generation: number,
    private readonly width: number,
    private readonly height: number,
  ) {}

  /** Takes a newer list; what was fetched stays when frames keep their places. */
  renew(sequence: Sequence, generation: number): void {
    if (generation !== this.generation) {
      this.dropAll();
    } else {
      // Frames that lacked files may be whole by now.
      for (const [index, frame] of this.kept) {
        if (frame.depthFaults.length > 0 || frame.colourFault) this.kept.delete(index);
      }
    }
    this.sequence = sequence;
    this.generation = generation;
  }

  /** The frame if it is here. */
  peek(index: number): LoadedFrame | null {
    return this.kept.get(index) ?? null;
  }

  /** The frame; null when it is no longer wanted. Fetches of frames that nobody wants are given up. */
  async get(index: number): Promise<LoadedFrame | null> {
    const kept = this.kept.get(index);
    if (kept) {
      this.touch(kept);
      return kept;
    }
    this.abandonAllBut([index, ...this.wishes]);
    return this.fetch(index);
  }

  /** Fetches these frames in this order while nothing more urgent is wanted. */
  prefetch(indices: number[]): void {
    this.wishes = indices;
    this.fulfil();
  }

  private fulfil(): void {
    for (const index of this.wishes) {
      if (this.fetches.size >= MOST_FETCHES) return;
      if (!this.kept.has(index) && !this.fetches.has(index)) void this.fetch(index);
    }
  }

  private abandonAllBut(wanted: number[]): void {
    for (const [index, fetch] of this.fetches) {
      if (wanted.includes(index)) continue;
      fetch.abort.abort();
      this.fetches.delete(index);
    }
  }

  private dropAll(): void {
    this.abandonAllBut([]);
    this.wishes = [];
    this.kept.clear();
  }

  private fetch(index: number): Promise<LoadedFrame | null> {
    const running = this.fetches.get(index);
    if (running) return running.promise;
    const abort = new AbortController();
    const promise = this.load(index, abort.signal)
      .then((frame) => {
        if (abort.signal.aborted) {
          return null;
        }
        this.fetches.delete(index);
        this.keep(frame);
        this.fulfil();
        return frame;
      })
      .catch((error: unknown) => {
        if (abort.signal.aborted) return null;
        this.fetches.delete(index);
        if (error instanceof ApiError && error.status === 409) {
          this.onChanged();
          return null;
        }
        throw error;
      });
    // Who only prefetched does not look at the outcome.
    promise.catch(() => {});
    this.fetches.set(index, { promise, abort });
    return promise;
  }

  private async load(index: number, signal: AbortSignal): Promise<LoadedFrame> {
    const frame: LoadedFrame = { index, depth: null, depthFaults: [], colour: null, colourFault: '' };
    await Promise.all([this.loadDepth(frame, signal), this.loadColour(frame, signal)]);
    return frame;
  }

  private async loadDepth(frame: LoadedFrame, signal: AbortSignal): Promise<void> {
    const begin = performance.now();
    try {
      const bytes = await api.depth(frame.index, this.generation, this.isSlow, signal);
      this.noteRate(bytes.byteLength, performance.now() - begin);
      frame.depth = new DepthFrame(bytes);
    } catch (error) {
      if (!(error instanceof ApiError) || error.status === 409) throw error;
      frame.depthFaults = [error.message, ...error.details];
    }
  }

  private async loadColour(frame: LoadedFrame, signal: AbortSignal): Promise<void> {
    if (!this.sequence.has(frame.index, FrameState.hasColour)) {
      const isMissing = this.sequence.has(frame.index, FrameState.lacksColour);
      frame.colourFault = isMissing ? 'The colour image of this frame is missing.' : '';
      return;
    }
    try {
      const image = await api.colour(frame.index, this.generation, signal);
      frame.colour = await decodeColour(image, this.width, this.height);
    } catch (error) {
      if (signal.aborted || (error instanceof ApiError && error.status === 409)) throw error;
      const isRefused = error instanceof ApiError;
      frame.colourFault = isRefused ? error.message : 'The colour image of this frame cannot be decoded.';
    }
  }

  private noteRate(bytes: number, milliseconds: number): void {
    const rate = (1000 * bytes) / Math.max(1, milliseconds);
    this.bytesPerSecond = this.bytesPerSecond * 0.8 + rate * 0.2;
    this.isSlow ||= this.bytesPerSecond < SLOW_BYTES_PER_SECOND;
  }

  private keep(frame: LoadedFrame): void {
    this.touch(frame);
    for (const index of this.kept.keys()) {
      if (this.kept.size <= MOST_KEPT) break;
      this.kept.delete(index);
    }
  }

  private touch(frame: LoadedFrame): void {
    this.kept.delete(frame.index);
    this.kept.set(frame.index, frame);
  }
}
