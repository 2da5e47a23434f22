"""Real frames come back, within the tolerances of the format."""

from __future__ import annotations

import datetime as dt
import pathlib

import numpy as np
import pytest
from conftest import FrameSet, depth_tolerance, depthrw

from camera_depth_rw import (
    Frame,
    NumberedRecorder,
    TreeRecorder,
    open_recording,
    read_frame,
    write_frame,
)

START = dt.datetime(2013, 4, 5, 14, 7, 59, 500000)
MOST_FRAMES = 20  # of each set


def check_frame(frame: Frame, depth: np.ndarray, bgr: np.ndarray) -> None:
    assert np.all(np.abs(frame.depth - depth) <= depth_tolerance(depth))
    # An empty pixel is never taken for a reading, and a reading never for an empty one.
    assert not frame.valid[depth == 0].any()
    assert frame.valid[depth >= 0.1].all()
    assert frame.colour is not None
    assert np.abs(frame.colour.astype(int) - bgr).mean() < 6


def test_the_program_recorded_them(real_frames: FrameSet, tmp_path: pathlib.Path) -> None:
    files = real_frames.depth_files
    depthrw("record", "--out", tmp_path / "r", "--source", f"images:{real_frames.directory}")
    recording = open_recording(tmp_path / "r")
    assert len(recording) == len(files)
    for file, frame in list(zip(files, recording))[:MOST_FRAMES]:
        check_frame(frame, real_frames.depth(file), real_frames.bgr(file))


@pytest.mark.parametrize("recorder_type", [TreeRecorder, NumberedRecorder])
def test_a_recorder_recorded_them(
    real_frames: FrameSet, recorder_type: type, tmp_path: pathlib.Path
) -> None:
    files = real_frames.depth_files[:MOST_FRAMES]
    with recorder_type(tmp_path / "r", camera_type=1, verify=True) as recorder:
        for number, file in enumerate(files):
            time = START + dt.timedelta(milliseconds=100 * number)
            assert recorder.add(real_frames.depth(file), real_frames.bgr(file), time)
    recording = open_recording(tmp_path / "r")
    assert recording.times == [
        START + dt.timedelta(milliseconds=100 * number) for number in range(len(files))
    ]
    for file, frame in zip(files, recording):
        check_frame(frame, real_frames.depth(file), real_frames.bgr(file))
        assert frame.intrinsics == (533, 533, 240, 320)
    depthrw("verify", tmp_path / "r")


def test_they_are_written_one_by_one(real_frames: FrameSet, tmp_path: pathlib.Path) -> None:
    for number, file in enumerate(real_frames.depth_files[:3]):
        depth, bgr = real_frames.depth(file), real_frames.bgr(file)
        path = write_frame(tmp_path, depth, bgr, number=number, verify=True)
        check_frame(read_frame(path), depth, bgr)
