#!/usr/bin/env python3
"""Times drawing an invisible text layer on many pages against OCRmyPDF's renderer of hOCR.

Usage: layer.py [--tool TOOL] [--pages N] [--runs N]

Both get the same recognised words: ours as JSON for all pages of an empty document, which it loads, draws on and saves,
once an item a word and once an item a line; theirs as hOCR, a file a page, of which it makes a page with nothing but the
invisible text, a piece a word. Theirs runs inside one Python program that has already loaded the library; putting its
pages under those of a document is not counted. The floor is what is left of ours without reading JSON and without
drawing: the same content, which is there already, compressed on all cores by the same library, written and synced.
"""

import collections
import concurrent.futures
import ctypes
import json
import os
import random
import re
import statistics
import subprocess
import sys
import tempfile
import time
import zlib
from pathlib import Path

from measuring import options_of, print_table, timed
from text import WORDS

WIDTH, HEIGHT, LINES = 595.0, 842.0, 48
DPI = 300

THEIRS = """
import sys, time
from pathlib import Path
from ocrmypdf.hocrtransform import HocrTransform
folder, count = Path(sys.argv[1]), int(sys.argv[2])
start, processor = time.perf_counter(), time.process_time()
for number in range(count):
    HocrTransform(hocr_filename=folder / f"{number}.hocr", dpi=300).to_pdf(
        out_filename=folder / f"{number}.pdf", invisible_text=True)
print(time.perf_counter() - start, time.process_time() - processor)
"""


def lines_of(chance):
    """Text and box in points from the top left."""
    for line in range(LINES):
        text = " ".join(chance.choice(WORDS) for _ in range(10))
        yield text, (60.0, 50.0 + 15 * line, min(len(text) * 5.5, 480.0), 11.0)


def words_of(line):
    text, (left, y, width, height) = line
    step = width / len(text)
    for word in text.split():
        yield word, (left, y, step * len(word), height)
        left += step * (len(word) + 1)


def hocr(lines):
    def bbox(box):
        x, y, width, height = box
        return " ".join(str(round(value * DPI / 72)) for value in (x, y, x + width, y + height))

    spans = []
    for line in lines:
        words = [f'<span class="ocrx_word" title="bbox {bbox(box)}; x_wconf 95">{word}</span>'
                 for word, box in words_of(line)]
        spans.append(f'<span class="ocr_line" title="bbox {bbox(line[1])}; baseline 0 0">{" ".join(words)}</span>')
    return ('<?xml version="1.0" encoding="UTF-8"?><html xmlns="http://www.w3.org/1999/xhtml"><head><title></title></head>'
            f'<body><div class="ocr_page" title="bbox {bbox((0, 0, WIDTH, HEIGHT))}"><p class="ocr_par">'
            + "\n".join(spans) + "</p></div></body></html>")


def found(pages):
    items = lambda lines: [{"text": text, "box": {"x": x, "y": y, "w": w, "h": h}} for text, (x, y, w, h) in lines]
    return {"pages": [{"size": {"w": WIDTH, "h": HEIGHT}, "items": items(lines)} for lines in pages]}


def empty_pages(path, count):
    kids = " ".join(f"{number} 0 R" for number in range(3, count + 3))
    bodies = ["<< /Type /Catalog /Pages 2 0 R >>", f"<< /Type /Pages /Count {count} /Kids [{kids}] >>"]
    bodies += [f"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 {WIDTH:.0f} {HEIGHT:.0f}] >>"] * count
    text, offsets = "%PDF-1.7\n", []
    for number, body in enumerate(bodies, 1):
        offsets.append(len(text))
        text += f"{number} 0 obj\n{body}\nendobj\n"
    table = len(text)
    text += f"xref\n0 {len(bodies) + 1}\n0000000000 65535 f \n" + "".join(f"{offset:010} 00000 n \n" for offset in offsets)
    path.write_text(text + f"trailer\n<< /Root 1 0 R /Size {len(bodies) + 1} >>\nstartxref\n{table}\n%%EOF\n")


