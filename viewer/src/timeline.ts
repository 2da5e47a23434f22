// The timeline: shows where the shown frame stands, and takes the user to others.

import { Axis } from './axis';
import { element, fitCanvas, make, themeColour } from './dom';
import type { RecordingEvent } from './events';
import { bytesText, clockText, countText, dateText, durationText } from './format';
import type { Player } from './player';
import type { Sequence } from './sequence';
import type { Survey } from './survey';
import { GUTTER, LANES, LANES_HEIGHT, TimelineLanes, Window } from './timeline_lanes';

const EDGE = 6;
const MOST_PIXELS_PER_FRAME = 40;

type Drag = { kind: 'seek' | 'mark'; from: number } | { kind: 'move'; from: number; view: Window };

export class Timeline {
  private readonly base = element<HTMLCanvasElement>('timeline');
  private readonly marks = element<HTMLCanvasElement>('timeline-marks');
  private readonly tip = element('timeline-tip');
  private readonly lanes = new TimelineLanes(this.base);
  private axis: Axis;
  private view: Window;
  private events: RecordingEvent[] = [];
  private drag: Drag | null = null;
  private hoverX: number | null = null;
  private isDrawing = false;

  constructor(
    private sequence: Sequence,
    private readonly player: Player,
    private readonly survey: Survey,
    private shortensGaps: boolean,
  ) {
    this.axis = new Axis(sequence, shortensGaps);
    this.view = new Window(0, this.axis.end, this.base.clientWidth);
    new ResizeObserver(() => this.resize()).observe(this.base);
    player.target.watch(() => this.targetMoved());
    player.shown.watch(() => this.drawMarks());
    player.range.watch(() => this.drawMarks());
    this.listen();
  }

  renew(sequence: Sequence): void {
    const showsAll = this.view.from <= 0 && this.view.to >= this.axis.end * 0.9999;
    this.sequence = sequence;
    this.axis = new Axis(sequence, this.shortensGaps);
    this.show(showsAll ? 0 : this.view.from, showsAll ? this.axis.end : this.view.to);
  }

  setEvents(events: RecordingEvent[]): void {
    this.events = events;
    this.draw();
  }

  /** Shows long pauses short, or as long as they were. */
  shortenGaps(shortens: boolean): void {
    this.shortensGaps = shortens;
    this.axis = new Axis(this.sequence, shortens);
    this.show(0, this.axis.end);
  }

  showAll(): void {
    this.show(0, this.axis.end);
  }

  zoomBy(factor: number): void {
    this.zoomAround(this.axis.places[this.player.target.value], factor);
  }

  /** The page has other colours now. */
  takeColours(): void {
    this.lanes.forgetColours();
    this.draw();
  }

  draw(): void {
    if (this.isDrawing) return;
    this.isDrawing = true;
    requestAnimationFrame(() => {
      this.isDrawing = false;
      if (this.view.width === 0) return;
      this.lanes.draw(this.view, this.axis, this.survey, this.events);
      this.drawMarks();
    });
  }

  private resize(): void {
    this.view = new Window(this.view.from, this.view.to, this.base.clientWidth);
    this.draw();
  }

  private show(from: number, to: number): void {
    const shortest = ((this.base.clientWidth - GUTTER) / MOST_PIXELS_PER_FRAME) * this.sequence.medianStep;
    const length = Math.min(this.axis.end, Math.max(to - from, Math.min(shortest, this.axis.end)));
    const begin = Math.min(Math.max(0, from), this.axis.end - length);
    this.view = new Window(begin, begin + length, this.base.clientWidth);
    this.survey.look(this.axis.frameAt(begin), this.axis.frameAt(begin + length));
    this.draw();
  }

  private zoomAround(place: number, factor: number): void {
    const { from, to } = this.view;
    this.show(place - (place - from) * factor, place + (to - place) * factor);
  }

  private targetMoved(): void {
    const target = this.player.target.value;
    const place = this.axis.places[target];
    const { from, to } = this.view;
    // While it is scrubbed, the lanes must not run away under the pointer.
    if (!this.drag && (place < from || place > to)) {
      const length = to - from;
      const begin = this.player.playing.value ? place - 0.05 * length : place - 0.5 * length;
      this.show(begin, begin + length);
    }
    this.describe();
    this.drawMarks();
  }

