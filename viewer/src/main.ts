// The page of depthrw view: fetches the recording and puts the parts together.

import { ApiError, type Recording, api } from './api';
import { element, make } from './dom';
import { eventsOf } from './events';
import { ExportDialog } from './export_dialog';
import { clockText, countText, dateText, durationText } from './format';
import { FrameStore } from './frame_store';
import { closeMenusOutside } from './menu';
import { type KeyAction, startKeys } from './keys';
import { Panels } from './panels';
import { Player } from './player';
import { Sequence } from './sequence';
import { Survey } from './survey';
import { changeTheme, startTheme, theme } from './theme';
import { Timeline } from './timeline';
import { Transport } from './transport';

const FOLLOW_POLL = 2000;
const DESCRIBE_DELAY = 120;

class Page {
  private readonly store: FrameStore;
  private readonly player: Player;
  private readonly survey: Survey;
  private readonly panels: Panels;
  private readonly timeline: Timeline;
  private readonly transport: Transport;
  private readonly exports: ExportDialog;
  private describeTimer = 0;
  private followTimer = 0;

  constructor(
    private recording: Recording,
    private sequence: Sequence,
  ) {
    const { generation } = recording;
    this.store = new FrameStore(sequence, generation, recording.width, recording.height);
    this.player = new Player(sequence, this.store);
    this.survey = new Survey(sequence, generation);
    this.panels = new Panels(recording.width, recording.height, recording.has_colour);
    this.timeline = new Timeline(sequence, this.player, this.survey, true);
    this.transport = new Transport(sequence, this.player);
    this.exports = new ExportDialog(sequence, generation, recording.name, this.player);
    this.store.onChanged = () => void this.look();
    this.survey.onNews = () => this.timeline.draw();
    this.describeRecording();
    this.listen();
    startKeys(this.keyActions());
    this.player.seek(rememberedFrame());
    this.survey.start();
  }

  private listen(): void {
    this.player.shown.watch((frame) => {
      if (!frame) return;
      this.panels.show(frame);
      this.noteShown(frame.index);
      this.describeFrameSoon();
    });
    this.player.playing.watch(() => this.describeFrameSoon());
    this.player.failure.watch((failure) => this.tell(failure));
    theme.watch(() => this.timeline.takeColours());
    const follow = element('follow');
    follow.addEventListener('click', () => this.follow(follow.getAttribute('aria-pressed') !== 'true'));
    const shorten = element<HTMLInputElement>('shorten');
    shorten.addEventListener('change', () => this.timeline.shortenGaps(shorten.checked));
    window.addEventListener('depthrw-seek', (event) => this.player.seek((event as CustomEvent<number>).detail));
  }

  /** For those who drive the page by a program: which frame is shown, and when the first one was. */
  private noteShown(index: number): void {
    const { dataset } = document.documentElement;
    if (dataset.frame === undefined) performance.mark('first frame');
    dataset.frame = String(index);
  }

  private keyActions(): KeyAction[] {
    const { player, panels, timeline } = this;
    return [
      { keys: [' '], shown: 'Space', does: 'play or pause', run: () => player.toggle() },
      { keys: ['ArrowLeft'], shown: '←', does: 'frame before', run: () => player.step(-1) },
      { keys: ['ArrowRight'], shown: '→', does: 'next frame', run: () => player.step(1) },
      { keys: ['PageUp'], shown: 'PgUp', does: '30 frames back', run: () => player.step(-30) },
      { keys: ['PageDown'], shown: 'PgDn', does: '30 frames on', run: () => player.step(30) },
      { keys: ['Home'], shown: 'Home', does: 'first frame', run: () => player.seek(0) },
      { keys: ['End'], shown: 'End', does: 'last frame', run: () => player.seek(this.sequence.last) },
      { keys: ['n'], shown: 'N', does: 'next event or pause', run: () => this.goToNext(1) },
      { keys: ['p'], shown: 'P', does: 'event or pause before', run: () => this.goToNext(-1) },
      { keys: ['+', '='], shown: '+', does: 'faster', run: () => player.changeSpeed(1) },
      { keys: ['-'], shown: '−', does: 'slower', run: () => player.changeSpeed(-1) },
      { keys: ['l'], shown: 'L', does: 'repeat', run: () => player.loops.set(!player.loops.value) },
      { keys: ['['], shown: '[', does: 'mark from here', run: () => player.mark('first') },
      { keys: [']'], shown: ']', does: 'mark up to here', run: () => player.mark('last') },
      { keys: ['e'], shown: 'E', does: 'export', run: () => this.exports.open() },
      { keys: ['Escape'], shown: 'Esc', does: 'let the held pixel go, then remove the mark', run: () => this.letGo() },
      { keys: ['o'], shown: 'O', does: 'overlay: none, error map, labels', run: () => panels.nextOverlay() },
      { keys: ['1'], shown: '1', does: 'depth', run: () => panels.toggle('depth') },
      { keys: ['2'], shown: '2', does: 'colour', run: () => panels.toggle('colour') },
      { keys: ['3'], shown: '3', does: 'point cloud', run: () => panels.toggle('cloud') },
      { keys: ['r'], shown: 'R', does: 'turn the cloud', run: () => panels.toggleTurning() },
      { keys: ['i'], shown: 'I', does: 'timeline: zoom in', run: () => timeline.zoomBy(0.5) },
      { keys: ['u'], shown: 'U', does: 'timeline: zoom out', run: () => timeline.zoomBy(2) },
      { keys: ['a'], shown: 'A', does: 'timeline: show all', run: () => timeline.showAll() },
      { keys: ['f'], shown: 'F', does: 'follow a recording that grows', run: () => element('follow').click() },
      { keys: ['t'], shown: 'T', does: 'light, dark or as the system', run: changeTheme },
      { keys: ['?'], shown: '?', does: 'this list', run: () => element('help-open').click() },
    ];
  }

