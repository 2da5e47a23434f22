"""What a frame offers."""

from __future__ import annotations

import dataclasses
import gc

import numpy as np
import pytest
from conftest import START

import camera_depth_rw
from camera_depth_rw import ArgumentError, Frame, Intrinsics, open_recording


def made_frame(depth: np.ndarray, intrinsics: Intrinsics) -> Frame:
    colour = np.zeros((480, 640, 3), np.uint8)
    colour[:, :, 2] = 200
    return Frame(depth=depth, colour=colour, intrinsics=intrinsics)


@pytest.fixture
def one_reading() -> Frame:
    """2 m in row 100 and column 500, nothing elsewhere."""
    depth = np.zeros((480, 640), np.float32)
    depth[100, 500] = 2
    return made_frame(depth, Intrinsics(a11=500, a22=400, cx=240, cy=320))


def test_depth_is_an_image_of_metres(frame: Frame) -> None:
    assert frame.depth.dtype == np.float32
    assert frame.depth.shape == (480, 640)
    assert 1 < np.median(frame.depth[frame.valid]) < 10


def test_colour_is_an_image_of_bytes(frame: Frame) -> None:
    assert frame.colour is not None
    assert frame.colour.dtype == np.uint8
    assert frame.colour.shape == (480, 640, 3)


def test_rgb_is_a_view(frame: Frame) -> None:
    assert frame.rgb is not None and frame.colour is not None
    assert np.shares_memory(frame.rgb, frame.colour)
    frame.colour[3, 4] = (10, 20, 30)
    assert tuple(frame.rgb[3, 4]) == (30, 20, 10)


def test_valid_begins_at_5_centimetres() -> None:
    depth = np.zeros((480, 640), np.float32)
    depth[0, :4] = (0.01, 0.049, 0.05, 3)
    assert list(made_frame(depth, Intrinsics(1, 1, 0, 0)).valid[0, :5]) == [
        False,
        False,
        True,
        True,
        False,
    ]


def test_not_a_number_is_not_valid() -> None:
    depth = np.full((480, 640), np.nan, np.float32)
    assert not made_frame(depth, Intrinsics(1, 1, 0, 0)).valid.any()


def test_intrinsics_are_those_of_the_camera_type(frame: Frame) -> None:
    assert frame.intrinsics == pytest.approx(Intrinsics(528.0144, 528.0144, 320, 267))
    assert frame.intrinsics.a11 == frame.intrinsics[0]


def test_time_is_a_local_datetime(frame: Frame) -> None:
    assert frame.time == START
    assert frame.time is not None and frame.time.tzinfo is None


def test_its_text_is_short(frame: Frame) -> None:
    assert repr(frame) == (
        "<Frame '2013-04-05/14h/07mn/2013-04-05T14-07-59.700000-depth', "
        "2013-04-05 14:07:59.700, with colour>"
    )


def test_its_fields_are_not_set_anew(frame: Frame) -> None:
    with pytest.raises(dataclasses.FrozenInstanceError):
        frame.depth = frame.depth  # type: ignore[misc]


def test_arrays_are_its_own_and_writable(tree: str) -> None:
    recording = open_recording(tree)
    first, again = recording[0], recording[0]
    first.depth[:] = 7
    assert again.depth.max() != 7
    assert recording[0].depth.max() != 7


def test_arrays_outlive_everything_else(tree: str) -> None:
    """Also a view of a part, while memory that was given back is used for other frames."""
    recording = open_recording(tree)
    frame = recording[0]
    assert frame.rgb is not None
    depth, corner = frame.depth, frame.rgb[:10, :10]
    expected_depth, expected_corner = depth.copy(), corner.copy()
    del frame
    for _ in recording:
        gc.collect(0)
    recording.close()
    del recording
    gc.collect()
    assert np.array_equal(depth, expected_depth)
    assert np.array_equal(corner, expected_corner)


def test_many_frames_are_kept_at_a_time(frames: camera_depth_rw.Recording) -> None:
    kept = list(frames)
    for frame, again in zip(kept, frames):
        assert np.array_equal(frame.depth, again.depth)


def test_x_comes_from_the_column_and_y_from_the_row(one_reading: Frame) -> None:
    ((x, y, z),) = one_reading.point_cloud()
    assert x == pytest.approx((500 - 320) * 2 / 400)
    assert y == pytest.approx((100 - 240) * 2 / 500)
    assert z == 2


def test_axes_of_graphics_point_up_and_towards_the_viewer(one_reading: Frame) -> None:
    ((x, y, z),) = one_reading.point_cloud()
    assert one_reading.point_cloud("gl").tolist() == [[x, -y, -z]]


def test_a_principal_point_with_its_column_first_is_swapped(one_reading: Frame) -> None:
    swapped = dataclasses.replace(one_reading, intrinsics=Intrinsics(500, 400, cx=320, cy=240))
    assert np.array_equal(swapped.point_cloud(swap_principal_point=True), one_reading.point_cloud())
    assert not np.array_equal(swapped.point_cloud(), one_reading.point_cloud())


def test_points_are_the_valid_pixels_in_the_order_of_rows(frame: Frame) -> None:
    points = frame.point_cloud()
    assert points.dtype == np.float32
    assert points.shape == (frame.valid.sum(), 3)
    assert np.array_equal(points[:, 2], frame.depth[frame.valid])


def test_colours_of_points_are_red_green_blue(one_reading: Frame) -> None:
    points, colours = one_reading.point_cloud(colours=True)
    assert points.shape == (1, 3)
    assert colours.dtype == np.uint8
    assert colours.tolist() == [[200, 0, 0]]


def test_a_frame_without_readings_has_no_points() -> None:
    depth = np.zeros((480, 640), np.float32)
    assert made_frame(depth, Intrinsics(0, 0, 0, 0)).point_cloud().shape == (0, 3)


def test_unknown_axes_are_refused(frame: Frame) -> None:
    with pytest.raises(ArgumentError, match="axes must be 'camera' or 'gl', not 'world'"):
        frame.point_cloud("world")  # type: ignore[call-overload]


def test_colours_of_points_want_a_colour_image(frame: Frame) -> None:
    with pytest.raises(ArgumentError, match="the frame has no colour image"):
        dataclasses.replace(frame, colour=None).point_cloud(colours=True)
