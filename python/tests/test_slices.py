"""Parts of a recording."""

from __future__ import annotations

import datetime as dt
import pathlib
import shutil
import time
from typing import Union

import numpy as np
import pytest
from conftest import FRAMES

import camera_depth_rw
from camera_depth_rw import ArgumentError, open_recording

Recording = camera_depth_rw.Recording
NEXT_MINUTE = dt.datetime(2013, 4, 5, 14, 8)


def places(recording: Recording) -> list[int]:
    names = open_recording(recording.path).names
    return [names.index(name) for name in recording.names]


def test_iteration_gives_each_frame_once(frames: Recording) -> None:
    assert [frame.index for frame in frames] == list(range(FRAMES))


def test_iteration_backwards_gives_each_frame_once(frames: Recording) -> None:
    assert [frame.index for frame in reversed(frames[:4])] == [3, 2, 1, 0]


@pytest.mark.parametrize("place, index", [(0, 0), (7, 7), (-1, FRAMES - 1), (-FRAMES, 0)])
def test_a_place_is_a_frame(frames: Recording, place: int, index: int) -> None:
    assert frames[place].index == index


def test_a_number_of_numpy_is_a_place(frames: Recording) -> None:
    assert frames[np.int64(-2)].index == FRAMES - 2


@pytest.mark.parametrize("place", [FRAMES, -FRAMES - 1])
def test_a_place_outside_is_refused(frames: Recording, place: int) -> None:
    with pytest.raises(IndexError, match=f"there is no frame {place}: the recording has {FRAMES}"):
        frames[place]


def test_a_fraction_is_no_place(frames: Recording) -> None:
    with pytest.raises(TypeError):
        frames[1.5]  # type: ignore[call-overload]


@pytest.mark.parametrize(
    "part",
    [slice(2, 5), slice(-3, None), slice(None, None, 7), slice(5, 2), slice(9, 3, -2), slice(99)],
)
def test_slices_by_place_are_those_of_a_list(frames: Recording, part: slice) -> None:
    assert places(frames[part]) == list(range(FRAMES))[part]


def test_a_slice_of_a_slice_counts_from_its_begin(frames: Recording) -> None:
    part = frames[4:12][::2][1:]
    assert places(part) == [6, 8, 10]
    assert part[0].index == 6


# The frames are 1/30 s apart: frame 9 is that of 14:08:00.000, frame 0 of 14:07:59.700.
@pytest.mark.parametrize(
    "part, first, last",
    [
        (slice("2013-04-05T14:08", None), 9, 19),
        (slice(None, "2013-04-05T14:07"), 0, 8),
        (slice("2013-04-05T14:07", "2013-04-05T14:09"), 0, 19),
        (slice("2013-04-05T14:07:59.8", "2013-04-05T14:08:00.1"), 3, 14),
        (slice("2013-04-05T14:07:59.800", "2013-04-05T14:08:00.100"), 3, 12),
        (slice("2013-04-05 14:08:00.033", "2013-04-05T14-08-00.067000"), 10, 11),
        (slice("2013-04-05", "2013-04-05"), 0, 19),
        (slice(NEXT_MINUTE, NEXT_MINUTE + dt.timedelta(milliseconds=100)), 9, 12),
        (slice(NEXT_MINUTE, "2013-04-05T14:08:00.067"), 9, 11),
        ("2013-04-05T14:07", 0, 8),
        ("2013-04-05T14", 0, 19),
        ("2013-04-05T14:08:00.000", 9, 9),
    ],
)
def test_time_ranges_have_both_ends(
    frames: Recording, part: Union[slice, str], first: int, last: int
) -> None:
    assert places(frames[part]) == list(range(first, last + 1))


def test_ranges_between_times_are_slices(frames: Recording) -> None:
    assert places(frames.between("2013-04-05T14:08")) == list(range(9, FRAMES))
    assert places(frames.between(stop=NEXT_MINUTE)) == list(range(10))
    assert places(frames.between("2013-04-05T14:08:00.000", NEXT_MINUTE)) == [9]
    assert places(frames.between()) == list(range(FRAMES))


def test_time_ranges_take_a_step(frames: Recording) -> None:
    assert places(frames["2013-04-05T14:08"::4]) == [9, 13, 17]


def test_time_ranges_of_a_part_stay_in_it(frames: Recording) -> None:
    assert places(frames[5:12]["2013-04-05T14:08"]) == [9, 10, 11]


@pytest.mark.parametrize("part", ["2013-04-06", slice("2013-04-05T15", "2013-04-05T14")])
def test_a_time_range_without_frames_is_empty(frames: Recording, part: Union[slice, str]) -> None:
    assert len(frames[part]) == 0
    assert list(frames[part]) == []


def test_times_with_a_zone_are_converted(
    frames: Recording, monkeypatch: pytest.MonkeyPatch
) -> None:
    monkeypatch.setenv("TZ", "UTC-2")  # Two hours east.
    time.tzset()
    try:
        utc = dt.datetime(2013, 4, 5, 12, 8, tzinfo=dt.timezone.utc)
        assert places(frames[utc : utc + dt.timedelta(seconds=0.04)]) == [9, 10]
        assert places(frames["2013-04-05T12:08:00Z":"2013-04-05T12:08:00.040+00:00"]) == [9, 10]
    finally:
        monkeypatch.undo()
        time.tzset()


@pytest.mark.parametrize(
    "text",
    ["", "yesterday", "2013", "2013-13-01", "2013-02-30", "2013-04-05T25", "14:07", "1969-12-31"],
)
def test_a_text_that_is_no_time_is_refused(frames: Recording, text: str) -> None:
    with pytest.raises(
        ArgumentError, match="the start of a time range must be a datetime or a time"
    ):
        frames[text:]  # type: ignore[misc]


def test_a_time_and_a_place_do_not_make_a_range(frames: Recording) -> None:
    with pytest.raises(ArgumentError, match="the end of a time range must be"):
        frames["2013-04-05":7]  # type: ignore[misc]


def test_numbers_without_description_have_no_time_ranges(
    recordings: dict[str, str], tmp_path: pathlib.Path
) -> None:
    plain = tmp_path / "plain"
    shutil.copytree(recordings["flat by number"], plain)
    (plain / "recording.json").unlink()
    with pytest.raises(ArgumentError, match="have no times without 'recording.json'"):
        open_recording(plain)["2013-04-05"]


@pytest.mark.parametrize(
    "moment, index",
    [
        ("2013-04-05T14:08:00.010", 9),
        ("2013-04-05T14:08:00.020", 10),
        ("2000-01-01", 0),
        (dt.datetime(2030, 1, 1), FRAMES - 1),
    ],
)
def test_the_nearest_frame_is_found(
    frames: Recording, moment: Union[str, dt.datetime], index: int
) -> None:
    assert frames.nearest(moment).index == index


def test_no_frame_is_nearest_in_an_empty_part(frames: Recording) -> None:
    with pytest.raises(ArgumentError, match="there are no frames"):
        frames[:0].nearest("2013-04-05")
