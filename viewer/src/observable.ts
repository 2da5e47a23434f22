/** A value that tells those who watch it when it changes. */
export class Observable<T> {
  private watchers: ((value: T) => void)[] = [];

  constructor(private current: T) {}

  get value(): T {
    return this.current;
  }

  set(value: T): void {
    if (Object.is(value, this.current)) return;
    this.current = value;
    for (const watcher of this.watchers) watcher(value);
  }

  /** Calls `watcher` now and at each change. */
  watch(watcher: (value: T) => void): void {
    this.watchers.push(watcher);
    watcher(this.current);
  }
}
