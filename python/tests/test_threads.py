"""Several threads at a time."""

from __future__ import annotations

import datetime as dt
import pathlib
import sys
import threading
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest

from camera_depth_rw import (
    NumberedRecorder,
    Recording,
    StorageError,
    TreeRecorder,
    open_recording,
)

THREADS = 4
START = dt.datetime(2013, 4, 5, 14, 7, 59, 700000)


def files_below(directory: pathlib.Path) -> dict[str, bytes]:
    return {
        str(path.relative_to(directory)): path.read_bytes()
        for path in directory.rglob("*")
        if path.is_file()
    }


@pytest.mark.parametrize("recorder_type", [TreeRecorder, NumberedRecorder])
def test_a_recorder_for_each_thread_works_as_if_alone(
    recorder_type: type, tmp_path: pathlib.Path, frames: Recording
) -> None:
    def record(name: str) -> None:
        with recorder_type(tmp_path / name, history=4) as recorder:
            for place, frame in enumerate(frames[:8]):
                recorder.add(frame.depth, frame.colour, frame.time, record=place % 2 == 0)
            assert recorder.save_range("2013-04-05", "2013-04-05") == 2

    record("alone")
    with ThreadPoolExecutor(THREADS) as pool:
        list(pool.map(record, [f"thread-{number}" for number in range(THREADS)]))
    alone = files_below(tmp_path / "alone")
    assert len(alone) == 6 * 5
    for number in range(THREADS):
        assert files_below(tmp_path / f"thread-{number}") == alone


def test_threads_share_a_recording(frames: Recording) -> None:
    expected = [frame.depth.copy() for frame in frames]

    def read(place: int) -> bool:
        frame = frames[place % len(frames)]
        return frame.index == place % len(frames) and np.array_equal(
            frame.depth, expected[place % len(frames)]
        )

    with ThreadPoolExecutor(THREADS) as pool:
        assert all(pool.map(read, range(4 * len(frames))))


def test_threads_share_a_recorder(tmp_path: pathlib.Path) -> None:
    depth = np.full((480, 640), 2, np.float32)
    times = [START + dt.timedelta(milliseconds=n) for n in range(24)]
    with TreeRecorder(tmp_path, colour=False, history=24) as recorder:
        with ThreadPoolExecutor(THREADS) as pool:
            list(pool.map(lambda time: recorder.add(depth, time=time), times))
        assert sorted(recorder.history) == times
    assert open_recording(tmp_path).times == times


def test_errors_of_threads_do_not_mix(frames: Recording, tmp_path: pathlib.Path) -> None:
    """Each thread hears only what the library says of its own frame."""
    paths = []
    for number in range(THREADS):
        path = tmp_path / f"depth-{number:08d}"
        path.with_suffix(".rle").write_text("1\n1 0\n\n")
        paths.append(path)

    def said(path: pathlib.Path) -> str:
        from camera_depth_rw import read_frame

        with pytest.raises(StorageError) as caught:
            read_frame(path)
        return "\n".join(caught.value.said)

    with ThreadPoolExecutor(THREADS) as pool:
        for path, text in zip(paths * 20, pool.map(said, paths * 20)):
            assert path.name in text
            assert not any(other.name in text for other in paths if other != path)


@pytest.mark.parametrize("work", ["read", "add", "save_range", "open"])
def test_other_threads_run_meanwhile(work: str, tmp_path: pathlib.Path, frames: Recording) -> None:
    """The interpreter never takes its lock away here, so another thread only runs when it is given up."""
    depth = np.full((480, 640), 2, np.float32)
    recorder = TreeRecorder(tmp_path, colour=False, history=50)
    for number in range(50):
        recorder.add(depth, time=START + dt.timedelta(seconds=number), record=False)

    def do_work(number: int) -> None:
        if work == "read":
            frames[number % len(frames)]
        elif work == "add":
            recorder.add(depth, time=START + dt.timedelta(minutes=1, seconds=number), record=True)
        elif work == "save_range":
            recorder.save_range(*[START + dt.timedelta(seconds=number)] * 2)
        else:
            open_recording(frames.path)

    gate = threading.Lock()
    ran = []
    interval = sys.getswitchinterval()

    def wait_and_run() -> None:
        with gate:
            ran.append(True)

    gate.acquire()
    thread = threading.Thread(target=wait_and_run)
    thread.start()
    sys.setswitchinterval(1000)
    try:
        gate.release()
        number = 0
        while not ran and number < 50:
            do_work(number)
            number += 1
        assert ran
    finally:
        sys.setswitchinterval(interval)
        thread.join()
        recorder.close()
