// Exports of the marked range, or of all frames.

import { type ExportJob, api } from './api';
import { element, make } from './dom';
import { clockText, countText } from './format';
import type { Player, Range } from './player';
import type { Sequence } from './sequence';

interface Format {
  name: string;
  title: string;
  tells: string;
}

const FORMATS: Format[] = [
  { name: 'png', title: 'PNG images', tells: '16-bit depth in millimetres, and colour' },
  { name: 'tum', title: 'TUM data set', tells: 'depth at 5000 a metre, colour, lists of times' },
  { name: 'open3d', title: 'Open3D', tells: 'depth, colour and intrinsic.json' },
  { name: 'ply', title: 'PLY point clouds', tells: 'binary, metres, with colours' },
  { name: 'video', title: 'Video', tells: 'lossless 16-bit depth and H.264 colour in one Matroska file' },
  { name: 'csv', title: 'CSV table', tells: 'a line a frame: time, sizes, labels, depth range' },
];
const POLL = 400;

export class ExportDialog {
  private readonly dialog = element<HTMLDialogElement>('export');
  private readonly form = element<HTMLFormElement>('export-form');
  private readonly name = element<HTMLInputElement>('export-name');
  private readonly stride = element<HTMLInputElement>('export-stride');
  private readonly what = element('export-what');
  private readonly place = element('export-place');
  private readonly fault = element('export-fault');
  private readonly jobs = element('export-jobs');
  private readonly badge = element('export-badge');
  private nameIsOurs = true;
  private timer = 0;

  constructor(
    private sequence: Sequence,
    private generation: number,
    private readonly recordingName: string,
    private readonly player: Player,
  ) {
    this.makeChoices();
    element('export-open').addEventListener('click', () => this.open());
    element('export-close').addEventListener('click', () => this.dialog.close());
    this.form.addEventListener('submit', (event) => {
      event.preventDefault();
      void this.start();
    });
    this.form.addEventListener('change', () => this.describe());
    this.stride.addEventListener('input', () => this.describe());
    this.name.addEventListener('input', () => {
      this.nameIsOurs = this.name.value === '';
    });
    player.range.watch(() => this.describe());
    void this.poll();
  }

  renew(sequence: Sequence, generation: number): void {
    this.sequence = sequence;
    this.generation = generation;
    this.describe();
  }

  open(): void {
    this.fault.textContent = '';
    this.describe();
    if (!this.dialog.open) this.dialog.showModal();
    void this.poll();
  }

  private get format(): string {
    return new FormData(this.form).get('format') as string;
  }

  private get range(): Range {
    return this.player.range.value ?? { first: 0, last: this.sequence.last };
  }

  private makeChoices(): void {
    const choices = FORMATS.map((format, i) => {
      const choice = make('label', 'choice');
      const input = make('input');
      input.type = 'radio';
      input.name = 'format';
      input.value = format.name;
      input.checked = i === 0;
      choice.append(input, make('strong', '', format.title), make('span', 'soft', format.tells));
      return choice;
    });
    element('export-formats').append(...choices);
  }

  private describe(): void {
    const { first, last } = this.range;
    const stride = Math.max(1, Number(this.stride.value) || 1);
    const frames = Math.ceil((last - first + 1) / stride);
    const which = this.player.range.value ? 'The marked range' : 'All frames';
    const times = this.sequence.hasTimes
      ? `${clockText(this.sequence.times[first])} to ${clockText(this.sequence.times[last])}`
      : `${first + 1} to ${last + 1}`;
    this.what.textContent = `${which}: ${countText(frames)} frame${frames === 1 ? '' : 's'}, ${times}.`;
    if (this.nameIsOurs) this.name.value = this.usualName(first, last);
  }

  private usualName(first: number, last: number): string {
    const plain = this.recordingName.replace(/[^A-Za-z0-9._-]+/g, '-').replace(/^[^A-Za-z0-9]+/, '');
    const range = this.player.range.value ? `-${first + 1}-${last + 1}` : '';
    return `${(plain || 'recording').slice(0, 60)}${range}-${this.format}`;
  }

  private async start(): Promise<void> {
    this.fault.textContent = '';
    try {
      await api.startExport({
        generation: this.generation,
        format: this.format,
        name: this.name.value.trim(),
        ...this.range,
        stride: Math.max(1, Math.round(Number(this.stride.value) || 1)),
        swap_principal_point: element<HTMLInputElement>('swap').checked,
      });
      this.nameIsOurs = true;
    } catch (error) {
      this.fault.textContent = error instanceof Error ? error.message : String(error);
    }
    void this.poll();
  }

  private async poll(): Promise<void> {
    window.clearTimeout(this.timer);
    try {
      const answer = await api.exports();
      this.place.textContent = answer.place;
      this.jobs.replaceChildren(...answer.jobs.map((job) => this.jobLine(job)));
      const atWork = answer.jobs.filter((job) => isAtWork(job));
      this.badge.hidden = atWork.length === 0;
      this.badge.textContent = atWork.map((job) => `${share(job)} %`).join(' · ');
      if (atWork.length > 0) this.timer = window.setTimeout(() => void this.poll(), POLL);
    } catch {
      // The page tells elsewhere that the server is gone.
    }
  }

  private jobLine(job: ExportJob): HTMLElement {
    const line = make('li', `job ${job.state.replace(' ', '-')}`);
    const head = make('div', 'job-head');
    head.append(make('strong', '', job.name), make('span', 'soft', job.format), make('span', 'state', job.state));
    line.append(head);
    if (isAtWork(job)) {
      const progress = make('progress');
      progress.max = Math.max(1, job.total);
      progress.value = job.done;
      progress.setAttribute('aria-label', `${job.name}: ${share(job)} %`);
      const cancel = make('button', 'small', 'Cancel');
      cancel.type = 'button';
      cancel.addEventListener('click', () => void api.cancelExport(job.id).finally(() => this.poll()));
      head.append(make('span', 'soft', `${countText(job.done)} of ${countText(job.total)} frames`), cancel);
      line.append(progress);
    } else if (job.state === 'done') {
      line.append(make('code', '', job.path));
    } else {
      line.append(...job.messages.map((message) => make('div', 'fault-text', message)));
    }
    return line;
  }
}

function isAtWork(job: ExportJob): boolean {
  return job.state === 'running' || job.state === 'ending';
}

function share(job: ExportJob): number {
  return Math.floor((100 * job.done) / Math.max(1, job.total));
}
