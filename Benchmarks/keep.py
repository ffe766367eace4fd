#!/usr/bin/env python3
"""Shows what a measurement prints and keeps it in Docs/benchmarks.md, between the marks of its name.

Usage: MEASUREMENT | keep.py NAME
"""

import sys
from pathlib import Path

PAGE = Path(__file__).resolve().parent.parent / "Docs/benchmarks.md"


def main():
    first, last = f"<!-- {sys.argv[1]} -->\n", f"<!-- end of {sys.argv[1]} -->\n"
    printed = []
    for line in sys.stdin:
        print(line, end="", flush=True)
        printed.append(line)
    text = PAGE.read_text()
    if printed and first in text and last in text:
        start, end = text.index(first) + len(first), text.index(last)
        PAGE.write_text(text[:start] + "".join(printed).strip() + "\n" + text[end:])


if __name__ == "__main__":
    main()
