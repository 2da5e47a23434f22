#!/usr/bin/env python3
"""What iterating over a recording in Python costs beside the same reads in C++.

Two processes take turns with the whole recording, one in Python and one in C++; the processor time of
the fastest reading of each frame counts. As a process is up to some percent faster or slower than its twin, depending on the
memory that it happens to get, this is done with several pairs of them, and the median counts. The exit
status is 1 when Python takes more than 10 % longer.
"""

from __future__ import annotations

import argparse
import statistics
import subprocess
import sys
import time

import camera_depth_rw

MOST_OVERHEAD = 0.10


def read_all(recording: camera_depth_rw.Recording) -> list[float]:
    """Processor seconds of each frame."""
    seconds = []
    begin = time.thread_time()
    for frame in recording:
        assert frame.depth.shape == (480, 640)
        end = time.thread_time()
        seconds.append(end - begin)
        begin = end
    return seconds


def serve(directory: str) -> int:
    """The Python side: does what the program read_recording does in C++."""
    recording = camera_depth_rw.open_recording(directory)
    for _ in sys.stdin:
        print(*read_all(recording), flush=True)
    return 0


class Reader:
    """A process that reads the recording when it is told to."""

    def __init__(self, command: list[str]) -> None:
        self._process = subprocess.Popen(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True
        )
        self._passes: list[list[float]] = []
        self._ask()  # Files are in the system's memory from now on.

    def _ask(self) -> list[float]:
        assert self._process.stdin is not None and self._process.stdout is not None
        print(file=self._process.stdin, flush=True)
        return [float(word) for word in self._process.stdout.readline().split()]

    def take_turn(self) -> None:
        self._passes.append(self._ask())

    def finish(self) -> float:
        """Processor seconds a frame."""
        self._process.communicate()
        return statistics.fmean(min(frame) for frame in zip(*self._passes))


def compare(directory: str, program: str, rounds: int) -> tuple[float, float]:
    """Processor seconds a frame in Python and in C++, by a fresh pair of processes."""
    in_python = Reader([sys.executable, __file__, "--serve", directory, program])
    in_cpp = Reader([program, directory])
    for _ in range(rounds):
        in_python.take_turn()
        in_cpp.take_turn()
    return in_python.finish(), in_cpp.finish()


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("recording", help="its directory")
    parser.add_argument("reader", help="the program read_recording of the same build")
    parser.add_argument("--pairs", type=int, default=7, help="of processes")
    parser.add_argument("--rounds", type=int, default=8, help="turns of each process")
    parser.add_argument("--serve", action="store_true", help=argparse.SUPPRESS)
    arguments = parser.parse_args()
    if arguments.serve:
        return serve(arguments.recording)

    overheads = []
    for pair in range(arguments.pairs):
        python, cpp = compare(arguments.recording, arguments.reader, arguments.rounds)
        overheads.append(python / cpp - 1)
        print(
            f"pair {pair + 1}: C++ {cpp * 1e3:.3f} ms a frame, Python {python * 1e3:.3f} ms, "
            f"{overheads[-1] * 100:+.1f} %",
            flush=True,
        )
    overhead = statistics.median(overheads)
    print(f"overhead of Python: {overhead * 100:+.1f} % (median)")
    return 0 if overhead <= MOST_OVERHEAD else 1


if __name__ == "__main__":
    sys.exit(main())
