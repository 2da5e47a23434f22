"""Where the library's diagnostics go: to the logger ``camera_depth_rw``."""

from __future__ import annotations

import logging
from typing import Sequence

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
