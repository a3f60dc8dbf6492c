#!/usr/bin/env python3
"""That a page which is not true any more is noticed. The folder with the programs may be given."""
import pathlib
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
from troubleshooting import page, play  # noqa: E402  pylint: disable=wrong-import-position

FOLDER = sys.argv[1:]
ENTRY = "No appliance is configured"
SESSION = "```console\nbackup# true\n```\n\n"


class APageThatIsNotTrue(unittest.TestCase):
    def setUp(self):
        self.text = play.PAGE.read_text(encoding="utf-8")

    def wrong(self, old, new):
        """What is found wrong when a part of the page reads differently."""
        self.assertIn(old, self.text)
        options = play.read_options([ENTRY, "Nobody", *(["--bin", *FOLDER] if FOLDER else [])])
        return "\n".join(play.check_page(self.text.replace(old, new, 1), options)[2])

    def test_is_told_from_one_that_is(self):
        self.assertEqual(self.wrong(ENTRY, ENTRY), "")

    def test_shows_another_line(self):
        self.assertIn("-FAIL /etc/qz/hls.conf: no appliance is there",
                      self.wrong("hls.conf: no appliance is configured", "hls.conf: no appliance is there"))

    def test_leaves_a_line_out(self):
        self.assertIn("+fictl: provider \"cdpfi\" did not start (status 30)",
                      self.wrong("fictl: provider \"cdpfi\" did not start (status 30)\n", ""))

    def test_gives_a_command_that_does_something_else(self):
        self.assertIn("-snapshot \"nightly\" is complete", self.wrong(">>/etc/qz/hls.conf", ">/dev/null"))

    def test_has_an_entry_without_a_situation(self):
        self.assertIn("0 scenarios stand for this entry",
                      self.wrong("## Setting up\n", f"### Nobody knows this\n\n{SESSION}"))

    def test_has_an_entry_without_a_command(self):
        self.assertIn("### Nobody knows this: no command", self.wrong("## Setting up\n", "### Nobody knows this\n"))

    def test_lacks_an_entry(self):
        self.assertIn("no entry is about import-interrupted", self.wrong("### `import-interrupted`", "### Broken"))

    def test_has_more_sessions_than_the_situation(self):
        self.assertIn("the entry has more sessions than the scenario",
                      self.wrong("### `The appliance shell", f"{SESSION}### `The appliance shell"))

    def test_quotes_what_is_not_printed(self):
        self.assertIn("nothing is printed like", self.wrong("### `No appliance is configured.`",
                                                            "### `No appliance is configured at all`"))

    def test_has_an_entry_that_ends_in_no_conversation(self):
        line = "Conversation: `tests/conversations/no-appliance.jsonl`\n"
        for other in ("", "Conversation: `tests/conversations/of-nobody.jsonl`\n", f"{line}\nMore text.\n",
                      f"{line}\n{SESSION}"):
            self.assertIn("it does not end in a conversation", self.wrong(line, other))

    def test_has_a_block_of_another_kind(self):
        for block in ("```sh\nfictl\n```", "```console\nfictl\n```", "```console\nbackup# fictl"):
            with self.assertRaises(page.Malformed):
                page.read(f"### Entry\n\n{block}\n")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
