#!/usr/bin/env python3
"""Breaks the manager, the undo manager and what makes and reads images one line at a time, and has the tests notice.

Usage: mutate.py BUILD_FOLDER [SOURCE...]

Takes all mutations, or those of the sources named, like Images.cpp. Each mutation is applied to the source, the library is
built, the unit tests run until one fails, and the source is put back. Prints a table; fails when a mutation goes unnoticed or its line is not found. Sources must be committed.
"""

import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
UNDO = "Sources/Platform/Foundation/UndoManager.cpp"
EDIT = "Sources/OrvexPDF/Manager+Edit.cpp"
MANAGER = "Sources/OrvexPDF/Manager.cpp"
GENERATE = "Sources/OrvexPDF/Manager+Meta.cpp"
INSERT = "Sources/OrvexPDF/Manager+Insert.cpp"
OPTIMISE = "Sources/OrvexPDF/Images.cpp"
OCR = "Sources/OrvexPDF/Images+OCR.cpp"
ENCODE = "Sources/OrvexPDF/Images+Encoders.cpp"
EXTRACT = "Sources/OrvexPDF/Utils+ExtractImages.cpp"
REPORT = "Sources/OrvexPDF/Utils.cpp"

# What is broken, where, the text as it stands and as it is changed. The first occurrence counts.
MUTATIONS = [
    ("a new edit leaves what could be redone", UNDO, "s.dropped = std::exchange(s.redoStack, {});",
     "s.dropped = s.redoStack;"),
    ("a step is undone first action first", UNDO, "step[left - 1]();", "step[step.size() - left]();"),
    ("beyond the limit the newest steps go", UNDO,
     "stack.erase(stack.begin(), stack.end() - static_cast<std::ptrdiff_t>(levels));",
     "stack.erase(stack.begin() + static_cast<std::ptrdiff_t>(levels), stack.end());"),
    ("empty groups leave a step", UNDO, "if (!step.empty()) {", "if (step.size() != 12345) {"),
    ("the end of an inner group makes a step", UNDO, "open.pop_back();\n        if (open.empty()) {",
     "open.pop_back();\n        if (open.empty() || !actions.empty()) {"),
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
    ("a page as small as its picture is copied", GENERATE, "size && *size < count", "size && *size <= count"),
    ("a copy keeps the text of its source", GENERATE,
     "clone();\n    if (page) {\n        page->foundPage = meta.foundPage;\n", "clone();\n    if (page) {\n"),
    ("a picture's text is turned as its source was", GENERATE, "multiplyOrDie(meta.originalPageRotation, -1,",
     "multiplyOrDie(meta.originalPageRotation, 0,"),
    ("the host sees a page before its watermark", GENERATE,
     "        page->watermarkText = meta.watermarkText;\n        announceGenerated(*page);\n",
     "        announceGenerated(*page);\n        page->watermarkText = meta.watermarkText;\n"),
    ("the first image of a scan with text is taken", INSERT, "last = imageFrom(embedded, PointSize::exact);",
     "last = last ? last : imageFrom(embedded, PointSize::exact);"),
    ("images of scans have whole points", INSERT, "PointSize::exact", "PointSize::whole"),
    ("pages of a document go in backwards", INSERT, "index = addOrDie(index, 1,", "index = addOrDie(index, 0,"),
    ("JPEG wins a tie", OPTIMISE, "if (count < best.count) {", "if (count <= best.count) {"),
    ("images are reduced only when much finer", OPTIMISE, "* (1 + rounding)", "* (1.01 + rounding)"),
    ("rows may be longer than the source's", OPTIMISE, "return width <= sourceRowLength(rep) /",
     "return width <= 2 * sourceRowLength(rep) /"),
    ("a preset's quality is not checked", OPTIMISE, "    checkJPEGQuality(quality);\n", ""),
    ("a failed encoding gives the original", OPTIMISE,
     "    if (isFiner(*image, squeeze.dpi)) {\n        image = reducedTo(image, squeeze.dpi);\n    }\n"
     "    OrvexImageMeta best{image};\n",
     "    OrvexImageMeta best{image};\n    if (isFiner(*image, squeeze.dpi)) {\n"
     "        image = reducedTo(image, squeeze.dpi);\n    }\n"),
    ("recognition leaves the page turned", OCR, "{ page_.setRotation(before_); }", "{}"),
    ("the original page comes before the image", OCR, "if (meta.originalImage) {",
     "if (meta.originalImage && !meta.originalPage) {"),
    ("the quality of a JPEG is not checked", ENCODE,
     "    checkJPEGQuality(quality); // also when there is nothing to encode\n", ""),
    ("JPEG 2000 takes a quality of zero in silence", ENCODE, "if (!(quality > 0 && quality <= 1)) {",
     "if (!(quality >= 0 && quality <= 1)) {"),
    ("three turns left are one turn left", ENCODE, "    case -3:\n", "    case -5:\n"),
    ("rows end at whole bytes", EXTRACT, "image.bytesPerRow = bitsPerRow / 8;",
     "image.bytesPerRow = (bitsPerRow + 7) / 8;"),
    ("an image that fails ends the walk", EXTRACT, "    } catch (const RawDecodingError& error) {\n        fail(error);",
     "    } catch (const RawDecodingError&) {\n        throw;"),
    ("errors of colour spaces of JPEGs are told", EXTRACT,
     "    } catch (const RawDecodingError&) {\n        return nullptr;",
     "    } catch (const RawDecodingError&) {\n        throw;"),
    ("a lookup of another kind is a corrupt space", EXTRACT, "        fail(Code::noLookupTable);",
     "        fail(Code::corruptColorSpace);"),
    ("the table is read before the highest index", EXTRACT,
     "    const auto last = array.at(2).integer();\n",
     "    const Bytes table = lookupTable(array.at(3));\n    const auto last = array.at(2).integer();\n"),
    ("names that are none end the list", EXTRACT, "        if (const auto name = value.at(i).name()) {\n",
     "        if (!value.at(i).name()) {\n            break;\n        }\n        if (const auto name = value.at(i).name()) {\n"),
    ("the size is read before the colour space", EXTRACT, "    if (declared.isNull()) {\n        throw RawDecodingError::noColorSpace",
     "    if (!dictionary.get(\"Width\").integer()) {\n        fail(Code::cannotReadSize);\n    }\n"
     "    if (declared.isNull()) {\n        throw RawDecodingError::noColorSpace"),
    ("the report ends without its blank line", REPORT,
     "    lines.emplace_back([] { return std::string(\"\\n\\n\"); });\n", ""),
]
PAGES = ("system_tests --gtest_filter=*Manager*:GeneratePage*:SqueezedPage*:UpdateMeta*",)
IMAGES = ("system_tests --gtest_filter=Images*:OCRImage*:OptimizePage*:ImageReport*",)
TESTS = {
    UNDO: ("foundation_tests --gtest_filter=UndoManager*", "system_tests --gtest_filter=*Manager*"),
    EDIT: PAGES, MANAGER: PAGES, GENERATE: PAGES, INSERT: PAGES,
    OPTIMISE: IMAGES, OCR: IMAGES, ENCODE: IMAGES, REPORT: IMAGES,
    EXTRACT: ("system_tests --gtest_filter=*Embedded*:*Error*",),
}


