"""Frames that are written and read by themselves."""

from __future__ import annotations

import datetime as dt
import os
import pathlib
from typing import Any

import numpy as np
import pytest

from camera_depth_rw import (
    ArgumentError,
    Frame,
    Intrinsics,
    NotFoundError,
    StorageError,
    intrinsics_of_camera,
    open_recording,
    read_frame,
    write_frame,
)

DEPTH = np.full((480, 640), 2, np.float32)
TIME = dt.datetime(2013, 4, 5, 14, 7, 58, 42000)


def test_a_frame_is_named_by_its_number(tmp_path: pathlib.Path, frame: Frame) -> None:
    path = write_frame(tmp_path, frame.depth, frame.colour, number=42)
    assert path == str(tmp_path / "depth-00000042")
    assert sorted(os.listdir(tmp_path)) == [
        "bgrimage-00000042.jpg",
        "depth-00000042.err",
        "depth-00000042.jpg",
        "depth-00000042.ref",
        "depth-00000042.rle",
    ]
    again = read_frame(path)
    assert (again.number, again.time, again.index) == (42, None, None)
    assert np.abs(again.depth - frame.depth).max() < 0.06
    assert again.colour is not None


@pytest.mark.parametrize("time", [TIME, "2013-04-05T14:07:58.042", "2013-04-05T14-07-58.042000"])
def test_a_frame_is_named_by_its_time(tmp_path: pathlib.Path, time: Any) -> None:
    path = write_frame(tmp_path, DEPTH, time=time)
    assert path == str(tmp_path / "depth-2013-04-05T14-07-58.042000")
    frame = read_frame(path)
    assert (frame.number, frame.time, frame.colour) == (None, TIME, None)


def test_the_key_may_come_first(tmp_path: pathlib.Path, frame: Frame) -> None:
    path = write_frame(tmp_path, frame.depth, frame.colour, number=7, digits=3, key_first=True)
    assert path == str(tmp_path / "007-depth")
    assert read_frame(path).number == 7
    assert read_frame(path).colour is not None


def test_written_frames_are_a_flat_recording(tmp_path: pathlib.Path) -> None:
    for number in (3, 1, 2):
        write_frame(tmp_path, DEPTH, number=number)
    recording = open_recording(tmp_path)
    assert recording.layout == "flat"
    assert [frame.number for frame in recording] == [1, 2, 3]


@pytest.mark.parametrize("ending", ["", ".rle", ".ref", ".jpg", ".err"])
def test_any_of_its_files_names_a_frame(tmp_path: pathlib.Path, ending: str) -> None:
    path = write_frame(tmp_path, DEPTH, number=1)
    assert read_frame(path + ending).name == "depth-00000001"
    assert read_frame(os.fsencode(path + ending)).name == "depth-00000001"
    assert read_frame(pathlib.Path(path + ending)).name == "depth-00000001"


def test_a_frame_of_another_name_is_read(tmp_path: pathlib.Path) -> None:
    path = write_frame(tmp_path, DEPTH, number=1)
    for ending in (".rle", ".ref", ".jpg", ".err"):
        os.rename(path + ending, tmp_path / ("kitchen" + ending))
    frame = read_frame(tmp_path / "kitchen")
    assert (frame.name, frame.number, frame.time) == ("kitchen", None, None)
    assert np.abs(frame.depth - 2).max() < 0.04


def test_colour_may_be_left_alone_or_named(tmp_path: pathlib.Path, frame: Frame) -> None:
    path = write_frame(tmp_path, frame.depth, frame.colour, number=1)
    assert read_frame(path, colour=False).colour is None
    os.rename(tmp_path / "bgrimage-00000001.jpg", tmp_path / "elsewhere.jpg")
    assert read_frame(path).colour is None
    assert read_frame(path, colour=tmp_path / "elsewhere.jpg").colour is not None


