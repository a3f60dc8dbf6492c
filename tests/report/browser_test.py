#!/usr/bin/python3
"""What a report's page is like in a browser: browser_test.py FOLDER-OF-FICTL [unittest's own words]

Exit code 77 where there is no browser to be driven."""
import pathlib
import sys
import tempfile
import unittest

import sample
from browser import Browser, Keys

BIN = None
WIDTHS = (360, 768, 1280)

# Boxes of what is drawn, in groups of which no two members may touch, and neither may those that are named together.
BOXES = """
const box = each => { const r = each.getBoundingClientRect(); return {name: each.outerHTML.slice(0, 120), left: r.left, right: r.right, top: r.top, bottom: r.bottom}; };
const all = (root, what) => [...root.querySelectorAll(what)].filter(each => getComputedStyle(each).display !== 'none').map(box);
const groups = [...document.querySelectorAll('.plot')].map(plot => all(plot, '.mark use, .count, .host, .copy'));
groups.push(all(document, '.axis text'), all(document, '.lane .of h3, .lane .of p, .lane .plot .mark use'), all(document, '.tiles > div'),
            all(document, '.legend li'), all(document, 'h1, h2, .keys, .legend, .lanes, .tiles'));
return {groups, width: innerWidth, scroll: document.documentElement.scrollWidth};
"""

# Of each text and each sign: its colour, and that of what it stands upon.
COLOURS = """
const alpha = text => { const n = text.match(/[\\d.]+/g).map(Number); return n.length > 3 ? n[3] : 1; };
const beneath = each => { for (let at = each; at; at = at.parentElement) { const c = getComputedStyle(at).backgroundColor; if (alpha(c) === 1) return c; } return 'none'; };
const texts = [], signs = [];
for (const each of document.querySelectorAll('body *')) {
  const style = getComputedStyle(each);
  const own = [...each.childNodes].some(node => node.nodeType === 3 && node.data.trim());
  const inSvg = each instanceof SVGElement;
  if (own && !each.matches('script, style, title, .skip') && style.display !== 'none' && each.getClientRects().length)
    texts.push([each.outerHTML.slice(0, 100), inSvg ? style.fill : style.color, beneath(each)]);
}
for (const each of document.querySelectorAll('.mark, .copy, .gap')) {
  const style = getComputedStyle(each);
  signs.push([each.outerHTML.slice(0, 100), each.matches('.mark') ? style.color : style.stroke, beneath(each)]);
}
return {texts, signs};
"""


def channels(colour):
    return [float(number) for number in colour[colour.index("(") + 1:colour.index(")")].split(",")[:3]]


def luminance(colour):
    linear = [c / 12.92 if c <= 0.04045 else ((c + 0.055) / 1.055)**2.4 for c in (each / 255 for each in channels(colour))]
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]


def contrast(one, other):
    light, dark = sorted((luminance(one), luminance(other)), reverse=True)
    return (light + 0.05) / (dark + 0.05)


def overlaps(boxes):
    """Pairs that lie upon each other by more than what rounding makes."""
    slack = 0.6
    found = []
    for i, one in enumerate(boxes):
        for other in boxes[i + 1:]:
            if min(one["right"], other["right"]) - max(one["left"], other["left"]) > slack and \
                    min(one["bottom"], other["bottom"]) - max(one["top"], other["top"]) > slack:
                found.append((one["name"], other["name"]))
    return found


class BrowserTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.pages = {}
        many = lambda catalog: sample.fill_many(catalog, 1000)
        cls.make("usual", sample.fill)
        cls.make("many", many)
        cls.make("dense", many, is_late=True)
        cls.make("hostile", sample.fill_hostile, title=sample.HOSTILE)
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    @classmethod
    def make(cls, name, fill, title="Snapshots of payroll", is_late=False):
        """A page as it is at the end of the sample, or much later."""
        catalog = sample.Catalog(BIN / "fictl", cls.folder / name)
        fill(catalog)
        cls.pages[name] = cls.folder / f"{name}.html"
        words = ("report", "--html", cls.pages[name], "--title", title)
        run = catalog.run(*words) if is_late else catalog.run_then(*words)
        assert run.returncode == 0, run.stderr

    def setUp(self):
        self.browser.media()
        self.browser.size(1280)

    def focused(self):
        return self.browser.run("return document.activeElement.querySelector('title')?.textContent ?? ''").split(",")[0]

    def details(self):
        return self.browser.run("const d = document.getElementById('details'); return d.hidden ? null : d.innerText")

    def test_nothing_overlaps_or_runs_out_of_the_page(self):
        for name, page in self.pages.items():
            self.browser.open(page)
            for width in WIDTHS:
                with self.subTest(page=name, width=width):
                    self.browser.size(width)
                    boxes = self.browser.run(BOXES)
                    self.assertLessEqual(boxes["scroll"], width)
                    for group in boxes["groups"]:
                        self.assertEqual(overlaps(group), [])
                        for box in group:
                            self.assertGreaterEqual(box["left"], 0, box)
                            self.assertLessEqual(box["right"], width + 0.6, box)

    def test_an_overlap_would_be_noticed(self):
        self.browser.open(self.pages["usual"])
        self.browser.run("document.querySelectorAll('.plot .copy').forEach(each => each.setAttribute('width', '90%'))")
        self.assertNotEqual([pair for group in self.browser.run(BOXES)["groups"] for pair in overlaps(group)], [])
        self.assertGreater(contrast("rgb(0, 0, 0)", "rgb(255, 255, 255)"), 20.9)
        self.assertLess(contrast("rgb(150, 150, 150)", "rgb(255, 255, 255)"), 3)

    def test_texts_and_signs_can_be_told_from_what_they_stand_upon(self):
        for scheme in ("light", "dark"):
            self.browser.media(prefers_color_scheme=scheme)
            for name in ("usual", "many"):
                self.browser.open(self.pages[name])
                self.browser.run("document.querySelector('.mark').focus()")
                colours = self.browser.run(COLOURS)
                self.assertGreater(len(colours["texts"]), 100)
                for what, colour, beneath in colours["texts"]:
                    self.assertGreaterEqual(contrast(colour, beneath), 4.5, (scheme, what))
                for what, colour, beneath in colours["signs"]:
                    self.assertGreaterEqual(contrast(colour, beneath), 3, (scheme, what))
            self.assertEqual(luminance(self.browser.run("return getComputedStyle(document.body).backgroundColor")) > 0.5,
                             scheme == "light")

    def test_one_mark_is_reached_by_the_tabulator_and_the_others_by_arrows(self):
        self.browser.open(self.pages["usual"])
        self.assertEqual(self.browser.run("return document.querySelectorAll('.mark[tabindex=\"0\"]').length"), 1)
        self.browser.press(Keys.TAB)
        self.assertEqual(self.browser.run("return document.activeElement.className"), "skip")
        self.browser.press(Keys.TAB)
        self.assertEqual(self.focused(), "mail-2")
        self.browser.press(Keys.HOME)
        self.assertEqual(self.focused(), "mail-12")
        self.browser.press(Keys.ARROW_LEFT)
        self.assertEqual(self.focused(), "mail-12", "there is none before it")
        self.browser.press(Keys.ARROW_RIGHT, Keys.ARROW_DOWN)
        self.assertTrue(self.focused().startswith("payroll-2026-01-2"), self.focused())
        self.browser.press(Keys.ARROW_UP)
        self.assertEqual(self.focused(), "mail-9")
        self.browser.press(Keys.END, Keys.ARROW_DOWN, Keys.ARROW_DOWN, Keys.ARROW_DOWN, Keys.ARROW_DOWN)
        self.assertTrue(self.focused().startswith("web-2026-01-"), self.focused())
        self.assertEqual(self.browser.run("return document.querySelectorAll('.mark[tabindex=\"0\"]').length"), 1)

    def test_the_chosen_mark_is_seen_and_told(self):
        self.browser.media(prefers_reduced_motion="reduce")  # so that the ring is there at once
        self.browser.open(self.pages["usual"])
        self.assertIsNone(self.details())
        self.browser.press(Keys.TAB, Keys.TAB)
        self.assertIn("root (anna)@payroll", self.details())
        ring = self.browser.run("return getComputedStyle(document.activeElement.querySelector('.ring')).stroke")
        surface = self.browser.run("return getComputedStyle(document.querySelector('.lanes')).backgroundColor")
        self.assertGreaterEqual(contrast(ring, surface), 3)
        self.browser.press(Keys.ESCAPE)
        self.assertIsNone(self.details())
        self.assertEqual(self.focused(), "mail-2", "the focus stays")
        self.browser.press(Keys.ENTER)
        self.assertIn("mail-2", self.details())
        self.browser.run("document.querySelector('#details a').focus()")
        self.browser.press(Keys.ESCAPE)
        self.assertIsNone(self.details(), "also from within them")
        self.assertEqual(self.focused(), "mail-2")
        self.browser.press(Keys.ENTER)
        link = self.browser.run("return document.querySelector('#details a').getAttribute('href')")
        self.assertEqual(self.browser.run("return document.querySelector(arguments[0] + ' th').textContent", link), "mail-2")

    def test_details_and_keys_are_told_by_a_screen_reader(self):
        self.browser.open(self.pages["usual"])
        self.browser.press(Keys.TAB, Keys.TAB)
        self.assertEqual(self.browser.run("return document.getElementById('details').parentElement.ariaLive"), "polite")
        told = self.browser.run("const plot = document.activeElement.closest('.plot');"
                                "return document.getElementById(plot.getAttribute('aria-describedby')).innerText")
        self.assertIn("Escape closes the details", told)

    def test_bars_are_told_apart_where_colours_are_forced(self):
        self.browser.media(forced_colors="active")
        self.browser.open(self.pages["usual"])
        looks = self.browser.run(
            "const look = kind => { const bar = document.querySelector('.legend .copy.' + kind), style = getComputedStyle(bar);"
            "return style.fill + ' ' + style.strokeDasharray; };"
            "return ['shows', 'given-back', 'not-known'].map(look)")
        self.assertEqual(len(set(looks)), 3, looks)

    def test_what_stays_in_place_does_not_hide_the_chosen_mark(self):
        for name in ("usual", "hostile"):
            self.browser.open(self.pages[name])
            for width, height in ((1280, 560), (360, 640)):
                self.browser.size(width, height)
                for number in range(self.browser.run("return document.querySelectorAll('.mark').length")):
                    seen = self.browser.run(
                        "const mark = document.querySelectorAll('.mark')[arguments[0]]; mark.focus();"
                        "const box = mark.querySelector('use').getBoundingClientRect();"
                        "return mark.contains(document.elementFromPoint((box.left + box.right) / 2, (box.top + box.bottom) / 2))",
                        number)
                    self.assertTrue(seen, (name, width, number))

    def test_nothing_is_loaded_and_nothing_complained_of(self):
        for name, page in self.pages.items():
            with self.subTest(page=name):
                self.browser.open(page)
                self.browser.run("document.querySelectorAll('.mark').forEach(mark => mark.focus())")
                self.assertEqual(self.browser.requests(), [page.as_uri()])
                self.assertEqual(self.browser.messages(), [])

    def test_what_is_foreign_is_kept_out_by_the_policy(self):
        self.browser.open(self.pages["usual"])
        self.browser.run("const s = document.createElement('script'); s.textContent = 'document.title = 1'; document.body.append(s);"
                         "const i = document.createElement('img'); i.src = 'http://127.0.0.1:9/x'; document.body.append(i)")
        self.assertEqual(self.browser.driver.title, "Snapshots of payroll")
        self.assertEqual(len([text for text in self.browser.messages() if "Content Security Policy" in text]), 2)

    def test_hostile_names_do_nothing(self):
        self.browser.open(self.pages["hostile"])
        self.browser.run("document.querySelectorAll('.mark').forEach(mark => { mark.focus(); mark.click?.(); })")
        self.assertEqual(self.browser.driver.title, sample.HOSTILE)
        self.assertEqual(self.browser.run("return document.querySelectorAll('img').length"), 0)
        self.assertEqual(self.browser.run("return document.querySelectorAll('script').length"), 1, "the page's own")
        self.assertIn(sample.HOSTILE, self.details() + self.browser.run("return document.querySelector('#snapshots').parentElement.innerText"))

    def test_a_thousand_snapshots_load(self):
        self.browser.open(self.pages["many"])
        self.assertEqual(self.browser.run("return document.querySelectorAll('tbody tr[id]').length"), 1000)
        self.browser.press(Keys.TAB, Keys.TAB, Keys.HOME)
        self.assertIn("more, in the table below", self.details())

    def test_without_its_script_marks_lead_into_the_table(self):
        self.browser.driver.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
        try:
            self.browser.open(self.pages["usual"])
            find = self.browser.driver.find_element
            self.assertFalse(find("css selector", ".keys").is_displayed())
            self.assertTrue(find("css selector", "#s0 th").is_displayed())
            self.browser.press(Keys.TAB, Keys.TAB)
            self.browser.press(Keys.ENTER)
            self.assertEqual(find("css selector", ":target th").text, "mail-12")
        finally:
            self.browser.driver.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": False})

    def test_motion_and_paper_are_respected(self):
        self.browser.open(self.pages["usual"])
        moves = "return getComputedStyle(document.querySelector('.ring')).transitionDuration"
        self.browser.media(prefers_reduced_motion="reduce")
        self.assertEqual(self.browser.run(moves), "0s")
        self.browser.media(prefers_reduced_motion="no-preference")
        self.assertNotEqual(self.browser.run(moves), "0s")
        self.browser.run("document.querySelector('.mark').focus()")
        self.browser.media("print")
        shown = "return getComputedStyle(document.querySelector(arguments[0])).display"
        self.assertEqual([self.browser.run(shown, what) for what in ("#details", ".keys", "table")], ["none", "none", "table"])


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    BIN = pathlib.Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=2)
