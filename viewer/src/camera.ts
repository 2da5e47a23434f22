import type { Intrinsics } from './depth_frame';

/** How pixels become points: x to the right, y down, z forward, metres. */
export interface Camera {
  focalRight: number;
  focalDown: number;
  centreRight: number;
  centreDown: number;
}

/**
 * The recorded principal point holds the row first, as the library's maps take it. Recordings of the first camera
 * class hold the column first: those are to be swapped.
 */
export function cameraOf(intrinsics: Intrinsics, swapped: boolean): Camera {
  const { a11, a22, cx, cy } = intrinsics;
  return swapped
    ? { focalRight: a11, focalDown: a22, centreRight: cx, centreDown: cy }
    : { focalRight: a22, focalDown: a11, centreRight: cy, centreDown: cx };
}

/** Whether swapping brings the principal point nearer to the middle of the image. */
export function seemsSwapped(intrinsics: Intrinsics, width: number, height: number): boolean {
  const distance = (camera: Camera): number =>
    Math.hypot(camera.centreRight - width / 2, camera.centreDown - height / 2);
  return distance(cameraOf(intrinsics, true)) < distance(cameraOf(intrinsics, false));
}

export interface Point {
  x: number;
  y: number;
  z: number;
}

export function pointOf(camera: Camera, column: number, row: number, depth: number): Point {
  return {
    x: ((column - camera.centreRight) * depth) / camera.focalRight,
    y: ((row - camera.centreDown) * depth) / camera.focalDown,
    z: depth,
  };
}
