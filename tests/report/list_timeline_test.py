#!/usr/bin/env python3
"""What fictl snapshot list --timeline draws: list_timeline_test.py FOLDER-OF-FICTL [unittest's own words]"""
import json
import pathlib
import sys
import tempfile
import unittest

import sample

BIN = None


class TimelineTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.catalog = sample.Catalog(BIN / "fictl", folder.name)
        sample.fill(self.catalog)
        for name in ("LC_ALL", "LC_CTYPE", "LANG", "COLUMNS"):
            self.catalog.environment.pop(name, None)

    def lines(self, *words, **environment):
        self.catalog.environment.update(environment)
        run = self.catalog.run("snapshot", "list", "--timeline", *words)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        return run.stdout.splitlines()

    def test_lines_are_as_wide_as_there_is_room(self):
        for columns, width in ((None, 79), ("80", 79), ("50", 49), ("132", 131), ("7", 39), ("many", 79)):
            lines = self.lines(**({} if columns is None else {"COLUMNS": columns}))
            self.assertEqual(max(map(len, lines)), width, columns)

    def test_signs_are_those_of_the_locale(self):
        self.assertTrue("\n".join(self.lines()).isascii())
        self.assertTrue("\n".join(self.lines(LANG="C")).isascii())
        self.assertIn("● complete", "\n".join(self.lines(LANG="C.UTF-8")))
        self.assertIn("● complete", "\n".join(self.lines(LANG="C", LC_CTYPE="de_DE.utf8")))
        self.assertIn("● complete", "\n".join(self.lines(LANG="en_US.utf-8")))
        self.assertTrue("\n".join(self.lines(LC_ALL="POSIX")).isascii())

    def test_what_is_chosen_is_drawn(self):
        heads = lambda *words: [line.split()[0] for line in self.lines(*words) if "snapshot" in line]
        self.assertEqual(heads(), ["annex/mail", "vault/payroll-db", "vault/payroll-log", "vault/web"])
        self.assertEqual(heads("--group", "mail"), ["annex/mail"])
        self.assertEqual(heads("--label", "job=web"), ["vault/web"])
        self.assertEqual(heads("--state", "partial"), ["vault/payroll-db", "vault/payroll-log"])
        self.assertEqual(self.lines("--label", "none"), ["there is no such snapshot"])
        self.assertNotIn("copies on staging", "\n".join(self.lines("--group", "mail")))

    def test_what_was_deleted_is_in_no_list(self):
        self.assertNotIn("deleted", "\n".join(self.lines()))

    def test_a_document_is_the_same_with_and_without(self):
        documents = [json.loads(self.catalog.run("-o", "json", "snapshot", "list", *words).stdout)
                     for words in ((), ("--timeline",))]
        self.assertEqual(*documents)

    def test_a_table_is_not_drawn(self):
        for words in (("--columns", "name"), ("--sort", "age"), ("--no-headers",)):
            run = self.catalog.run("snapshot", "list", "--timeline", *words)
            self.assertEqual((run.returncode, run.stdout), (2, ""))
            self.assertEqual(run.stderr, "fictl: --timeline draws no table, so --columns, --sort and --no-headers are not for it\n"
                                         "  next: leave one or the other away\n")


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    BIN = pathlib.Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=2)
