// Bundles the page into a directory: one HTML, one script, one style sheet.
// Usage: node build.mjs DIRECTORY
import { copyFileSync, mkdirSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { build } from 'esbuild';

const here = dirname(fileURLToPath(import.meta.url));
const target = process.argv[2];
if (!target) {
  console.error('usage: node build.mjs DIRECTORY');
  process.exit(2);
}

mkdirSync(target, { recursive: true });
await build({
  entryPoints: { app: join(here, 'src/main.ts') },
  outdir: target,
  bundle: true,
  minify: true,
  format: 'esm',
  target: ['chrome110', 'firefox115', 'safari16'],
  legalComments: 'eof',
  logLevel: 'warning',
});
await build({
  entryPoints: { app: join(here, 'src/app.css') },
  outdir: target,
  bundle: true,
  minify: true,
  target: ['chrome110', 'firefox115', 'safari16'],
  logLevel: 'warning',
});
copyFileSync(join(here, 'src/index.html'), join(target, 'index.html'));
// The licence of what is bundled.
copyFileSync(join(here, 'node_modules/three/LICENSE'), join(target, 'LICENSE.three'));
