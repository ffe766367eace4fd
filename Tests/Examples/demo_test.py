#!/usr/bin/env python3
"""Runs the demo and has other people's readers look at the PDF that it made.

Usage: demo_test.py ORVEXPDF-TOOL
"""
import collections
import html
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "Examples"
SCANS = sorted(p for p in (EXAMPLES / "scans").iterdir() if p.suffix in (".jpg", ".png"))
A4 = (595.276, 841.89)  # points


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def page_boxes(pdf, page):
    """Size of the page as shown, and the words with their boxes as poppler reads them, in points."""
    number = r'"([-0-9.]+)"'
    markup = output("pdftotext", "-bbox", "-f", str(page), "-l", str(page), pdf, "-")
    size = list(map(float, re.search(rf"<page width={number} height={number}", markup).groups()))
    if re.search(r"rot:\s+(90|270)", output("pdfinfo", "-f", str(page), "-l", str(page), pdf)):
        size.reverse()  # poppler turns the boxes with the page, not the size that it tells
    pattern = rf"<word xMin={number} yMin={number} xMax={number} yMax={number}>(.*?)</word>"
    return size, [(html.unescape(text), tuple(map(float, box))) for *box, text in re.findall(pattern, markup)]


def found_items(scan, size):
    """Words and boxes of the recognised text, scaled to a page of this size."""
    page = json.loads(scan.with_suffix(".found.json").read_text())
    across, down = size[0] / page["size"]["w"], size[1] / page["size"]["h"]
    for item in page["items"]:
        x, y, w, h = (item["box"][key] for key in "xywh")
        yield item["text"], (x * across, y * down, (x + w) * across, (y + h) * down)


def overlap(one, other):
    """Intersection over union."""
    width = min(one[2], other[2]) - max(one[0], other[0])
    height = min(one[3], other[3]) - max(one[1], other[1])
    shared = max(width, 0) * max(height, 0)
    return shared / (sum((b[2] - b[0]) * (b[3] - b[1]) for b in (one, other)) - shared)


class Demo(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.before = {p: p.read_bytes() for p in (EXAMPLES / "scans").iterdir()}
        cls.result = subprocess.run([EXAMPLES / "demo.sh", TOOL, cls.folder.name], capture_output=True, text=True)
        cls.pdf = pathlib.Path(cls.folder.name) / "country-binder.pdf"

    def test_it_says_what_it_did_on_one_screen(self):
        self.assertEqual((self.result.returncode, self.result.stderr), (0, ""))
        self.assertLessEqual(len(self.result.stdout.splitlines()), 30)
        for words in ("pages   4", str(self.pdf), "The Country Binder The Patience of Glue", "page 4  Kleisterpapier"):
            self.assertIn(words, self.result.stdout)

    def test_the_folder_holds_the_pdf_alone_and_the_scans_are_untouched(self):
        self.assertEqual([p.name for p in pathlib.Path(self.folder.name).iterdir()], [self.pdf.name])
        self.assertEqual({p: p.read_bytes() for p in self.before}, self.before)

    def test_qpdf_finds_no_fault(self):
        output("qpdf", "--check", self.pdf)

    def test_every_page_is_upright_a4(self):
        self.assertIn(f"Pages:           {len(SCANS)}\n", output("pdfinfo", self.pdf))
        for page in range(1, len(SCANS) + 1):
            for side, expected in zip(page_boxes(self.pdf, page)[0], A4):
                self.assertAlmostEqual(side, expected, delta=0.5)

    def test_the_pdf_is_smaller_than_the_scans(self):
        self.assertLess(self.pdf.stat().st_size, sum(p.stat().st_size for p in SCANS) / 2)

    def test_the_words_read_back_are_the_recognised_words(self):
        for page, scan in enumerate(SCANS, 1):
            found = [text for text, _ in found_items(scan, A4)]
            self.assertEqual(output("mutool", "draw", "-q", "-F", "txt", self.pdf, str(page)).split(), found, scan.name)
            read = [text for text, _ in page_boxes(self.pdf, page)[1]]
            self.assertEqual(collections.Counter(read), collections.Counter(found), scan.name)

    def test_each_word_lies_on_its_box(self):
        for page, scan in enumerate(SCANS, 1):
            size, read = page_boxes(self.pdf, page)
            for text, box in found_items(scan, size):
                best = max((overlap(box, other) for word, other in read if word == text), default=0)
                self.assertGreater(best, 0.95, f"{scan.name}: {text} at {box}")


class DemoRefusals(unittest.TestCase):
    def test_without_a_tool_it_says_so(self):
        for arguments, status in (([], 2), (["no-such-tool"], 3)):
            result = subprocess.run([EXAMPLES / "demo.sh", *arguments], capture_output=True, text=True)
            self.assertEqual(result.returncode, status)
            self.assertNotEqual(result.stderr, "")

    def test_a_failing_tool_fails_it(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertNotEqual(subprocess.run([EXAMPLES / "demo.sh", "/bin/false", folder], capture_output=True).returncode, 0)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    TOOL = sys.argv.pop()
    unittest.main()
