"""docs/format.md suffices to read a recording: a program written after it alone gives its depths."""

from __future__ import annotations

import os
import pathlib
import runpy
import subprocess
import sys
import types

import numpy as np
import pytest
from conftest import LAYOUTS, PROJECT, depthrw

import camera_depth_rw

PROGRAM = PROJECT / "examples" / "python" / "read_without_library.py"


@pytest.fixture(scope="module")
def program() -> types.SimpleNamespace:
    return types.SimpleNamespace(**runpy.run_path(str(PROGRAM)))


def assert_same_depths(program: types.SimpleNamespace, directory: pathlib.Path) -> None:
    with camera_depth_rw.open_recording(directory, colour=False) as recording:
        assert len(recording) > 0
        for frame in recording:
            depth = program.read_depth(str(directory / frame.name))
            assert np.array_equal(depth.view(np.uint32), frame.depth.view(np.uint32)), frame.name


@pytest.mark.parametrize("layout", LAYOUTS)
def test_each_layout_is_read_to_the_bit(
    program: types.SimpleNamespace, recordings: dict[str, str], layout: str
) -> None:
    assert_same_depths(program, pathlib.Path(recordings[layout]))


@pytest.mark.parametrize("frames", ["kinect_kitchen", "realsense_lab"])
def test_real_frames_are_read_to_the_bit(
    program: types.SimpleNamespace, tmp_path: pathlib.Path, frames: str
) -> None:
    data = pathlib.Path(os.environ["CAMERA_DEPTH_RW_DATA"])
    if not data.exists():
        pytest.skip(f"there are no real frames at {data}")
    source = f"images:{data / frames}"
    depthrw("record", "--out", tmp_path / "rec", "--source", source, "--frames", 10)
    assert_same_depths(program, tmp_path / "rec")


def test_its_command_tells_the_range(tree: str) -> None:
    with camera_depth_rw.open_recording(tree, colour=False) as recording:
        frame = recording[0]
    result = subprocess.run(
        [sys.executable, str(PROGRAM), f"{tree}/{frame.name}"],
        capture_output=True,
        text=True,
        check=True,
    )
    readings = frame.depth[frame.valid]
    span = f"{readings.min():.3f} .. {readings.max():.3f} m"
    assert result.stdout == f"{span}, {readings.size} of {frame.depth.size} pixels\n"
