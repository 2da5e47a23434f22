"""Where the library's diagnostics go: to the logger ``camera_depth_rw``."""

from __future__ import annotations

import logging
import warnings
from typing import Optional, Sequence

import numpy as np
import numpy.typing as npt

LOGGER = logging.getLogger("camera_depth_rw")
LOGGER.addHandler(logging.NullHandler())

# The first word that a line has tells how serious it is.
_LEVELS = (
    ("ERROR", logging.ERROR),
    ("FAILED", logging.ERROR),
    ("WARNING", logging.WARNING),
    ("DEBUG", logging.DEBUG),
)


def _level_of(line: str) -> int:
    upper = line.upper()
    for word, level in _LEVELS:
        if word in upper:
            return level
    return logging.INFO


def log_lines(lines: Sequence[str]) -> None:
    """Logs what the library said in one call. The extension module calls this."""
    for line in lines:
        if line.strip():
            LOGGER.log(_level_of(line), "%s", line.strip())


def warn_of_other_units(depth: npt.NDArray[np.float32], max_depth: Optional[float]) -> None:
    """Warns when most readings are too deep to be recorded, as those in millimetres are.

    For the caller of the caller. Looks at one pixel of 64 only; what else is wrong with ``depth`` is
    found out later.
    """
    if max_depth is None or not isinstance(depth, np.ndarray):
        return
    if depth.dtype != np.float32 or depth.ndim != 2:
        return
    some = depth[::8, ::8]
    with np.errstate(invalid="ignore"):
        deep = np.count_nonzero(some > max_depth)
    if some.size and deep > some.size / 2:
        warnings.warn(
            f"most readings are deeper than max_depth={max_depth:g} metres and recorded as none: are "
            "they in metres?",
            stacklevel=3,
        )
