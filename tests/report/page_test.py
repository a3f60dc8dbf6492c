#!/usr/bin/env python3
"""What a report's page is made of, as it stands in the file: page_test.py FOLDER-OF-FICTL [unittest's own words]"""
import base64
import hashlib
import html.parser
import json
import os
import pathlib
import re
import stat
import sys
import tempfile
import unittest

import sample

BIN = None
VOID = {"meta", "br", "hr", "img", "input", "link", "base"}
# What may refer to something elsewhere, or run.
REFERENCES = {"src", "srcset", "action", "formaction", "data", "poster", "background", "ping", "xlink:href"}


class Page(html.parser.HTMLParser):
    """All elements of a page; complains of what is not closed."""

    def __init__(self, text):
        super().__init__()
        self.elements, self.open, self.errors, self.texts = [], [], [], {}
        self.feed(text)
        self.close()
        self.errors += [f"{name} is not closed" for name in self.open]

    def handle_starttag(self, tag, attrs):
        self.elements.append((tag, dict(attrs)))
        if len(dict(attrs)) != len(attrs):
            self.errors.append(f"{tag} has an attribute twice")
        if tag not in VOID:
            self.open.append(tag)

    def handle_startendtag(self, tag, attrs):
        self.elements.append((tag, dict(attrs)))

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            self.errors.append(f"{tag} is closed where it is not open")

    def handle_data(self, data):
        if self.open:
            self.texts.setdefault(self.open[-1], []).append(data)

    def all(self, tag):
        return [attributes for name, attributes in self.elements if name == tag]


class ReportTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.catalog = sample.Catalog(BIN / "fictl", self.folder)
        self.file = self.folder / "report.html"

    def report(self, *words):
        run = self.catalog.run("report", "--html", self.file, "--since", "2026-01-01", *words)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        return Page(self.file.read_text())

    def check_whole(self, page):
        self.assertEqual(page.errors, [])
        ids = [attributes["id"] for _, attributes in page.elements if "id" in attributes]
        self.assertEqual(len(ids), len(set(ids)))
        for tag, attributes in page.elements:
            self.assertEqual(REFERENCES & attributes.keys(), set(), tag)
            self.assertEqual([name for name in attributes if name == "style" or name.startswith("on")], [], tag)
            if "href" in attributes:
                self.assertIn(attributes["href"], [f"#{each}" for each in ids])
        for missing in ("img", "link", "base", "iframe", "object", "embed", "form", "foreignobject"):
            self.assertEqual(page.all(missing), [])
        self.assertEqual(len(page.all("script")), 1)
        self.assertEqual(len(page.all("style")), 1)
        for style in page.texts["style"]:
            self.assertNotRegex(style, r"@import|url\((?!#)|expression")


