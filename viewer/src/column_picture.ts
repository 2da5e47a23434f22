// Many bars side by side, each as wide as a pixel of the page: painted into memory and drawn in one go, for a thousand
// rectangles of their own would keep the browser busy for longer than a frame may take.

import { type Packed, pack } from './colour_map';
import { context2d, themeColour } from './dom';

export class ColumnPicture {
  private readonly ratio = window.devicePixelRatio || 1;
  private readonly canvas = document.createElement('canvas');
  private readonly image: ImageData;
  private readonly pixels: Uint32Array;

  /** Lengths are those of the page. */
  constructor(
    private readonly columns: number,
    private readonly height: number,
  ) {
    this.canvas.width = Math.max(1, Math.round(columns * this.ratio));
    this.canvas.height = Math.max(1, Math.round(height * this.ratio));
    this.image = new ImageData(this.canvas.width, this.canvas.height);
    this.pixels = new Uint32Array(this.image.data.buffer);
  }

  bar(column: number, top: number, height: number, colour: Packed): void {
    const { ratio } = this;
    const { width } = this.image;
    const end = Math.min(width, Math.round((column + 1) * ratio));
    const bottom = Math.min(this.image.height, Math.round((top + height) * ratio));
    for (let y = Math.max(0, Math.round(top * ratio)); y < bottom; y += 1) {
      this.pixels.fill(colour, y * width + Math.round(column * ratio), y * width + end);
    }
  }

  drawOnto(context: CanvasRenderingContext2D, left: number): void {
    context2d(this.canvas).putImageData(this.image, 0, 0);
    context.drawImage(this.canvas, left, 0, this.columns, this.height);
  }
}

/** Colours of the style sheet as they stand in pictures. */
export function packedThemeColours(names: readonly string[]): Map<string, Packed> {
  // What is read back is better not drawn by the graphics processor.
  const painter = document.createElement('canvas').getContext('2d', { willReadFrequently: true });
  if (!painter) throw new Error('this browser draws no pictures');
  return new Map(
    names.map((name) => {
      painter.fillStyle = themeColour(name);
      painter.fillRect(0, 0, 1, 1);
      const [red, green, blue] = painter.getImageData(0, 0, 1, 1).data;
      return [name, pack(red, green, blue)];
    }),
  );
}
