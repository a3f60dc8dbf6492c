#!/usr/bin/python3
"""Takes the pictures of a report that the documents show: pictures.py FOLDER-OF-FICTL OUT"""
import pathlib
import sys
import tempfile

import sample
from browser import Browser

WIDTH = 1080


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    programs, out = (pathlib.Path(word).resolve() for word in sys.argv[1:])
    out.mkdir(parents=True, exist_ok=True)
    browser = Browser()
    try:
        with tempfile.TemporaryDirectory() as folder:
            take(browser, programs, pathlib.Path(folder), out)
    finally:
        browser.close()


def take(browser, programs, folder, out):
    catalog = sample.Catalog(programs / "fictl", folder)
    sample.fill(catalog)
    page = folder / "report.html"
    run = catalog.run_then("report", "--html", page, "--title", "Snapshots of payroll")
    if run.returncode != 0:
        sys.exit(run.stderr)
    browser.size(WIDTH)
    for scheme in ("light", "dark"):
        browser.media(prefers_color_scheme=scheme)
        browser.open(page)
        # Down to the end of the timeline.
        end = browser.run("return Math.ceil(document.querySelector('.lanes').getBoundingClientRect().bottom)") + 24
        browser.size(WIDTH, end)
        file = out / f"{scheme}.png"
        if not browser.driver.save_screenshot(str(file)):
            sys.exit(f"cannot write {file}")


if __name__ == "__main__":
    main()