class Form(ReportTest):
    def test_the_page_stands_alone(self):
        sample.fill(self.catalog)
        self.check_whole(self.report())

    def test_the_policy_names_the_pages_own_style_and_script_by_their_bytes(self):
        page = self.report()
        policy = next(meta["content"] for meta in page.all("meta") if meta.get("http-equiv") == "Content-Security-Policy")
        source = lambda tag: "'sha256-" + base64.b64encode(
            hashlib.sha256("".join(page.texts[tag]).encode()).digest()).decode() + "'"
        self.assertEqual(policy, f"default-src 'none'; style-src {source('style')}; script-src {source('script')}; "
                                 "base-uri 'none'; form-action 'none'")
        head = [tag if "http-equiv" not in attributes else "policy" for tag, attributes in page.elements]
        self.assertLess(head.index("policy"), head.index("style"), "it holds for what stands behind it only")

    def test_readers_of_screens_find_their_way(self):
        sample.fill(self.catalog)
        page = self.report("--title", "Payroll")
        self.assertEqual(page.all("html")[0]["lang"], "en")
        self.assertEqual(page.texts["title"][0], "Payroll")
        levels = [int(tag[1]) for tag, _ in page.elements if re.fullmatch(r"h[1-6]", tag)]
        self.assertEqual(levels[0], 1)
        self.assertEqual(levels.count(1), 1)
        for above, below in zip(levels, levels[1:]):
            self.assertLessEqual(below, above + 1)
        self.assertEqual(len(page.all("caption")), len(page.all("table")))
        for cell in page.all("th"):
            self.assertIn(cell.get("scope"), ("row", "col"))
        for mark in [link for link in page.all("a") if link.get("class", "").startswith("mark ")]:
            self.assertIn(mark["data-rows"].split()[0], mark["href"])
        for picture in [each for each in page.all("svg") if each.get("class") == "plot"]:
            self.assertEqual(picture["role"], "group")
            self.assertTrue(picture["aria-label"].startswith("Checkpoints of group "))

    def test_every_snapshot_of_the_picture_is_a_row(self):
        sample.fill(self.catalog)
        page = self.report()
        rows = {attributes["id"] for attributes in page.all("tr") if "id" in attributes}
        marked = {row for link in page.all("a") for row in link.get("data-rows", "").split()}
        self.assertEqual(marked, rows)
        self.assertEqual(len(rows), 13 + 13 + 4)

    def test_missing_runs_are_hatched_and_told(self):
        sample.fill(self.catalog)
        page = self.report()
        rows = [cell for cell in page.texts["td"] if cell.startswith("2026-01-25")]
        self.assertIn("2026-01-25 01:00:00", rows)
        gaps = [each for each in page.all("rect") if each.get("class") == "gap"]
        self.assertEqual(len(gaps), 2 * 2 + 1, "two missing runs in two lanes each, and the legend")

    def test_names_are_only_names(self):
        sample.fill_hostile(self.catalog)
        page = self.report("--title", sample.HOSTILE)
        self.check_whole(page)
        self.assertEqual(page.all("h1")[0], {})
        self.assertIn(sample.HOSTILE, "".join(page.texts["title"]))
        self.assertIn(sample.HOSTILE, "".join(page.texts["td"]))
        self.assertNotIn(sample.HOSTILE, "".join(page.texts["script"]))

    def test_a_host_without_snapshots_has_a_page(self):
        page = self.report()
        self.check_whole(page)
        self.assertIn("There are no snapshots.", page.texts["p"])

    def test_a_thousand_snapshots_are_all_there(self):
        sample.fill_many(self.catalog, 1000)
        page = self.report()
        self.check_whole(page)
        self.assertEqual(len([row for row in page.all("tr") if "id" in row]), 1000)
        marks = [link for link in page.all("a") if "data-rows" in link]
        self.assertEqual(sum(len(mark["data-rows"].split()) for mark in marks), 1000)
        self.assertLess(len(marks), 100)


class File(ReportTest):
    def test_it_is_for_its_owner_and_tells_what_is_in_it(self):
        sample.fill(self.catalog)
        run = self.catalog.run("report", "--html", self.file, "--since", "2026-01-01")
        self.assertEqual(run.stdout, f"report of 30 snapshots in 4 groups is written to {self.file}\n")
        self.assertEqual(stat.S_IMODE(os.stat(self.file).st_mode), 0o600)
        run = self.catalog.run("--output", "json", "report", "--html", self.file, "--since", "2026-01-20", "--force")
        self.assertEqual(json.loads(run.stdout)["report"],
                         {"file": str(self.file), "snapshots": 26, "groups": 4, "unreadable": 0, "looked": False})

    def test_what_is_there_is_replaced_only_when_that_is_wanted(self):
        self.file.write_text("mine")
        run = self.catalog.run("report", "--html", self.file)
        self.assertEqual(run.returncode, 4)
        self.assertEqual(run.stderr, f"fictl: file {self.file} exists already; nothing was written\n"
                                     "  next: give another file, or --force to replace this one\n")
        self.assertEqual(self.file.read_text(), "mine")
        self.assertEqual(self.catalog.run("report", "--html", self.file, "--force").returncode, 0)
        self.assertTrue(self.file.read_text().startswith("<!DOCTYPE html>"))
        self.assertEqual(self.catalog.run("report", "--html", self.folder, "--force").returncode, 14)

    def test_a_page_that_cannot_be_written_leaves_nothing(self):
        missing = self.folder / "missing/report.html"
        self.assertEqual(self.catalog.run("report", "--html", missing).returncode, 14)
        self.assertEqual(self.catalog.run("report", "--html", "/dev/full").returncode, 4)
        self.assertEqual(self.catalog.run("report").returncode, 2)
        self.assertEqual(self.catalog.run("report", "--html", self.file, "--since", "monday").returncode, 2)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["var"])

    def test_a_record_that_cannot_be_read_is_told(self):
        sample.fill(self.catalog)
        with self.catalog.change():
            self.catalog.execute("UPDATE device SET made = 7 WHERE snapshot = 'mail-5'")
        run = self.catalog.run("report", "--html", self.file)
        self.assertEqual(run.returncode, 11)
        page = Page(self.file.read_text())
        self.check_whole(page)
        self.assertIn("mail-5", page.texts["th"])
        self.assertIn("Records that cannot be read", page.texts["h2"])


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    BIN = pathlib.Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=2)
