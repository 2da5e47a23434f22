// Colour images as they were recorded.

let scratch: CanvasRenderingContext2D | null = null;

/** A recorded colour image in the size of the depth. Its file holds blue where red belongs, and red for blue. */
export async function decodeColour(file: Blob, width: number, height: number): Promise<ImageData> {
  const bitmap = await createImageBitmap(file);
  const context = scratchContext(width, height);
  context.drawImage(bitmap, 0, 0, width, height);
  bitmap.close();
  const image = context.getImageData(0, 0, width, height);
  const pixels = new Uint32Array(image.data.buffer);
  for (let i = 0; i < pixels.length; i += 1) {
    const pixel = pixels[i];
    pixels[i] = (pixel & 0xff00ff00) | ((pixel & 255) << 16) | ((pixel >> 16) & 255);
  }
  return image;
}

function scratchContext(width: number, height: number): CanvasRenderingContext2D {
  if (scratch && scratch.canvas.width === width && scratch.canvas.height === height) return scratch;
  const canvas = document.createElement('canvas');
  canvas.width = width;
  canvas.height = height;
  // Its pixels are read back: it is to lie where the processor reaches them.
  scratch = canvas.getContext('2d', { willReadFrequently: true });
  if (!scratch) throw new Error('this browser draws no pictures');
  return scratch;
}
