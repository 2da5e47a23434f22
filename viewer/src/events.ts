// What happened while the recording was made, as far as its descriptions tell.

import type { Recording } from './api';
import { clockText, dateText } from './format';
import { FrameState, type Sequence, lastAtMost } from './sequence';

export type EventKind = 'signal' | 'start' | 'end' | 'fault';

export interface RecordingEvent {
  kind: EventKind;
  time: number;
  frame: number;
  text: string;
}

export function eventsOf(recording: Recording, sequence: Sequence): RecordingEvent[] {
  const events: RecordingEvent[] = [];
  if (recording.has_times) addRuns(recording, sequence, events);
  for (let i = 0; i < sequence.count; i += 1) {
    if (!sequence.has(i, FrameState.lacksDepthFile)) continue;
    events.push({ kind: 'fault', time: sequence.times[i], frame: i, text: 'frame without all of its files' });
  }
  return events.sort((a, b) => a.time - b.time);
}

function addRuns(recording: Recording, sequence: Sequence, events: RecordingEvent[]): void {
  const stamp = (time: number): string => `${dateText(time)} ${clockText(time)}`;
  recording.runs.forEach((run, i) => {
    const nextStart = recording.runs[i + 1]?.start ?? Infinity;
    const lastFrame = lastAtMost(sequence.times, nextStart - 1);
    const start = frameNear(sequence, run.start);
    events.push({ kind: 'start', time: run.start, frame: start, text: `recorder started, trigger ${run.trigger}` });
    for (const time of run.signals) {
      events.push({ kind: 'signal', time, frame: frameNear(sequence, time), text: `signal at ${stamp(time)}` });
    }
    if (lastFrame >= 0 && run.complete) {
      events.push({ kind: 'end', time: sequence.times[lastFrame], frame: lastFrame, text: `recorder ended: ${run.end}` });
    }
  });
}

/** The frame at a moment, or the first one after it. */
function frameNear(sequence: Sequence, time: number): number {
  const before = lastAtMost(sequence.times, time);
  const isExact = before >= 0 && time - sequence.times[before] < sequence.medianStep;
  return sequence.clamp(isExact ? before : before + 1);
}
