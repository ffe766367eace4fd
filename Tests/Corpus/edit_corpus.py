#!/usr/bin/env python3
"""Edits real files, takes the edits back, and has other people's readers compare.

Usage: edit_corpus.py PROGRAM FOLDER... [--every N] [--dpi D] [--jobs J]

For every PDF of the folders: PROGRAM (edit_and_save) loads it, reverses the pages, undoes that and saves; then removes
the first page, appends it and saves again. Every page has to look in poppler as before, pixel for pixel, and
`qpdf --check` must not complain of anything that it does not complain of in the original. Files that are refused have to
be refused by qpdf, too. Prints what differs and a summary; fails when something differs.
"""

import argparse
import concurrent.futures
import functools
import hashlib
import subprocess
import sys
import tempfile
from pathlib import Path

TIMEOUT = 120  # seconds for anything
MOST_PAGES = 60


def run(*command):
    """Exit code and output; -1 after a time-out."""
    try:
        done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              timeout=TIMEOUT, check=False)
        return done.returncode, done.stdout.decode("utf-8", "replace")
    except subprocess.TimeoutExpired:
        return -1, "took too long"


def pictures(path, folder, dpi):
    """A digest of each page's pixels, by page number; None where poppler takes too long."""
    folder.mkdir()
    if run("pdftoppm", "-r", dpi, "-l", MOST_PAGES, path, folder / "page")[0] < 0:
        return None
    found = {}
    for picture in sorted(folder.iterdir()):
        found[int(picture.stem.rsplit("-", 1)[1])] = hashlib.sha256(picture.read_bytes()).hexdigest()
    return found


def stable(first, second):
    """Pages of which poppler makes the same picture every time, and soon."""
    if first is None or second is None:
        return {}
    return {number: digest for number, digest in first.items() if second.get(number) == digest}


def page_count(path):
    code, text = run("qpdf", "--no-warn", "--warning-exit-0", "--show-npages", path)
    return int(text) if code == 0 and text.strip().isdigit() else None


def is_sound(path):
    return run("qpdf", "--check", path)[0] == 0


def differing(expected, actual, renumber):
    """Numbers of the original's pages that look different or are missing."""
    return [number for number, digest in expected.items()
            if actual is not None and renumber(number) <= MOST_PAGES and actual.get(renumber(number)) != digest]


def compare(program, path, folder, dpi):
    """What differs, as a list of sentences."""
    undone, cycled = folder / "undone.pdf", folder / "cycled.pdf"
    code, text = run(program, path, undone, cycled)
    count = page_count(path)
    if code == 2:
        return ["refused: " + text.strip()] if count else []
    if code != 0:
        return [f"exit code {code}: {text.strip()[-200:]}"]
    before = stable(pictures(path, folder / "before", dpi), pictures(path, folder / "again", dpi))
    after = pictures(undone, folder / "undone", dpi)
    turned = pictures(cycled, folder / "cycled", dpi)
    pages = int(text.split()[0])
    problems = []
    if wrong := differing(before, after, lambda number: number):
        problems.append(f"after undo these pages look different: {wrong}")
    if wrong := differing(before, turned, lambda number: number - 1 if number > 1 else pages):
        problems.append(f"with the first page behind the last these pages look different: {wrong}")
    for saved in (undone, cycled):
        if page_count(saved) != pages and count == pages:
            problems.append(f"{saved.name} has {page_count(saved)} pages of {pages}")
        if not is_sound(saved) and is_sound(path):
            problems.append(f"{saved.name}: qpdf complains: " + run("qpdf", "--check", saved)[1].strip()[-200:])
    return problems


def pdfs(folders, every):
    """Every N-th file of each folder. Ends the program, as a skipped test does, where there is none."""
    files = []
    for folder in folders:
        if not folder.is_dir():
            print(f"skipped: {folder} is not here")
            sys.exit(77)
        files += sorted(folder.rglob("*.pdf"))[::every]
    if not files:
        sys.exit("no PDFs are there")
    return files


def examine(arguments, path):
    with tempfile.TemporaryDirectory() as name:
        return path, compare(arguments.program.resolve(), path, Path(name), arguments.dpi)


def parse():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=Path)
    parser.add_argument("folders", nargs="+", type=Path)
    parser.add_argument("--every", default=1, type=int, help="only every N-th file")
    parser.add_argument("--dpi", default=36, type=int)
    parser.add_argument("--jobs", default=2, type=int)
    return parser.parse_args()


def main():
    arguments = parse()
    files = pdfs(arguments.folders, arguments.every)
    differ = 0
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as workers:
        for path, problems in workers.map(functools.partial(examine, arguments), files):
            differ += 1 if problems else 0
            for problem in problems:
                print(f"{path.parent.name}/{path.name}: {problem}", flush=True)
    print(f"{len(files)} files, {differ} of them with differences")
    return 1 if differ else 0


if __name__ == "__main__":
    sys.exit(main())