  private letGo(): void {
    if (!this.panels.letGo()) this.player.range.set(null);
  }

  private goToNext(direction: 1 | -1): void {
    const here = this.player.target.value;
    const places = [
      ...eventsOf(this.recording, this.sequence).map((event) => event.frame),
      ...this.sequence.gaps.map((gap) => gap.after + 1),
    ].filter((place) => (place - here) * direction > 0);
    if (places.length === 0) return;
    this.player.playing.set(false);
    this.player.seek(direction > 0 ? Math.min(...places) : Math.max(...places));
  }

  private describeRecording(): void {
    const { recording, sequence } = this;
    element('name').textContent = recording.name;
    element('name').title = recording.directory;
    document.title = `${recording.name} – depthrw view`;
    const parts = [`${countText(sequence.count)} frame${sequence.count === 1 ? '' : 's'}`];
    if (sequence.hasTimes) {
      const first = sequence.times[0];
      const length = sequence.times[sequence.last] - first;
      parts.push(`${dateText(first)} ${clockText(first, false)}`);
      if (length > 0) parts.push(durationText(length));
    }
    if (sequence.gaps.length > 0) parts.push(`${countText(sequence.gaps.length)} gap${sequence.gaps.length === 1 ? '' : 's'}`);
    parts.push(`${recording.layout} layout`);
    const run = recording.runs[recording.runs.length - 1];
    if (run) parts.push(run.complete ? `trigger ${run.trigger}` : `trigger ${run.trigger}, not ended`);
    element('summary').textContent = parts.join('  ·  ');
    this.timeline.setEvents(eventsOf(recording, sequence));
    this.tell('');
  }

  /** What is wrong, above the images: a failure, or else the recording's own troubles. */
  private tell(failure: string): void {
    const lines = failure ? [failure] : this.recording.troubles;
    const trouble = element('trouble');
    trouble.hidden = lines.length === 0;
    trouble.replaceChildren(...lines.slice(0, 3).map((line) => make('div', '', line)));
  }

  /** Looks into the files of the shown frame, once it stays. */
  private describeFrameSoon(): void {
    window.clearTimeout(this.describeTimer);
    if (this.player.playing.value) {
      this.panels.readout.showFrame(null);
      return;
    }
    this.describeTimer = window.setTimeout(() => void this.describeFrame(), DESCRIBE_DELAY);
  }

  private async describeFrame(): Promise<void> {
    const frame = this.player.shown.value;
    if (!frame) return;
    rememberFrame(frame.index);
    try {
      const description = await api.frame(frame.index, this.recording.generation);
      if (this.player.shown.value === frame) this.panels.readout.showFrame(description);
    } catch (error) {
      if (error instanceof ApiError && error.status === 409) void this.look();
    }
  }

  private follow(on: boolean): void {
    element('follow').setAttribute('aria-pressed', String(on));
    window.clearTimeout(this.followTimer);
    if (!on) return;
    const poll = async (): Promise<void> => {
      await this.look();
      this.followTimer = window.setTimeout(() => void poll(), FOLLOW_POLL);
    };
    void poll();
    this.player.seek(this.sequence.last);
  }

  /** Takes what is new of the recording. */
  private async look(): Promise<void> {
    try {
      const recording = await api.recording(true);
      const isSame =
        recording.generation === this.recording.generation && recording.frames === this.recording.frames;
      const sequence = isSame ? this.sequence : new Sequence(await api.index(), recording.has_times);
      this.take(recording, sequence, isSame);
    } catch (error) {
      this.tell(error instanceof ApiError ? error.message : 'The server does not answer. Is depthrw view still running?');
    }
  }

  private take(recording: Recording, sequence: Sequence, isSame: boolean): void {
    const wasAtEnd = this.player.target.value === this.sequence.last;
    this.recording = recording;
    this.sequence = sequence;
    if (!isSame) {
      this.store.renew(sequence, recording.generation);
      this.player.renew(sequence);
      this.survey.renew(sequence, recording.generation);
      this.timeline.renew(sequence);
      this.transport.renew(sequence);
      this.exports.renew(sequence, recording.generation);
      const follows = element('follow').getAttribute('aria-pressed') === 'true';
      if (follows && wasAtEnd && !this.player.playing.value) this.player.seek(sequence.last);
      else this.player.refresh();
    }
    this.describeRecording();
  }
}

/** The frame in the page's address, counted from 1 there. */
function rememberedFrame(): number {
  const frame = Number(new URLSearchParams(location.hash.slice(1)).get('frame') ?? '1');
  return Number.isFinite(frame) ? frame - 1 : 0;
}

function rememberFrame(index: number): void {
  history.replaceState(null, '', index > 0 ? `#frame=${index + 1}` : location.pathname);
}

function close(title: string, text: string): void {
  const gate = element('gate');
  gate.hidden = false;
  gate.replaceChildren(make('strong', '', title), make('span', '', text));
}

async function start(): Promise<void> {
  startTheme();
  closeMenusOutside();
  try {
    const [recording, index] = await Promise.all([api.recording(), api.index()]);
    new Page(recording, new Sequence(index, recording.has_times));
  } catch (error) {
    if (error instanceof ApiError && error.status === 401) {
      close('Open the whole address that depthrw view printed', 'It ends with a token, which this page needs to see the recording.');
    } else {
      close('The recording cannot be shown', error instanceof Error ? error.message : String(error));
      throw error;
    }
  }
}

void start();
