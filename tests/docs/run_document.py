#!/usr/bin/env python3
"""Runs every block of a page of the documentation, in order, as a reader would.

Usage: run_document.py PAGE SCRATCH-DIRECTORY [--install SOURCE-DIRECTORY]

Fenced blocks of the page say by their first line what they are:

    sh            commands; all of them run in one shell in the scratch directory, up to the first
                  that fails
    sh install    commands that install; they run in the source directory, and only with --install
    LANGUAGE FILE a file of this name, which is there before the commands run
    text          what the block of commands before it prints; "..." stands for any text, on a line
                  of its own for any lines

Any other block is an error: nothing on the page stays untried.
"""

from __future__ import annotations

import argparse
import dataclasses
import pathlib
import re
import shlex
import subprocess
import sys


@dataclasses.dataclass
class Block:
    line: int
    info: list[str]
    text: str


def read_blocks(page: str) -> list[Block]:
    blocks = []
    for match in re.finditer(r"^```(.*)\n((?:.*\n)*?)```$", page, re.MULTILINE):
        line = page.count("\n", 0, match.start()) + 1
        blocks.append(Block(line, match[1].split(), match[2]))
    return blocks


class PageError(Exception):
    pass


def check_kinds(blocks: list[Block]) -> None:
    for number, block in enumerate(blocks):
        match block.info:
            case ["sh"] | ["sh", "install"] | ["cpp" | "cmake" | "python", _]:
                pass
            case ["text"] if number > 0 and blocks[number - 1].info == ["sh"]:
                pass
            case _:
                raise PageError(f"line {block.line}: a block that nothing tries: {block.info}")


def write_files(blocks: list[Block], directory: pathlib.Path) -> None:
    for block in blocks:
        if block.info[0] in ("sh", "text"):
            continue
        path = directory / block.info[1]
        if path.exists():
            raise PageError(f"line {block.line}: {path.name} is there already")
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(block.text)


def output_file(directory: pathlib.Path, block: Block) -> pathlib.Path:
    return directory / f"line-{block.line}.txt"


def shell_script(blocks: list[Block], outputs: pathlib.Path, sources: pathlib.Path | None) -> str:
    """One shell for the page, as in one terminal; each block's output goes to its own file."""
    # As a terminal does, a pipe gives the status of its last command; what the others did is shown.
    lines = ["set -eu"]
    for block in blocks:
        if block.info[0] != "sh" or (block.info[1:] and sources is None):
            continue
        lines.append(f"exec >{shlex.quote(str(output_file(outputs, block)))} 2>&1")
        if block.info[1:]:
            there = shlex.quote(str(sources))
            lines += [f"pushd {there} >/dev/null", block.text, "popd >/dev/null"]
        else:
            lines.append(block.text)
    return "\n".join(lines) + "\n"


def pattern_of(shown: str) -> re.Pattern[str]:
    pattern = ""
    for line in shown.splitlines():
        if line.strip() == "...":
            pattern += r"(?:.*\n)*"
        else:
            pattern += ".*".join(re.escape(part) for part in line.split("...")) + r"\n"
    return re.compile(pattern)


def check_outputs(blocks: list[Block], outputs: pathlib.Path) -> None:
    for commands, shown in zip(blocks, blocks[1:]):
        if shown.info != ["text"]:
            continue
        printed = output_file(outputs, commands).read_text()
        if pattern_of(shown.text).fullmatch(printed) is None:
            raise PageError(
                f"line {shown.line}: shown is\n{shown.text}\nbut printed was\n{printed}"
            )


def run(page: pathlib.Path, scratch: pathlib.Path, sources: pathlib.Path | None) -> int:
    blocks = read_blocks(page.read_text())
    check_kinds(blocks)
    work = scratch / "work"
    outputs = scratch / "printed"
    work.mkdir(parents=True)
    outputs.mkdir()
    write_files(blocks, work)
    script = shell_script(blocks, outputs, sources)
    result = subprocess.run(["bash", "-c", script], cwd=work, stdin=subprocess.DEVNULL)
    if result.returncode != 0:
        failed = [block for block in blocks if output_file(outputs, block).exists()][-1]
        printed = output_file(outputs, failed).read_text()
        raise PageError(
            f"line {failed.line}: status {result.returncode}\n{failed.text}\n{printed}"
        )
    check_outputs(blocks, outputs)
    return len(blocks)


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("page", type=pathlib.Path)
    parser.add_argument("scratch", type=pathlib.Path)
    parser.add_argument("--install", type=pathlib.Path, metavar="SOURCE-DIRECTORY")
    arguments = parser.parse_args()
    try:
        count = run(arguments.page, arguments.scratch.resolve(), arguments.install)
    except PageError as error:
        print(f"{arguments.page}: {error}", file=sys.stderr)
        return 1
    print(f"{arguments.page}: {count} blocks work as they stand")
    return 0


if __name__ == "__main__":
    sys.exit(main())
