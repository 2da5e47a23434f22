"""Recording frame by frame, and out of the history."""

from __future__ import annotations

import datetime as dt
import logging
import os
import pathlib
from typing import Any, Iterator

import numpy as np
import pytest
from conftest import depth_tolerance, depthrw

import camera_depth_rw
from camera_depth_rw import (
    ArgumentError,
    NumberedRecorder,
    Recording,
    StorageError,
    TreeRecorder,
    open_recording,
)

START = dt.datetime(2013, 4, 5, 14, 7, 59, 700000)
NEAR = np.full((480, 640), 1.5, np.float32)
FAR = np.full((480, 640), 3.0, np.float32)


def time_of(number: int) -> dt.datetime:
    return START + dt.timedelta(milliseconds=100 * number)


@pytest.fixture
def path(tmp_path: pathlib.Path) -> pathlib.Path:
    return tmp_path / "recording"


@pytest.fixture(params=[TreeRecorder, NumberedRecorder])
def recorder_type(request: pytest.FixtureRequest) -> Any:
    return request.param


@pytest.fixture
def recorder(recorder_type: Any, path: pathlib.Path) -> Iterator[Any]:
    """Keeps five frames without colour."""
    with recorder_type(path, history=5, colour=False) as made:
        yield made


def add_flat_frames(recorder: Any, numbers: range, record: bool) -> None:
    for number in numbers:
        recorder.add(NEAR, time=time_of(number), record=record)


def times_on_disk(path: pathlib.Path) -> list[Any]:
    return open_recording(path).times


def test_frames_come_back(recorder_type: Any, path: pathlib.Path, frames: Recording) -> None:
    with recorder_type(path) as recorder:
        written = [recorder.add(frame.depth, frame.colour, frame.time) for frame in frames]
    assert written == [True] * len(frames)
    recording = open_recording(path)
    assert recording.times == frames.times
    for frame, source in zip(recording, frames):
        assert np.all(np.abs(frame.depth - source.depth) <= depth_tolerance(source.depth))
        assert frame.colour is not None and source.colour is not None
        assert np.abs(frame.colour.astype(int) - source.colour).mean() < 3


def test_a_tree_has_a_folder_for_each_minute(path: pathlib.Path) -> None:
    with TreeRecorder(path, colour=False) as recorder:
        add_flat_frames(recorder, range(4), record=True)
    assert open_recording(path).layout == "tree"
    assert sorted(os.listdir(path / "2013-04-05" / "14h")) == ["07mn", "08mn"]


def test_numbered_sub_directories_hold_so_many_frames(path: pathlib.Path) -> None:
    with NumberedRecorder(path, per_directory=3, colour=False) as recorder:
        add_flat_frames(recorder, range(7), record=True)
    assert sorted(os.listdir(path)) == ["00000000", "00000001", "00000002"]
    assert [name[:8] for name in open_recording(path).names] == (
        ["00000000"] * 3 + ["00000001"] * 3 + ["00000002"]
    )


def test_the_program_verifies_what_was_recorded(recorder: Any) -> None:
    add_flat_frames(recorder, range(3), record=True)
    depthrw("verify", recorder.path)


def test_a_frame_that_is_not_asked_for_is_not_written(recorder: Any) -> None:
    assert recorder.add(NEAR, time=time_of(0), record=False) is False
    assert recorder.decision == "not asked"
    assert recorder.history == [time_of(0)]


def test_without_triggers_every_frame_is_written(recorder: Any) -> None:
    assert recorder.add(NEAR, time=time_of(0)) is True
    assert recorder.decision == "request"


def test_motion_has_frames_written(recorder_type: Any, path: pathlib.Path) -> None:
    with recorder_type(path, motion=10, colour=False) as recorder:
        moved = NEAR.copy()
        moved[:100] = FAR[:100]  # A fifth of the pixels.
        shown = [NEAR, NEAR, moved, moved]
        written = [recorder.add(depth, time=time_of(n)) for n, depth in enumerate(shown)]
    assert written == [False, False, True, False]
    assert times_on_disk(path) == [time_of(2)]


def test_little_motion_has_no_frames_written(recorder_type: Any, path: pathlib.Path) -> None:
    with recorder_type(path, motion=30, colour=False) as recorder:
        moved = NEAR.copy()
        moved[:100] = FAR[:100]
        assert not recorder.add(NEAR, time=time_of(0))
        assert not recorder.add(moved, time=time_of(1))


def test_a_period_has_frames_written(recorder_type: Any, path: pathlib.Path) -> None:
    with recorder_type(path, period=3, colour=False) as recorder:
        written = [recorder.add(NEAR, time=time_of(n)) for n in range(8)]
        assert recorder.decision == "not asked"
    assert written == [False, False, False, True, False, False, True, False]


