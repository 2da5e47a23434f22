"""Reading recordings."""

from __future__ import annotations

import datetime as dt
import operator
import os
from types import TracebackType
from typing import Iterator, Literal, Optional, Sequence, SupportsIndex, Union, overload

from camera_depth_rw import _native
from camera_depth_rw._diagnostics import LOGGER
from camera_depth_rw._errors import ArgumentError, NotFoundError, StorageError
from camera_depth_rw._files import PathLike, path_text
from camera_depth_rw._frame import Frame, Intrinsics
from camera_depth_rw._times import Time, datetime_of, span_of

Damaged = Literal["raise", "skip"]


class _Source:
    """What a recording and the parts that were cut out of it share."""

    def __init__(self, path: str, colour: bool, damaged: Damaged) -> None:
        self.path = path
        self.colour = colour
        self.damaged = damaged
        self._files: Optional[_native.RecordingFiles] = _native.RecordingFiles(os.fsencode(path))
        self._stamps: Optional[list[Optional[str]]] = None

    @property
    def files(self) -> _native.RecordingFiles:
        if self._files is None:
            raise ArgumentError("the recording is closed")
        return self._files

    @property
    def stamps(self) -> list[Optional[str]]:
        if self._stamps is None:
            self._stamps = self.files.stamps()
        return self._stamps

    def frame(self, index: int) -> Frame:
        files = self.files
        depth, colour, intrinsics = files.read(index, self.colour)
        return Frame(
            depth=depth,
            colour=colour,
            intrinsics=Intrinsics(*intrinsics),
            time=datetime_of(self.stamps[index]),
            name=files.name(index),
            number=files.number(index),
            index=index,
        )

    def close(self) -> None:
        self._files = None


class Recording:
    """The recorded frames of a directory, or some of them, in the order of their numbers or times.

    Made by `open_recording`. It holds no frames: each is read when it is asked for, by any number of
    threads. What was recorded after it was opened is not in it.

    ``rec[7]`` and ``rec[-1]`` are frames. Slices are recordings themselves: ``rec[10:20]`` by place, and
    ``rec["2013-04-05T14:07":"2013-04-05T14:09"]`` by time. A time range has both its ends in it, and a
    text without seconds, say, stands for the whole of its minute; so ``rec["2013-04-05T14"]`` is an
    hour. Times may be datetimes, too.
    """

    def __init__(self, source: _Source, indices: Sequence[int]) -> None:
        self._source = source
        self._indices = indices

    def __repr__(self) -> str:
        return f"<Recording '{self.path}', {len(self)} frames>"

    def __len__(self) -> int:
        return len(self._indices)

    @property
    def path(self) -> str:
        """Its directory."""
        return self._source.path

    @property
    def layout(self) -> str:
        """ "tree", "numbered" or "flat"; "mixed" when there are several."""
        return self._source.files.layout

    @property
    def troubles(self) -> list[str]:
        """What is wrong beside the frames themselves, a sentence each: folders that cannot be read."""
        return self._source.files.troubles

    @property
    def names(self) -> list[str]:
        """Names of its frames below the directory, without ending; nothing is decoded."""
        files = self._source.files
        return [files.name(index) for index in self._indices]

    @property
    def times(self) -> list[Optional[dt.datetime]]:
        """Times of its frames, None where it is not known; nothing is decoded."""
        return [datetime_of(self._source.stamps[index]) for index in self._indices]

    def between(self, start: Optional[Time] = None, stop: Optional[Time] = None) -> Recording:
        """Its frames of a range of time, both ends included: the same as ``rec[start:stop]``."""
        return self._between(start, stop, None)

    def nearest(self, time: Time) -> Frame:
        """The frame whose time is nearest; the earlier one of two."""
        first, _ = span_of(time, "time")
        wanted = datetime_of(first)
        assert wanted is not None
        if not self._indices:
            raise ArgumentError("time: there are no frames")
        times = [datetime_of(stamp) for stamp in self._known_stamps()]
        distances = [abs(moment - wanted) for moment in times if moment is not None]
        return self._source.frame(self._indices[distances.index(min(distances))])

    @overload
    def __getitem__(self, key: SupportsIndex) -> Frame:
        ...

    @overload
    def __getitem__(self, key: Union[slice, str]) -> Recording:
        ...

    def __getitem__(self, key: Union[SupportsIndex, slice, str]) -> Union[Frame, Recording]:
        if isinstance(key, str):
            return self._between(key, key, None)
        if isinstance(key, slice):
            if isinstance(key.start, (str, dt.datetime)) or isinstance(
                key.stop, (str, dt.datetime)
            ):
                return self._between(key.start, key.stop, key.step)
            return Recording(self._source, self._indices[key])
        place = operator.index(key)
        if not -len(self) <= place < len(self):
            raise IndexError(f"there is no frame {place}: the recording has {len(self)}")
        return self._source.frame(self._indices[place])

    def __iter__(self) -> Iterator[Frame]:
        for index in self._indices:
            try:
                frame = self._source.frame(index)
            except StorageError as error:
                if self._source.damaged == "raise":
                    raise
                LOGGER.warning("skipped: %s", error)
                continue
            yield frame

    def __reversed__(self) -> Iterator[Frame]:
        return iter(self[::-1])

    def __enter__(self) -> Recording:
        return self

    def __exit__(
        self,
        kind: Optional[type[BaseException]],
        error: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.close()

    def close(self) -> None:
        """Ends reading, also of what was cut out of it; frames that were read stay."""
        self._source.close()

    def _known_stamps(self) -> list[str]:
        stamps = [self._source.stamps[index] for index in self._indices]
        known = [stamp for stamp in stamps if stamp is not None]
        if len(known) < len(stamps):
            raise ArgumentError("frames named by number have no times without 'recording.json'")
        return known

    def _between(
        self, start: Optional[Time], stop: Optional[Time], step: Optional[int]
    ) -> Recording:
        first = "" if start is None else span_of(start, "the start of a time range")[0]
        last = "~" if stop is None else span_of(stop, "the end of a time range")[1]
        stamps = self._known_stamps()
        inside = [i for i, stamp in zip(self._indices, stamps) if first <= stamp <= last]
        return Recording(self._source, inside[::step])


def open_recording(path: PathLike, *, colour: bool = True, damaged: Damaged = "raise") -> Recording:
    """Opens the recording in a directory: a tree, numbered sub-directories or a flat directory.

    ``colour`` False leaves colour images alone, which is faster. ``damaged`` tells what iteration does
    at a frame that cannot be read: "raise", or "skip" it with a warning to the log.
    Raises `NotFoundError` when there is no such directory, `StorageError` when there is no frame in it.
    """
    directory = path_text(path)
    if damaged not in ("raise", "skip"):
        raise ArgumentError(f"damaged must be 'raise' or 'skip', not {damaged!r}")
    if not os.path.isdir(directory):
        raise NotFoundError(f"there is no directory '{directory}'")
    source = _Source(directory, colour, damaged)
    return Recording(source, range(len(source.files)))
