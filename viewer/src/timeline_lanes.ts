// What the timeline shows under its marks: time, frames and pauses, events, motion, bytes and labels.

import type { Axis } from './axis';
import type { Packed } from './colour_map';
import { ColumnPicture, packedThemeColours } from './column_picture';
import { fitCanvas, themeColour } from './dom';
import type { RecordingEvent } from './events';
import { bytesText, countText, durationText } from './format';
import { FrameState, lastAtMost } from './sequence';
import type { Survey } from './survey';
import { timeTicks } from './time_ticks';

export interface Lane {
  name: string;
  top: number;
  height: number;
}

/** From here to the right the lanes show time. */
export const GUTTER = 70;
const RIGHT_MARGIN = 10;

export const LANES = {
  axis: { name: '', top: 0, height: 20 },
  frames: { name: 'Frames', top: 20, height: 16 },
  motion: { name: 'Motion', top: 42, height: 30 },
  bytes: { name: 'Bytes', top: 80, height: 42 },
  labels: { name: 'Labels', top: 130, height: 30 },
} satisfies Record<string, Lane>;
export const LANES_HEIGHT = 164;

/** Kinds of files as they are stacked: their place in the survey's fields, and their colour. */
export const BYTE_KINDS = [
  { name: 'colour image', field: 0, colour: 'kind-colour' },
  { name: 'depth codes', field: 1, colour: 'kind-codes' },
  { name: 'label map', field: 2, colour: 'kind-map' },
  { name: 'exact codes', field: 4, colour: 'kind-errors' },
] as const;
const LABEL_FIELD = 5;

/** What is visible: a part of the axis over the width of the lanes. */
export class Window {
  constructor(
    readonly from: number,
    readonly to: number,
    readonly width: number,
  ) {}

  get perUnit(): number {
    return Math.max(1, this.width - GUTTER - RIGHT_MARGIN) / Math.max(1e-9, this.to - this.from);
  }

  x(place: number): number {
    return GUTTER + (place - this.from) * this.perUnit;
  }

  place(x: number): number {
    return this.from + (x - GUTTER) / this.perUnit;
  }
}

/** Values of a lane for each column of pixels; NaN where nothing is known. */
interface Columns {
  count: number;
  first: Int32Array;
  last: Int32Array;
}

/** Those of the bars. */
const COLOURS = ['frame', 'fault', 'motion', 'labels', ...BYTE_KINDS.map((kind) => kind.colour)];

export class TimelineLanes {
  private colours: Map<string, Packed> | null = null;

  constructor(private readonly canvas: HTMLCanvasElement) {}

  /** To be called when the page gets other colours. */
  forgetColours(): void {
    this.colours = null;
  }

  draw(view: Window, axis: Axis, survey: Survey, events: RecordingEvent[]): void {
    const context = fitCanvas(this.canvas, view.width, LANES_HEIGHT);
    context.font = `11px ${getComputedStyle(document.body).fontFamily}`;
    const columns = framesOfColumns(view, axis);
    this.drawBackgrounds(context, view);
    context.save();
    context.beginPath();
    context.rect(GUTTER, 0, view.width - GUTTER - RIGHT_MARGIN + 1, LANES_HEIGHT);
    context.clip();
    this.drawAxis(context, view, axis);
    const picture = new ColumnPicture(columns.count, LANES_HEIGHT);
    this.paintFrames(picture, view, axis, columns);
    this.paintMotion(picture, survey, columns);
    this.paintBytes(picture, survey, columns);
    this.paintLabels(picture, survey, columns);
    picture.drawOnto(context, GUTTER);
    this.drawPauses(context, view, axis);
    this.drawEvents(context, view, axis, events);
    context.restore();
    this.drawNames(context, survey);
  }

  private drawBackgrounds(context: CanvasRenderingContext2D, view: Window): void {
    context.fillStyle = themeColour('lane');
    for (const lane of [LANES.frames, LANES.motion, LANES.bytes, LANES.labels]) {
      context.beginPath();
      context.roundRect(GUTTER, lane.top, view.width - GUTTER - RIGHT_MARGIN, lane.height, 3);
      context.fill();
    }
  }