def test_the_rate_is_limited(recorder_type: Any, path: pathlib.Path) -> None:
    with recorder_type(path, max_fps=4, colour=False) as recorder:
        written = [recorder.add(NEAR, time=time_of(n), record=True) for n in range(7)]
    # The first one always; then those more than a quarter of a second later, 100 ms apart.
    assert written == [True, False, False, True, False, False, True]


def test_what_comes_too_soon_is_told(recorder_type: Any, path: pathlib.Path) -> None:
    with recorder_type(path, max_fps=1, colour=False) as recorder:
        add_flat_frames(recorder, range(2), record=True)
        assert recorder.decision == "too soon"


def test_history_holds_the_last_frames(recorder: Any) -> None:
    assert recorder.history == []
    add_flat_frames(recorder, range(8), record=False)
    assert recorder.history == [time_of(n) for n in range(3, 8)]


def test_a_range_is_saved_after_the_event(recorder: Any, path: pathlib.Path) -> None:
    add_flat_frames(recorder, range(8), record=False)
    assert recorder.save_range(time_of(4), time_of(6)) == 3
    assert times_on_disk(path) == [time_of(n) for n in (4, 5, 6)]


def test_a_range_is_saved_in_the_order_of_time(path: pathlib.Path) -> None:
    """The ring begins anew at its third place; sub-directories tell in which order frames came."""
    with NumberedRecorder(path, per_directory=1, history=5, colour=False) as recorder:
        add_flat_frames(recorder, range(8), record=False)
        recorder.save_range(time_of(0), time_of(9))
    assert [name[:8] for name in open_recording(path).names] == [f"{n:08d}" for n in range(5)]


def test_a_text_without_seconds_saves_its_whole_minute(recorder: Any) -> None:
    add_flat_frames(recorder, range(5), record=False)
    assert recorder.save_range("2013-04-05T14:08", "2013-04-05T14:08") == 2


def test_saved_pixels_are_those_of_their_frames(path: pathlib.Path, frames: Recording) -> None:
    with TreeRecorder(path, history=4) as recorder:
        for frame in frames[:6]:
            recorder.add(frame.depth, frame.colour, frame.time, record=False)
        assert recorder.save_range("2013-04-05", "2013-04-05") == 4
    for frame, source in zip(open_recording(path), frames[2:6]):
        assert frame.time == source.time
        assert np.all(np.abs(frame.depth - source.depth) <= depth_tolerance(source.depth))
        assert frame.colour is not None and source.colour is not None
        assert np.abs(frame.colour.astype(int) - source.colour).mean() < 3


def test_what_is_written_already_is_not_saved_again(recorder: Any, path: pathlib.Path) -> None:
    add_flat_frames(recorder, range(2), record=True)
    add_flat_frames(recorder, range(2, 4), record=False)
    assert recorder.save_range(time_of(0), time_of(9)) == 2
    assert recorder.save_range(time_of(0), time_of(9)) == 0
    assert times_on_disk(path) == [time_of(n) for n in range(4)]


def test_recording_goes_on_after_a_saved_range(recorder: Any, path: pathlib.Path) -> None:
    add_flat_frames(recorder, range(6), record=False)
    recorder.save_range(time_of(1), time_of(1))
    add_flat_frames(recorder, range(6, 8), record=True)
    assert times_on_disk(path) == [time_of(n) for n in (1, 6, 7)]


def test_no_frame_lands_in_the_folder_of_another_minute(path: pathlib.Path) -> None:
    with TreeRecorder(path, history=9, colour=False) as recorder:
        add_flat_frames(recorder, range(6), record=False)
        recorder.save_range(time_of(0), time_of(0))
        recorder.add(NEAR, time=time_of(6), record=True)
    for name in open_recording(path).names:
        day, hour, minute, frame = name.split("/")
        assert frame.startswith(f"{day}T{hour[:2]}-{minute[:2]}-")


def test_a_range_that_ends_before_it_begins_is_refused(recorder: Any) -> None:
    with pytest.raises(ArgumentError, match="start must not be later than stop"):
        recorder.save_range(time_of(2), time_of(1))


def test_the_time_is_now_unless_given(recorder: Any, path: pathlib.Path) -> None:
    before = dt.datetime.now() - dt.timedelta(milliseconds=1)
    recorder.add(NEAR)
    (time,) = times_on_disk(path)
    assert before <= time <= dt.datetime.now()


