"""What docs/python.md shows works as it stands there."""

from __future__ import annotations

import os
import pathlib
import re
import shlex
import subprocess
import sys

import pytest
from conftest import PROJECT, FrameSet, depthrw, record

PAGE = (PROJECT / "docs" / "python.md").read_text()


def blocks(language: str) -> list[str]:
    return re.findall(rf"^```{language}\n(.*?)^```$", PAGE, re.MULTILINE | re.DOTALL)


def command_beginning(start: str) -> list[str]:
    (line,) = [
        line for block in blocks("sh") for line in block.splitlines() if line.startswith(start)
    ]
    return shlex.split(line)


@pytest.fixture
def in_directory_of_example(tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch) -> None:
    """The recording that the page has its reader make."""
    monkeypatch.chdir(tmp_path)
    depthrw(*command_beginning("depthrw record")[1:])


@pytest.mark.usefixtures("in_directory_of_example")
def test_its_examples_run(capsys: pytest.CaptureFixture[str]) -> None:
    names: dict[str, object] = {"__name__": "example"}
    assert len(blocks("python")) >= 6
    for block in blocks("python"):
        exec(compile(block, "docs/python.md", "exec"), names)
    printed = capsys.readouterr().out
    assert "90 frames, tree 2013-04-05 14:07:58 to 2013-04-05 14:08:00.967000" in printed
    assert "30 frames out of the ring; in it are 45" in printed
    assert "there is no directory 'elsewhere'" in printed


@pytest.mark.usefixtures("in_directory_of_example")
def test_its_command_finds_motion(tmp_path: pathlib.Path) -> None:
    interpreter, script, *arguments = command_beginning("python3 examples")
    assert interpreter == "python3"
    result = subprocess.run(
        [sys.executable, str(PROJECT / script), *arguments], capture_output=True, text=True
    )
    assert result.returncode == 0, result.stderr
    assert (tmp_path / "motion-events.png").read_bytes().startswith(b"\x89PNG")


def find_motion(*arguments: object) -> subprocess.CompletedProcess[str]:
    script = PROJECT / "examples" / "python" / "find_motion.py"
    return subprocess.run(
        [sys.executable, str(script), *map(str, arguments)], capture_output=True, text=True
    )


def test_motion_is_found_in_real_frames(tmp_path: pathlib.Path) -> None:
    data = pathlib.Path(os.environ["CAMERA_DEPTH_RW_DATA"])
    if not data.exists():
        pytest.skip(f"there are no real frames at {data}")
    kitchen = FrameSet(data / "kinect_kitchen")
    assert len(kitchen.depth_files) == 150
    depthrw(
        *("record", "--out", tmp_path / "kitchen", "--source", f"images:{kitchen.directory}"),
        *("--start", "2013-04-05T14:07:58"),
    )
    result = find_motion(tmp_path / "kitchen")
    assert result.returncode == 0, result.stderr
    assert [line[:23] for line in result.stdout.splitlines()] == [
        "2013-04-05 14:07:58.733",
        "2013-04-05 14:08:00.000",
    ]


def test_no_motion_is_found_where_nothing_moves(tmp_path: pathlib.Path) -> None:
    from camera_depth_rw import open_recording, write_frame

    depth = open_recording(record(tmp_path / "one", frames=1))[0].depth
    (tmp_path / "still").mkdir()
    for second in range(5):
        write_frame(tmp_path / "still", depth, time=f"2013-04-05T14:08:0{second}")
    result = find_motion(tmp_path / "still")
    assert (result.returncode, result.stdout) == (0, "")


def test_motion_in_a_missing_recording_is_an_error(tmp_path: pathlib.Path) -> None:
    result = find_motion(tmp_path / "nothing")
    assert result.returncode == 1
    assert "find_motion.py: there is no directory" in result.stderr


def test_files_that_it_names_are_there() -> None:
    links = re.findall(r"\]\(([^)#:]+)\)", PAGE)
    assert links
    for link in links:
        assert (PROJECT / "docs" / link).exists(), link
    assert (PROJECT / "python" / "benchmark" / "iterate_recording.py").exists()
