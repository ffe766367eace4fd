#!/usr/bin/env python3
"""The converter that ships with the sample scans, run as its users run it."""
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "Examples"
CONVERTER = EXAMPLES / "make-scans" / "tesseract-to-found.py"

HEAD = "level\tpage_num\tblock_num\tpar_num\tline_num\tword_num\tleft\ttop\twidth\theight\tconf\ttext\n"
PAGE = "1\t{page}\t0\t0\t0\t0\t0\t0\t1000\t2000\t-1\t\n4\t{page}\t1\t1\t1\t0\t10\t20\t200\t30\t-1\t\n"
WORDS = '5\t{page}\t1\t1\t1\t1\t10\t22\t90\t28\t96.5\t"Été\n5\t{page}\t1\t1\t1\t2\t110\t20\t100\t24\t40\t2024\n'
BLANK = "5\t{page}\t1\t1\t1\t3\t215\t20\t9\t24\t95\t \n"

HOCR = """<?xml version="1.0" encoding="UTF-8"?>
<html><body>
 <div class='ocr_page' id='page_1' title='image "a; bbox 9 9.png"; bbox 0 0 1000 2000; ppageno 0; scan_res 300 300'>
  <div class='ocr_photo' title='bbox 1 2 3 4'></div>
  <span class='ocr_header' title="bbox 10 20 210 50; baseline 0.02 -6; x_size 32; x_descenders 7; x_ascenders 8">
   <span class='ocrx_word' title='bbox 10 22 100 50; x_wconf 96'><strong>R&amp;D</strong></span>
   <span class='ocrx_word' title='bbox 110 20 210 44; x_wconf 40'><em>a&lt;</em>b</span>
  </span>
 </div>
</body></html>
"""


def convert(text, *options):
    data = text if isinstance(text, bytes) else text.encode()
    return subprocess.run([sys.executable, CONVERTER, "-", *options], input=data, capture_output=True)


def tsv(*pages):
    return HEAD + "".join((PAGE + WORDS + BLANK).format(page=page) for page in pages)


class TesseractToFound(unittest.TestCase):
    def found(self, text, *options):
        result = convert(text, *options)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        return json.loads(result.stdout)

    def test_tsv_words_keep_order_boxes_and_confidence(self):
        self.assertEqual(self.found(tsv(1)), {"size": {"w": 1000, "h": 2000}, "items": [
            {"box": {"x": 10, "y": 22, "w": 90, "h": 28}, "text": '"Été', "cf": 96.5},
            {"box": {"x": 110, "y": 20, "w": 100, "h": 24}, "text": "2024", "cf": 40}]})

    def test_tsv_with_carriage_returns_reads_the_same(self):
        self.assertEqual(self.found(tsv(1).replace("\n", "\r\n")), self.found(tsv(1)))

    def test_lines_span_their_words(self):
        items = self.found(tsv(1), "--items", "lines")["items"]
        self.assertEqual(items, [{"box": {"x": 10, "y": 20, "w": 200, "h": 30}, "text": '"Été 2024', "cf": 68.25}])

    def test_unsure_words_can_be_left_out(self):
        items = self.found(tsv(1), "--min-confidence", "60")["items"]
        self.assertEqual([item["text"] for item in items], ['"Été'])

    def test_several_pages_become_a_document(self):
        document = self.found(tsv(1, 2), "--dpi", "200")
        self.assertEqual((document["source"], len(document["pages"])), ("tesseract", 2))
        self.assertEqual(document["pages"][1]["dpi"], 200)

    def test_page_without_words_has_an_empty_list(self):
        self.assertEqual(self.found(HEAD + PAGE.format(page=1))["items"], [])

    def test_hocr_tells_resolution_and_baselines(self):
        page = self.found(HOCR, "--height", "ink")
        self.assertEqual((page["size"], page["dpi"]), ({"w": 1000, "h": 2000}, 300))
        # The line's baseline runs at 50 - 6 + 0.02 * (middle - 10): 44.9 and 47.
        self.assertEqual([(i["text"], i["bl"], i["cf"]) for i in page["items"]], [("R&D", 5.1, 96), ("a<b", -3, 40)])
        self.assertEqual([i["box"]["h"] for i in page["items"]], [28, 24])

    def test_words_of_a_line_get_its_height_along_the_baseline(self):
        self.assertEqual([(i["box"], i["bl"]) for i in self.found(HOCR)["items"]], [
            ({"x": 10, "y": 19.9, "w": 90, "h": 32}, 7), ({"x": 110, "y": 22, "w": 100, "h": 32}, 7)])

    def test_what_is_not_tesseracts_is_refused_by_place(self):
        broken = tsv(1).replace("\t90\t28\t", "\tninety\t28\t")
        for text, words in [("", "line 1"), (broken, "line 4"), ("<p>no page</p>", "ocr_page"),
                            (HOCR.replace("bbox 10 22 100 50", "bbox 10"), "line 6"), (b"\xff\xd8\xff", "byte 0")]:
            result = convert(text)
            self.assertEqual((result.returncode, result.stdout), (4, b""), text)
            self.assertIn(words, result.stderr.decode())
            self.assertEqual(result.stderr.count(b"\n"), 1)

    def test_output_is_whole_or_not_there(self):
        with tempfile.TemporaryDirectory() as folder:
            target = pathlib.Path(folder) / "out.json"
            self.assertEqual(convert(tsv(1), "-o", target).returncode, 0)
            self.assertEqual(json.loads(target.read_text()), self.found(tsv(1)))
            self.assertEqual(convert(tsv(1), "-o", f"{folder}/missing/out.json").returncode, 6)
            self.assertEqual(sorted(p.name for p in target.parent.iterdir()), ["out.json"])

    def test_missing_input_is_told(self):
        result = subprocess.run([sys.executable, CONVERTER, "no-such.tsv"], capture_output=True)
        self.assertEqual(result.returncode, 3)
        self.assertIn(b"no-such.tsv", result.stderr)


if __name__ == "__main__":
    unittest.main()
