"""Finding the frames of a recording."""

from __future__ import annotations

import datetime as dt
import os
import pathlib
import shutil

import numpy as np
import pytest
from conftest import FRAMES, LAYOUTS, START, record

import camera_depth_rw
from camera_depth_rw import ArgumentError, NotFoundError, StorageError, open_recording


def copy_without_description(source: str, target: pathlib.Path) -> str:
    """As an engine by itself leaves a recording."""
    shutil.copytree(source, target, ignore=shutil.ignore_patterns("recording*.json"))
    return str(target)


@pytest.mark.parametrize("layout", LAYOUTS)
class TestEachLayout:
    def test_has_all_frames(self, recordings: dict[str, str], layout: str) -> None:
        recording = open_recording(recordings[layout])
        assert len(recording) == FRAMES
        assert recording.layout == LAYOUTS[layout].name

    def test_has_the_same_pixels(self, recordings: dict[str, str], tree: str, layout: str) -> None:
        frame, expected = open_recording(recordings[layout])[13], open_recording(tree)[13]
        assert np.array_equal(frame.depth, expected.depth)
        assert frame.colour is not None and expected.colour is not None
        assert np.array_equal(frame.colour, expected.colour)

    def test_has_times_in_order(self, recordings: dict[str, str], layout: str) -> None:
        times = open_recording(recordings[layout]).times
        assert times[0] == START
        assert times[10] == dt.datetime(2013, 4, 5, 14, 8, 0, 33000)
        assert times == sorted(times)

    def test_is_the_same_without_description(
        self, recordings: dict[str, str], layout: str, tmp_path: pathlib.Path
    ) -> None:
        plain = open_recording(copy_without_description(recordings[layout], tmp_path / "plain"))
        described = open_recording(recordings[layout])
        assert plain.names == described.names
        if LAYOUTS[layout].has_times:
            assert plain.times == described.times
        else:
            assert plain.times == [None] * FRAMES
        assert np.array_equal(plain[-1].depth, described[-1].depth)


def test_numbers_are_those_of_the_names(recordings: dict[str, str]) -> None:
    recording = open_recording(recordings["flat by number"])
    assert recording[7].number == 7
    assert recording[7].name == "depth-00000007"


def test_frames_named_by_time_have_no_number(tree: str) -> None:
    frame = open_recording(tree)[0]
    assert frame.number is None
    assert frame.name == "2013-04-05/14h/07mn/2013-04-05T14-07-59.700000-depth"


@pytest.mark.parametrize("kind", [str, os.fsencode, pathlib.Path])
def test_paths_of_every_kind_are_taken(tree: str, kind: type) -> None:
    assert len(open_recording(kind(tree))) == FRAMES


def test_a_directory_whose_name_is_no_utf8_is_read(tree: str, tmp_path: pathlib.Path) -> None:
    directory = os.fsencode(tmp_path) + b"/\xff\xfe"
    shutil.copytree(os.fsencode(tree), directory)
    assert len(list(open_recording(directory)[:2])) == 2


def test_frames_without_colour_are_read(tmp_path: pathlib.Path) -> None:
    frame = open_recording(record(tmp_path / "grey", "--no-colour", frames=1))[0]
    assert frame.colour is None and frame.rgb is None


def test_colour_is_left_alone_on_demand(tree: str) -> None:
    assert open_recording(tree, colour=False)[0].colour is None
    assert open_recording(tree)[0].colour is not None


def test_a_missing_directory_is_not_found(tmp_path: pathlib.Path) -> None:
    with pytest.raises(NotFoundError, match="there is no directory"):
        open_recording(tmp_path / "nothing")


def test_a_directory_without_frames_is_refused(tmp_path: pathlib.Path) -> None:
    with pytest.raises(StorageError, match="there are no recorded frames"):
        open_recording(tmp_path)


@pytest.mark.parametrize("path", ["", "a\0b"])
def test_a_path_that_names_nothing_is_refused(path: str) -> None:
    with pytest.raises(ArgumentError, match="path must name"):
        open_recording(path)


def test_damaged_must_be_one_of_two_words(tree: str) -> None:
    with pytest.raises(ArgumentError, match="damaged must be 'raise' or 'skip', not 'stop'"):
        open_recording(tree, damaged="stop")  # type: ignore[arg-type]


def test_a_damaged_description_is_told(tree: str, tmp_path: pathlib.Path) -> None:
    broken = tmp_path / "broken"
    shutil.copytree(tree, broken)
    (broken / "recording.json").write_text("{")
    recording = open_recording(broken)
    assert len(recording) == FRAMES
    assert any("recording.json" in trouble for trouble in recording.troubles)


def test_a_closed_recording_is_not_read(tree: str) -> None:
    with open_recording(tree) as recording:
        part = recording[:3]
        kept = recording[0]
    for closed in (recording, part):
        with pytest.raises(ArgumentError, match="the recording is closed"):
            closed[0]
    assert kept.depth.max() > 1


def test_version_is_that_of_the_program() -> None:
    from conftest import depthrw

    assert camera_depth_rw.__version__ in depthrw("--version")
