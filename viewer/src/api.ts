// What the server answers; see docs/viewer.md.

export interface Run {
  program: string;
  source: string;
  start: number;
  fps: number;
  trigger: string;
  camera_type: number;
  max_depth: number;
  before_seconds: number;
  after_seconds: number;
  complete: boolean;
  end: string;
  offered: number;
  recorded: number;
  dropped: number;
  failed: number;
  signal_count: number;
  signals: number[];
  clock_steps: number;
}

export interface Recording {
  program: string;
  name: string;
  directory: string;
  generation: number;
  layout: string;
  frames: number;
  width: number;
  height: number;
  has_times: boolean;
  has_colour: boolean;
  runs: Run[];
  troubles: string[];
}

export interface FrameDescription {
  index: number;
  name: string;
  time: string | null;
  files: { name: string; kind: string; bytes: number }[];
  labels: number;
  runs: number;
  error_records: number;
  faults: string[];
}

export interface MotionAnswer {
  known: number;
  complete: boolean;
  samples: [number, number][];
}

export interface ExportJob {
  id: number;
  format: string;
  name: string;
  path: string;
  state: string;
  done: number;
  total: number;
  messages: string[];
}

export interface ExportsAnswer {
  place: string;
  jobs: ExportJob[];
}

/** The server's refusal, in its own words. */
export class ApiError extends Error {
  constructor(
    readonly status: number,
    message: string,
    readonly details: string[] = [],
  ) {
    super(message);
  }
}

/** The secret of the page's address: it is taken out of the address bar, and kept for a reload. */
function takeToken(): string {
  const fragment = new URLSearchParams(location.hash.slice(1));
  const given = fragment.get('token');
  if (given) {
    sessionStorage.setItem('token', given);
    fragment.delete('token');
    const rest = fragment.toString();
    history.replaceState(null, '', rest ? `#${rest}` : location.pathname);
  }
  return given ?? sessionStorage.getItem('token') ?? '';
}

const token = takeToken();

async function request(path: string, init: RequestInit = {}): Promise<Response> {
  const headers = new Headers(init.headers);
  headers.set('X-Depthrw-Token', token);
  const response = await fetch(path, { ...init, headers });
  if (response.ok) return response;
  const answer = (await response.json().catch(() => ({}))) as { error?: string; details?: string[] };
  throw new ApiError(response.status, answer.error ?? `status ${response.status}`, answer.details);
}

async function post<T>(path: string, body: unknown): Promise<T> {
  const response = await request(path, {
    method: 'POST',
    headers: { 'Content-Type': 'application/json' },
    body: JSON.stringify(body),
  });
  return (await response.json()) as T;
}

export const api = {
  async recording(lookAgain = false): Promise<Recording> {
    return (await request(`/api/recording${lookAgain ? '?look=1' : ''}`)).json();
  },
  async index(): Promise<ArrayBuffer> {
    return (await request('/api/index')).arrayBuffer();
  },
  async frame(index: number, generation: number): Promise<FrameDescription> {
    return (await request(`/api/frames/${index}?generation=${generation}`)).json();
  },
  async depth(index: number, generation: number, deflate: boolean, signal: AbortSignal): Promise<ArrayBuffer> {
    const path = `/api/frames/${index}/depth?generation=${generation}${deflate ? '&deflate=1' : ''}`;
    return (await request(path, { signal })).arrayBuffer();
  },
  async colour(index: number, generation: number, signal: AbortSignal): Promise<Blob> {
    return (await request(`/api/frames/${index}/colour?generation=${generation}`, { signal })).blob();
  },
  async facts(generation: number, after: number): Promise<ArrayBuffer> {
    return (await request(`/api/facts?generation=${generation}&after=${after}`)).arrayBuffer();
  },
  async motion(generation: number, after: number, first: number, last: number): Promise<MotionAnswer> {
    const path = `/api/motion?generation=${generation}&after=${after}&first=${first}&last=${last}`;
    return (await request(path)).json();
  },
  async exports(): Promise<ExportsAnswer> {
    return (await request('/api/exports')).json();
  },
  startExport(order: {
    generation: number;
    format: string;
    name: string;
    first: number;
    last: number;
    stride: number;
    swap_principal_point: boolean;
  }): Promise<{ id: number }> {
    return post('/api/exports', order);
  },
  cancelExport(id: number): Promise<unknown> {
    return post('/api/exports/cancel', { id });
  },
};
