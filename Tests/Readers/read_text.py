#!/usr/bin/env python3
"""Prints what a reader finds in a PDF, in one form for all of them.

One record a line, fields separated by tabs: kind, page from 1, left, top, right, bottom (points from the top left corner
of the page as it is shown), text. A "line" is a line of text as the reader gives it, without a box (zeros). A "piece" is
the smallest text that the reader gives a box for: a word, a run or a character, never blank.

Usage: read_text.py poppler|poppler-layout|mupdf|ghostscript FILE.pdf
"""

import html
import re
import subprocess
import sys
import tempfile
from pathlib import Path

NUMBER = r"(-?[\d.]+(?:e-?\d+)?)"


def output_of(*command):
    return subprocess.run(command, capture_output=True, check=True).stdout.decode("utf-8", "replace")


def record(kind, page, box, text):
    print(kind, page, *(f"{float(number):.3f}" for number in box), text, sep="\t")


def print_lines(text):
    for page, lines in enumerate(text.split("\f"), 1):
        for line in lines.splitlines():
            record("line", page, (0, 0, 0, 0), line)


def poppler_pieces(file):
    word = re.compile(rf'<word xMin="{NUMBER}" yMin="{NUMBER}" xMax="{NUMBER}" yMax="{NUMBER}">(.*)</word>')
    page = 0
    for line in output_of("pdftotext", "-cropbox", "-bbox", file, "-").splitlines():
        page += "<page " in line
        if match := word.search(line):
            record("piece", page, match.groups()[:4], html.unescape(match[5]))


def poppler(file):
    print_lines(output_of("pdftotext", "-enc", "UTF-8", file, "-"))
    poppler_pieces(file)


def poppler_layout(file):
    print_lines(output_of("pdftotext", "-layout", "-enc", "UTF-8", file, "-"))
    poppler_pieces(file)


def mupdf(file):
    print_lines(output_of("mutool", "draw", "-F", "txt", file))
    quad = re.compile(r'<char quad="([^"]*)".* c="([^"]*)"')
    page = 0
    for line in output_of("mutool", "draw", "-F", "stext", file).splitlines():
        page += "<page " in line
        match = quad.search(line)
        if match and html.unescape(match[2]).strip():
            corners = [float(number) for number in match[1].split()]
            xs, ys = corners[0::2], corners[1::2]
            record("piece", page, (min(xs), min(ys), max(xs), max(ys)), html.unescape(match[2]))


def ghostscript(file):
    """txtwrite gives whole dots and no height: many dots to the point, and Helvetica's line about the baseline."""
    base = ("gs", "-q", "-dNOPAUSE", "-dBATCH", "-sDEVICE=txtwrite", "-dUseCropBox", "-o", "-")
    with tempfile.TemporaryDirectory() as folder:
        output_of(*base[:-1], f"{folder}/%d", "-dTextFormat=3", file)
        pages = sorted(Path(folder).iterdir(), key=lambda path: int(path.name))
        print_lines("\f".join(page.read_text("utf-8", "replace") for page in pages))
    scale = 30
    span = re.compile(rf'<span bbox="[^"]*" font="[^"]*" size="{NUMBER}">')
    char = re.compile(r'<char bbox="(-?\d+) (-?\d+) (-?\d+) (-?\d+)" c="([^"]*)"/>')
    page, size = 0, 0
    for line in output_of(*base, f"-r{72 * scale}", "-dTextFormat=0", file).splitlines():
        page += "<page>" in line
        if match := span.search(line):
            size = float(match[1])
        if match := char.search(line):
            left, baseline, right, _ = (int(number) / scale for number in match.groups()[:4])
            text = html.unescape(match[5])
            if text.strip():
                record("piece", page, (left, baseline - 0.77 * size, right, baseline + 0.23 * size), text)


if __name__ == "__main__":
    READERS = {"poppler": poppler, "poppler-layout": poppler_layout, "mupdf": mupdf, "ghostscript": ghostscript}
    if len(sys.argv) != 3 or sys.argv[1] not in READERS:
        sys.exit(__doc__)
    READERS[sys.argv[1]](sys.argv[2])
