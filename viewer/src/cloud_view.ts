// The frame as a cloud of points that turns. The points are made by the graphics processor, from the depth and a
// picture of their colours.

import {
  BufferAttribute,
  BufferGeometry,
  CanvasTexture,
  Color,
  DataTexture,
  FloatType,
  GLSL3,
  LineBasicMaterial,
  LineSegments,
  NearestFilter,
  PerspectiveCamera,
  Points,
  RedFormat,
  Scene,
  ShaderMaterial,
  SRGBColorSpace,
  Vector3,
  Vector4,
  WebGLRenderer,
} from 'three';
import { OrbitControls } from 'three/examples/jsm/controls/OrbitControls.js';
import { type Camera, pointOf } from './camera';
import { LEAST_READING } from './depth_frame';
import { themeColour } from './dom';

const VERTEX_SHADER = `
  uniform sampler2D depth_map;
  uniform sampler2D colour_map;
  uniform vec4 lens;  // focal lengths right and down, principal point right and down
  uniform float least;
  uniform float size;
  out vec3 colour;
  void main() {
    ivec2 pixel = ivec2(position.xy);
    float z = texelFetch(depth_map, pixel, 0).r;
    colour = texelFetch(colour_map, pixel, 0).rgb;
    // Recorded axes are x right, y down, z forward; those of the scene y up and z backward.
    vec2 across = (position.xy - lens.zw) * z / lens.xy;
    vec4 view = modelViewMatrix * vec4(across.x, -across.y, -z, 1.0);
    gl_Position = z >= least && z < 255.0 ? projectionMatrix * view : vec4(2.0, 2.0, 2.0, 1.0);
    // As large as the pixel's part of the surface, so that near surfaces stay closed.
    gl_PointSize = clamp(size * z / -view.z, 1.5, 12.0);
  }
`;

const FRAGMENT_SHADER = `
  in vec3 colour;
  out vec4 painted;
  void main() {
    painted = vec4(colour, 1.0);
  }
`;

export type Viewpoint = 'camera' | 'angle' | 'front' | 'top' | 'side';

export class CloudView {
  private readonly renderer: WebGLRenderer;
  private readonly scene = new Scene();
  private readonly eye = new PerspectiveCamera(50, 1, 0.02, 600);
  private readonly controls: OrbitControls;
  private readonly depthMap: DataTexture;
  private readonly colourMap: CanvasTexture;
  private readonly material: ShaderMaterial;
  private readonly frustum = new LineSegments(
    new BufferGeometry(),
    new LineBasicMaterial({ transparent: true, opacity: 0.7 }),
  );
  private isDrawing = false;
  private turning = false;
  private hasView = false;
  private middle = 2;

  constructor(
    private readonly stage: HTMLElement,
    private readonly width: number,
    private readonly height: number,
    picture: HTMLCanvasElement,
  ) {
    const canvas = stage.querySelector('canvas')!;
    this.renderer = new WebGLRenderer({ canvas, antialias: false, powerPreference: 'high-performance' });
    this.depthMap = new DataTexture(new Float32Array(width * height), width, height, RedFormat, FloatType);
    this.colourMap = new CanvasTexture(picture);
    this.colourMap.flipY = false;
    this.colourMap.minFilter = this.colourMap.magFilter = NearestFilter;
    this.colourMap.generateMipmaps = false;
    this.material = new ShaderMaterial({
      glslVersion: GLSL3,
      vertexShader: VERTEX_SHADER,
      fragmentShader: FRAGMENT_SHADER,
      uniforms: {
        depth_map: { value: this.depthMap },
        colour_map: { value: this.colourMap },
        lens: { value: new Vector4(525, 525, width / 2, height / 2) },
        least: { value: LEAST_READING },
        size: { value: 2 },
      },
    });
    const points = new Points(pixelGeometry(width, height), this.material);
    points.frustumCulled = false;
    this.frustum.frustumCulled = false;
    this.scene.add(points, this.frustum);
    this.controls = new OrbitControls(this.eye, canvas);
    this.controls.enableDamping = false;
    this.controls.zoomSpeed = 1.2;
    this.controls.maxDistance = 200;
    this.controls.minDistance = 0.05;
    this.controls.addEventListener('change', () => this.draw());
    new ResizeObserver(() => this.resize()).observe(stage);
    stage.addEventListener('keydown', (event) => this.keyPressed(event));
    this.setTheme();
    this.resize();
  }

  /** Shows these depths in the colours of the picture that was given at the beginning. */
  show(depth: Float32Array, camera: Camera): void {
    this.depthMap.image.data.set(depth);
    this.depthMap.needsUpdate = true;
    this.setPicture(null);
    this.setCamera(camera);
    if (!this.hasView) {
      this.middle = middleDepth(depth);
      this.hasView = this.middle > 0;
      this.look('angle');
    }
    this.draw();
  }

  setPicture(picture: HTMLCanvasElement | null): void {
    if (picture) this.colourMap.image = picture;
    this.colourMap.needsUpdate = true;
    this.draw();
  }

