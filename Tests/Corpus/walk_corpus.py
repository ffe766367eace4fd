#!/usr/bin/env python3
"""Takes real files through everything that the library does, each step in a process of its own with bounded time and
memory, and says what became of each.

Usage: walk_corpus.py PROGRAMS FOLDER... [--every N] [--seconds S] [--megabytes M]

PROGRAMS is the folder with orvexpdf and corpus_step. A step is done, refused with a reason, or has failed: by a crash, an
unknown exit code, a message without words, its time or its memory. Prints a table and every failure; fails when there is
one.
"""

import argparse
import collections
import os
import resource
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

from edit_corpus import pdfs

STEPS = ("load", "info", "found", "images", "render", "edit", "undo", "save", "reopen")
REFUSALS = {"orvexpdf": {3, 4, 5}, "corpus_step": {2}}
NO_PAGES = "the document has 0 pages"


def command(programs, step, path, folder):
    tool = [programs / "orvexpdf", "--quiet"]
    if step == "info":
        return tool + ["info", "--json", path]
    if step == "found":
        return tool + ["found", path, "-o", folder / "found.json"]
    if step == "images":
        return tool + ["images", path, "-o", folder / "images"]
    if step == "render":
        return tool + ["render", path, "--page", "1", "-o", folder / "page.png"]
    return [programs / "corpus_step", step, path, folder / "saved.pdf"]


class Outcome:
    """What became of one step: done, refused or failed, with its last line, seconds and megabytes."""

    def __init__(self, kind, words, seconds, megabytes):
        self.kind, self.words, self.seconds, self.megabytes = kind, words, seconds, megabytes


def run(words, limits):
    """Exit code (None after a time-out), last line printed, seconds, megabytes."""
    started = time.monotonic()
    with tempfile.TemporaryFile() as output:
        child = subprocess.Popen([str(word) for word in words], stdout=output, stderr=subprocess.STDOUT,
                                 preexec_fn=lambda: resource.setrlimit(
                                     resource.RLIMIT_AS, (limits.megabytes << 20, limits.megabytes << 20)))
        late = threading.Event()
        timer = threading.Timer(limits.seconds, lambda: (late.set(), child.kill()))
        timer.start()
        _, status, usage = os.wait4(child.pid, 0)
        timer.cancel()
        child.returncode = os.waitstatus_to_exitcode(status)
        output.seek(0)
        lines = output.read().decode("utf-8", "replace").strip().splitlines()
    code = None if late.is_set() else child.returncode
    return code, lines[-1] if lines else "", time.monotonic() - started, usage.ru_maxrss / 1024


def take(programs, step, path, folder, limits):
    words = command(programs, step, path, folder)
    code, line, seconds, megabytes = run(words, limits)
    reason = line.removeprefix("orvexpdf: ").replace(str(path), "FILE").replace(str(folder), "FOLDER")
    if code is None:
        return Outcome("failed", f"took more than {limits.seconds} s", seconds, megabytes)
    if code < 0:
        return Outcome("failed", f"signal {-code}: {reason}", seconds, megabytes)
    if code == 0:
        return Outcome("done", "", seconds, megabytes)
    if reason and (code in REFUSALS[words[0].name] or reason.endswith(NO_PAGES)):
        return Outcome("refused", reason, seconds, megabytes)
    return Outcome("failed", f"exit code {code}: {reason or 'no words'}", seconds, megabytes)


def walk(programs, path, limits):
    """The outcomes by step. Nothing is opened again where nothing was saved."""
    outcomes = {}
    with tempfile.TemporaryDirectory() as folder:
        for step in STEPS:
            if step == "reopen" and outcomes["save"].kind != "done":
                outcomes[step] = outcomes["save"]
            else:
                outcomes[step] = take(programs, step, path, Path(folder), limits)
    return outcomes


def table(outcomes):
    lines = ["| step | done | refused | failed | slowest (s) | most memory (MB) |", "|---|---|---|---|---|---|"]
    for step in STEPS:
        of_step = [one[step] for one in outcomes]
        counts = collections.Counter(one.kind for one in of_step)
        lines.append(f"| {step} | {counts['done']} | {counts['refused']} | {counts['failed']} | "
                     f"{max(one.seconds for one in of_step):.1f} | {max(one.megabytes for one in of_step):.0f} |")
    return "\n".join(lines)


def reasons(outcomes):
    """Files per step and reason of refusal."""
    counts = collections.Counter((step, one[step].words) for one in outcomes for step in STEPS
                                 if one[step].kind == "refused" and step != "reopen")
    by_reason = collections.defaultdict(dict)
    for (step, words), count in counts.items():
        by_reason[words][step] = count
    return [f"{max(steps.values())} refused ({', '.join(steps)}): {words}" for words, steps in sorted(by_reason.items())]


def parse():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("programs", type=Path)
    parser.add_argument("folders", nargs="+", type=Path)
    parser.add_argument("--every", default=1, type=int, help="only every N-th file")
    parser.add_argument("--seconds", default=60, type=int, help="for a step")
    parser.add_argument("--megabytes", default=2048, type=int, help="of address space for a step")
    return parser.parse_args()


def main():
    arguments = parse()
    files = pdfs(arguments.folders, arguments.every)
    outcomes = []
    failures = 0
    for path in files:
        outcomes.append(walk(arguments.programs.resolve(), path, arguments))
        for step, one in outcomes[-1].items():
            if one.kind == "failed":
                failures += 1
                print(f"{path.parent.name}/{path.name}: {step}: {one.words}", flush=True)
    print("\n".join(reasons(outcomes)))
    print(f"\n{len(files)} files, {failures} steps failed\n\n{table(outcomes)}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
