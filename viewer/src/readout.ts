// What is known of the pixel that is looked at, and of the frame that is shown.

import type { FrameDescription } from './api';
import { type Camera, type Point, pointOf } from './camera';
import type { DepthFrame, Pixel } from './depth_frame';
import { element, make } from './dom';
import { bytesText, countText, metresText } from './format';
import type { PixelPlace, SharedView } from './image_stage';
import type { LoadedFrame } from './frame_store';

export class Readout {
  private readonly pixelLine = element('pixel-line');
  private readonly frameLine = element('frame-line');
  private readonly value = element('pixel-value');

  constructor(private readonly view: SharedView) {}

  /** The pixel under the pointer, or the one held. Returns its depth, 0 without a reading. */
  showPixel(frame: LoadedFrame | null, camera: Camera | null): number {
    const place = this.view.place;
    const depth = frame?.depth ?? null;
    if (!place || !depth || !camera) {
      this.value.textContent = '–';
      this.pixelLine.replaceChildren(make('span', 'soft', 'Point at an image to read its depth; click to hold a pixel.'));
      return 0;
    }
    const pixel = depth.pixel(place.column, place.row);
    this.value.textContent = pixel.depth > 0 ? metresText(pixel.depth) : 'no reading';
    this.pixelLine.replaceChildren(...this.pixelParts(pixel, depth, camera));
    return pixel.depth;
  }

  showFrame(frame: FrameDescription | null): void {
    if (!frame) {
      this.frameLine.replaceChildren();
      return;
    }
    const bytes = frame.files.reduce((sum, file) => sum + file.bytes, 0);
    const parts = [
      make('span', 'name', frame.name.slice(frame.name.lastIndexOf('/') + 1)),
      part('size', bytesText(bytes)),
      part('labels', countText(frame.labels)),
      part('runs', countText(frame.runs)),
      part('exact codes', countText(frame.error_records)),
    ];
    parts[0].title = frame.files.map((file) => `${file.kind}: ${file.name}, ${countText(file.bytes)} bytes`).join('\n');
    if (frame.faults.length > 0) {
      const badge = make('span', 'badge', frame.faults.length === 1 ? 'damaged' : `${frame.faults.length} faults`);
      badge.title = frame.faults.join('\n');
      parts.push(badge);
    }
    this.frameLine.replaceChildren(...parts);
  }

  private pixelParts(pixel: Pixel, frame: DepthFrame, camera: Camera): HTMLElement[] {
    const parts = [part('column', String(pixel.column)), part('row', String(pixel.row))];
    if (pixel.depth > 0) {
      const point = pointOf(camera, pixel.column, pixel.row, pixel.depth);
      parts.push(part('x', metresText(point.x)), part('y', metresText(point.y)), part('z', metresText(point.z)));
      const held = this.distanceToPin(point, frame, camera);
      if (held) parts.push(part('to the held pixel', held));
    }
    parts.push(
      pixel.label >= 0
        ? part('label', `${pixel.label} at ${metresText(pixel.reference)}`)
        : make('span', 'soft', 'no label'),
    );
    if (pixel.hasRecord) parts.push(make('span', 'exact', 'exact code'));
    return parts;
  }

  /** How far the point lies from that of the held pixel. */
  private distanceToPin(point: Point, frame: DepthFrame, camera: Camera): string {
    const pin = this.view.pin.value;
    if (!pin || samePlace(pin, this.view.place)) return '';
    const held = frame.pixel(pin.column, pin.row);
    if (held.depth === 0) return '';
    const other = pointOf(camera, held.column, held.row, held.depth);
    return metresText(Math.hypot(point.x - other.x, point.y - other.y, point.z - other.z));
  }
}

function samePlace(a: PixelPlace | null, b: PixelPlace | null): boolean {
  return a?.column === b?.column && a?.row === b?.row;
}

function part(name: string, value: string): HTMLElement {
  const made = make('span', 'part');
  made.append(make('span', 'part-name', name), make('span', 'part-value', value));
  return made;
}
