// The images and the cloud of the shown frame.

import { type Camera, cameraOf, seemsSwapped } from './camera';
import { CloudView, type Viewpoint } from './cloud_view';
import { DepthPalette, type DepthScale, type MapName, SCALE_LIMITS, usualScale } from './colour_map';
import { DepthPainter, type Overlay } from './depth_painter';
import { context2d, element, memory } from './dom';
import type { LoadedFrame } from './frame_store';
import { ImageStage, SharedView } from './image_stage';
import { Legend } from './legend';
import { Observable } from './observable';
import { Readout } from './readout';
import { theme } from './theme';

const OVERLAYS: Overlay[] = ['none', 'records', 'labels'];
export type PanelName = 'depth' | 'colour' | 'cloud';

export class Panels {
  readonly overlay = new Observable<Overlay>('none');
  readonly readout: Readout;
  private readonly view: SharedView;
  private readonly depthStage: ImageStage;
  private readonly colourStage: ImageStage;
  private readonly painter: DepthPainter;
  private readonly legend: Legend;
  private palette: DepthPalette;
  private cloud: CloudView | null = null;
  private cloudFailed = false;
  private frame: LoadedFrame | null = null;
  private camera: Camera | null = null;
  /** As the user chose; null: by plausibility. */
  private swapChoice: boolean | null = null;

  constructor(
    width: number,
    height: number,
    private readonly hasColour: boolean,
  ) {
    this.view = new SharedView(width, height);
    this.depthStage = new ImageStage(element('depth-stage'), this.view);
    this.colourStage = new ImageStage(element('colour-stage'), this.view);
    this.painter = new DepthPainter(width, height);
    this.palette = new DepthPalette(rememberedScale());
    this.legend = new Legend(element('legend'), this.palette, 'none');
    this.readout = new Readout(this.view);
    this.listenToScale();
    this.listenToOverlay();
    this.listenToCloud();
    this.listenToPanels();
    this.view.pointer.watch(() => this.read());
    this.view.pin.watch(() => this.read());
    theme.watch(() => {
      this.legend.draw();
      this.cloud?.setTheme();
    });
  }

  show(frame: LoadedFrame): void {
    this.frame = frame;
    this.camera = frame.depth ? this.cameraOfFrame(frame) : null;
    this.paintDepth();
    this.paintColour();
    this.showCloud();
    this.read();
  }

  nextOverlay(): void {
    const place = OVERLAYS.indexOf(this.overlay.value);
    this.overlay.set(OVERLAYS[(place + 1) % OVERLAYS.length]);
  }

  toggle(name: PanelName): void {
    element(`show-${name}`).click();
  }

  toggleTurning(): void {
    element('turn').click();
  }

  /** Lets go of what is held; false when nothing was. */
  letGo(): boolean {
    if (!this.view.pin.value) return false;
    this.view.pin.set(null);
    return true;
  }

  private paintDepth(): void {
    const { frame } = this;
    if (!frame) return;
    if (!frame.depth) {
      this.depthStage.say(['This frame cannot be read', ...frame.depthFaults], true);
      return;
    }
    this.depthStage.say([]);
    this.painter.paint(frame.depth, this.palette, this.overlay.value, context2d(this.depthStage.canvas));
  }

  private paintColour(): void {
    const { frame } = this;
    if (!frame) return;
    if (!frame.colour) {
      const isFault = frame.colourFault !== '';
      this.colourStage.say(isFault ? ['No colour image', frame.colourFault] : ['This recording has no colour images'], isFault);
      return;
    }
    this.colourStage.say([]);
    context2d(this.colourStage.canvas).putImageData(frame.colour, 0, 0);
  }

  private cameraOfFrame(frame: LoadedFrame): Camera {
    const { intrinsics, width, height } = frame.depth!;
    const swapped = this.swapChoice ?? seemsSwapped(intrinsics, width, height);
    element<HTMLInputElement>('swap').checked = swapped;
    return cameraOf(intrinsics, swapped);
  }

  private showCloud(): void {
    if (element('cloud-panel').hidden || !this.frame || this.cloudFailed) return;
    const cloud = this.startedCloud();
    if (!cloud || !this.frame.depth || !this.camera) return;
    cloud.setPicture(this.cloudPicture());
    cloud.show(this.frame.depth.depths(), this.camera);
  }

  private cloudPicture(): HTMLCanvasElement {
    const wantsColour = element<HTMLSelectElement>('cloud-colours').value === 'colour';
    return wantsColour && this.frame?.colour ? this.colourStage.canvas : this.depthStage.canvas;
  }