def test_microseconds_are_left_out(recorder: Any) -> None:
    recorder.add(NEAR, time=START.replace(microsecond=123999))
    assert recorder.history == [START.replace(microsecond=123000)]


@pytest.mark.parametrize("record", [True, False])
def test_a_second_frame_of_a_time_is_refused(recorder: Any, record: bool) -> None:
    recorder.add(NEAR, time=START, record=record)
    with pytest.raises(ArgumentError, match="time: there is a frame of 2013-04-05 14:07:59.700"):
        recorder.add(FAR, time=START, record=record)
    assert recorder.history == [START]


def test_a_frame_on_disk_is_not_written_over(path: pathlib.Path) -> None:
    for depth in (NEAR, FAR):
        with TreeRecorder(path, colour=False) as recorder:
            if depth is NEAR:
                recorder.add(depth, time=START)
            else:
                with pytest.raises(ArgumentError, match="there is a frame of"):
                    recorder.add(depth, time=START)
    assert open_recording(path)[0].depth[5, 5] == pytest.approx(1.5, abs=0.03)


def test_a_clock_that_steps_back_is_followed(recorder: Any, path: pathlib.Path) -> None:
    for number in (5, 6, 1, 2, 7):
        assert recorder.add(NEAR, time=time_of(number))
    assert times_on_disk(path) == [time_of(n) for n in (1, 2, 5, 6, 7)]


def test_a_clock_that_steps_back_does_not_stop_a_limited_recorder(
    recorder_type: Any, path: pathlib.Path
) -> None:
    """As local time does every autumn."""
    with recorder_type(path, max_fps=4, colour=False) as recorder:
        numbers = (0, 20, -36000, -35999, -35997)
        written = [recorder.add(NEAR, time=time_of(number)) for number in numbers]
    assert written == [True, True, True, False, True]


def test_a_tree_goes_on(path: pathlib.Path) -> None:
    for begin in (0, 3):
        with TreeRecorder(path, colour=False) as recorder:
            add_flat_frames(recorder, range(begin, begin + 3), record=True)
    assert times_on_disk(path) == [time_of(n) for n in range(6)]


def test_numbered_sub_directories_begin_anew(path: pathlib.Path) -> None:
    with NumberedRecorder(path, colour=False) as recorder:
        recorder.add(NEAR, time=START)
    with pytest.raises(ArgumentError, match="is not empty: numbered sub-directories begin anew"):
        NumberedRecorder(path)


def test_a_directory_of_something_else_is_refused(recorder_type: Any, path: pathlib.Path) -> None:
    path.mkdir()
    (path / "letter.txt").write_text("Dear all")
    with pytest.raises(ArgumentError, match="is not empty|something else"):
        recorder_type(path)


def test_directories_above_are_made(recorder_type: Any, path: pathlib.Path) -> None:
    with recorder_type(path / "a" / "b") as recorder:
        assert (path / "a" / "b").is_dir()
        assert recorder.path == str(path / "a" / "b")


def test_one_recorder_works_in_a_directory(recorder_type: Any, path: pathlib.Path) -> None:
    with recorder_type(path):
        with pytest.raises(StorageError, match="another recorder is at work"):
            recorder_type(path)
    recorder_type(path).close()


def test_a_closed_recorder_records_nothing(recorder: Any) -> None:
    recorder.close()
    recorder.close()
    for use in (
        lambda: recorder.add(NEAR, time=START),
        lambda: recorder.save_range(START, START),
        lambda: recorder.history,
    ):
        with pytest.raises(ArgumentError, match="the recorder is closed"):
            use()


def test_readings_that_cannot_be_recorded_are_none(recorder_type: Any, path: pathlib.Path) -> None:
    depth = NEAR.copy()
    depth[0, :4] = (31, -1, np.nan, np.inf)
    with recorder_type(path, colour=False) as recorder:
        recorder.add(depth, time=START)
    frame = open_recording(path)[0]
    assert list(frame.valid[0, :5]) == [False] * 4 + [True]
    assert depth[0, 0] == 31, "the array of the caller stays as it is"


def test_without_limit_far_readings_are_recorded(recorder_type: Any, path: pathlib.Path) -> None:
    depth = NEAR.copy()
    depth[:8, :8] = 31
    with recorder_type(path, colour=False, max_depth=None) as recorder:
        recorder.add(depth, time=START)
    assert open_recording(path)[0].depth[4, 4] == pytest.approx(31, abs=0.06)


