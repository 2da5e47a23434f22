"""Times: local wall-clock times in milliseconds, as recordings have them.

Inside the package a time is a stamp text, ``2013-04-09T14-05-07.042000``, as it stands in the names of
files. Stamp texts are in the order of time.
"""

from __future__ import annotations

import datetime as dt
import re
from typing import Optional, Union

from camera_depth_rw import _native
from camera_depth_rw._errors import ArgumentError

Time = Union[str, dt.datetime]
"""A time: a datetime, or a text such as ``2013-04-09T14:05:07.042``. One with a zone is converted to
local time."""

_SHAPE = re.compile(
    r"(\d{4})-(\d\d)-(\d\d)" r"(?:[Tt ](\d\d)(?:[:-](\d\d)(?:[:-](\d\d)(?:[.,](\d+))?)?)?)?"
)
_EARLIEST_YEAR = 1970


def stamp_of(time: dt.datetime) -> str:
    if time.tzinfo is not None:
        time = time.astimezone().replace(tzinfo=None)
    return (
        f"{time.year:04d}-{time.month:02d}-{time.day:02d}"
        f"T{time.hour:02d}-{time.minute:02d}-{time.second:02d}.{time.microsecond // 1000:03d}000"
    )


def datetime_of(stamp: Optional[str]) -> Optional[dt.datetime]:
    if stamp is None:
        return None
    return dt.datetime(
        int(stamp[0:4]),
        int(stamp[5:7]),
        int(stamp[8:10]),
        int(stamp[11:13]),
        int(stamp[14:16]),
        int(stamp[17:19]),
        int(stamp[20:26]),
    )


def _refuse(parameter: str, given: object) -> ArgumentError:
    return ArgumentError(
        f"{parameter} must be a datetime or a time such as '2013-04-09T14:05:07.042' from 1970 on, not {given!r}"
    )


def _span_of_text(text: str, parameter: str) -> tuple[str, str]:
    shape = _SHAPE.fullmatch(text.strip())
    try:
        if shape is None:
            # With a zone, for example.
            first = last = dt.datetime.fromisoformat(text.strip())
        else:
            date = [int(part) for part in shape.groups()[:3]]
            clock = [None if part is None else int(part) for part in shape.groups()[3:6]]
            digits = (shape.group(7) or "")[:3]
            whole = dt.datetime(*date, *(part or 0 for part in clock))  # type: ignore[arg-type]
            first = whole.replace(microsecond=int(digits.ljust(3, "0")) * 1000)
            last = whole.replace(
                hour=23 if clock[0] is None else clock[0],
                minute=59 if clock[1] is None else clock[1],
                second=59 if clock[2] is None else clock[2],
                microsecond=int(digits.ljust(3, "9")) * 1000,
            )
    except ValueError:
        raise _refuse(parameter, text) from None
    return stamp_of(first), stamp_of(last)


def span_of(time: Time, parameter: str) -> tuple[str, str]:
    """The first and the last stamp of a time; a text without minutes, say, stands for its whole hour."""
    if isinstance(time, str):
        first, last = _span_of_text(time, parameter)
    elif isinstance(time, dt.datetime):
        first = last = stamp_of(time)
    else:
        raise _refuse(parameter, time)
    if int(first[:4]) < _EARLIEST_YEAR:
        raise _refuse(parameter, time)
    return first, last


def exact_stamp_of(time: Optional[Time], parameter: str) -> str:
    """The stamp of one moment; None is now."""
    if time is None:
        return _native.stamp_of_now()
    return span_of(time, parameter)[0]
