"""The types that the package promises."""

from __future__ import annotations

import ast
import importlib.util
import inspect
import pathlib
import re
import shutil
import subprocess
import sys

import pytest
from conftest import PROJECT

import camera_depth_rw
from camera_depth_rw import _native

PACKAGE = pathlib.Path(camera_depth_rw.__file__).parent
STUB = ast.parse((PACKAGE / "_native.pyi").read_text())

Signatures = dict[str, list[str]]


def parameters_of(function: ast.FunctionDef) -> list[str]:
    return [argument.arg for argument in function.args.args if argument.arg != "self"]


def promised_signatures() -> Signatures:
    found: Signatures = {}
    for node in STUB.body:
        if isinstance(node, ast.FunctionDef):
            found[node.name] = parameters_of(node)
        elif isinstance(node, ast.ClassDef):
            for member in node.body:
                assert isinstance(member, ast.FunctionDef)
                found[f"{node.name}.{member.name}"] = parameters_of(member)
        elif isinstance(node, ast.AnnAssign):
            assert isinstance(node.target, ast.Name)
            found[node.target.id] = []
    return found


def documented_parameters(function: object) -> list[str]:
    """The first line of its documentation is a signature: name(self: type, depth: type) -> type."""
    match = re.match(r"\w+\((.*)\) -> ", inspect.getdoc(function) or "")
    assert match is not None
    return [name for name in re.findall(r"(\w+): ", match.group(1)) if name != "self"]


def actual_signatures() -> Signatures:
    found: Signatures = {}
    for name, value in vars(_native).items():
        if name.startswith("__"):
            continue
        if not isinstance(value, type):
            found[name] = documented_parameters(value) if callable(value) else []
            continue
        for member, item in vars(value).items():
            if isinstance(item, property):
                found[f"{name}.{member}"] = []
            elif not member.startswith("_") or member in ("__init__", "__len__"):
                found[f"{name}.{member}"] = documented_parameters(item)
    return found


def test_the_stub_has_the_signatures_of_the_extension() -> None:
    assert promised_signatures() == actual_signatures()


def test_the_package_says_that_it_is_typed() -> None:
    assert (PACKAGE / "py.typed").exists()


@pytest.mark.parametrize("name", [n for n in camera_depth_rw.__all__ if n != "__version__"])
def test_public_functions_are_annotated_and_described(name: str) -> None:
    thing = getattr(camera_depth_rw, name)
    assert inspect.getdoc(thing)
    members = vars(thing).items() if inspect.isclass(thing) else [(name, thing)]
    for member, function in members:
        if inspect.isfunction(function) and not member.startswith("_"):
            assert inspect.getdoc(function), f"{name}.{member} is not described"
            signature = inspect.signature(function)
            assert signature.return_annotation is not inspect.Signature.empty
            for parameter in list(signature.parameters.values()):
                assert parameter.name == "self" or parameter.annotation is not parameter.empty


def test_a_name_that_is_not_exported_is_not_public() -> None:
    public = {name for name in vars(camera_depth_rw) if not name.startswith("_")}
    assert public <= set(camera_depth_rw.__all__) | {"annotations"}


USER = """
import numpy as np
import numpy.typing as npt
import camera_depth_rw

def nearest(path: str) -> float:
    with camera_depth_rw.open_recording(path) as recording:
        frame = recording[0]
        part: camera_depth_rw.Recording = recording.between("2013-04-05", "2013-04-06")[::2]
        points: npt.NDArray[np.float32] = frame.point_cloud("gl")
        cloud, colours = frame.point_cloud(colours=True)
        return float(frame.depth[frame.valid].min()) + len(part) + len(points) + len(colours)

with camera_depth_rw.TreeRecorder("x") as recorder:
    written: bool = recorder.add(np.zeros((480, 640), np.float32))
    recorder.add(7)  # wrong
    camera_depth_rw.open_recording(7)  # wrong
    camera_depth_rw.open_recording("x", damaged="stop")  # wrong
    written = recorder.path  # wrong
"""

needs_mypy = pytest.mark.skipif(
    importlib.util.find_spec("mypy") is None, reason="there is no mypy (package mypy)"
)


def run_mypy(directory: pathlib.Path, *arguments: str) -> subprocess.CompletedProcess[str]:
    # A copy of the package: links into the source are followed to the wrong place.
    shutil.copytree(PACKAGE, directory / "site" / "camera_depth_rw")
    return subprocess.run(
        [sys.executable, "-m", *arguments],
        cwd=directory,
        env={"MYPYPATH": "site", "PYTHONPATH": "site", "MYPY_CACHE_DIR": str(directory / "cache")},
        capture_output=True,
        text=True,
        check=False,
    )


@needs_mypy
def test_the_package_is_sound(tmp_path: pathlib.Path) -> None:
    benchmark = PROJECT / "python" / "benchmark" / "iterate_recording.py"
    shutil.copy(benchmark, tmp_path)
    checked = ["site/camera_depth_rw", benchmark.name]
    result = run_mypy(tmp_path, "mypy", "--strict", "--explicit-package-bases", *checked)
    assert result.returncode == 0, result.stdout


@needs_mypy
def test_the_stub_is_that_of_the_extension(tmp_path: pathlib.Path) -> None:
    # The kind of the classes is an affair of pybind11.
    allowed = tmp_path / "allowed"
    allowed.write_text(
        "camera_depth_rw._native.RecordingFiles\ncamera_depth_rw._native.StampedRecorder\n"
    )
    stubtest = ["mypy.stubtest", "--allowlist", str(allowed), "--ignore-unused-allowlist"]
    result = run_mypy(tmp_path, *stubtest, "camera_depth_rw._native")
    assert result.returncode == 0, result.stdout


@needs_mypy
def test_programs_are_checked(tmp_path: pathlib.Path) -> None:
    (tmp_path / "user.py").write_text(USER)
    result = run_mypy(tmp_path, "mypy", "--strict", "user.py")
    faults = {
        int(line) for line in re.findall(r"^user.py:(\d+): error", result.stdout, re.MULTILINE)
    }
    lines = enumerate(USER.splitlines(), start=1)
    assert faults == {number for number, line in lines if "# wrong" in line}, result.stdout
