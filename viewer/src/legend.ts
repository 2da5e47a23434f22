// The scale of the depth colours with its metres, and the depth under the pointer on it.

import { type DepthPalette, NO_READING, cssColour, scaleTicks } from './colour_map';
import { RECORD_COLOUR, type Overlay } from './depth_painter';
import { fitCanvas, themeColour } from './dom';

const BAR_TOP = 8;
const BAR_HEIGHT = 12;
const NO_READING_WIDTH = 92;
const RECORD_WIDTH = 96;
const MARGIN = 14;

export class Legend {
  private depth = 0;

  constructor(
    private readonly canvas: HTMLCanvasElement,
    private palette: DepthPalette,
    private overlay: Overlay,
  ) {
    new ResizeObserver(() => this.draw()).observe(canvas);
  }

  show(palette: DepthPalette, overlay: Overlay): void {
    this.palette = palette;
    this.overlay = overlay;
    this.draw();
  }

  /** Marks a depth; 0 marks none. */
  mark(depth: number): void {
    if (depth === this.depth) return;
    this.depth = depth;
    this.draw();
  }

  draw(): void {
    const { clientWidth: width, clientHeight: height } = this.canvas;
    if (width === 0) return;
    const context = fitCanvas(this.canvas, width, height);
    context.font = `11px ${getComputedStyle(document.body).fontFamily}`;
    context.textBaseline = 'alphabetic';
    const extra = this.overlay === 'records' ? RECORD_WIDTH : 0;
    const barWidth = width - 2 * MARGIN - NO_READING_WIDTH - extra;
    this.drawBar(context, barWidth);
    this.drawTicks(context, barWidth);
    this.drawMark(context, barWidth);
    const swatches = MARGIN + barWidth + 18;
    this.drawSwatch(context, swatches, cssColour(NO_READING), 'no reading');
    if (extra > 0) this.drawSwatch(context, swatches + NO_READING_WIDTH - 6, cssColour(RECORD_COLOUR), 'exact code');
  }

  private drawBar(context: CanvasRenderingContext2D, barWidth: number): void {
    const gradient = context.createLinearGradient(MARGIN, 0, MARGIN + barWidth, 0);
    for (let i = 0; i <= 32; i += 1) gradient.addColorStop(i / 32, cssColour(this.palette.colourAt(i / 32)));
    context.globalAlpha = this.overlay === 'none' ? 1 : 0.45;
    context.fillStyle = gradient;
    context.beginPath();
    context.roundRect(MARGIN, BAR_TOP, barWidth, BAR_HEIGHT, 3);
    context.fill();
    context.globalAlpha = 1;
  }

  private drawTicks(context: CanvasRenderingContext2D, barWidth: number): void {
    context.fillStyle = themeColour('text-soft');
    context.textAlign = 'center';
    for (const tick of scaleTicks(this.palette, Math.max(3, barWidth / 30))) {
      const x = MARGIN + this.palette.position(tick) * barWidth;
      context.fillRect(Math.round(x) - 0.5, BAR_TOP + BAR_HEIGHT, 1, 4);
      context.fillText(String(tick), x, BAR_TOP + BAR_HEIGHT + 15);
    }
    context.textAlign = 'left';
    context.fillText('m', MARGIN + barWidth + 8, BAR_TOP + BAR_HEIGHT + 15);
  }

  private drawMark(context: CanvasRenderingContext2D, barWidth: number): void {
    if (this.depth <= 0) return;
    const x = MARGIN + this.palette.position(this.depth) * barWidth;
    context.fillStyle = themeColour('text');
    context.beginPath();
    context.moveTo(x, BAR_TOP + 3);
    context.lineTo(x - 5, BAR_TOP - 6);
    context.lineTo(x + 5, BAR_TOP - 6);
    context.fill();
    context.fillRect(x - 0.75, BAR_TOP, 1.5, BAR_HEIGHT);
  }

  private drawSwatch(context: CanvasRenderingContext2D, x: number, colour: string, text: string): void {
    context.fillStyle = colour;
    context.strokeStyle = themeColour('line-strong');
    context.lineWidth = 1;
    context.beginPath();
    context.roundRect(x + 0.5, BAR_TOP + 0.5, 13, BAR_HEIGHT - 1, 3);
    context.fill();
    context.stroke();
    context.fillStyle = themeColour('text-soft');
    context.textAlign = 'left';
    context.fillText(text, x + 18, BAR_TOP + BAR_HEIGHT - 2);
  }
}