def built(build, *targets):
    return subprocess.run(["cmake", "--build", str(build), "--target", "OrvexPDF", *targets],
                          stdout=subprocess.DEVNULL, check=False).returncode == 0


def noticed_by(build, tests):
    """The name of a test that fails; None when all pass."""
    for words in tests:
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


def try_one(build, file, old, new):
    """The test that noticed, or a sentence in capitals."""
    path = ROOT / file
    text = path.read_text()
    if old not in text:
        return "THE LINE IS NOT THERE"
    try:
        path.write_text(text.replace(old, new, 1))
        return (noticed_by(build, TESTS[file]) or "NOBODY NOTICED") if built(build) else "DOES NOT COMPILE"
    finally:
        path.write_text(text)


def main():
    build = Path(sys.argv[1]).resolve()
    if subprocess.run(["git", "diff", "--quiet", "HEAD", "--", "Sources"], cwd=ROOT, check=False).returncode != 0:
        print("commit the sources first: they are changed and put back")
        return 1
    chosen = [mutation for mutation in MUTATIONS if not sys.argv[2:] or Path(mutation[1]).name in sys.argv[2:]]
    tests = sorted({words for mutation in chosen for words in TESTS[mutation[1]]})
    if not built(build, "foundation_tests", "system_tests") or noticed_by(build, tests):
        print("the tests fail before anything is broken")
        return 1
    print("| broken so that | in | noticed by |\n|---|---|---|")
    unnoticed = 0
    for what, file, old, new in chosen:
        answer = try_one(build, file, old, new)
        unnoticed += 1 if answer.isupper() else 0
        print(f"| {what} | {Path(file).name} | {answer} |", flush=True)
    built(build)
    return 1 if unnoticed else 0


if __name__ == "__main__":
    sys.exit(main())
