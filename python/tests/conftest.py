"""What the tests share: recordings, made once by the depthrw program, and real frames."""

from __future__ import annotations

import datetime as dt
import os
import pathlib
import subprocess
from typing import Iterator, NamedTuple

import numpy as np
import pytest

import camera_depth_rw

PROJECT = pathlib.Path(__file__).parents[2]
START = dt.datetime(2013, 4, 5, 14, 7, 59, 700000)
FRAMES = 20


def depthrw(*arguments: object) -> str:
    """Runs the program and returns what it wrote."""
    result = subprocess.run(
        [os.environ["DEPTHRW"], *map(str, arguments)],
        stdin=subprocess.DEVNULL,
        capture_output=True,
        text=True,
        check=False,
    )
    assert result.returncode == 0, result.stderr
    return result.stdout


def record(directory: pathlib.Path, *arguments: object, frames: int = FRAMES) -> str:
    """Records the synthetic scene; ten frames lie before the full minute, the others after it."""
    depthrw(
        *("record", "--out", directory, "--source", "synthetic", "--frames", frames),
        *("--start", START.isoformat(), *arguments),
    )
    return str(directory)


class Layout(NamedTuple):
    arguments: tuple[object, ...]
    name: str
    has_times: bool


LAYOUTS = {
    "tree": Layout((), "tree", True),
    "numbered": Layout(("--layout", "numbered", "--per-directory", 8), "numbered", True),
    "flat by number": Layout(("--layout", "flat"), "flat", False),
    "flat by time": Layout(("--layout", "flat", "--name-by", "time"), "flat", True),
}


@pytest.fixture(scope="session")
def recordings(tmp_path_factory: pytest.TempPathFactory) -> dict[str, str]:
    """The same frames in each layout."""
    top = tmp_path_factory.mktemp("recordings")
    return {
        name: record(top / name.replace(" ", "-"), *layout.arguments)
        for name, layout in LAYOUTS.items()
    }


@pytest.fixture(scope="session")
def tree(recordings: dict[str, str]) -> str:
    return recordings["tree"]


@pytest.fixture
def frames(tree: str) -> Iterator[camera_depth_rw.Recording]:
    """Frames to record anew."""
    with camera_depth_rw.open_recording(tree) as recording:
        yield recording


@pytest.fixture
def frame(frames: camera_depth_rw.Recording) -> camera_depth_rw.Frame:
    return frames[0]


class FrameSet(NamedTuple):
    """Real frames: DIR/depth/*.png in 16 bits, DIR/scale in units per metre, DIR/rgb."""

    directory: pathlib.Path

    @property
    def depth_files(self) -> list[pathlib.Path]:
        files = sorted((self.directory / "depth").glob("*.png"))
        assert files, f"there are no depth images in {self.directory}"
        return files

    def depth(self, file: pathlib.Path) -> np.ndarray:
        """Metres; what is beyond 30 m is no reading, as it is recorded."""
        from PIL import Image

        scale = float((self.directory / "scale").read_text())
        units = np.asarray(Image.open(file)).astype(np.float64)
        assert units.shape == (480, 640)
        metres = (units / scale).astype(np.float32)
        return np.where(metres <= 30, metres, np.float32(0))

    def bgr(self, file: pathlib.Path) -> np.ndarray:
        from PIL import Image

        (image,) = (self.directory / "rgb").glob(file.stem + ".*")
        rgb = np.asarray(Image.open(image).convert("RGB"))
        assert rgb.shape == (480, 640, 3)
        return np.ascontiguousarray(rgb[:, :, ::-1])


REAL_FRAME_SETS = [
    "kinect_kitchen",
    "kinect_sparse",
    "realsense_lab",
    "realsense_rooms",
    "synthetic_room",
]


@pytest.fixture(params=REAL_FRAME_SETS)
def real_frames(request: pytest.FixtureRequest) -> FrameSet:
    """Each set of real frames. Where the directory of the sets is there, a set that is not is a fault."""
    data = pathlib.Path(os.environ["CAMERA_DEPTH_RW_DATA"])
    if not data.exists():
        pytest.skip(f"there are no real frames at {data}")
    return FrameSet(data / request.param)


def depth_tolerance(depth: np.ndarray) -> np.ndarray:
    """Metres that a recorded depth may be off: its tolerance, and half a step of the code."""
    steps = np.clip(np.floor(depth).astype(int) + 1, 1, 5)
    # The recorded depth may belong to the next tolerance.
    return steps * 0.01 + 0.005 + 0.01