def theirs(folder, count):
    # Debian's Python has the package, whatever other Python is first on the path.
    result = subprocess.run(["/usr/bin/python3", "-c", THEIRS, folder, str(count)], capture_output=True, text=True, check=False)
    if result.returncode != 0:
        sys.exit(result.stderr)
    return tuple(map(float, result.stdout.split()))


def contents_of(pdf):
    """What the text layer's streams hold."""
    data = pdf.read_bytes()
    streams = [data[match.end():match.end() + int(match[1])]
               for match in re.finditer(rb"/Length (\d+)[^>]*>>\s*stream\r?\n", data)]
    contents = [zlib.decompress(stream) for stream in streams if stream[:1] == b"\x78"]
    return [content for content in contents if b" Tj\n" in content]


def floor(pdf, folder, level=1):
    """Compresses, writes and syncs the content that a file of ours has."""
    library = ctypes.CDLL("libdeflate.so.0")
    library.libdeflate_alloc_compressor.restype = ctypes.c_void_p
    library.libdeflate_zlib_compress.restype = ctypes.c_size_t
    contents, cores = contents_of(pdf), os.cpu_count()

    def compress(first):
        compressor = ctypes.c_void_p(library.libdeflate_alloc_compressor(level))
        room = ctypes.create_string_buffer(max(map(len, contents)) * 2)
        packed = []
        for content in contents[first::cores]:
            size = library.libdeflate_zlib_compress(compressor, content, ctypes.c_size_t(len(content)), room,
                                                    ctypes.c_size_t(len(room)))
            packed.append(room[:size])
        library.libdeflate_free_compressor(compressor)
        return packed

    start, processor = time.perf_counter(), time.process_time()
    with concurrent.futures.ThreadPoolExecutor(cores) as workers, open(folder / "floor.bin", "wb") as file:
        for packed in workers.map(compress, range(cores)):
            file.write(b"".join(packed))
        file.flush()
        os.fsync(file.fileno())
    return time.perf_counter() - start, time.process_time() - processor


def check(pdf, pages):
    text = subprocess.run(["pdftotext", pdf, "-"], capture_output=True, text=True, check=True).stdout
    if sorted(text.split()) != sorted(word for lines in pages for line, _ in lines for word in line.split()):
        sys.exit(f"{pdf.name} does not hold the words that were given")


def main():
    options = options_of(__doc__, 1000, 3).parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        chance = random.Random(1)
        pages = [list(lines_of(chance)) for _ in range(options.pages)]
        for number, lines in enumerate(pages):
            (folder / f"{number}.hocr").write_text(hocr(lines))
        (folder / "lines.json").write_text(json.dumps(found(pages)))
        (folder / "words.json").write_text(json.dumps(found([[word for line in lines for word in words_of(line)]
                                                             for lines in pages])))
        empty_pages(folder / "in.pdf", options.pages)
        taken = collections.defaultdict(list)
        for _ in range(options.runs):
            for items in ("words", "lines"):
                run = timed([options.tool, "-q", "text-layer", "in.pdf", "--found", f"{items}.json", "-o",
                             f"{items}.pdf"], folder)
                taken[f"orvexpdf text-layer, {items}"].append((run.seconds, run.processor))
            taken["OCRmyPDF's HocrTransform, words"].append(theirs(folder, options.pages))
            taken["floor of ours, words: compressing, writing"].append(floor(folder / "words.pdf", folder))
        for items in ("words", "lines"):
            check(folder / f"{items}.pdf", pages)

    medians = {name: [statistics.median(values) for values in zip(*runs)] for name, runs in taken.items()}
    base = medians["orvexpdf text-layer, words"]
    print(f"{options.pages} pages of {LINES} lines of 10 words, medians of {options.runs} runs; milliseconds a page.\n")
    print_table(["", "ms", "times ours", "processor ms", "times ours"],
                [[name, *(cell for value, of in zip(values, base) for cell in
                          (f"{1000 * value / options.pages:.3f}", f"{value / of:.1f}"))] for name, values in medians.items()])


if __name__ == "__main__":
    main()
