"""The module as it is installed."""

from __future__ import annotations

import os
import pathlib
import subprocess
import sys

import camera_depth_rw

PROGRAM = """
import sys
sys.path.insert(0, sys.argv[1])
import camera_depth_rw
print(camera_depth_rw.__file__)
print(len(camera_depth_rw.open_recording(sys.argv[2])))
"""


def test_it_works_away_from_the_build_tree(tree: str, tmp_path: pathlib.Path) -> None:
    """Its extension finds the library beside it, wherever the prefix is."""
    prefix = tmp_path / "prefix"
    subprocess.run(
        ["cmake", "--install", os.environ["BUILD_DIRECTORY"], "--prefix", str(prefix)],
        check=True,
        stdout=subprocess.DEVNULL,
    )
    moved = tmp_path / "moved"
    prefix.rename(moved)
    (package,) = moved.glob("lib/python3*/dist-packages/camera_depth_rw")
    result = subprocess.run(
        [sys.executable, "-I", "-B", "-c", PROGRAM, str(package.parent), tree],
        env={},
        capture_output=True,
        text=True,
        check=False,
    )
    assert result.returncode == 0, result.stderr
    assert result.stdout.split() == [str(package / "__init__.py"), "20"]


def test_every_file_of_the_package_is_in_the_build_tree() -> None:
    """The list of files in CMake is complete."""
    package = pathlib.Path(camera_depth_rw.__file__).parent
    source = pathlib.Path(__file__).parents[1] / "camera_depth_rw"
    names = {path.name for path in source.iterdir() if path.is_file()}
    assert names == {path.name for path in package.iterdir() if path.is_symlink()}
