#!/usr/bin/env python3
"""Fails when a page names a command or an option of depthrw, or of a script, that there is not.

Usage: check_options.py DEPTHRW SOURCE-DIRECTORY
"""

from __future__ import annotations

import pathlib
import re
import subprocess
import sys

OPTION = re.compile(r"(?<![\w-])--[a-z][a-z0-9-]*")
# Options of programs that are not of this project, as they are named alone.
FOREIGN = {"--build", "--cflags", "--install", "--libs", "--parallel", "--prefix", "--preset"}


def help_of(program: str, *command: str) -> str:
    call = [program, *command, "--help"]
    return subprocess.run(call, capture_output=True, text=True, check=True).stdout


def commands_of(program: str) -> dict[str, set[str]]:
    overview = help_of(program)
    names = re.findall(r"^  ([a-z]+) {2,}", overview.split("Subcommands:")[1], re.MULTILINE)
    commands = {name: set(OPTION.findall(help_of(program, name))) for name in names}
    commands[""] = set(OPTION.findall(overview))
    return commands


def code_of(page: str) -> list[str]:
    """The lines of the page's blocks and its code spans."""
    fenced = re.findall(r"^```.*\n((?:.*\n)*?)```$", page, re.MULTILINE)
    indented = re.findall(r"^ {4}(\S.*)$", page, re.MULTILINE)
    rest = re.sub(r"^```.*\n(?:.*\n)*?```$", "", page, flags=re.MULTILINE)
    lines = [line for block in fenced for line in block.replace("\\\n", " ").splitlines()]
    return lines + indented + re.findall(r"`([^`]+)`", rest)


def calls_of(code: str) -> list[tuple[str, list[str]]]:
    """Command and options of each call of depthrw in a piece of code."""
    calls = []
    # What ends a call: another command, a comment, the end.
    for call in re.findall(r"(?<![\w./-])depthrw((?: [^|;&#\n]*(?:\|(?=\S)[^|;&#\n]*)*)?)", code):
        words = call.split()
        name = words[0] if words and re.fullmatch("[a-z]+", words[0]) else ""
        calls.append((name, OPTION.findall(call)))
    return calls


def faults_of(page: str, commands: dict[str, set[str]], scripts: str) -> list[str]:
    faults = []
    known = set().union(*commands.values())
    for code in code_of(page):
        for name, options in calls_of(code):
            if name not in commands:
                faults.append(f"there is no command depthrw {name}: {code}")
                continue
            faults += [
                f"depthrw {name} has no {option}: {code}"
                for option in options
                if option not in commands[name]
            ]
        if code.startswith("--"):
            faults += [
                f"nothing has {option}: {code}"
                for option in OPTION.findall(code)
                if option not in known and option not in FOREIGN and option not in scripts
            ]
        for script in re.findall(r"scripts/[a-z_]+\.sh", code):
            if script not in scripts:
                faults.append(f"there is no {script}")
    return faults


def main() -> int:
    program, source = sys.argv[1], pathlib.Path(sys.argv[2])
    commands = commands_of(program)
    scripts = "".join(
        f"scripts/{path.name}\n{path.read_text()}" for path in (source / "scripts").glob("*.sh")
    )
    pages = [*sorted(source.glob("*.md")), *sorted((source / "docs").glob("*.md"))]
    named = 0
    status = 0
    for page in pages:
        text = page.read_text()
        named += sum(len(options) for code in code_of(text) for _, options in calls_of(code))
        for fault in faults_of(text, commands, scripts):
            print(f"{page.relative_to(source)}: {fault}", file=sys.stderr)
            status = 1
    if named < 50:
        print(f"only {named} options were found in calls of depthrw", file=sys.stderr)
        return 1
    print(f"{len(pages)} pages, {named} options in calls of depthrw")
    return status


if __name__ == "__main__":
    sys.exit(main())