  /** For those who do not see it. */
  private describe(): void {
    const { value } = this.player.target;
    this.base.setAttribute('aria-valuemin', '1');
    this.base.setAttribute('aria-valuemax', String(this.sequence.count));
    this.base.setAttribute('aria-valuenow', String(value + 1));
    const time = this.sequence.hasTimes ? `, ${clockText(this.sequence.times[value])}` : '';
    this.base.setAttribute('aria-valuetext', `frame ${value + 1} of ${this.sequence.count}${time}`);
  }

  private drawMarks(): void {
    const { view, axis } = this;
    if (view.width === 0) return;
    const context = fitCanvas(this.marks, view.width, LANES_HEIGHT);
    context.beginPath();
    context.rect(GUTTER - 8, 0, view.width - GUTTER + 8, LANES_HEIGHT);
    context.clip();
    this.drawRange(context);
    if (this.hoverX !== null) {
      context.fillStyle = themeColour('text-soft');
      context.fillRect(this.hoverX - 0.5, LANES.frames.top, 1, LANES_HEIGHT);
    }
    const x = view.x(axis.places[this.player.target.value]);
    context.fillStyle = themeColour('accent');
    context.fillRect(x - 1, 4, 2, LANES_HEIGHT);
    context.beginPath();
    context.moveTo(x - 6, 2);
    context.lineTo(x + 6, 2);
    context.lineTo(x + 6, 9);
    context.lineTo(x, 16);
    context.lineTo(x - 6, 9);
    context.fill();
  }

  private drawRange(context: CanvasRenderingContext2D): void {
    const range = this.player.range.value;
    if (!range) return;
    const begin = this.view.x(this.axis.places[range.first]);
    const end = this.view.x(this.axis.places[range.last] + this.sequence.medianStep);
    context.fillStyle = themeColour('range');
    context.fillRect(begin, LANES.frames.top, end - begin, LANES_HEIGHT);
    context.fillStyle = themeColour('accent');
    context.fillRect(begin, LANES.frames.top, end - begin, 2);
    for (const [x, direction] of [
      [begin, 1],
      [end, -1],
    ]) {
      context.fillRect(x - 1, LANES.frames.top, 2, LANES_HEIGHT);
      context.fillRect(direction > 0 ? x : x - 5, LANES.frames.top, 5, 2);
      context.fillRect(direction > 0 ? x : x - 5, LANES_HEIGHT - 2, 5, 2);
    }
  }

  private frameAtX(x: number): number {
    return this.axis.frameAt(this.view.place(x));
  }

  private eventAt(x: number, y: number): RecordingEvent | null {
    if (y < LANES.frames.top || y > LANES.frames.top + LANES.frames.height) return null;
    const near = (event: RecordingEvent): number => Math.abs(this.view.x(this.axis.placeOf(event.time)) - x);
    const nearest = this.events.reduce<RecordingEvent | null>(
      (best, event) => (best && near(best) <= near(event) ? best : event),
      null,
    );
    return nearest && near(nearest) < 7 ? nearest : null;
  }

  private listen(): void {
    const { base } = this;
    base.addEventListener('pointerdown', (event) => {
      if (event.button !== 0) return;
      base.setPointerCapture(event.pointerId);
      this.dragStarts(event);
    });
    base.addEventListener('pointermove', (event) => this.pointerMoved(event));
    base.addEventListener('pointerup', () => {
      this.drag = null;
    });
    base.addEventListener('pointercancel', () => {
      this.drag = null;
    });
    base.addEventListener('pointerleave', () => {
      this.hoverX = null;
      this.tip.hidden = true;
      this.drawMarks();
    });
    base.addEventListener('dblclick', () => this.showAll());
    base.addEventListener('wheel', (event) => this.wheelTurned(event), { passive: false });
  }

