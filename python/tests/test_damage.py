"""Damaged frames, what the library says, and where that goes."""

from __future__ import annotations

import logging
import os
import pathlib
import shutil
import subprocess
import sys

import numpy as np
import pytest
from conftest import PROJECT

import camera_depth_rw
from camera_depth_rw import CameraDepthError, StorageError, open_recording, read_frame, write_frame

DEPTH = np.full((480, 640), 2, np.float32)
CORPUS = sorted((PROJECT / "tests" / "data" / "bad").iterdir())


@pytest.fixture
def damaged(tree: str, tmp_path: pathlib.Path) -> str:
    """Frame 3 lacks its corrections, frame 5 has a reference file of another kind."""
    copy = tmp_path / "damaged"
    shutil.copytree(tree, copy)
    names = open_recording(copy).names
    os.remove(copy / (names[3] + ".err"))
    (copy / (names[5] + ".ref")).write_text("letters\n")
    return str(copy)


def test_the_corpus_is_there() -> None:
    assert len(CORPUS) > 80


@pytest.mark.parametrize("case", CORPUS, ids=lambda case: case.name)
def test_each_damage_is_an_error_or_harmless(case: pathlib.Path) -> None:
    try:
        frame = read_frame(case / "frame")
    except CameraDepthError as error:
        assert str(error)
    else:
        assert frame.depth.shape == (480, 640)
        assert np.isfinite(frame.depth[frame.valid]).all()


def test_an_error_tells_the_frame_and_what_the_library_said(damaged: str) -> None:
    with pytest.raises(StorageError, match="the frame '.*' cannot be read") as caught:
        open_recording(damaged)[3]
    assert any("failed to load" in line and ".err" in line for line in caught.value.said)
    assert caught.value.said[-1].strip() in str(caught.value)


def test_an_error_is_an_error_of_the_system(damaged: str) -> None:
    with pytest.raises(OSError):
        open_recording(damaged)[5]


def test_iteration_stops_at_damage(damaged: str) -> None:
    seen = []
    with pytest.raises(StorageError):
        for frame in open_recording(damaged):
            seen.append(frame.index)
    assert seen == [0, 1, 2]


def test_iteration_skips_damage_on_demand(damaged: str, caplog: pytest.LogCaptureFixture) -> None:
    recording = open_recording(damaged, damaged="skip")
    assert [frame.index for frame in recording[:8]] == [0, 1, 2, 4, 6, 7]
    skipped = [line for line in caplog.messages if line.startswith("skipped: ")]
    assert len(skipped) == 2


@pytest.mark.parametrize("ending", [".rle", ".ref", ".jpg", ".err"])
@pytest.mark.parametrize("kept", [0.5, 0.95])
def test_a_file_that_was_cut_off_is_an_error(
    tree: str, tmp_path: pathlib.Path, ending: str, kept: float
) -> None:
    copy = tmp_path / "copy"
    shutil.copytree(tree, copy)
    file = copy / (open_recording(copy).names[2] + ending)
    os.truncate(file, int(kept * file.stat().st_size))
    with pytest.raises(StorageError):
        open_recording(copy)[2]
    with pytest.raises(StorageError):
        read_frame(file)
    assert 2 not in [frame.index for frame in open_recording(copy, damaged="skip")]