def test_a_frame_that_cannot_be_recorded_is_an_error(recorder: Any) -> None:
    """Beyond 32 m single precision is too coarse for the code, which the writer finds out."""
    with pytest.raises(StorageError, match="14:07:59.700 could not be recorded") as caught:
        settled = TreeRecorder(recorder.path + "-far", colour=False, max_depth=None, verify=True)
        with settled:
            settled.add(
                np.linspace(0, 254, 480 * 640, dtype=np.float32).reshape(480, 640), time=START
            )
    assert caught.value.said


@pytest.mark.parametrize("verify", [True, False])
def test_frames_are_read_back_on_demand(
    recorder_type: Any, path: pathlib.Path, verify: bool, caplog: pytest.LogCaptureFixture
) -> None:
    caplog.set_level(logging.INFO, "camera_depth_rw")
    with recorder_type(path, colour=False, verify=verify) as recorder:
        recorder.add(NEAR, time=START)
    assert any("reading compressed data" in line for line in caplog.messages) == verify


def test_a_folder_that_cannot_be_made_is_an_error(path: pathlib.Path) -> None:
    with TreeRecorder(path, colour=False) as recorder:
        (path / "2013-04-05").write_text("in the way")
        with pytest.raises(StorageError, match="could not be recorded.*FAILED to create") as caught:
            recorder.add(NEAR, time=START)
        assert any("FAILED to create sub dir" in line for line in caught.value.said)
        assert recorder.history == []


def test_recording_resumes_when_the_fault_is_gone(path: pathlib.Path) -> None:
    with TreeRecorder(path, colour=False, history=3) as recorder:
        (path / "2013-04-05").write_text("in the way")
        with pytest.raises(StorageError):
            recorder.add(NEAR, time=time_of(0))
        (path / "2013-04-05").unlink()
        assert recorder.add(NEAR, time=time_of(0))
    assert times_on_disk(path) == [time_of(0)]


def test_a_range_that_cannot_be_saved_is_an_error(path: pathlib.Path) -> None:
    with TreeRecorder(path, colour=False, history=3) as recorder:
        add_flat_frames(recorder, range(3), record=False)
        (path / "2013-04-05").write_text("in the way")
        with pytest.raises(StorageError, match="could not be saved out of the history"):
            recorder.save_range(time_of(0), time_of(2))
        (path / "2013-04-05").unlink()
        assert recorder.save_range(time_of(0), time_of(2)) == 3


@pytest.mark.parametrize(
    "parameters, message",
    [
        ({"history": 0}, "history must be from 1 to 16777216 frames, not 0"),
        ({"history": -3}, "history must be from 1"),
        ({"history": 2**24}, "history of 16777216 frames wants more memory than there is"),
        ({"history": 2.5}, "history must be a whole number, not 2.5"),
        ({"camera_type": 2}, "camera_type must be 0 .* or 1 .*, not 2"),
        ({"motion": -1}, "motion must be a percentage from 0 to below 100, not -1"),
        ({"motion": 100}, "motion must be a percentage"),
        ({"motion": float("nan")}, "motion must be a percentage"),
        ({"period": 0}, "period must be from 1"),
        ({"max_fps": 0}, "max_fps must be above 0 frames per second, not 0"),
        ({"max_fps": float("inf")}, "max_fps must be above 0"),
        ({"max_depth": 0}, "max_depth must be above 0 and at most 255 metres, or None, not 0"),
        ({"max_depth": 300}, "max_depth must be above 0"),
    ],
)
def test_parameters_that_make_no_sense_are_refused(
    recorder_type: Any, path: pathlib.Path, parameters: dict[str, Any], message: str
) -> None:
    with pytest.raises(ArgumentError, match=message):
        recorder_type(path, **parameters)


@pytest.mark.parametrize("frames_each", [0, 1_000_001])
def test_sub_directories_hold_a_sensible_number(path: pathlib.Path, frames_each: int) -> None:
    with pytest.raises(ArgumentError, match="per_directory must be from 1 to 1000000 frames"):
        NumberedRecorder(path, per_directory=frames_each)


def test_a_path_that_is_too_long_is_refused(recorder_type: Any, path: pathlib.Path) -> None:
    with pytest.raises(ArgumentError, match="path must have at most 180 bytes, not "):
        recorder_type(path / ("x" * 200))


def test_a_file_in_place_of_the_directory_is_an_error(
    recorder_type: Any, path: pathlib.Path
) -> None:
    path.write_text("")
    with pytest.raises(StorageError):
        recorder_type(path)


def test_its_text_names_its_kind_and_place(recorder: Any) -> None:
    assert repr(recorder) == f"<{type(recorder).__name__} '{recorder.path}'>"


def test_both_are_offered_by_the_package() -> None:
    assert {"TreeRecorder", "NumberedRecorder"} <= set(camera_depth_rw.__all__)
