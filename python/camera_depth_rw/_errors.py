"""What this package raises."""

from __future__ import annotations

from typing import Sequence, TypeVar


class CameraDepthError(Exception):
    """Something failed; ``said`` holds the lines that the library said about it."""

    said: tuple[str, ...] = ()


class ArgumentError(CameraDepthError, ValueError):
    """An argument makes no sense; the message begins with its name."""


class StorageError(CameraDepthError, OSError):
    """Files or directories cannot be read or written, or are damaged."""


class NotFoundError(StorageError, FileNotFoundError):
    """There is no such recording or frame."""


_Error = TypeVar("_Error", bound=CameraDepthError)


def explained(kind: type[_Error], message: str, said: Sequence[str]) -> _Error:
    """An error of this kind, whose message ends with the last lines that the library said."""
    last_lines = [line.strip() for line in said if line.strip()][-3:]
    if last_lines:
        message += " (the library said: " + " | ".join(last_lines) + ")"
    error = kind(message)
    error.said = tuple(said)
    return error
