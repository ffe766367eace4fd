"""What the measurements share: commands that take turns, and tables of what they took."""

import argparse
import os
import statistics
import subprocess
import sys
import threading
import time
from pathlib import Path
from typing import NamedTuple

PROJECT = Path(__file__).resolve().parent.parent
MIB = 1 << 20


def options_of(description, pages, runs):
    """What every measurement of a command takes; more can be added before the arguments are parsed."""
    arguments = argparse.ArgumentParser(description=description, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("--tool", default=PROJECT / "build/release/bin/orvexpdf", type=lambda name: Path(name).resolve())
    arguments.add_argument("--pages", default=pages, type=int)
    arguments.add_argument("--runs", default=runs, type=int)
    return arguments


class Taken(NamedTuple):
    seconds: float  # by the wall clock
    processor: float  # seconds of all processors, the command's and what it started
    peak: int  # resident bytes
    private: int  # the most of them seen that are no file's, which the system cannot just drop; the command's own


def watch_private(pid, most):
    """Until the process is gone."""
    try:
        while True:
            with open(f"/proc/{pid}/status", encoding="ascii", errors="replace") as status:
                for line in status:
                    if line.startswith("RssAnon:"):
                        most[0] = max(most[0], int(line.split()[1]) * 1024)
            time.sleep(0.002)
    except (OSError, ValueError):
        pass


def timed(command, folder=None):
    """Runs a command, which has to succeed."""
    start = time.perf_counter()
    process = subprocess.Popen([str(part) for part in command], cwd=folder, stdout=subprocess.DEVNULL)
    private = [0]
    watch = threading.Thread(target=watch_private, args=(process.pid, private))
    watch.start()
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.perf_counter() - start
    watch.join()
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"failed with {process.returncode}: {command}")
    return Taken(seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024, private[0])


def in_turns(commands, runs, folder=None, before=None):
    """Medians of each; taking turns, whatever else the machine does hits them alike."""
    taken = {name: [] for name in commands}
    for _ in range(runs):
        for name, command in commands.items():
            if before:
                before()
            taken[name].append(timed(command, folder))
    return {name: Taken(statistics.median(run.seconds for run in runs_), statistics.median(run.processor for run in runs_),
                        max(run.peak for run in runs_), max(run.private for run in runs_)) for name, runs_ in taken.items()}


def print_table(head, rows):
    """As Markdown, which `./run bench` keeps in Docs/benchmarks.md."""
    widths = [max(len(str(row[i])) for row in [head, *rows]) for i in range(len(head))]
    for row in [head, ["-" * width for width in widths], *rows]:
        print("| " + " | ".join(str(cell).ljust(width) for cell, width in zip(row, widths)) + " |")
    print()


def print_taken(results, ours, private=False):
    """A row each, with how many times the time and processor time of ours it takes."""
    base = results[ours]
    print_table(["", "s", "times ours", "processor s", "times ours", "peak MiB"] + ["private MiB"] * private,
                [[name, f"{run.seconds:.3f}", f"{run.seconds / base.seconds:.2f}", f"{run.processor:.3f}",
                  f"{run.processor / base.processor:.2f}", f"{run.peak / MIB:.0f}"] + [f"{run.private / MIB:.0f}"] * private
                 for name, run in results.items()])