def test_a_colour_image_that_was_cut_off_is_an_error(tree: str, tmp_path: pathlib.Path) -> None:
    copy = tmp_path / "copy"
    shutil.copytree(tree, copy)
    colour = copy / open_recording(copy).names[0].replace("-depth", "-bgrimage.jpg")
    os.truncate(colour, colour.stat().st_size // 2)
    with pytest.raises(StorageError, match="colour image '.*' is damaged"):
        open_recording(copy)[0]
    assert open_recording(copy, colour=False)[0].valid.any()


def test_a_damaged_colour_image_is_an_error(tree: str, tmp_path: pathlib.Path) -> None:
    copy = tmp_path / "copy"
    shutil.copytree(tree, copy)
    colour = copy / open_recording(copy).names[0].replace("-depth", "-bgrimage.jpg")
    colour.write_bytes(b"no image")
    with pytest.raises(StorageError, match="the colour image '.*' cannot be read"):
        open_recording(copy)[0]
    assert open_recording(copy, colour=False)[0].depth.max() > 1


@pytest.mark.parametrize(
    "size, message",
    [
        ((320, 240), "is not 640 x 480 pixels"),
        ((480, 640), "is not 640 x 480 pixels"),
        ((641, 480), "cannot be read"),
    ],
)
def test_a_colour_image_of_another_size_is_an_error(
    tmp_path: pathlib.Path, size: tuple[int, int], message: str
) -> None:
    from PIL import Image

    path = write_frame(tmp_path, DEPTH, number=1)
    Image.new("RGB", size).save(tmp_path / "bgrimage-00000001.jpg")
    with pytest.raises(StorageError, match="the colour image '.*' " + message):
        read_frame(path)


def test_what_the_library_says_is_logged(damaged: str, caplog: pytest.LogCaptureFixture) -> None:
    caplog.set_level(logging.DEBUG, "camera_depth_rw")
    with pytest.raises(StorageError):
        open_recording(damaged)[3]
    assert {record.name for record in caplog.records} == {"camera_depth_rw"}
    levels = {record.levelname for record in caplog.records}
    assert levels == {"INFO", "ERROR"}


def test_lines_are_logged_one_by_one(
    tmp_path: pathlib.Path, caplog: pytest.LogCaptureFixture
) -> None:
    caplog.set_level(logging.INFO, "camera_depth_rw")
    with camera_depth_rw.TreeRecorder(tmp_path, colour=False) as recorder:
        recorder.add(DEPTH, time="2013-04-05T14:07:58")
    made = [line for line in caplog.messages if "CREATING NEW" in line]
    assert [line.split()[5] for line in made] == ["DAY", "HOUR", "MINUTE"]
    assert not any("\n" in line for line in caplog.messages)


def test_a_log_handler_may_use_the_module(tree: str) -> None:
    """Nothing is locked while what was said is passed on."""

    class Reads(logging.Handler):
        frames = 0

        def emit(self, record: logging.LogRecord) -> None:
            if not Reads.frames:
                Reads.frames += 1
                camera_depth_rw.open_recording(tree)[1]

    logger = logging.getLogger("camera_depth_rw")
    handler, level = Reads(), logger.level
    logger.addHandler(handler)
    logger.setLevel(logging.INFO)
    try:
        camera_depth_rw.open_recording(tree)[0]
    finally:
        logger.removeHandler(handler)
        logger.setLevel(level)
    assert Reads.frames == 1


SILENT_PROGRAM = """
import sys, camera_depth_rw, numpy
recording = camera_depth_rw.open_recording(sys.argv[1])
errors = 0
for index in range(8):
    try:
        recording[index]
    except camera_depth_rw.StorageError:
        errors += 1
recorder = camera_depth_rw.TreeRecorder(sys.argv[2], colour=False)
recorder.add(numpy.ones((480, 640), numpy.float32))
sys.exit(errors)
"""


def test_nothing_is_printed_and_no_key_is_wanted(damaged: str, tmp_path: pathlib.Path) -> None:
    """Standard input is a pipe in which nothing ever comes. The recorder is left to the end."""
    program = subprocess.Popen(
        [sys.executable, "-c", SILENT_PROGRAM, damaged, str(tmp_path / "new")],
        stdin=subprocess.PIPE,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
    )
    assert program.stdout is not None and program.stderr is not None
    try:
        assert program.wait(timeout=60) == 2
        assert program.stdout.read() == b""
        assert program.stderr.read() == b""
    finally:
        program.kill()
        program.communicate()
