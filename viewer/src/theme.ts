// Light or dark: as the system has it, or as the user chose.

import { element, memory } from './dom';
import { Observable } from './observable';

const CHOICES = ['system', 'light', 'dark'] as const;
type Choice = (typeof CHOICES)[number];

/** Changes when everything must be drawn in other colours. */
export const theme = new Observable<'light' | 'dark'>('light');

const systemIsDark = window.matchMedia('(prefers-color-scheme: dark)');
let choice: Choice = CHOICES.find((known) => known === memory.get('theme')) ?? 'system';

function apply(): void {
  const isDark = choice === 'dark' || (choice === 'system' && systemIsDark.matches);
  document.documentElement.dataset.theme = isDark ? 'dark' : 'light';
  const button = element('theme');
  const title = `Colours: ${choice === 'system' ? 'as the system' : choice} (T)`;
  button.title = title;
  button.setAttribute('aria-label', title);
  button.dataset.choice = choice;
  theme.set(isDark ? 'dark' : 'light');
}

export function changeTheme(): void {
  choice = CHOICES[(CHOICES.indexOf(choice) + 1) % CHOICES.length];
  memory.set('theme', choice);
  apply();
}

export function startTheme(): void {
  systemIsDark.addEventListener('change', apply);
  element('theme').addEventListener('click', changeTheme);
  apply();
}
