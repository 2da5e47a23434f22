// The buttons and texts above the timeline.

import { element, make } from './dom';
import { clockText, countText, dateText, durationText } from './format';
import { type Player, SPEEDS } from './player';
import type { Sequence } from './sequence';
import { BYTE_KINDS } from './timeline_lanes';

export class Transport {
  private shownTimes: number[] = [];

  constructor(
    private sequence: Sequence,
    private readonly player: Player,
  ) {
    this.listen();
    this.fillKinds();
    player.playing.watch((playing) => this.showPlaying(playing));
    player.speed.watch((speed) => {
      element<HTMLSelectElement>('speed').value = String(speed);
    });
    player.loops.watch((loops) => element('loop').setAttribute('aria-pressed', String(loops)));
    player.target.watch(() => this.showPlace());
    player.shown.watch(() => this.countRate());
    player.range.watch(() => this.showRange());
  }

  renew(sequence: Sequence): void {
    this.sequence = sequence;
    this.showPlace();
    this.showRange();
  }

  private listen(): void {
    const { player } = this;
    const speed = element<HTMLSelectElement>('speed');
    speed.append(
      ...SPEEDS.map((value) => {
        const option = make('option', '', `${value}×`);
        option.value = String(value);
        return option;
      }),
    );
    speed.addEventListener('change', () => player.speed.set(Number(speed.value)));
    const clicks: Record<string, () => void> = {
      first: () => player.seek(0),
      back: () => player.step(-1),
      play: () => player.toggle(),
      forward: () => player.step(1),
      last: () => player.seek(this.sequence.last),
      loop: () => player.loops.set(!player.loops.value),
      'mark-first': () => player.mark('first'),
      'mark-last': () => player.mark('last'),
      'mark-none': () => player.range.set(null),
    };
    for (const [id, run] of Object.entries(clicks)) element(id).addEventListener('click', run);
  }

  private fillKinds(): void {
    element('kinds').append(
      ...BYTE_KINDS.map((kind) => {
        const entry = make('span');
        const swatch = make('i');
        swatch.style.background = `var(--${kind.colour})`;
        entry.append(swatch, kind.name);
        return entry;
      }),
    );
  }

  private showPlaying(playing: boolean): void {
    const button = element('play');
    const title = playing ? 'Pause' : 'Play';
    button.title = `${title} (Space)`;
    button.setAttribute('aria-label', title);
    document.getElementById('play-icon')!.setAttribute('href', playing ? '#i-pause' : '#i-play');
    this.shownTimes = [];
    element('rate').textContent = '';
  }

  private showPlace(): void {
    const { sequence } = this;
    const index = this.player.target.value;
    const time = sequence.times[index];
    element('time').textContent = sequence.hasTimes ? clockText(time) : `frame ${countText(index + 1)}`;
    element('date').textContent = sequence.hasTimes ? dateText(time) : '';
    const place = `${countText(index + 1)} of ${countText(sequence.count)}`;
    element('place').textContent = sequence.hasTimes ? `frame ${place}` : `of ${countText(sequence.count)}`;
  }

  /** Frames shown in a second, while it plays. */
  private countRate(): void {
    if (!this.player.playing.value) return;
    const now = performance.now();
    this.shownTimes.push(now);
    this.shownTimes = this.shownTimes.filter((time) => now - time < 1500);
    const [earliest] = this.shownTimes;
    if (now - earliest < 500) return;
    const rate = ((this.shownTimes.length - 1) * 1000) / (now - earliest);
    element('rate').textContent = `${rate.toFixed(0)} shown a second`;
  }

  private showRange(): void {
    const range = this.player.range.value;
    element<HTMLButtonElement>('mark-none').hidden = !range;
    if (!range) {
      element('range-text').textContent = '';
      return;
    }
    const frames = range.last - range.first + 1;
    const length = this.sequence.times[range.last] - this.sequence.times[range.first];
    const lasting = this.sequence.hasTimes ? `, ${durationText(length)}` : '';
    element('range-text').textContent = `${countText(frames)} frame${frames === 1 ? '' : 's'} marked${lasting}`;
  }
}
