#!/usr/bin/env python3
"""Runs what README.md shows of the library and of the Python module, with an installed library.

Usage: try_readme.py README INCLUDE-DIRECTORY SCRATCH-DIRECTORY     (depthrw in PATH, the module in PYTHONPATH, compiler in CXX)
"""

from __future__ import annotations

import os
import pathlib
import re
import subprocess
import sys

# What the lines of C++ take as given.
GIVEN = """void record(char* directory, char* depth_stem, char* colour_stem, float* depth_map,
            unsigned char* bgr_image, int frame_number) {
"""


def block_of(readme: str, language: str) -> str:
    (block,) = re.findall(rf"^```{language}\n((?:.*\n)*?)```$", readme, re.MULTILINE)
    return str(block)


def compile_library_block(block: str, include: str, scratch: pathlib.Path) -> None:
    includes = "".join(line for line in block.splitlines(keepends=True) if line.startswith("#include"))
    body = "".join(line for line in block.splitlines(keepends=True) if not line.startswith("#include"))
    assert includes and "recorder.apply" in body
    source = scratch / "readme.cpp"
    source.write_text(f"{includes}\nvoid record(char*, char*, char*, float*, unsigned char*, int);\n{GIVEN}{body}}}\n")
    flags = ["-std=c++20", "-Wall", "-Wextra", "-Werror", "-fsyntax-only"]
    subprocess.run([os.environ.get("CXX", "c++"), *flags, f"-I{include}", str(source)], check=True)


def run_python_block(block: str, scratch: pathlib.Path) -> None:
    recording = ["depthrw", "record", "--out", "recording", "--frames", "4", "--start", "2013-04-05T14:07:59.950"]
    subprocess.run(recording, cwd=scratch, check=True, stdout=subprocess.DEVNULL)
    result = subprocess.run([sys.executable, "-c", block], cwd=scratch, check=True, capture_output=True, text=True)
    lines = result.stdout.splitlines()
    if len(lines) != 4 or not lines[0].startswith("2013-04-05 14:07:59.950000 1.2"):
        raise SystemExit(f"README.md's Python printed\n{result.stdout}")


def main() -> None:
    readme = pathlib.Path(sys.argv[1]).read_text()
    scratch = pathlib.Path(sys.argv[3])
    scratch.mkdir()
    compile_library_block(block_of(readme, "cpp"), sys.argv[2], scratch)
    run_python_block(block_of(readme, "python"), scratch)
    print("what README.md shows works")


if __name__ == "__main__":
    main()
