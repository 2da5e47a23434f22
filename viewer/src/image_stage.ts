// A place where an image of the recording is shown: fitted, zoomed and moved together with the others, with a mark
// at the pixel under the pointer.

import { make } from './dom';
import { Observable } from './observable';

export interface PixelPlace {
  column: number;
  row: number;
}

/** What all images share. */
export class SharedView {
  /** Under the pointer, or moved to by keys. */
  readonly pointer = new Observable<PixelPlace | null>(null);
  /** Held by a click. */
  readonly pin = new Observable<PixelPlace | null>(null);
  readonly zoom = new Observable<Zoom>({ scale: 1, x: 0.5, y: 0.5 });

  constructor(
    readonly width: number,
    readonly height: number,
  ) {}

  /** The pixel that is being looked at. */
  get place(): PixelPlace | null {
    return this.pointer.value ?? this.pin.value;
  }
}

/** How much larger than fitted, and what lies in the middle (0 to 1 of the image). */
export interface Zoom {
  scale: number;
  x: number;
  y: number;
}

const MOST_ZOOM = 32;

export class ImageStage {
  readonly canvas: HTMLCanvasElement;
  private readonly cursor = make('div', 'mark cursor');
  private readonly held = make('div', 'mark held');
  private readonly message = make('div', 'stage-message');
  /** Pixels of the page for each pixel of the image, and the image's corner in the stage. */
  private scale = 1;
  private left = 0;
  private top = 0;
  private dragFrom: { x: number; y: number; zoom: Zoom; moved: boolean } | null = null;

  constructor(
    private readonly stage: HTMLElement,
    private readonly view: SharedView,
  ) {
    this.canvas = stage.querySelector('canvas')!;
    this.canvas.width = view.width;
    this.canvas.height = view.height;
    this.message.hidden = true;
    this.message.setAttribute('role', 'status');
    stage.append(this.held, this.cursor, this.message);
    new ResizeObserver(() => this.place()).observe(stage);
    view.zoom.watch(() => this.place());
    view.pointer.watch(() => this.placeMarks());
    view.pin.watch(() => this.placeMarks());
    this.listen();
  }

  /** Shows a text in place of the image; an empty one shows the image. */
  say(lines: string[], isFault = false): void {
    this.message.hidden = lines.length === 0;
    this.message.classList.toggle('fault', isFault);
    this.message.replaceChildren(...lines.map((line, i) => make(i === 0 ? 'strong' : 'span', '', line)));
    this.canvas.classList.toggle('hidden', lines.length > 0);
  }

  private place(): void {
    const { width, height } = this.view;
    const { clientWidth, clientHeight } = this.stage;
    if (clientWidth === 0 || clientHeight === 0) return;
    const zoom = this.view.zoom.value;
    this.scale = Math.min(clientWidth / width, clientHeight / height) * zoom.scale;
    this.left = clientWidth / 2 - zoom.x * width * this.scale;
    this.top = clientHeight / 2 - zoom.y * height * this.scale;
    this.canvas.style.width = `${width * this.scale}px`;
    this.canvas.style.height = `${height * this.scale}px`;
    this.canvas.style.left = `${this.left}px`;
    this.canvas.style.top = `${this.top}px`;
    this.canvas.classList.toggle('magnified', this.scale * window.devicePixelRatio > 2);
    this.placeMarks();
  }

  private placeMarks(): void {
    this.placeMark(this.cursor, this.view.pointer.value);
    this.placeMark(this.held, this.view.pin.value);
  }

  private placeMark(mark: HTMLElement, place: PixelPlace | null): void {
    mark.hidden = place === null;
    if (!place) return;
    mark.style.left = `${this.left + (place.column + 0.5) * this.scale}px`;
    mark.style.top = `${this.top + (place.row + 0.5) * this.scale}px`;
  }

  private pixelAt(event: MouseEvent): PixelPlace | null {
    const box = this.stage.getBoundingClientRect();
    const column = Math.floor((event.clientX - box.left - this.left) / this.scale);
    const row = Math.floor((event.clientY - box.top - this.top) / this.scale);
    const isInside = column >= 0 && row >= 0 && column < this.view.width && row < this.view.height;
    return isInside ? { column, row } : null;
  }