@pytest.mark.parametrize(
    "parameters, expected",
    [
        ({}, intrinsics_of_camera(0)),
        ({"camera_type": 1}, Intrinsics(533, 533, 240, 320)),
        ({"intrinsics": (500.5, 400.25, 1, 2)}, Intrinsics(500.5, 400.25, 1, 2)),
        ({"intrinsics": Intrinsics(600, 601, 0, 0)}, Intrinsics(600, 601, 0, 0)),
    ],
)
def test_intrinsics_come_back(
    tmp_path: pathlib.Path, parameters: dict[str, Any], expected: Intrinsics
) -> None:
    path = write_frame(tmp_path, DEPTH, number=1, **parameters)
    assert read_frame(path).intrinsics == pytest.approx(expected)


def test_intrinsics_of_a_frame_without_labels_are_0(tmp_path: pathlib.Path) -> None:
    """And not those of the frame that was read before it."""
    path = write_frame(tmp_path, DEPTH, number=1)
    assert read_frame(path).intrinsics.a11 > 0
    pathlib.Path(path + ".ref").write_text("nblabels 0 a11 1.0 a22 1.0 cx 1.0 cy 1.0\n")
    pathlib.Path(path + ".rle").write_text("0\n\n")
    frame = read_frame(path)
    assert frame.intrinsics == (0, 0, 0, 0)
    assert not frame.depth.any()


def test_there_is_no_such_frame(tmp_path: pathlib.Path) -> None:
    with pytest.raises(NotFoundError, match="there is no frame '.*depth-00000009'"):
        read_frame(tmp_path / "depth-00000009")


def test_there_is_no_such_colour_image(tmp_path: pathlib.Path) -> None:
    path = write_frame(tmp_path, DEPTH, number=1)
    with pytest.raises(NotFoundError, match="there is no colour image '.*nothing.jpg'"):
        read_frame(path, colour=tmp_path / "nothing.jpg")


def test_there_is_no_such_directory(tmp_path: pathlib.Path) -> None:
    with pytest.raises(NotFoundError, match="there is no directory '.*nothing'"):
        write_frame(tmp_path / "nothing", DEPTH, number=1)


def test_files_that_cannot_be_written_are_an_error(tmp_path: pathlib.Path) -> None:
    (tmp_path / "depth-00000001.ref").mkdir()
    with pytest.raises(StorageError, match="the frame '.*' cannot be written") as caught:
        write_frame(tmp_path, DEPTH, number=1)
    assert caught.value.said


def test_a_name_that_is_too_long_is_an_error(tmp_path: pathlib.Path) -> None:
    directory = tmp_path / ("x" * 120) / ("y" * 120)
    directory.mkdir(parents=True)
    with pytest.raises(StorageError, match="cannot be written"):
        write_frame(directory, DEPTH, number=1)


@pytest.mark.parametrize(
    "parameters, message",
    [
        ({}, "number or time must be given, and not both"),
        ({"number": 1, "time": TIME}, "number or time must be given, and not both"),
        ({"number": -1}, "number must be from 0 and have at most 8 digits, not -1"),
        ({"number": 100, "digits": 2}, "number must be from 0 and have at most 2 digits, not 100"),
        ({"number": 1, "digits": 0}, "digits must be from 1 to 9, not 0"),
        ({"number": 1, "digits": 10}, "digits must be from 1 to 9, not 10"),
        ({"number": 1, "camera_type": 7}, "camera_type must be 0"),
        ({"number": 1, "intrinsics": (0, 1, 2, 3)}, "with a11 and a22 above 0"),
        ({"number": 1, "intrinsics": (1, float("nan"), 2, 3)}, "intrinsics must be numbers"),
        ({"number": 1, "intrinsics": (1, 2, 3)}, "intrinsics must be four numbers"),
        ({"number": 1, "max_depth": -1}, "max_depth must be above 0"),
        ({"time": "noon"}, "time must be a datetime"),
    ],
)
def test_parameters_that_make_no_sense_are_refused(
    tmp_path: pathlib.Path, parameters: dict[str, Any], message: str
) -> None:
    with pytest.raises(ArgumentError, match=message):
        write_frame(tmp_path, DEPTH, **parameters)
    assert os.listdir(tmp_path) == []
