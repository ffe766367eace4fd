#!/usr/bin/env python3
"""Times `orvexpdf make` on many scans against img2pdf, and against copying the same bytes into one file.

Usage: make.py [--tool TOOL] [--pages N] [--runs N] [--image PAGE.jpg]

Every page is a JPEG of its own: a copy of one scan with a number in a comment segment. The copies are made with `cat`,
once as it is and once synced to the disk, which is what the tool does before it renames its file; img2pdf does not sync.
"""

import os
import tempfile
from pathlib import Path

from measuring import MIB, PROJECT, in_turns, options_of, print_taken


def numbered(jpeg, number):
    comment = b"page %06d" % number
    return jpeg[:2] + b"\xff\xfe" + (len(comment) + 2).to_bytes(2, "big") + comment + jpeg[2:]


def main():
    arguments = options_of(__doc__, 200, 7)
    arguments.add_argument("--image", default=PROJECT / "Examples/scans/1-article.jpg", type=Path)
    options = arguments.parse_args()

    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        jpeg = options.image.read_bytes()
        files = [f"{i:04}.jpg" for i in range(options.pages)]
        for i, file in enumerate(files):
            (folder / file).write_bytes(numbered(jpeg, i))
        total = sum((folder / file).stat().st_size for file in files)
        listing = " ".join(files)

        def fresh():
            (folder / "out").unlink(missing_ok=True)
            os.sync()

        results = in_turns({
            "orvexpdf make": [options.tool, "--quiet", "make", *files, "-o", "out"],
            "img2pdf": ["img2pdf", *files, "-o", "out"],
            "cat, synced": ["sh", "-c", f"cat {listing} >out && sync out"],
            "cat": ["sh", "-c", f"cat {listing} >out"],
        }, options.runs, folder, fresh)

    print(f"{options.pages} JPEGs, {total / MIB:.0f} MiB, medians of {options.runs} runs; "
          f"ours holds {(results['orvexpdf make'].peak - total) / MIB:.0f} MiB beyond their bytes.\n")
    print_taken(results, "orvexpdf make")


if __name__ == "__main__":
    main()