  private listen(): void {
    const { stage, view } = this;
    stage.addEventListener('pointermove', (event) => this.pointerMoved(event));
    stage.addEventListener('pointerleave', () => {
      if (!this.dragFrom) view.pointer.set(null);
    });
    stage.addEventListener('pointerdown', (event) => {
      if (event.button !== 0) return;
      this.dragFrom = { x: event.clientX, y: event.clientY, zoom: view.zoom.value, moved: false };
      stage.setPointerCapture(event.pointerId);
    });
    stage.addEventListener('pointerup', (event) => {
      const drag = this.dragFrom;
      this.dragFrom = null;
      if (drag && !drag.moved) this.togglePin(this.pixelAt(event));
    });
    stage.addEventListener('pointercancel', () => {
      this.dragFrom = null;
    });
    stage.addEventListener('dblclick', () => view.zoom.set({ scale: 1, x: 0.5, y: 0.5 }));
    stage.addEventListener('wheel', (event) => this.wheelTurned(event), { passive: false });
    stage.addEventListener('keydown', (event) => this.keyPressed(event));
  }

  private pointerMoved(event: PointerEvent): void {
    const drag = this.dragFrom;
    if (drag) {
      const across = event.clientX - drag.x;
      const down = event.clientY - drag.y;
      if (Math.hypot(across, down) > 3) drag.moved = true;
      if (drag.moved && drag.zoom.scale > 1) {
        this.zoomTo({
          scale: drag.zoom.scale,
          x: drag.zoom.x - across / (this.scale * this.view.width),
          y: drag.zoom.y - down / (this.scale * this.view.height),
        });
      }
    }
    this.view.pointer.set(this.pixelAt(event));
  }

  private togglePin(place: PixelPlace | null): void {
    const pin = this.view.pin.value;
    const isSame = pin && place && Math.abs(pin.column - place.column) < 4 && Math.abs(pin.row - place.row) < 4;
    this.view.pin.set(isSame ? null : place);
  }

  private wheelTurned(event: WheelEvent): void {
    event.preventDefault();
    const box = this.stage.getBoundingClientRect();
    const zoom = this.view.zoom.value;
    const scale = Math.min(MOST_ZOOM, Math.max(1, zoom.scale * Math.exp(-event.deltaY * 0.0015)));
    // What is under the pointer stays there.
    const x = (event.clientX - box.left - this.left) / (this.scale * this.view.width);
    const y = (event.clientY - box.top - this.top) / (this.scale * this.view.height);
    const kept = zoom.scale / scale;
    this.zoomTo({ scale, x: x + (zoom.x - x) * kept, y: y + (zoom.y - y) * kept });
  }

  private zoomTo(zoom: Zoom): void {
    const inside = (value: number): number => {
      const reach = 0.5 / zoom.scale;
      return Math.min(1 - reach, Math.max(reach, value));
    };
    this.view.zoom.set({ scale: zoom.scale, x: inside(zoom.x), y: inside(zoom.y) });
  }

  /** Moves the mark by a pixel, or by ten: that needs no mouse. */
  private keyPressed(event: KeyboardEvent): void {
    const { view } = this;
    if (event.key === 'Enter') {
      this.togglePin(view.place);
      event.preventDefault();
      return;
    }
    const moves: Record<string, [number, number]> = {
      ArrowLeft: [-1, 0],
      ArrowRight: [1, 0],
      ArrowUp: [0, -1],
      ArrowDown: [0, 1],
    };
    const move = moves[event.key];
    if (!move || !event.shiftKey) return;
    const from = view.place ?? { column: view.width / 2, row: view.height / 2 };
    const step = event.ctrlKey ? 10 : 1;
    view.pointer.set({
      column: Math.min(view.width - 1, Math.max(0, from.column + step * move[0])),
      row: Math.min(view.height - 1, Math.max(0, from.row + step * move[1])),
    });
    event.preventDefault();
    event.stopPropagation();
  }
}
