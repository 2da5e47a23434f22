// Small panels that open below a button.

/** Closes them when the user goes on elsewhere, or presses Escape. */
export function closeMenusOutside(): void {
  const open = (): NodeListOf<HTMLDetailsElement> => document.querySelectorAll('details.menu[open]');
  document.addEventListener('pointerdown', (event) => {
    for (const menu of open()) if (!menu.contains(event.target as Node)) menu.open = false;
  });
  document.addEventListener(
    'keydown',
    (event) => {
      if (event.key !== 'Escape') return;
      for (const menu of open()) {
        menu.open = false;
        menu.querySelector('summary')?.focus();
        event.stopPropagation();
      }
    },
    { capture: true },
  );
}
