"""Frames by themselves, without a recording."""

from __future__ import annotations

import math
import os
import re
from typing import Optional, Sequence, Union

import numpy as np
import numpy.typing as npt

from camera_depth_rw import _native
from camera_depth_rw._diagnostics import warn_of_other_units
from camera_depth_rw._errors import ArgumentError, NotFoundError
from camera_depth_rw._frame import Frame, Intrinsics, intrinsics_of_camera
from camera_depth_rw._times import Time, datetime_of, exact_stamp_of

PathLike = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

DEEPEST_READING = 255.0
USUAL_MAX_DEPTH = 30.0
_DEPTH_ENDINGS = (".rle", ".ref", ".jpg", ".err")
_MOST_DIGITS = 9


def path_text(path: PathLike, parameter: str = "path") -> str:
    """A path as a text without "/" at its end."""
    text = os.fsdecode(path)
    if not text or "\0" in text:
        raise ArgumentError(f"{parameter} must name a file or directory, not {text!r}")
    return text.rstrip("/") or "/"


def checked_max_depth(max_depth: Optional[float]) -> Optional[float]:
    if max_depth is None or 0 < max_depth <= DEEPEST_READING:
        return max_depth
    raise ArgumentError(
        f"max_depth must be above 0 and at most 255 metres, or None, not {max_depth!r}"
    )


def read_frame(path: PathLike, *, colour: Union[bool, PathLike] = True) -> Frame:
    """Reads a frame from its files.

    ``path`` is one of its files, or the name of its depth files without ending. ``colour`` True takes the colour
    image that lies beside them, if there is one; False takes none; a path takes that file.
    Raises `NotFoundError` when there is no such frame, `StorageError` when it is damaged.
    """
    text = path_text(path)
    base = text[:-4] if text.endswith(_DEPTH_ENDINGS) else text
    directory, name = os.path.split(base)
    if text.endswith(".jpg") and not os.path.exists(base + ".rle"):
        name = re.sub(r"^bgrimage-|-bgrimage$", lambda stem: stem[0].replace("bgrimage", "depth"), name)
        base = os.path.join(directory, name)
    if not any(os.path.exists(base + ending) for ending in _DEPTH_ENDINGS):
        raise NotFoundError(f"there is no frame '{base}'")
    known = _native.frame_name(os.fsencode(name + ".rle"))
    colour_path = ""
    if not isinstance(colour, bool):
        colour_path = path_text(colour, "colour")
        if not os.path.exists(colour_path):
            raise NotFoundError(f"there is no colour image '{colour_path}'")
    elif colour and known is not None:
        key, key_first, _, _ = known
        colour_name = f"{key}-bgrimage.jpg" if key_first else f"bgrimage-{key}.jpg"
        colour_path = os.path.join(directory, colour_name)
        if not os.path.exists(colour_path):
            colour_path = ""
    depth, image, intrinsics = _native.read_frame_files(os.fsencode(base), os.fsencode(colour_path))
    number, stamp = (-1, "") if known is None else known[2:]
    return Frame(
        depth=depth,
        colour=image,
        intrinsics=Intrinsics(*intrinsics),
        time=datetime_of(stamp or None),
        name=name,
        number=number if number >= 0 else None,
    )


def write_frame(
    path: PathLike,
    depth: npt.NDArray[np.float32],
    colour: Optional[npt.NDArray[np.uint8]] = None,
    *,
    number: Optional[int] = None,
    time: Optional[Time] = None,
    intrinsics: Union[Intrinsics, Sequence[float], None] = None,
    camera_type: int = 0,
    digits: int = 8,
    key_first: bool = False,
    max_depth: Optional[float] = USUAL_MAX_DEPTH,
    verify: bool = False,
) -> str:
    """Writes a frame into the directory ``path``, and returns the path of its depth files without ending.

    ``depth`` is (480, 640) float32 in metres, ``colour`` (480, 640, 3) uint8 blue, green, red. The
    frame is named by its ``number`` (with so many ``digits``) or its ``time``: one of them is to be
    given. Names are stem and key, or key and stem with ``key_first``.
    ``intrinsics`` are those of ``camera_type`` unless they are given.
    Readings deeper than ``max_depth`` metres, negative ones and those that are no numbers are written
    as no reading; with None everything is written as it is.
    ``verify`` reads the frame back. Files that are there are written over.
    Raises `ArgumentError`; `StorageError` when it cannot be written.
    """
    directory = path_text(path)
    if not os.path.isdir(directory):
        raise NotFoundError(f"there is no directory '{directory}'")
    if (number is None) == (time is None):
        raise ArgumentError("number or time must be given, and not both")
    if not 1 <= digits <= _MOST_DIGITS:
        raise ArgumentError(f"digits must be from 1 to {_MOST_DIGITS}, not {digits!r}")
    if number is not None and not 0 <= number < 10**digits:
        raise ArgumentError(
            f"number must be from 0 and have at most {digits} digits, not {number!r}"
        )
    given = tuple(intrinsics_of_camera(camera_type) if intrinsics is None else intrinsics)
    if len(given) != 4:
        raise ArgumentError(f"intrinsics must be four numbers, not {given!r}")
    camera = Intrinsics(*given)
    if not (all(map(math.isfinite, camera)) and camera.a11 > 0 and camera.a22 > 0):
        raise ArgumentError(f"intrinsics must be numbers, with a11 and a22 above 0, not {camera!r}")
    limit = checked_max_depth(max_depth)
    warn_of_other_units(depth, limit)
    name = _native.write_frame_files(
        directory=os.fsencode(directory) + b"/",
        depth=depth,
        colour=colour,
        stamp="" if time is None else exact_stamp_of(time, "time"),
        number=-1 if number is None else number,
        digits=digits,
        key_first=key_first,
        intrinsics=camera,
        max_depth=limit,
        verify=verify,
    )
    return os.path.join(directory, name)
