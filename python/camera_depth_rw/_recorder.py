"""Recording."""

from __future__ import annotations

import datetime as dt
import numbers
import os
from types import TracebackType
from typing import Optional, TypeVar

import numpy as np
import numpy.typing as npt

from camera_depth_rw import _native
from camera_depth_rw._diagnostics import warn_of_other_units
from camera_depth_rw._errors import ArgumentError
from camera_depth_rw._files import USUAL_MAX_DEPTH, PathLike, checked_max_depth, path_text
from camera_depth_rw._frame import intrinsics_of_camera
from camera_depth_rw._times import Time, datetime_of, exact_stamp_of, span_of

_LARGEST = 2**24
_MOST_PER_DIRECTORY = 1_000_000

_Self = TypeVar("_Self", bound="_Recorder")


def _check_count(name: str, value: int, most: int) -> None:
    if not isinstance(value, numbers.Integral):
        raise ArgumentError(f"{name} must be a whole number, not {value!r}")
    if not 1 <= value <= most:
        raise ArgumentError(f"{name} must be from 1 to {most} frames, not {value!r}")


class _Recorder:
    """What both recorders have."""

    def __init__(
        self,
        path: PathLike,
        layout: str,
        per_directory: int,
        history: int,
        camera_type: int,
        motion: Optional[float],
        period: Optional[int],
        max_fps: Optional[float],
        colour: bool,
        max_depth: Optional[float],
        verify: bool,
    ) -> None:
        self._path = path_text(path)
        _check_count("history", history, _LARGEST)
        intrinsics_of_camera(camera_type)
        if motion is not None and not 0 <= motion < 100:
            raise ArgumentError(f"motion must be a percentage from 0 to below 100, not {motion!r}")
        if period is not None:
            _check_count("period", period, _LARGEST)
        if max_fps is not None and not 0 < max_fps < float("inf"):
            raise ArgumentError(f"max_fps must be above 0 frames per second, not {max_fps!r}")
        self._colour = colour
        self._max_depth = checked_max_depth(max_depth)
        self._has_trigger = motion is not None or period is not None
        self._decision = ""
        self._native = _native.StampedRecorder(
            directory=os.fsencode(self._path),
            layout=layout,
            per_directory=per_directory,
            history=history,
            camera_type=camera_type,
            motion=motion,
            period=period,
            max_fps=max_fps,
            colour=colour,
            max_depth=self._max_depth,
            verify=verify,
        )

    @property
    def path(self) -> str:
        """Directory of the recording."""
        return self._path

    @property
    def decision(self) -> str:
        """What became of the frame added last.

        Recorded: "request", "motion" or "period"; not recorded: "too soon" for ``max_fps``, or "not
        asked". Empty before the first frame.
        """
        return self._decision

    @property
    def history(self) -> list[dt.datetime]:
        """Times of the frames in memory, oldest first."""
        return [time for time in map(datetime_of, self._native.history()) if time is not None]

    def add(
        self,
        depth: npt.NDArray[np.float32],
        colour: Optional[npt.NDArray[np.uint8]] = None,
        time: Optional[Time] = None,
        record: Optional[bool] = None,
    ) -> bool:
        """Offers a frame and returns whether it was written. It is kept in memory in any case.

        ``depth`` is (480, 640) float32 in metres, ``colour`` (480, 640, 3) uint8 blue, green, red; it is
        to be given if the recorder records colour images, and only then. ``time`` is now unless given.
        ``record`` True writes the frame whatever it shows, unless ``max_fps`` forbids it; False leaves it
        to motion and period. None is True for a recorder without motion and period, else False.
        Raises `ArgumentError`, also when there is a frame of that time already; `StorageError` when it
        could not be written: it is not kept in memory then.
        """
        if (colour is not None) != self._colour:
            wanted = "must be given" if self._colour else "must not be given"
            raise ArgumentError(
                f"colour {wanted}: the recorder was made with colour={self._colour}"
            )
        warn_of_other_units(depth, self._max_depth)
        recorded, self._decision = self._native.add(
            depth,
            colour,
            exact_stamp_of(time, "time"),
            not self._has_trigger if record is None else record,
        )
        return recorded

    def save_range(self, start: Time, stop: Time) -> int:
        """Writes frames of the history after the event, and returns how many.

        These are the frames of the time range, both ends included, that are still in memory and not
        written yet, oldest first. A text without seconds, say, stands for the whole of its minute.
        Raises `StorageError` at the first frame that cannot be written.
        """
        first, _ = span_of(start, "start")
        _, last = span_of(stop, "stop")
        if last < first:
            raise ArgumentError(f"start must not be later than stop: {start!r}, {stop!r}")
        return self._native.save_range(first, last)

    def close(self) -> None:
        """Gives memory and directory free. What is only in memory is lost."""
        self._native.close()

    def __enter__(self: _Self) -> _Self:
        return self

    def __exit__(
        self,
        kind: Optional[type[BaseException]],
        error: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<{type(self).__name__} '{self._path}'>"


class TreeRecorder(_Recorder):
    """Records into a folder for each day, hour and minute, through the third generation's engine.

    ``path`` is made if need be; a tree that is there goes on.
    ``history``: so many of the last frames stay in memory (2 MB each), for `save_range`.
    ``camera_type``: 0 Kinect class, 1 ASUS class; it gives the intrinsics.
    ``motion``: frames are written in which more than so many percent of the pixels moved.
    ``period``: a frame is written when so many frames have passed.
    ``max_fps``: most frames written per second, of whatever reason; `save_range` knows no limit.
    ``colour``: whether frames have colour images.
    ``max_depth``: readings deeper than so many metres, negative ones and those that are no numbers are
    recorded as no reading; with None everything is recorded as it is.
    ``verify``: read each written frame back.

    One recorder works in a directory at a time. Threads may share it; one of them works at a time.
    Raises `ArgumentError` and `StorageError`.
    """

    def __init__(
        self,
        path: PathLike,
        *,
        history: int = 1,
        camera_type: int = 0,
        motion: Optional[float] = None,
        period: Optional[int] = None,
        max_fps: Optional[float] = None,
        colour: bool = True,
        max_depth: Optional[float] = USUAL_MAX_DEPTH,
        verify: bool = False,
    ) -> None:
        super().__init__(
            path,
            "tree",
            0,
            history,
            camera_type,
            motion,
            period,
            max_fps,
            colour,
            max_depth,
            verify,
        )


class NumberedRecorder(_Recorder):
    """Records into numbered sub-directories, through the second generation's engine.

    ``path`` is made if need be, and must be empty. ``per_directory`` frames go into each sub-directory.
    The rest is as with `TreeRecorder`.
    """

    def __init__(
        self,
        path: PathLike,
        *,
        per_directory: int = 100,
        history: int = 1,
        camera_type: int = 0,
        motion: Optional[float] = None,
        period: Optional[int] = None,
        max_fps: Optional[float] = None,
        colour: bool = True,
        max_depth: Optional[float] = USUAL_MAX_DEPTH,
        verify: bool = False,
    ) -> None:
        _check_count("per_directory", per_directory, _MOST_PER_DIRECTORY)
        super().__init__(
            path,
            "numbered",
            per_directory,
            history,
            camera_type,
            motion,
            period,
            max_fps,
            colour,
            max_depth,
            verify,
        )