  private drawAxis(context: CanvasRenderingContext2D, view: Window, axis: Axis): void {
    context.textAlign = 'left';
    context.textBaseline = 'middle';
    for (const tick of timeTicks(axis, view.from, view.to, view.perUnit)) {
      const x = Math.round(view.x(tick.place)) + 0.5;
      context.fillStyle = themeColour('line');
      context.fillRect(x - 0.5, LANES.axis.top + 4, 1, LANES_HEIGHT);
      context.fillStyle = themeColour(tick.isMajor ? 'text' : 'text-soft');
      const fits = x + 4 + context.measureText(tick.text).width < view.width;
      if (fits) context.fillText(tick.text, x + 4, LANES.axis.top + 10);
    }
  }

  private colour(name: string): Packed {
    this.colours ??= packedThemeColours(COLOURS);
    return this.colours.get(name)!;
  }

  private paintFrames(picture: ColumnPicture, view: Window, axis: Axis, columns: Columns): void {
    const { sequence } = axis;
    const lane = LANES.frames;
    const stepWidth = sequence.medianStep * view.perUnit;
    const good = this.colour('frame');
    const bad = this.colour('fault');
    for (let column = 0; column < columns.count; column += 1) {
      const first = columns.first[column];
      const last = columns.last[column];
      if (first < 0) continue;
      let isBad = false;
      for (let i = first; i <= last && !isBad; i += 1) {
        isBad = sequence.has(i, FrameState.lacksDepthFile) || sequence.has(i, FrameState.lacksColour);
      }
      // Far enough apart, frames are told from one another.
      const isFrameStart = stepWidth > 5 && (column === 0 || columns.first[column - 1] !== first);
      if (!isFrameStart) picture.bar(column, lane.top + 2, lane.height - 4, isBad ? bad : good);
    }
  }

  private paintMotion(picture: ColumnPicture, survey: Survey, columns: Columns): void {
    const lane = LANES.motion;
    const colour = this.colour('motion');
    let previous = NaN;
    for (let column = 0; column < columns.count; column += 1) {
      const first = columns.first[column];
      if (first < 0) {
        previous = NaN;
        continue;
      }
      const known = largest(survey.motion, first, columns.last[column]);
      // Between samples the one before goes on.
      const share = Number.isNaN(known) ? previous : known;
      previous = share;
      if (Number.isNaN(share)) continue;
      // A tenth of the image is much: the root brings out small movements.
      const height = Math.max(1, Math.min(1, Math.sqrt(share / 0.5)) * (lane.height - 3));
      picture.bar(column, lane.top + lane.height - height, height, colour);
    }
  }

  private paintBytes(picture: ColumnPicture, survey: Survey, columns: Columns): void {
    const lane = LANES.bytes;
    const most = survey.mostBytes;
    const colours = BYTE_KINDS.map((kind) => this.colour(kind.colour));
    forKnownColumns(survey, columns, (column, frame) => {
      let top = lane.top + lane.height;
      BYTE_KINDS.forEach((kind, i) => {
        const height = (survey.field(frame, kind.field) / most) * (lane.height - 3);
        top -= height;
        picture.bar(column, top, height, colours[i]);
      });
    });
  }

  private paintLabels(picture: ColumnPicture, survey: Survey, columns: Columns): void {
    const lane = LANES.labels;
    const most = survey.mostLabels;
    const colour = this.colour('labels');
    forKnownColumns(survey, columns, (column, frame) => {
      const height = (survey.field(frame, LABEL_FIELD) / most) * (lane.height - 3);
      picture.bar(column, lane.top + lane.height - height, height, colour);
    });
  }

  private drawPauses(context: CanvasRenderingContext2D, view: Window, axis: Axis): void {
    const { sequence, places } = axis;
    context.textAlign = 'center';
    context.textBaseline = 'middle';
    for (const gap of sequence.gaps) {
      const begin = view.x(places[gap.after] + sequence.medianStep);
      const end = view.x(places[gap.after + 1]);
      if (end < GUTTER || begin > view.width || end - begin < 1) continue;
      hatch(context, begin, LANES.frames.top, end - begin, LANES.labels.top + LANES.labels.height - LANES.frames.top);
      const text = durationText(gap.length);
      if (context.measureText(text).width + 10 > end - begin) continue;
      context.fillStyle = themeColour('text-soft');
      context.fillText(text, (begin + end) / 2, LANES.frames.top + LANES.frames.height / 2 + 0.5);
    }
  }

