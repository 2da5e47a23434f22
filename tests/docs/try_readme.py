#!/usr/bin/env python3
"""Runs what README.md shows of the library and of the Python module, with an installed library.

Usage: try_readme.py README INCLUDE-DIRECTORY SCRATCH-DIRECTORY
The program is in PATH, the module in PYTHONPATH, the compiler in CXX.
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
    lines = block.splitlines(keepends=True)
    includes = "".join(line for line in lines if line.startswith("#include"))
    body = "".join(line for line in lines if not line.startswith("#include"))
    assert includes and "recorder.apply" in body
    source = scratch / "readme.cpp"
    source.write_text(f"{includes}\n{GIVEN}{body}}}\n")
    flags = ["-std=c++20", "-Wall", "-Wextra", "-Werror", "-fsyntax-only"]
    subprocess.run([os.environ.get("CXX", "c++"), *flags, f"-I{include}", str(source)], check=True)


def run_python_block(block: str, scratch: pathlib.Path) -> None:
    record = "depthrw record --out recording --frames 4 --start 2013-04-05T14:07:59.950"
    subprocess.run(record.split(), cwd=scratch, check=True, stdout=subprocess.DEVNULL)
    call = [sys.executable, "-c", block]
    result = subprocess.run(call, cwd=scratch, check=True, stdout=subprocess.PIPE, text=True)
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