  /** Made when it is first looked at: the graphics processor takes its time. */
  private startedCloud(): CloudView | null {
    if (this.cloud) return this.cloud;
    const stage = element('cloud-stage');
    try {
      this.cloud = new CloudView(stage, this.view.width, this.view.height, this.depthStage.canvas);
    } catch {
      this.cloudFailed = true;
      stage.classList.add('stage-message');
      stage.textContent = 'This browser cannot draw in three dimensions: it lacks WebGL 2.';
    }
    return this.cloud;
  }

  private read(): void {
    this.legend.mark(this.readout.showPixel(this.frame, this.camera));
    const value = element('colour-value');
    const place = this.view.place;
    if (!place || !this.frame?.colour) {
      value.textContent = this.hasColour ? 'JPEG as recorded' : '';
      return;
    }
    const at = 4 * (place.row * this.view.width + place.column);
    const [red, green, blue] = this.frame.colour.data.subarray(at, at + 3);
    value.textContent = `red ${red}, green ${green}, blue ${blue}`;
  }

  private listenToScale(): void {
    const map = element<HTMLSelectElement>('colour-map');
    const near = element<HTMLInputElement>('near');
    const far = element<HTMLInputElement>('far');
    const logarithmic = element<HTMLInputElement>('logarithmic');
    const tell = (scale: DepthScale): void => {
      map.value = scale.map;
      near.value = String(scale.near);
      far.value = String(scale.far);
      logarithmic.checked = scale.logarithmic;
    };
    const take = (): void => {
      const wanted = {
        map: map.value as MapName,
        near: near.valueAsNumber,
        far: far.valueAsNumber,
        logarithmic: logarithmic.checked,
      };
      const scale = isScale(wanted) ? wanted : { ...this.palette.scale, map: wanted.map, logarithmic: wanted.logarithmic };
      tell(scale);
      memory.set('scale', JSON.stringify(scale));
      this.palette = new DepthPalette(scale);
      this.repaint();
    };
    tell(this.palette.scale);
    for (const control of [map, near, far, logarithmic]) control.addEventListener('change', take);
  }

  private listenToOverlay(): void {
    const select = element<HTMLSelectElement>('overlay');
    select.addEventListener('change', () => this.overlay.set(select.value as Overlay));
    this.overlay.watch((overlay) => {
      select.value = overlay;
      this.repaint();
    });
  }

  private repaint(): void {
    this.legend.show(this.palette, this.overlay.value);
    this.paintDepth();
    this.showCloud();
  }

  private listenToCloud(): void {
    element('cloud-colours').addEventListener('change', () => this.showCloud());
    if (!this.hasColour) element<HTMLSelectElement>('cloud-colours').value = 'depth';
    const swap = element<HTMLInputElement>('swap');
    swap.addEventListener('change', () => {
      this.swapChoice = swap.checked;
      if (this.frame?.depth) this.camera = this.cameraOfFrame(this.frame);
      this.showCloud();
      this.read();
    });
    for (const button of document.querySelectorAll<HTMLButtonElement>('[data-look]')) {
      button.addEventListener('click', () => this.cloud?.look(button.dataset.look as Viewpoint));
    }
    const turn = element('turn');
    turn.addEventListener('click', () => {
      const on = turn.getAttribute('aria-pressed') !== 'true';
      turn.setAttribute('aria-pressed', String(on));
      this.cloud?.turn(on);
    });
  }

  private listenToPanels(): void {
    const isWide = window.innerWidth >= 1600;
    const usual: Record<PanelName, boolean> = { depth: true, colour: this.hasColour, cloud: isWide || !this.hasColour };
    for (const name of ['depth', 'colour', 'cloud'] as const) {
      const button = element(`show-${name}`);
      const panel = element(`${name}-panel`);
      const set = (on: boolean): void => {
        button.setAttribute('aria-pressed', String(on));
        panel.hidden = !on;
      };
      set(usual[name]);
      button.addEventListener('click', () => {
        set(panel.hidden);
        if (name === 'cloud') this.showCloud();
      });
    }
  }
}

function isScale(scale: DepthScale): boolean {
  const { near, far } = scale;
  return near >= SCALE_LIMITS.least && far <= SCALE_LIMITS.most && far >= near * 1.02 && far - near >= 0.02;
}

function rememberedScale(): DepthScale {
  try {
    const scale = { ...usualScale, ...(JSON.parse(memory.get('scale') ?? '{}') as Partial<DepthScale>) };
    return isScale(scale) && ['turbo', 'viridis', 'grey'].includes(scale.map) ? scale : usualScale;
  } catch {
    return usualScale;
  }
}
