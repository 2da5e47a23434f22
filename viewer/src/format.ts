// Texts for numbers and times. Times are milliseconds since 1970 of the recorder's wall clock, so they are
// shown as if they were universal time.

const two = (value: number): string => String(value).padStart(2, '0');

export function dateText(time: number): string {
  const date = new Date(time);
  return `${date.getUTCFullYear()}-${two(date.getUTCMonth() + 1)}-${two(date.getUTCDate())}`;
}

export function clockText(time: number, withMilliseconds = true): string {
  const date = new Date(time);
  const clock = `${two(date.getUTCHours())}:${two(date.getUTCMinutes())}:${two(date.getUTCSeconds())}`;
  return withMilliseconds ? `${clock}.${String(date.getUTCMilliseconds()).padStart(3, '0')}` : clock;
}

/** A length of time, in two units at most. */
export function durationText(milliseconds: number): string {
  let seconds = milliseconds / 1000;
  if (seconds < 1) return `${Math.round(milliseconds)} ms`;
  if (seconds < 59.95) return `${trimmed(seconds, seconds < 10 ? 2 : 1)} s`;
  const units: [number, string][] = [
    [86400, 'd'],
    [3600, 'h'],
    [60, 'min'],
    [1, 's'],
  ];
  seconds = Math.round(seconds);
  const largest = units.findIndex(([length]) => seconds >= length);
  const [length, name] = units[largest];
  const [smaller, smallerName] = units[largest + 1];
  let whole = Math.floor(seconds / length);
  let rest = Math.round((seconds - whole * length) / smaller);
  if (rest * smaller >= length) {
    whole += 1;
    rest = 0;
  }
  return rest > 0 ? `${whole} ${name} ${rest} ${smallerName}` : `${whole} ${name}`;
}

export function bytesText(bytes: number): string {
  if (bytes < 1000) return `${bytes} B`;
  const units = ['kB', 'MB', 'GB', 'TB'];
  let value = bytes;
  let unit = -1;
  while (value >= 999.5 && unit + 1 < units.length) {
    value /= 1000;
    unit += 1;
  }
  return `${trimmed(value, value < 10 ? 1 : 0)} ${units[unit]}`;
}

/** With thin spaces between groups of three digits. */
export function countText(count: number): string {
  return String(Math.round(count)).replace(/\B(?=(\d{3})+$)/g, '\u202f');
}

/** Metres, to the millimetre. */
export function metresText(metres: number): string {
  return `${metres.toFixed(3).replace('-', '\u2212')} m`;
}

/** Without zeros at the end of a fraction. */
function trimmed(value: number, digits: number): string {
  const text = value.toFixed(digits);
  return text.includes('.') ? text.replace(/\.?0+$/, '') : text;
}
