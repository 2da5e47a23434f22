#!/usr/bin/env python3
"""Fails when a page links to what is not there, or README.md leaves out a page of docs/.

Usage: check_links.py SOURCE-DIRECTORY
"""

from __future__ import annotations

import pathlib
import re
import sys


def anchor_of(heading: str) -> str:
    """As the places that show such pages make them."""
    kept = re.sub(r"[^\w\- ]", "", re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower())
    return kept.strip().replace(" ", "-")


def anchors_of(page: pathlib.Path) -> set[str]:
    text = re.sub(r"^```.*\n(?:.*\n)*?```$", "", page.read_text(), flags=re.MULTILINE)
    return {anchor_of(heading) for heading in re.findall(r"^#+ (.*)$", text, re.MULTILINE)}


def links_of(page: pathlib.Path) -> list[str]:
    text = re.sub(r"^```.*\n(?:.*\n)*?```$", "", page.read_text(), flags=re.MULTILINE)
    text = re.sub(r"`[^`\n]*`", "", text)
    return [link for link in re.findall(r"\]\(([^)\s]+)\)", text) if not re.match(r"[a-z]+:", link)]


def target_of(page: pathlib.Path, link: str) -> tuple[pathlib.Path, str]:
    path, _, anchor = link.partition("#")
    return (page.parent / path).resolve() if path else page, anchor


def main() -> int:
    source = pathlib.Path(sys.argv[1]).resolve()
    pages = [*sorted(source.glob("*.md")), *sorted((source / "docs").glob("*.md"))]
    faults = []
    reached = {source / "README.md"}
    for page in pages:
        for link in links_of(page):
            target, anchor = target_of(page, link)
            if not target.exists():
                faults.append(f"{page.relative_to(source)}: there is no {link}")
            elif anchor and anchor not in anchors_of(target):
                faults.append(f"{page.relative_to(source)}: there is no heading {link}")
            if page.name == "README.md":
                reached.add(target)
    faults += [
        f"README.md does not link to docs/{page.name}"
        for page in pages
        if page.parent == source / "docs" and page not in reached
    ]
    for fault in faults:
        print(fault, file=sys.stderr)
    print(f"{len(pages)} pages")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
