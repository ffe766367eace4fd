#!/usr/bin/env python3
"""Breaks the manager and the undo manager one line at a time, and has the tests notice.

Usage: mutate.py BUILD_FOLDER

Each mutation is applied to the source, the library is built, the unit tests run until one fails, and the source is put
back. Prints a table; fails when a mutation goes unnoticed or its line is not found. Sources must be committed.
"""

import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
UNDO = "Sources/Platform/Foundation/UndoManager.cpp"
EDIT = "Sources/OrvexPDF/Manager+Edit.cpp"
MANAGER = "Sources/OrvexPDF/Manager.cpp"

# What is broken, where, the text as it stands and as it is changed. The first occurrence counts.
MUTATIONS = [
    ("a new edit leaves what could be redone", UNDO, "        s.redoStack.clear();\n    }\n    s.open", "    }\n    s.open"),
    ("a step is undone first action first", UNDO, "step.back()();\n        step.pop_back();",
     "step.front()();\n        step.erase(step.begin());"),
    ("beyond the limit the newest steps go", UNDO,
     "stack.erase(stack.begin(), stack.end() - static_cast<std::ptrdiff_t>(levels));",
     "stack.erase(stack.begin() + static_cast<std::ptrdiff_t>(levels), stack.end());"),
    ("empty groups leave a step", UNDO, "if (step.empty()) {", "if (step.size() == 12345) {"),
    ("an inner group's actions are lost", UNDO, "append(open.back().actions, std::move(group.actions));",
     "append(open.back().actions, {});"),
    ("disabled registration registers", UNDO, "if (s.disabled > 0 || ", "if ("),
    ("undo goes on inside an open group", UNDO, "if (s.open.size() > 1) {", "if (s.open.size() > 2) {"),
    ("the undo of an insertion removes the next page", EDIT, "manager._remove(index);", "manager._remove(index + 1);"),
    ("the undo of a removal inserts at the start", EDIT, "manager._insert(page, pageAt, meta);",
     "manager._insert(page, 0, meta);"),
    ("moved pages are taken out in rising order", EDIT, "std::sort(falling.rbegin(), falling.rend());",
     "std::sort(falling.begin(), falling.end());"),
    ("left is right", EDIT, "left ? -90 : 90", "left ? 90 : -90"),
    ("a page replaces itself", EDIT, "if (current == withPage) {", "if (current == withPage && force) {"),
    ("a batch of one tells of every edit", MANAGER, "const bool quiet = silent >= 1;", "const bool quiet = silent > 1;"),
    ("an edit leaves the size fresh", MANAGER, "    needsUpdateDocumentBytes = true;\n", ""),
    ("loading keeps the history", MANAGER, "        undoManager->removeAllActions();\n", ""),
    ("the undo of a batch tells of every edit", MANAGER, "            registerSilenceStart();\n", ""),
]
TESTS = ("foundation_tests --gtest_filter=UndoManager*", "system_tests --gtest_filter=*Manager*")


def built(build, *targets):
    return subprocess.run(["cmake", "--build", str(build), "--target", "OrvexPDF", *targets],
                          stdout=subprocess.DEVNULL, check=False).returncode == 0


def noticed_by(build):
    """The name of a test that fails; None when all pass."""
    for words in TESTS:
        program, argument = words.split()
        done = subprocess.run([str(build / "bin" / program), argument, "--gtest_fail_fast"], cwd=ROOT, timeout=600, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        output = done.stdout.decode("utf-8", "replace")
        failed = [line.split("]")[1].split(",")[0].split("(")[0].strip() for line in output.splitlines()
                  if line.startswith("[  FAILED  ]") and "." in line]
        if failed:
            return failed[0]
        if done.returncode != 0:
            running = [line for line in output.splitlines() if line.startswith("[ RUN")]
            return (running[-1].split("]")[1].strip() if running else program) + " (the process ended)"
    return None


def try_one(build, path, old, new):
    """The test that noticed, or a sentence in capitals."""
    text = path.read_text()
    if old not in text:
        return "THE LINE IS NOT THERE"
    try:
        path.write_text(text.replace(old, new, 1))
        return (noticed_by(build) or "NOBODY NOTICED") if built(build) else "DOES NOT COMPILE"
    finally:
        path.write_text(text)


def main():
    build = Path(sys.argv[1]).resolve()
    if subprocess.run(["git", "diff", "--quiet", "HEAD", "--", "Sources"], cwd=ROOT, check=False).returncode != 0:
        print("commit the sources first: they are changed and put back")
        return 1
    if not built(build, "foundation_tests", "system_tests") or noticed_by(build):
        print("the tests fail before anything is broken")
        return 1
    print("| broken so that | in | noticed by |\n|---|---|---|")
    unnoticed = 0
    for what, file, old, new in MUTATIONS:
        answer = try_one(build, ROOT / file, old, new)
        unnoticed += 1 if answer.isupper() else 0
        print(f"| {what} | {Path(file).name} | {answer} |", flush=True)
    built(build)
    return 1 if unnoticed else 0


if __name__ == "__main__":
    sys.exit(main())
