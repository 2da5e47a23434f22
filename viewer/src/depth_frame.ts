// A frame's depth as the server sends it, exact to the last bit; see tools/viewer/frame_payload.h.

/** Readings nearer than this are none: an empty pixel can come back from the codec as a centimetre or two. */
export const LEAST_READING = 0.05;

const CODES = 256;
const NO_LABEL = 0xffff;
const HEADER_BYTES = 40;

/** Focal lengths and principal point in pixels, as they are recorded. */
export interface Intrinsics {
  a11: number;
  a22: number;
  cx: number;
  cy: number;
}

/** Everything that is known of a pixel. */
export interface Pixel {
  column: number;
  row: number;
  /** Metres; 0: no reading. */
  depth: number;
  /** -1: none. */
  label: number;
  reference: number;
  hasRecord: boolean;
}

export class DepthFrame {
  readonly width: number;
  readonly height: number;
  readonly labelCount: number;
  readonly recordCount: number;
  readonly intrinsics: Intrinsics;
  readonly references: Float32Array;
  /** Metres of each label's codes, and for each pixel its place there; or nothing. */
  readonly table: Float32Array | null = null;
  readonly places: Uint16Array | null = null;
  private plainDepth: Float32Array | null = null;
  private readonly plainLabels: Int32Array | null = null;
  private readonly records: Uint8Array;

  constructor(bytes: ArrayBuffer) {
    const view = new DataView(bytes);
    if (bytes.byteLength < HEADER_BYTES || view.getUint32(0, false) !== 0x4446524d) {
      throw new Error('the server sent something else than a frame');
    }
    const word = (index: number): number => view.getUint32(4 * index, true);
    const real = (index: number): number => view.getFloat32(4 * index, true);
    const form = word(1);
    this.width = word(2);
    this.height = word(3);
    this.labelCount = word(4);
    this.recordCount = word(5);
    this.intrinsics = { a11: real(6), a22: real(7), cx: real(8), cy: real(9) };
    const pixels = this.width * this.height;
    let offset = HEADER_BYTES;
    this.references = new Float32Array(bytes, offset, this.labelCount);
    offset += 4 * this.labelCount;
    if (form === 0) {
      this.table = new Float32Array(bytes, offset, CODES * this.labelCount);
      offset += 4 * CODES * this.labelCount;
      this.places = new Uint16Array(bytes, offset, pixels);
      offset += 2 * pixels;
    } else {
      this.plainDepth = new Float32Array(bytes, offset, pixels);
      offset += 4 * pixels;
      this.plainLabels = new Int32Array(bytes, offset, pixels);
      offset += 4 * pixels;
    }
    this.records = new Uint8Array(bytes, offset, pixels / 8);
  }

  /** Metres of all pixels as they were decoded, row by row. */
  depths(): Float32Array {
    if (this.plainDepth) return this.plainDepth;
    const depth = new Float32Array(this.width * this.height);
    const table = this.table!;
    const places = this.places!;
    for (let i = 0; i < depth.length; i += 1) {
      const place = places[i];
      if (place !== NO_LABEL) depth[i] = table[place];
    }
    this.plainDepth = depth;
    return depth;
  }

  /** Metres as they were decoded, whether a reading or not. */
  decodedDepth(index: number): number {
    if (!this.places) return this.plainDepth![index];
    const place = this.places[index];
    return place === NO_LABEL ? 0 : this.table![place];
  }

  label(index: number): number {
    if (!this.places) return this.plainLabels![index];
    const place = this.places[index];
    return place === NO_LABEL ? -1 : place >> 8;
  }

  hasRecord(index: number): boolean {
    return (this.records[index >> 3] & (1 << (index & 7))) !== 0;
  }

  pixel(column: number, row: number): Pixel {
    const index = row * this.width + column;
    const decoded = this.decodedDepth(index);
    const label = this.label(index);
    return {
      column,
      row,
      depth: isReading(decoded) ? decoded : 0,
      label,
      reference: label >= 0 ? this.references[label] : 0,
      hasRecord: this.hasRecord(index),
    };
  }
}

export function isReading(depth: number): boolean {
  return depth >= LEAST_READING && depth < Infinity;
}