  private drawEvents(context: CanvasRenderingContext2D, view: Window, axis: Axis, events: RecordingEvent[]): void {
    const middle = LANES.frames.top + LANES.frames.height / 2;
    for (const event of events) {
      const x = view.x(axis.placeOf(event.time));
      if (x < GUTTER - 6 || x > view.width) continue;
      if (event.kind === 'fault') continue;
      context.fillStyle = themeColour(event.kind === 'signal' ? 'signal' : 'text-soft');
      context.strokeStyle = themeColour('panel');
      context.lineWidth = 1.5;
      context.beginPath();
      if (event.kind === 'signal') {
        context.moveTo(x, middle - 8);
        context.lineTo(x + 6, middle);
        context.lineTo(x, middle + 8);
        context.lineTo(x - 6, middle);
      } else {
        const direction = event.kind === 'start' ? 1 : -1;
        context.moveTo(x, middle - 6);
        context.lineTo(x + 8 * direction, middle);
        context.lineTo(x, middle + 6);
      }
      context.closePath();
      context.fill();
      context.stroke();
    }
  }

  private drawNames(context: CanvasRenderingContext2D, survey: Survey): void {
    context.textAlign = 'right';
    const right = GUTTER - 8;
    const write = (lane: Lane, detail: string): void => {
      const middle = lane.top + lane.height / 2 + 0.5;
      context.textBaseline = 'middle';
      context.fillStyle = themeColour('text');
      context.fillText(lane.name, right, detail ? middle - 6.5 : middle);
      context.fillStyle = themeColour('text-soft');
      if (detail) context.fillText(detail, right, middle + 7);
    };
    const isKnown = survey.knownFacts > 0;
    write(LANES.frames, '');
    write(LANES.motion, 'to 50 %');
    write(LANES.bytes, isKnown ? `to ${bytesText(survey.mostBytes)}` : '');
    write(LANES.labels, isKnown ? `to ${countText(survey.mostLabels)}` : '');
  }
}

function framesOfColumns(view: Window, axis: Axis): Columns {
  const { places, sequence } = axis;
  const count = Math.max(0, Math.floor(view.width - GUTTER - RIGHT_MARGIN));
  const columns = { count, first: new Int32Array(count).fill(-1), last: new Int32Array(count).fill(-1) };
  for (let column = 0; column < count; column += 1) {
    const begin = view.place(GUTTER + column);
    const end = view.place(GUTTER + column + 1);
    const last = lastAtMost(places, end - 1e-9);
    // A frame lasts until the next one is due.
    const lasting = lastAtMost(places, begin);
    const isLasting = lasting >= 0 && begin - places[lasting] < 1.5 * sequence.medianStep;
    const first = isLasting ? lasting : lasting + 1;
    if (first < 0 || first > last) continue;
    columns.first[column] = first;
    columns.last[column] = last;
  }
  return columns;
}

function largest(values: Float32Array, first: number, last: number): number {
  let most = NaN;
  for (let i = first; i <= last; i += 1) if (!(values[i] <= most) && !Number.isNaN(values[i])) most = values[i];
  return most;
}

/** Gives each column of pixels one of its frames that is known, or else one nearby. */
function forKnownColumns(survey: Survey, columns: Columns, draw: (column: number, frame: number) => void): void {
  let nearby = -1;
  for (let column = 0; column < columns.count; column += 1) {
    const first = columns.first[column];
    if (first < 0) {
      nearby = -1;
      continue;
    }
    for (let i = first; i <= columns.last[column]; i += 1) {
      if (!survey.knows(i)) continue;
      nearby = i;
      break;
    }
    if (nearby >= 0) draw(column, nearby);
  }
}

function hatch(context: CanvasRenderingContext2D, x: number, y: number, width: number, height: number): void {
  context.save();
  context.beginPath();
  context.rect(x, y, width, height);
  context.clip();
  context.fillStyle = themeColour('panel');
  context.fillRect(x, y, width, height);
  context.strokeStyle = themeColour('line');
  context.lineWidth = 1;
  context.beginPath();
  const begin = Math.max(x, 0);
  const end = Math.min(x + width, 8192);
  for (let along = begin - height; along < end; along += 8) {
    context.moveTo(along, y + height);
    context.lineTo(along + height, y);
  }
  context.stroke();
  context.restore();
}
