"""Arrays that are taken, and those that are refused by name."""

from __future__ import annotations

import pathlib
import warnings
from typing import Any, Callable, Iterator

import numpy as np
import pytest

from camera_depth_rw import ArgumentError, TreeRecorder, open_recording, write_frame

DEPTH = np.full((480, 640), 2, np.float32)
COLOUR = np.full((480, 640, 3), 100, np.uint8)

Use = Callable[[Any, Any], Any]


@pytest.fixture(params=["add", "write_frame"])
def use(request: pytest.FixtureRequest, tmp_path: pathlib.Path) -> Iterator[Use]:
    if request.param == "write_frame":
        yield lambda depth, colour: write_frame(tmp_path, depth, colour, time="2013-04-05T14:07:58")
    else:
        with TreeRecorder(tmp_path) as recorder:
            yield lambda depth, colour: recorder.add(depth, colour, "2013-04-05T14:07:58")


WANTED_DEPTH = r"depth must be an array of float32 of shape \(480, 640\), not "
WANTED_COLOUR = r"colour must be an array of uint8 of shape \(480, 640, 3\), not "


@pytest.mark.parametrize(
    "depth, given",
    [
        (DEPTH.astype(np.float64), r"float64 of shape \(480, 640\)"),
        (DEPTH.astype(np.uint16), r"uint16 of shape \(480, 640\)"),
        (DEPTH.astype(">f4"), r">f4 of shape \(480, 640\)"),
        (DEPTH.T, r"float32 of shape \(640, 480\)"),
        (DEPTH[:, :320], r"float32 of shape \(480, 320\)"),
        (DEPTH.ravel(), r"float32 of shape \(307200,\)"),
        (DEPTH[None], r"float32 of shape \(1, 480, 640\)"),
        (np.float32(2), "float32"),
        (None, "NoneType"),
        ("depth", "str"),
        ([[1.0]], "list"),
    ],
)
def test_a_wrong_depth_is_refused_by_name(use: Use, depth: Any, given: str) -> None:
    with pytest.raises(ArgumentError, match=WANTED_DEPTH + given):
        use(depth, COLOUR)


@pytest.mark.parametrize(
    "colour, given",
    [
        (COLOUR.astype(np.float32), r"float32 of shape \(480, 640, 3\)"),
        (COLOUR.astype(np.int8), r"int8 of shape \(480, 640, 3\)"),
        (COLOUR[:, :, 0], r"uint8 of shape \(480, 640\)"),
        (COLOUR.transpose(1, 0, 2), r"uint8 of shape \(640, 480, 3\)"),
        (np.zeros((480, 640, 4), np.uint8), r"uint8 of shape \(480, 640, 4\)"),
        (b"colour", "bytes"),
    ],
)
def test_a_wrong_colour_is_refused_by_name(use: Use, colour: Any, given: str) -> None:
    with pytest.raises(ArgumentError, match=WANTED_COLOUR + given):
        use(DEPTH, colour)


def spread(array: np.ndarray) -> np.ndarray:
    """The same values with gaps between them."""
    wide = np.zeros((array.shape[0], 2 * array.shape[1], *array.shape[2:]), array.dtype)
    wide[:, ::2] = array
    return wide[:, ::2]


def misaligned(array: np.ndarray) -> np.ndarray:
    """The same values at an odd address."""
    memory = np.zeros(array.nbytes + 1, np.uint8)
    odd = memory[1:].view(array.dtype).reshape(array.shape)
    odd[:] = array
    return odd


def read_only(array: np.ndarray) -> np.ndarray:
    copy = array.copy()
    copy.flags.writeable = False
    return copy


def from_below(array: np.ndarray) -> np.ndarray:
    return array[::-1].copy()[::-1]


def in_columns(array: np.ndarray) -> np.ndarray:
    return np.asfortranarray(array)


@pytest.mark.parametrize("kind", [spread, misaligned, read_only, from_below, in_columns])
def test_arrays_in_every_memory_are_taken(
    use: Use, kind: Callable[[np.ndarray], np.ndarray], tmp_path: pathlib.Path
) -> None:
    depth = np.linspace(1, 2, 480, dtype=np.float32)[:, None] + np.zeros((480, 640), np.float32)
    colour = COLOUR.copy()
    colour[:240] = 200
    use(kind(depth), kind(colour))
    frame = open_recording(tmp_path)[0]
    assert np.abs(frame.depth - depth).max() < 0.04
    assert frame.colour is not None
    assert frame.colour[:230].mean() > 195 and frame.colour[250:].mean() < 105


def test_a_recorder_of_colour_wants_colour(tmp_path: pathlib.Path) -> None:
    with TreeRecorder(tmp_path) as recorder:
        with pytest.raises(ArgumentError, match="colour must be given: .* colour=True"):
            recorder.add(DEPTH)


def test_a_recorder_without_colour_wants_none(tmp_path: pathlib.Path) -> None:
    with TreeRecorder(tmp_path, colour=False) as recorder:
        with pytest.raises(ArgumentError, match="colour must not be given: .* colour=False"):
            recorder.add(DEPTH, COLOUR)


@pytest.mark.parametrize("time", ["now", "2013", 1365170879, "1969-12-31T23:59:59"])
def test_a_time_that_is_none_is_refused(tmp_path: pathlib.Path, time: Any) -> None:
    with TreeRecorder(tmp_path, colour=False) as recorder:
        with pytest.raises(ArgumentError, match="time must be a datetime or a time such as"):
            recorder.add(DEPTH, time=time)


def test_readings_in_millimetres_are_warned_of(tmp_path: pathlib.Path) -> None:
    millimetres = np.full((480, 640), 1500, np.float32)
    with pytest.warns(UserWarning, match="are they in metres"):
        write_frame(tmp_path, millimetres, number=1)
    with TreeRecorder(tmp_path / "tree", colour=False) as recorder:
        with pytest.warns(UserWarning, match="are they in metres"):
            recorder.add(millimetres)


def test_readings_in_metres_are_not_warned_of(tmp_path: pathlib.Path) -> None:
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        write_frame(tmp_path, np.full((480, 640), 1.5, np.float32), number=1)
        write_frame(tmp_path, np.full((480, 640), 250, np.float32), number=2, max_depth=None)
        with TreeRecorder(tmp_path / "tree", colour=False) as recorder:
            recorder.add(np.full((480, 640), np.nan, np.float32))
