#!/usr/bin/env python3
"""Times reversing and saving a file of many pages against qpdf and mutool.

Usage: reverse.py [--tool TOOL] [--pages N] [--runs N] [--packed]

With --packed the file's objects lie in object streams.
"""

import subprocess
import tempfile
from pathlib import Path

from measuring import MIB, in_turns, options_of, print_taken
from text import many_pages


def main():
    arguments = options_of(__doc__, 20_000, 3)
    arguments.add_argument("--packed", action="store_true")
    options = arguments.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        many_pages(folder / "in.pdf", options.pages)
        if options.packed:
            subprocess.run(["qpdf", "--object-streams=generate", "--replace-input", "in.pdf"], cwd=folder, check=True)
        size = (folder / "in.pdf").stat().st_size
        results = in_turns({
            "orvexpdf pages --reverse": [options.tool, "-q", "pages", "in.pdf", "-o", "ours.pdf", "--reverse"],
            "qpdf --pages": ["qpdf", "in.pdf", "--pages", ".", "z-1", "--", "qpdf.pdf"],
            "mutool merge": ["mutool", "merge", "-o", "mutool.pdf", "in.pdf", f"{options.pages}-1"],
        }, options.runs, folder)
        print(f"{options.pages} pages of text, {size / MIB:.0f} MiB, medians of {options.runs} runs.\n")
        print_taken(results, "orvexpdf pages --reverse", private=True)


if __name__ == "__main__":
    main()
