#!/usr/bin/env python3
"""Counts the images of PDFs by filter and colour space, ours against poppler's, and compares pixels.

Usage: images.py [--program BENCH_IMAGES] [--verbose] FILE.pdf or FOLDER...

Poppler's side is `pdfimages -list` and `pdfimages -png`; what it lists counts when it is an image that a page's own
resources name. Prints a Markdown table; with --verbose first a line for every image that did not come out or whose
pixels differ by more than is said at the head of the table.
"""

import argparse
import collections
import subprocess
import sys
import tempfile
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
# Largest difference of a sample that counts as the same: exact to rounding, but for conversions between colour models,
# where the other side uses formulas of its own, and for lossy codecs.
NEAR = {"image": 1, "jpeg": 4, "jpx": 4, "ccitt": 0, "jbig2": 0}
NEAR_ICC, NEAR_CMYK = 8, 24
MEANT = "page number type width height color bits encoding outcome largest mean"
Row = collections.namedtuple("Row", MEANT)


def pdfs(names):
    for name in map(Path, names):
        yield from sorted(name.rglob("*.pdf")) if name.is_dir() else [name]


def run(command, **more):
    return subprocess.run([str(word) for word in command], capture_output=True, timeout=300, check=False, **more).stdout


def examine(program, pdf, folder):
    listing = folder / "list"
    try:
        listing.write_bytes(run(["pdfimages", "-list", pdf]))
        if len(listing.read_bytes().splitlines()) < 3:
            return []
        run(["pdfimages", "-png", pdf, folder / "i"])
        output = run([program, pdf, listing, folder / "i"]).decode("utf-8", "replace")
    except subprocess.TimeoutExpired:
        print(f"{pdf}: takes too long", file=sys.stderr)
        return []
    finally:
        for picture in folder.glob("i-*"):
            picture.unlink()
    return [Row(*line.split("\t")) for line in output.splitlines()]


def is_near(row):
    limit = NEAR.get(row.encoding, 1)
    limit = max(limit, NEAR_ICC if row.color == "icc" else NEAR_CMYK if row.color == "cmyk" else 0)
    return row.largest.isdigit() and int(row.largest) <= limit


def add(table, row):
    counts = table[row.type, row.encoding, row.color]
    counts["listed"] += 1
    if row.outcome in ("elsewhere", "resources inherited"):
        counts["not the page's own"] += 1
    elif row.largest.isdigit():
        counts["both"] += 1
        counts["near"] += is_near(row)
    elif row.outcome.startswith(("raw", "stored")):
        counts["ours alone"] += 1
    else:
        counts[row.outcome] += 1


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("--program", default=PROJECT / "build/release/bin/bench_images", type=Path)
    arguments.add_argument("--verbose", action="store_true")
    arguments.add_argument("names", nargs="+", metavar="FILE.pdf or FOLDER")
    options = arguments.parse_args()
    table = collections.defaultdict(collections.Counter)
    with tempfile.TemporaryDirectory() as folder:
        for pdf in pdfs(options.names):
            for row in examine(options.program, pdf, Path(folder)):
                if row.type in ("smask", "mask"):
                    continue  # part of another image
                add(table, row)
                if options.verbose and not is_near(row):
                    print(pdf, *row, flush=True)
    print("| type, filter, colour | listed by poppler | not the page's own | both decode | pixels near | otherwise |")
    print("|---|---|---|---|---|---|")
    for key, counts in sorted(table.items()):
        fixed = ["listed", "not the page's own", "both", "near"]
        rest = ", ".join(f"{count} {what}" for what, count in sorted(counts.items()) if what not in fixed)
        print(f"| {', '.join(key)} | " + " | ".join(str(counts[name]) for name in fixed) + f" | {rest} |")


if __name__ == "__main__":
    main()