  private dragStarts(event: PointerEvent): void {
    const x = event.offsetX;
    const happening = this.eventAt(x, event.offsetY);
    if (happening) {
      this.player.seek(happening.frame);
    } else if (event.offsetY < LANES.axis.height && !event.shiftKey) {
      this.drag = { kind: 'move', from: x, view: this.view };
    } else if (event.shiftKey) {
      this.drag = { kind: 'mark', from: this.frameAtX(x) };
    } else {
      this.drag = this.rangeEdgeAt(x) ?? { kind: 'seek', from: x };
      if (this.drag.kind === 'seek') this.player.seek(this.frameAtX(x));
    }
  }

  /** Takes the marked range by one of its ends: the other one stays. */
  private rangeEdgeAt(x: number): Drag | null {
    const range = this.player.range.value;
    if (!range) return null;
    const begin = this.view.x(this.axis.places[range.first]);
    const end = this.view.x(this.axis.places[range.last] + this.sequence.medianStep);
    if (Math.abs(x - begin) < EDGE) return { kind: 'mark', from: range.last };
    if (Math.abs(x - end) < EDGE) return { kind: 'mark', from: range.first };
    return null;
  }

  private pointerMoved(event: PointerEvent): void {
    const x = Math.min(Math.max(event.offsetX, GUTTER), this.view.width);
    const { drag } = this;
    if (drag?.kind === 'seek') this.player.seek(this.frameAtX(x));
    if (drag?.kind === 'mark') {
      const here = this.frameAtX(x);
      this.player.range.set({ first: Math.min(drag.from, here), last: Math.max(drag.from, here) });
    }
    if (drag?.kind === 'move') {
      const moved = (event.offsetX - drag.from) / drag.view.perUnit;
      this.show(drag.view.from - moved, drag.view.to - moved);
    }
    const isEdge = event.offsetY > LANES.axis.height && this.rangeEdgeAt(event.offsetX) !== null;
    this.base.style.cursor = isEdge ? 'ew-resize' : event.offsetY < LANES.axis.height ? 'grab' : 'crosshair';
    this.hoverX = event.offsetX < GUTTER ? null : x;
    this.drawMarks();
    this.showTip(x, event.offsetY);
  }

  private wheelTurned(event: WheelEvent): void {
    event.preventDefault();
    if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
      const moved = (event.deltaX || event.deltaY) / this.view.perUnit;
      this.show(this.view.from + moved, this.view.to + moved);
    } else {
      this.zoomAround(this.view.place(Math.max(GUTTER, event.offsetX)), Math.exp(event.deltaY * 0.002));
    }
  }

  private showTip(x: number, y: number): void {
    const place = this.view.place(x);
    const frame = this.axis.frameAt(place);
    const lines = this.tipLines(frame, place, this.eventAt(x, y));
    this.tip.replaceChildren(...lines.map((line, i) => make('div', i === 0 ? 'tip-title' : '', line)));
    this.tip.hidden = this.hoverX === null;
    const width = this.tip.offsetWidth;
    this.tip.style.left = `${Math.min(Math.max(4, x - width / 2), this.view.width - width - 4)}px`;
  }

  private tipLines(frame: number, place: number, happening: RecordingEvent | null): string[] {
    const { sequence, survey } = this;
    const gap = sequence.gaps.find((candidate) => candidate.after === frame);
    const isInGap = gap && place > this.axis.places[frame] + 1.5 * sequence.medianStep;
    const lines = happening ? [happening.text] : [];
    if (isInGap && gap) return [...lines, `no frames for ${durationText(gap.length)}`];
    const time = sequence.times[frame];
    lines.push(sequence.hasTimes ? `${dateText(time)} ${clockText(time)}` : `frame ${frame + 1}`);
    const facts = survey.factsOf(frame);
    const motion = survey.motion[frame];
    const parts = sequence.hasTimes ? [`frame ${countText(frame + 1)}`] : [];
    if (facts) {
      const depth = facts.codes + facts.labelMap + facts.references + facts.errors;
      parts.push(`depth ${bytesText(depth)}`);
      if (facts.colour > 0) parts.push(`colour ${bytesText(facts.colour)}`);
      parts.push(`${countText(facts.labels)} label${facts.labels === 1 ? '' : 's'}`);
    }
    if (!Number.isNaN(motion)) parts.push(`motion ${(100 * motion).toFixed(1)} %`);
    if (parts.length > 0) lines.push(parts.join('  ·  '));
    return lines;
  }
}
