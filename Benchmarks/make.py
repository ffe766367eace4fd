#!/usr/bin/env python3
"""Times `orvexpdf make` on many scans against copying the same bytes into one file.

Usage: make.py [--tool TOOL] [--pages N] [--runs N] [--image PAGE.jpg]

Every page is a JPEG of its own: a copy of one scan with a number in a comment segment. The two peers copy the bytes
with `cat`, once as it is and once synced to the disk, which is what the tool does before it renames its file. Prints
the median times, their ratios, and the tool's peak memory beyond the bytes that it was given.
"""

import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
MIB = 1 << 20


def numbered(jpeg, number):
    comment = b"page %06d" % number
    return jpeg[:2] + b"\xff\xfe" + (len(comment) + 2).to_bytes(2, "big") + comment + jpeg[2:]


def timed(command, folder):
    """Seconds and peak resident bytes of a command."""
    start = time.perf_counter()
    process = subprocess.Popen(command, cwd=folder, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"failed with {process.returncode}: {command}")
    return time.perf_counter() - start, usage.ru_maxrss * 1024


def measure(commands, folder, runs):
    """Medians; the commands take turns, so that whatever else the machine does hits them alike."""
    results = {name: [] for name in commands}
    for _ in range(runs):
        for name, command in commands.items():
            (folder / "out").unlink(missing_ok=True)
            os.sync()
            results[name].append(timed(command, folder))
    return {name: (statistics.median(seconds for seconds, _ in runs_), max(peak for _, peak in runs_))
            for name, runs_ in results.items()}


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("--tool", default=PROJECT / "build/release/bin/orvexpdf", type=Path)
    arguments.add_argument("--pages", default=200, type=int)
    arguments.add_argument("--runs", default=7, type=int)
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
        tool = str(options.tool.resolve())
        results = measure({
            "orvexpdf make": [tool, "--quiet", "make", *files, "-o", "out"],
            "copy": ["sh", "-c", f"cat {listing} >out"],
            "copy and sync": ["sh", "-c", f"cat {listing} >out && sync out"],
            "orvexpdf --version": [tool, "--version"],
        }, folder, options.runs)

    print(f"{options.pages} pages, {total / MIB:.0f} MiB, median of {options.runs} runs")
    ours, peak = results["orvexpdf make"]
    for what, (seconds, _) in results.items():
        print(f"  {what:20} {seconds * 1000:8.0f} ms   ours is {ours / seconds:.2f} times that")
    print(f"  peak memory          {peak / MIB:8.0f} MiB  {(peak - total) / MIB:.0f} MiB beyond the bytes")


if __name__ == "__main__":
    main()
