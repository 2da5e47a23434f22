"""One frame: a depth map, a colour image and a moment."""

from __future__ import annotations

import dataclasses
import datetime as dt
import warnings
from typing import Any, Literal, NamedTuple, Optional, Union, overload

import numpy as np
import numpy.typing as npt

from camera_depth_rw import _native
from camera_depth_rw._errors import ArgumentError

LEAST_DEPTH = 0.05
"""Metres; less is no reading. A pixel without one can come back from the files as 1 cm."""

Axes = Literal["camera", "gl"]


class Intrinsics(NamedTuple):
    """Focal lengths ``a11``, ``a22`` and principal point ``cx``, ``cy`` in pixels.

    Rows of the image go with ``cx`` and ``a11``, columns with ``cy`` and ``a22``.
    """

    a11: float
    a22: float
    cx: float
    cy: float


def intrinsics_of_camera(camera_type: int) -> Intrinsics:
    """Intrinsics that the recorders give to a camera type: 0 Kinect class, 1 ASUS class."""
    if camera_type not in (0, 1):
        raise ArgumentError(
            f"camera_type must be 0 (Kinect class) or 1 (ASUS class), not {camera_type!r}"
        )
    return Intrinsics(*_native.camera_intrinsics(camera_type))


@dataclasses.dataclass(frozen=True, eq=False)
class Frame:
    """A recorded frame. Its arrays are its own: they stay when the recording is closed."""

    depth: npt.NDArray[np.float32]
    """(480, 640) metres; compare with `valid` for what is a reading."""
    colour: Optional[npt.NDArray[np.uint8]]
    """(480, 640, 3) blue, green, red; None when there is none."""
    intrinsics: Intrinsics
    """As recorded; all 0 in a frame without any label, which has no depth either."""
    time: Optional[dt.datetime] = None
    """Local wall-clock time in milliseconds; None when it is not known."""
    name: str = ""
    """Of its depth files below the recording's directory, without ending."""
    number: Optional[int] = None
    """In its name; None when it is named by its time."""
    index: Optional[int] = None
    """Its place in the recording, from 0; None when it was read by itself."""

    def __repr__(self) -> str:
        time = "" if self.time is None else f", {self.time.isoformat(' ', 'milliseconds')}"
        colour = "without colour" if self.colour is None else "with colour"
        return f"<Frame '{self.name}'{time}, {colour}>"

    @property
    def rgb(self) -> Optional[npt.NDArray[np.uint8]]:
        """The colour image as red, green, blue: a view of `colour`, nothing is copied."""
        return None if self.colour is None else self.colour[:, :, ::-1]

    @property
    def valid(self) -> npt.NDArray[np.bool_]:
        """(480, 640) True where `depth` is a reading: 5 cm or more."""
        mask: npt.NDArray[np.bool_] = self.depth >= np.float32(LEAST_DEPTH)
        return mask

    @overload
    def point_cloud(
        self,
        axes: Axes = "camera",
        *,
        colours: Literal[False] = False,
        swap_principal_point: bool = False,
    ) -> npt.NDArray[np.float32]:
        ...

    @overload
    def point_cloud(
        self, axes: Axes = "camera", *, colours: Literal[True], swap_principal_point: bool = False
    ) -> tuple[npt.NDArray[np.float32], npt.NDArray[np.uint8]]:
        ...

    @overload
    def point_cloud(
        self, axes: Axes = "camera", *, colours: bool, swap_principal_point: bool = False
    ) -> Union[npt.NDArray[np.float32], tuple[npt.NDArray[np.float32], npt.NDArray[np.uint8]]]:
        ...

    def point_cloud(
        self, axes: Axes = "camera", *, colours: bool = False, swap_principal_point: bool = False
    ) -> Any:
        """The valid pixels as points in metres, (N, 3) float32, in the order of rows.

        ``axes``: "camera" has x to the right, y down and z away from the camera; "gl" has x to the
        right, y up and z towards the viewer.
        With ``colours`` the result is (points, colours), where colours is (N, 3) uint8 red, green,
        blue.
        ``swap_principal_point``: recordings of camera type 0 hold the principal point with its
        column first (320, 267), and the library's own maps take it for a row. True uses it as a
        column, which centres the cloud of such a camera.
        """
        if axes not in ("camera", "gl"):
            raise ArgumentError(f"axes must be 'camera' or 'gl', not {axes!r}")
        if colours and self.colour is None:
            raise ArgumentError("colours: the frame has no colour image")
        rows, columns = np.nonzero(self.valid)
        z = self.depth[rows, columns]
        a11, a22, row_centre, column_centre = self.intrinsics
        if swap_principal_point:
            row_centre, column_centre = column_centre, row_centre
        elif row_centre > self.depth.shape[0] / 2 + 1:
            warnings.warn(
                "the recording holds the principal point with its column first (camera type 0): "
                "point_cloud(swap_principal_point=True) centres the points",
                stacklevel=2,
            )
        points = np.empty((len(z), 3), np.float32)
        points[:, 0] = (columns - np.float32(column_centre)) * z / np.float32(a22)
        points[:, 1] = (rows - np.float32(row_centre)) * z / np.float32(a11)
        points[:, 2] = z
        if axes == "gl":
            points[:, 1:] *= -1
        if not colours:
            return points
        assert self.rgb is not None
        return points, self.rgb[rows, columns]