  setCamera(camera: Camera): void {
    const { focalRight, focalDown, centreRight, centreDown } = camera;
    (this.material.uniforms.lens.value as Vector4).set(focalRight, focalDown, centreRight, centreDown);
    this.drawFrustum(camera);
    this.setPointSize();
    this.draw();
  }

  setTheme(): void {
    this.scene.background = new Color().setStyle(themeColour('stage'), SRGBColorSpace);
    this.frustum.material.color = new Color().setStyle(themeColour('text-soft'), SRGBColorSpace);
    this.draw();
  }

  look(from: Viewpoint): void {
    const distance = Math.max(this.middle, 0.3);
    const target = new Vector3(0, 0, -distance);
    const offsets: Record<Viewpoint, [number, number, number]> = {
      camera: [0, 0, 1],
      angle: [0.55, 0.36, 1.3],
      front: [0, 0, 1.6],
      top: [0, 1.7, 0.01],
      side: [1.7, 0, 0.01],
    };
    this.eye.up.set(0, 1, 0);
    this.eye.position.set(...offsets[from]).multiplyScalar(distance).add(target);
    this.controls.target.copy(target);
    this.controls.update();
    this.draw();
  }

  /** Turns the cloud by itself, or no longer. */
  turn(on: boolean): void {
    this.turning = on;
    this.controls.autoRotate = on;
    this.controls.autoRotateSpeed = 4;
    this.draw();
  }

  /** Turns it by a step, radians. */
  turnBy(across: number, up: number): void {
    const offset = this.eye.position.clone().sub(this.controls.target);
    const distance = offset.length();
    const angle = Math.atan2(offset.x, offset.z) + across;
    const height = Math.min(1.5, Math.max(-1.5, Math.asin(offset.y / distance) + up));
    offset.set(Math.sin(angle) * Math.cos(height), Math.sin(height), Math.cos(angle) * Math.cos(height));
    this.eye.position.copy(offset.multiplyScalar(distance).add(this.controls.target));
    this.controls.update();
    this.draw();
  }

  draw(): void {
    if (this.isDrawing) return;
    this.isDrawing = true;
    requestAnimationFrame(() => {
      this.isDrawing = false;
      if (this.stage.clientWidth === 0) return;
      if (this.turning) this.controls.update();
      this.renderer.render(this.scene, this.eye);
      if (this.turning) this.draw();
    });
  }

  private resize(): void {
    const { clientWidth, clientHeight } = this.stage;
    if (clientWidth === 0 || clientHeight === 0) return;
    this.renderer.setPixelRatio(window.devicePixelRatio || 1);
    this.renderer.setSize(clientWidth, clientHeight, false);
    this.eye.aspect = clientWidth / clientHeight;
    this.eye.updateProjectionMatrix();
    this.setPointSize();
    this.draw();
  }

  private setPointSize(): void {
    const focal = (this.material.uniforms.lens.value as Vector4).x || 525;
    const pixelsPerRadian = this.renderer.domElement.height / (2 * Math.tan((this.eye.fov * Math.PI) / 360));
    this.material.uniforms.size.value = (1.7 * pixelsPerRadian) / focal;
  }

  /** The camera: its place, and what it sees up to 40 cm. */
  private drawFrustum(camera: Camera): void {
    const far = 0.4;
    const corners = [
      [0, 0],
      [this.width, 0],
      [this.width, this.height],
      [0, this.height],
    ].map(([column, row]) => pointOf(camera, column, row, far));
    const lines: number[] = [];
    corners.forEach((corner, i) => {
      const next = corners[(i + 1) % corners.length];
      lines.push(0, 0, 0, corner.x, -corner.y, -far, corner.x, -corner.y, -far, next.x, -next.y, -far);
    });
    this.frustum.geometry.setAttribute('position', new BufferAttribute(new Float32Array(lines), 3));
  }

  private keyPressed(event: KeyboardEvent): void {
    const step = Math.PI / 24;
    const turns: Record<string, [number, number]> = {
      ArrowLeft: [-step, 0],
      ArrowRight: [step, 0],
      ArrowUp: [0, step],
      ArrowDown: [0, -step],
    };
    const turn = turns[event.key];
    if (!turn || !event.shiftKey) return;
    this.turnBy(...turn);
    event.preventDefault();
    event.stopPropagation();
  }
}

/** A point for each pixel, at its column and row. */
function pixelGeometry(width: number, height: number): BufferGeometry {
  const places = new Float32Array(width * height * 3);
  for (let i = 0; i < width * height; i += 1) {
    places[3 * i] = i % width;
    places[3 * i + 1] = Math.floor(i / width);
  }
  const geometry = new BufferGeometry();
  geometry.setAttribute('position', new BufferAttribute(places, 3));
  return geometry;
}

/** The depth in the middle of all readings; 0 without any. */
function middleDepth(depth: Float32Array): number {
  const readings: number[] = [];
  for (let i = 0; i < depth.length; i += 97) if (depth[i] >= LEAST_READING) readings.push(depth[i]);
  readings.sort((a, b) => a - b);
  return readings[readings.length >> 1] ?? 0;
}
