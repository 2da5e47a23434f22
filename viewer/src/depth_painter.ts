// Depth in colours, with what can be laid over it.

import { DepthPalette, NO_READING, type Packed, labelColour, pack } from './colour_map';
import { DepthFrame, isReading } from './depth_frame';

export type Overlay = 'none' | 'records' | 'labels';

export const RECORD_COLOUR: Packed = pack(255, 64, 210);

/** Paints into pixels that are kept from frame to frame. */
export class DepthPainter {
  private readonly image: ImageData;
  private readonly pixels: Uint32Array;

  constructor(width: number, height: number) {
    this.image = new ImageData(width, height);
    this.pixels = new Uint32Array(this.image.data.buffer);
  }

  paint(frame: DepthFrame, palette: DepthPalette, overlay: Overlay, context: CanvasRenderingContext2D): void {
    this.paintAll(frame, overlay === 'labels' ? byLabel(frame, palette) : (depth) => palette.colour(depth));
    if (overlay === 'records') this.layRecords(frame);
    context.putImageData(this.image, 0, 0);
  }

  private paintAll(frame: DepthFrame, colourOf: (depth: number, label: number) => Packed): void {
    const { pixels } = this;
    if (frame.table && frame.places) {
      // Each depth that occurs gets its colour once.
      const colours = new Uint32Array(65536).fill(NO_READING);
      for (let i = 0; i < frame.table.length; i += 1) colours[i] = colourOf(frame.table[i], i >> 8);
      for (let i = 0; i < pixels.length; i += 1) pixels[i] = colours[frame.places[i]];
      return;
    }
    const depth = frame.depths();
    for (let i = 0; i < pixels.length; i += 1) pixels[i] = colourOf(depth[i], frame.label(i));
  }

  /** Pixels with error records in a loud colour, all others subdued. */
  private layRecords(frame: DepthFrame): void {
    for (let i = 0; i < this.pixels.length; i += 1) {
      this.pixels[i] = frame.hasRecord(i) ? RECORD_COLOUR : subdued(this.pixels[i]);
    }
  }
}

/** Each label in a colour of its own; lighter where the surface is nearer to the camera. */
function byLabel(frame: DepthFrame, palette: DepthPalette): (depth: number, label: number) => Packed {
  const colours = Array.from({ length: frame.labelCount }, (_, label) => labelColour(label));
  return (depth, label) =>
    isReading(depth) ? scaled(colours[label], 1.08 - 0.55 * palette.position(depth)) : NO_READING;
}

function scaled(colour: Packed, factor: number): Packed {
  const channel = (shift: number): number => Math.min(255, Math.round(((colour >> shift) & 255) * factor));
  return pack(channel(0), channel(8), channel(16));
}

/** Half of its colourfulness and brightness. */
function subdued(colour: Packed): Packed {
  const red = colour & 255;
  const green = (colour >> 8) & 255;
  const blue = (colour >> 16) & 255;
  const grey = (red * 77 + green * 150 + blue * 29) >> 8;
  return pack((red + 3 * grey) >> 3, (green + 3 * grey) >> 3, (blue + 3 * grey) >> 3);
}
