from typing import Optional, Sequence

import numpy as np
import numpy.typing as npt

_Depth = npt.NDArray[np.float32]
_Colour = npt.NDArray[np.uint8]
_Decoded = tuple[_Depth, Optional[_Colour], tuple[float, float, float, float]]

version: str

def frame_name(name: bytes) -> Optional[tuple[str, bool, int, str]]: ...
def read_frame_files(depth: bytes, colour: bytes) -> _Decoded: ...
def write_frame_files(
    directory: bytes,
    depth: _Depth,
    colour: Optional[_Colour],
    stamp: str,
    number: int,
    digits: int,
    key_first: bool,
    intrinsics: Sequence[float],
    max_depth: Optional[float],
    verify: bool,
) -> str: ...
def stamp_of_now() -> str: ...
def camera_intrinsics(camera_type: int) -> tuple[float, float, float, float]: ...

class RecordingFiles:
    def __init__(self, directory: bytes) -> None: ...
    def __len__(self) -> int: ...
    @property
    def layout(self) -> str: ...
    @property
    def troubles(self) -> list[str]: ...
    def name(self, index: int) -> str: ...
    def number(self, index: int) -> Optional[int]: ...
    def stamps(self) -> list[Optional[str]]: ...
    def read(self, index: int, colour: bool) -> _Decoded: ...

class StampedRecorder:
    def __init__(
        self,
        directory: bytes,
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
    ) -> None: ...
    def add(
        self, depth: _Depth, colour: Optional[_Colour], stamp: str, record: bool
    ) -> tuple[bool, str]: ...
    def save_range(self, start: str, stop: str) -> int: ...
    def history(self) -> list[str]: ...
    def close(self) -> None: ...
