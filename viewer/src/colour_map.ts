// Colours for depths, on a scale that is the same for all frames.

import { isReading } from './depth_frame';

/** 0xAABBGGRR, as pixels of a canvas. */
export type Packed = number;

export type MapName = 'turbo' | 'viridis' | 'grey';

export interface DepthScale {
  map: MapName;
  /** Metres. */
  near: number;
  far: number;
  logarithmic: boolean;
}

export const usualScale: DepthScale = { map: 'turbo', near: 0.4, far: 8, logarithmic: true };
export const SCALE_LIMITS = { least: 0.05, most: 255 };

export function pack(red: number, green: number, blue: number): Packed {
  return ((255 << 24) | (blue << 16) | (green << 8) | red) >>> 0;
}

/** For pixels without a reading. */
export const NO_READING: Packed = pack(22, 24, 28);

type Triple = [number, number, number];

function polynomial(coefficients: number[][], t: number): Triple {
  return coefficients.map((channel) => {
    let value = 0;
    for (let i = channel.length - 1; i >= 0; i -= 1) value = value * t + channel[i];
    return Math.round(255 * Math.min(1, Math.max(0, value)));
  }) as Triple;
}

const TURBO = [
  [0.13572138, 4.6153926, -42.66032258, 132.13108234, -152.94239396, 59.28637943],
  [0.09140261, 2.19418839, 4.84296658, -14.18503333, 4.27729857, 2.82956604],
  [0.1066733, 12.64194608, -60.58204836, 110.36276771, -89.90310912, 27.34824973],
];

/** Every eighth of the map; between them it is nearly linear. */
const VIRIDIS: Triple[] = [
  [68, 1, 84],
  [71, 44, 122],
  [59, 81, 139],
  [44, 113, 142],
  [33, 144, 141],
  [39, 173, 129],
  [92, 200, 99],
  [170, 220, 50],
  [253, 231, 37],
];

function viridis(t: number): Triple {
  const place = t * (VIRIDIS.length - 1);
  const lower = Math.min(Math.floor(place), VIRIDIS.length - 2);
  const share = place - lower;
  return VIRIDIS[lower].map((value, i) => Math.round(value + share * (VIRIDIS[lower + 1][i] - value))) as Triple;
}

/** Colour at a place of the scale, 0 (near) to 1 (far): near is warm or light. */
function mapColour(map: MapName, position: number): Triple {
  // Both ends of turbo are nearly black, which would look like a missing reading.
  if (map === 'turbo') return polynomial(TURBO, 0.97 - 0.92 * position);
  if (map === 'viridis') return viridis(1 - position);
  const grey = Math.round(250 - 200 * position);
  return [grey, grey, grey];
}

const STEPS = 1024;

/** Turns depths into colours quickly. */
export class DepthPalette {
  private readonly colours = new Uint32Array(STEPS);

  constructor(readonly scale: DepthScale) {
    for (let i = 0; i < STEPS; i += 1) this.colours[i] = pack(...mapColour(scale.map, i / (STEPS - 1)));
  }

  /** Place of a depth on the scale, 0 to 1; depths beyond an end are put there. */
  position(depth: number): number {
    const { near, far, logarithmic } = this.scale;
    const place = logarithmic ? Math.log(depth / near) / Math.log(far / near) : (depth - near) / (far - near);
    return Math.min(1, Math.max(0, place));
  }

  /** The depth at a place of the scale. */
  depthAt(position: number): number {
    const { near, far, logarithmic } = this.scale;
    return logarithmic ? near * (far / near) ** position : near + position * (far - near);
  }

  colourAt(position: number): Packed {
    return this.colours[Math.round(position * (STEPS - 1))];
  }

  colour(depth: number): Packed {
    return isReading(depth) ? this.colourAt(this.position(depth)) : NO_READING;
  }
}

/** Colours that tell labels apart: turns of the hue by the golden angle. */
export function labelColour(label: number): Packed {
  if (label < 0) return NO_READING;
  const hue = (label * 137.508 + 205) % 360;
  const lightness = 0.56 + 0.12 * ((Math.floor(label / 3) % 3) - 1);
  return pack(...fromHsl(hue, 0.62, lightness));
}

function fromHsl(hue: number, saturation: number, lightness: number): Triple {
  const reach = saturation * Math.min(lightness, 1 - lightness);
  const channel = (n: number): number => {
    const k = (n + hue / 30) % 12;
    return Math.round(255 * (lightness - reach * Math.max(-1, Math.min(k - 3, 9 - k, 1))));
  };
  return [channel(0), channel(8), channel(4)];
}

/** For the style sheet. */
export function cssColour(colour: Packed): string {
  return `rgb(${colour & 255} ${(colour >> 8) & 255} ${(colour >> 16) & 255})`;
}

/** Depths to write at the scale: round ones, so many that they do not touch. */
export function scaleTicks(palette: DepthPalette, most: number): number[] {
  const { near, far } = palette.scale;
  for (const steps of [
    [1, 1.5, 2, 3, 4, 5, 6, 7, 8, 9],
    [1, 1.5, 2, 3, 4, 6, 8],
    [1, 2, 3, 5],
    [1, 2, 5],
    [1, 3],
    [1],
  ]) {
    const ticks: number[] = [];
    for (let decade = 1e-2; decade <= 1e3; decade *= 10) {
      for (const step of steps) {
        const depth = Number((step * decade).toPrecision(3));
        if (depth >= near * 0.9999 && depth <= far * 1.0001) ticks.push(depth);
      }
    }
    const apart = ticks.every(
      (tick, i) => i === 0 || palette.position(tick) - palette.position(ticks[i - 1]) > 0.75 / most,
    );
    if (apart && ticks.length <= most) return ticks;
  }
  return [near, far];
}
