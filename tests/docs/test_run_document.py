"""The test of the tutorial notices what does not hold."""

from __future__ import annotations

import pathlib
import tempfile
import unittest

import run_document


def run_page(page: str, install: bool = False) -> int:
    with tempfile.TemporaryDirectory() as directory:
        path = pathlib.Path(directory) / "page.md"
        path.write_text(page)
        sources = pathlib.Path(directory) / "sources"
        sources.mkdir()
        scratch = pathlib.Path(directory) / "scratch"
        return run_document.run(path, scratch, sources if install else None)


class RunDocument(unittest.TestCase):
    def refuse(self, page: str, complaint: str, install: bool = False) -> None:
        with self.assertRaisesRegex(run_document.PageError, complaint):
            run_page(page, install)

    def test_all_blocks_are_one_session(self) -> None:
        page = (
            "```sh\nmkdir a\ncd a\nb=7\n```\n"
            "```sh\necho $b >../c\ncat ../c\n```\n```text\n7\n```\n"
        )
        self.assertEqual(run_page(page), 3)

    def test_files_are_there_before_commands_run(self) -> None:
        page = "```sh\ncat a/b.py\n```\n```text\nx\n```\n```python a/b.py\nx\n```\n"
        self.assertEqual(run_page(page), 3)

    def test_a_failed_command_ends_it(self) -> None:
        self.refuse("```sh\ntrue\n```\n\n```sh\nfalse\ntrue\n```\n", r"line 5: status 1")

    def test_other_output_is_refused(self) -> None:
        self.refuse("```sh\necho 1\n```\n```text\n2\n```\n", r"shown is\n2\n\nbut printed was\n1")

    def test_missing_output_is_refused(self) -> None:
        self.refuse("```sh\ntrue\n```\n```text\n2\n```\n", "shown is")

    def test_more_output_is_refused(self) -> None:
        self.refuse("```sh\necho 1\necho 2\n```\n```text\n1\n```\n", "shown is")

    def test_dots_stand_for_text_and_for_lines(self) -> None:
        self.assertEqual(run_page("```sh\nseq 20 40\n```\n```text\n2...\n...\n39\n...\n```\n"), 2)

    def test_dots_do_not_stand_for_what_is_around_them(self) -> None:
        self.refuse("```sh\nseq 20 40\n```\n```text\n2...\n...\n41\n...\n```\n", "shown is")

    def test_a_block_that_nothing_tries_is_refused(self) -> None:
        for info in ("", "python", "text", "sh later", "json a b"):
            with self.subTest(info):
                self.refuse(f"```{info}\nx\n```\n", "nothing tries")

    def test_installing_is_only_done_on_request(self) -> None:
        self.assertEqual(run_page("```sh install\nfalse\n```\n"), 1)
        self.refuse("```sh install\nfalse\n```\n", "line 1: status 1", install=True)


if __name__ == "__main__":
    unittest.main()
