// The keyboard: everything that can be done with the mouse, and a list of it.

import { element, make } from './dom';

export interface KeyAction {
  /** As `KeyboardEvent.key`; letters in lower case. */
  keys: string[];
  shown: string;
  does: string;
  run: () => void;
}

export function startKeys(actions: KeyAction[]): void {
  const help = element<HTMLDialogElement>('help');
  const list = element('help-keys');
  const pointing: [string, string][] = [
    ['Shift arrows', 'on an image: move the pixel that is read, with Ctrl by ten; on the cloud: turn it'],
    ['Enter', 'on an image: hold the pixel, or let it go'],
    ['Wheel drag', 'zoom and move images, cloud and timeline; double click shows all'],
    ['Shift drag', 'on the timeline: mark a range'],
  ];
  const lines: [string, string][] = [...actions.map((action): [string, string] => [action.shown, action.does]), ...pointing];
  list.replaceChildren(
    ...lines.map(([keys, does]) => {
      const entry = make('div');
      const term = make('dt');
      term.append(...keys.split(' ').map((key) => make('kbd', '', key)));
      entry.append(term, make('dd', '', does));
      return entry;
    }),
  );
  element('help-open').addEventListener('click', () => help.showModal());
  element('help-close').addEventListener('click', () => help.close());
  document.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey || document.querySelector('dialog[open]')) return;
    if (belongsToControl(event)) return;
    const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;
    const action = actions.find((candidate) => candidate.keys.includes(key));
    if (!action) return;
    event.preventDefault();
    action.run();
  });
}

/** Whether the control that has the focus wants the key itself. */
function belongsToControl(event: KeyboardEvent): boolean {
  const { target } = event;
  if (target instanceof HTMLSelectElement || target instanceof HTMLTextAreaElement) return true;
  if (target instanceof HTMLInputElement) return !['checkbox', 'radio'].includes(target.type) || event.key === ' ';
  return target instanceof HTMLButtonElement && (event.key === ' ' || event.key === 'Enter');
}
