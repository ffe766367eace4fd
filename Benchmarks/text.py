#!/usr/bin/env python3
"""Measures our reading of text against poppler's, MuPDF's and PDFium's.

Usage: text.py agree [--list] FOLDER|FILE.pdf...
       text.py speed [--pages N | --corpus FOLDER...] [--runs N]

`agree` reads every file with all four and compares words and lines. What counts as right for one reader is what the
majority of the other three has: a word as often as at least two of them have it on that page; a line when at least two of
them have it with the same text and a box that is the same for the most part. Annotations, rotation and crop boxes are
taken away first, so that all read the same page. --list names the files where ours is the odd one out.

`speed` times whole processes in turns, on a file of many pages made here or on the files of folders: first a process for
each file, then one process that reads them all. Ratios are by the wall clock and, in brackets, by processor time. A file
that one of the readers fails on, or takes too long for, is named and counts for none of them.
"""

import argparse
import collections
import concurrent.futures
import html
import json
import os
import random
import re
import statistics
import subprocess
import sys
import tempfile
import threading
import time
import unicodedata
import zlib
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
BIN = PROJECT / "build/release/bin"
READERS = ("ours", "poppler", "MuPDF", "PDFium")
SECONDS = 120
SECONDS_OF_A_RACE = {"files": 3, "pages": 400}
NUMBER = r"(-?[\d.]+(?:e[-+]?\d+)?)"

Line = collections.namedtuple("Line", "text box")  # the box: left, top, right, bottom from the page's top left corner


def output_of(*command):
    try:
        result = subprocess.run(command, capture_output=True, timeout=SECONDS, check=False)
    except subprocess.TimeoutExpired:
        return None
    return result.stdout.decode("utf-8", "replace") if result.returncode == 0 else None


def plain(text):
    """Compatibility forms, soft hyphens and invisible characters are no differences."""
    text = unicodedata.normalize("NFKC", text)
    text = "".join(c for c in text if unicodedata.category(c) not in ("Cf", "Cc", "Co", "Cn") or c in "\t ")
    return " ".join(text.replace("\ufffd", "").split())


def ours(file, boxes):
    output = output_of(BIN / "orvexpdf", "--quiet", "found", "--compact", file)
    if output is None:
        return None
    pages = []
    for page, (left, bottom, _, _) in zip(json.loads(output)["pages"], boxes):
        lines = []
        for item in page["items"]:
            box = item["box"]
            x, y = box["x"] - left, box["y"] + bottom
            lines.append(Line(plain(item["text"]), (x, y, x + box["w"], y + box["h"])))
        pages.append(lines)
    return pages


def poppler(file, boxes):
    output = output_of("pdftotext", "-bbox-layout", file, "-")
    if output is None:
        return None
    line_start = re.compile(rf'<line xMin="{NUMBER}" yMin="{NUMBER}" xMax="{NUMBER}" yMax="{NUMBER}">')
    word = re.compile(r"<word [^>]*>(.*)</word>")
    pages, words, box = [], [], None
    for text in output.splitlines():
        if "<page " in text:
            pages.append([])
        elif match := line_start.search(text):
            words, box = [], tuple(map(float, match.groups()))
        elif match := word.search(text):
            words.append(html.unescape(match[1]))
        elif "</line>" in text and pages:
            pages[-1].append(Line(plain(" ".join(words)), box))
    return pages


def mupdf(file, boxes):
    output = output_of("mutool", "draw", "-q", "-F", "stext", file)
    if output is None:
        return None
    line_start = re.compile(rf'<line bbox="{NUMBER} {NUMBER} {NUMBER} {NUMBER}"')
    char = re.compile(r'<char .* c="([^"]*)"')
    pages, text, box = [], [], None
    for record in output.splitlines():
        if match := char.search(record):
            text.append(html.unescape(match[1]))
        elif match := line_start.search(record):
            text, box = [], tuple(map(float, match.groups()))
        elif "</line>" in record:
            pages[-1].append(Line(plain("".join(text)), box))
        elif "<page " in record:
            pages.append([])
    return pages


def pdfium(file, boxes):
    output = output_of(BIN / "bench_text_qtpdf", file)
    if output is None:
        return None
    pages = [[] for _ in boxes]
    for record in output.split("\n"):
        fields = record.split("\t", 5)
        if len(fields) == 6 and int(fields[0]) <= len(pages):
            pages[int(fields[0]) - 1].append(Line(plain(fields[5]), tuple(map(float, fields[1:5]))))
    return pages


def overlap(a, b):
    width = min(a[2], b[2]) - max(a[0], b[0])
    height = min(a[3], b[3]) - max(a[1], b[1])
    if width <= 0 or height <= 0:
        return 0
    shared = width * height
    return shared / ((a[2] - a[0]) * (a[3] - a[1]) + (b[2] - b[0]) * (b[3] - b[1]) - shared)


def same_line(a, b):
    return a.text == b.text and overlap(a.box, b.box) >= 0.5


def words_of(lines):
    return collections.Counter(word for line in lines for word in line.text.split())


def score(hits, mine, theirs):
    return 2 * hits / (mine + theirs) if mine + theirs else 1.0


def word_score(pages, others):
    hits = mine = theirs = 0
    for page, lines in enumerate(pages):
        own = words_of(lines)
        counts = [words_of(other[page]) for other in others]
        majority = collections.Counter({word: statistics.median_low(sorted(count[word] for count in counts))
                                        for word in set().union(*counts)})
        hits += sum(min(count, majority[word]) for word, count in own.items())
        mine += sum(own.values())
        theirs += sum(majority.values())
    return score(hits, mine, theirs)


def by_text(lines):
    index = collections.defaultdict(list)
    for line in lines:
        index[line.text].append(line)
    return index


def clusters(lines):
    """Groups of lines that are the same, each of them as another one of its group."""
    groups = []
    for line in lines:
        same = [group for group in groups if any(same_line(line, other) for other in group)]
        groups = [group for group in groups if group not in same] + [[line, *(other for group in same for other in group)]]
    return groups


def line_score(pages, others):
    """Lines that two of three have are the majority's; each counts once."""
    hits = mine = theirs = 0
    for page, lines in enumerate(pages):
        lines = [line for line in lines if line.text]
        indices = [by_text(other[page]) for other in others]
        has = lambda index, line: any(overlap(line.box, other.box) >= 0.5 for other in index.get(line.text, ()))
        hits += sum(sum(has(index, line) for index in indices) >= 2 for line in lines)
        mine += len(lines)
        backed = [line for i, other in enumerate(others) for line in other[page]
                  if line.text and any(has(indices[j], line) for j in range(len(others)) if j != i)]
        theirs += sum(len(clusters(same)) for same in by_text(backed).values())
    return min(1.0, score(hits, mine, theirs))


def read_all(path):
    """What each reader makes of a file; None when it cannot be prepared or one of them fails."""
    with tempfile.TemporaryDirectory() as folder:
        file = Path(folder) / "page.pdf"
        prepared = output_of(BIN / "bench_text_prepare", path, file)
        if prepared is None:
            return None
        boxes = [tuple(map(float, line.split("\t"))) for line in prepared.splitlines()]
        read = {name: globals()[name.lower()](file, boxes) for name in READERS}
    if any(pages is None or len(pages) != len(boxes) for pages in read.values()):
        return None
    return read


def compare(path):
    read = read_all(path)
    if read is None:
        return path, None
    if sum(any(line.text for page in pages for line in page) for pages in read.values()) < 2:
        return path, {}
    scores = {}
    for name in READERS:
        others = [read[other] for other in READERS if other != name]
        scores[name] = word_score(read[name], others), line_score(read[name], others)
    return path, scores


def pdfs_of(paths):
    for path in map(Path, paths):
        yield from sorted(path.rglob("*.pdf")) if path.is_dir() else [path]


def agree(options):
    files = list(pdfs_of(options.paths))
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        results = list(pool.map(compare, files))
    unread = [path for path, scores in results if scores is None]
    texts = {path: scores for path, scores in results if scores}
    print(f"{len(files)} files: {len(texts)} with text, {len(unread)} that not all of the four read.\n")
    print(f"| | {' | '.join(READERS)} |\n|---" + "|---" * len(READERS) + "|")
    for kind, what in enumerate(("words", "lines with boxes")):
        means = [statistics.mean(scores[name][kind] for scores in texts.values()) for name in READERS]
        print(f"| {what} | " + " | ".join(f"{mean:.3f}" for mean in means) + " |")
    if options.list:
        for path, scores in sorted(texts.items(), key=lambda entry: entry[1]["ours"][0]):
            values = " ".join(f"{name} {scores[name][0]:.2f}/{scores[name][1]:.2f}" for name in READERS)
            best = max(scores[name][0] for name in READERS[1:])
            if scores["ours"][0] < best - 0.02:
                print(f"  {path.name}: {values}")


WORDS = """text pages reader document line column figure table measure machine paper letter number result between under
through before other where which their about would there these could first after again every little great small often
until along without another because different picture example sentence question problem together important""".split()


def simple_font(name, subtype, encoding):
    widths = " ".join(str(250 + (code * 37) % 500) for code in range(32, 256))
    return (f"<< /Type /Font /Subtype /{subtype} /BaseFont /{name} /FirstChar 32 /LastChar 255 /Widths [{widths}] "
            f"/Encoding {encoding} >>").encode()


def many_pages(path, count):
    """Text of four kinds of fonts, each page with a content stream of its own."""
    objects = [b"", b"<< /Type /Catalog /Pages 2 0 R >>", b""]
    objects += [b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>",
                simple_font("AAAAAA+Serif", "TrueType", "/WinAnsiEncoding"),
                simple_font("AAAAAB+Sans", "Type1", "<< /Type /Encoding /Differences [39 /quoteright 96 /quoteleft] >>"),
                b"<< /Type /Font /Subtype /Type0 /BaseFont /AAAAAC+Wide /Encoding /Identity-H /DescendantFonts [7 0 R] "
                b"/ToUnicode 9 0 R >>",
                b"<< /Type /Font /Subtype /CIDFontType2 /BaseFont /AAAAAC+Wide /CIDSystemInfo << /Registry (Adobe) "
                b"/Ordering (Identity) /Supplement 0 >> /DW 600 /W [32 [" +
                b" ".join(b"%d" % (300 + i * 3) for i in range(95)) + b"]] /FontDescriptor 8 0 R >>",
                b"<< /Type /FontDescriptor /FontName /AAAAAC+Wide /Flags 4 /Ascent 800 /Descent -200 /CapHeight 700 "
                b"/ItalicAngle 0 /StemV 80 /FontBBox [0 -200 1000 800] >>"]
    cmap = (b"/CIDInit /ProcSet findresource begin 12 dict begin begincmap 1 begincodespacerange <0000> <FFFF> "
            b"endcodespacerange 1 beginbfrange <0020> <007E> <0020> endbfrange endcmap end end")
    objects.append(b"<< /Length %d >>\nstream\n%b\nendstream" % (len(cmap), cmap))
    chance = random.Random(1)
    kids = []
    for number in range(count):
        content = []
        for line in range(48):
            font = line // 12 + 1
            text = " ".join(chance.choice(WORDS) for _ in range(11)) + f" {number}"
            start = f"BT /F{font} 10 Tf 1 0 0 1 50 {760 - 15 * line} Tm "
            if font == 4:
                content.append(start + "<" + text.encode("utf-16-be").hex() + "> Tj ET")
            elif font == 3:
                content.append(start + "[" + " -250 ".join(f"({word})" for word in text.split()) + "] TJ ET")
            else:
                content.append(start + f"({text}) Tj ET")
        packed = zlib.compress("\n".join(content).encode(), 6)
        objects.append(b"<< /Length %d /Filter /FlateDecode >>\nstream\n%b\nendstream" % (len(packed), packed))
        objects.append(b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents %d 0 R /Resources << /Font << "
                       b"/F1 3 0 R /F2 4 0 R /F3 5 0 R /F4 6 0 R >> >> >>" % (len(objects) - 1))
        kids.append(len(objects) - 1)
    objects[2] = b"<< /Type /Pages /Count %d /Kids [%b] >>" % (count, b" ".join(b"%d 0 R" % kid for kid in kids))
    with open(path, "wb") as file:
        file.write(b"%PDF-1.7\n")
        offsets = []
        for number, body in enumerate(objects[1:], 1):
            offsets.append(file.tell())
            file.write(b"%d 0 obj\n%b\nendobj\n" % (number, body))
        table = file.tell()
        file.write(b"xref\n0 %d\n0000000000 65535 f \n" % len(objects))
        file.writelines(b"%010d 00000 n \n" % offset for offset in offsets)
        file.write(b"trailer\n<< /Root 1 0 R /Size %d >>\nstartxref\n%d\n%%%%EOF\n" % (len(objects), table))


def commands_for(file):
    tool = str(BIN / "orvexpdf")
    return {
        "orvexpdf found": [tool, "-q", "found", "--compact", file],
        "orvexpdf text": [tool, "-q", "text", file],
        "pdftotext -bbox-layout": ["pdftotext", "-bbox-layout", file, "-"],
        "pdftotext": ["pdftotext", file, "-"],
        "mutool -F stext": ["mutool", "draw", "-q", "-F", "stext", file],
        "mutool -F txt": ["mutool", "draw", "-q", "-F", "txt", file],
        "PDFium (Qt PDF)": [str(BIN / "bench_text_qtpdf"), "--plain", file],
    }


Cost = collections.namedtuple("Cost", "seconds processor peak")  # peak memory in MiB


def timed(command, limit):
    """What a process costs, or in words why that is not to be compared."""
    start = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    watch = threading.Timer(limit, process.kill)
    watch.start()
    _, status, usage = os.wait4(process.pid, 0)
    watch.cancel()
    process.returncode = os.waitstatus_to_exitcode(status)
    seconds = time.perf_counter() - start
    if seconds >= limit:
        return f"takes more than {limit} s"
    if process.returncode != 0:
        return "fails"
    return Cost(seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024)


def first_turns(commands, limit):
    """The costs of the first run, up to the first reader that is out; and what it did."""
    costs = {}
    for name, command in commands.items():
        cost = timed(command, limit)
        if isinstance(cost, str):
            return costs, f"{name} {cost}"
        costs[name] = cost
    return costs, None


def race(files, runs, limit):
    """Medians over the runs of the sums over the files, in turns at each file; and the files left out, with the reason."""
    sums = collections.defaultdict(lambda: [[0.0, 0.0] for _ in range(runs)])
    peaks = collections.defaultdict(float)
    left_out = {}
    for file in files:
        commands = commands_for(str(file))
        costs, reason = first_turns(commands, limit)
        if reason:
            left_out[file.name] = reason
            continue
        again = [{name: timed(command, limit) for name, command in commands.items()} for _ in range(runs - 1)]
        if any(isinstance(cost, str) for turns in again for cost in turns.values()):
            left_out[file.name] = "not the same in every run"
            continue
        for run, turns in enumerate([costs, *again]):
            for name, cost in turns.items():
                sums[name][run][0] += cost.seconds
                sums[name][run][1] += cost.processor
                peaks[name] = max(peaks[name], cost.peak)
    median = lambda name, kind: statistics.median(sum_[kind] for sum_ in sums[name])
    return {name: Cost(median(name, 0), median(name, 1), peaks[name]) for name in sums}, left_out


def whole_collection(files):
    """One process each that reads all files, on one core; pdftotext takes a single file."""
    files = list(map(str, files))
    tool = str(BIN / "orvexpdf")
    alone = ["taskset", "-c", str(min(os.sched_getaffinity(0)))]
    return {
        "orvexpdf text": [*alone, tool, "-q", "text", *files],
        "orvexpdf text, all cores": [tool, "-q", "text", *files],
        "mutool -F txt": [*alone, "mutool", "draw", "-q", "-F", "txt", *files],
        "poppler's library": [*alone, str(BIN / "bench_text_poppler"), *files],
        "pdftotext, a process each": [*alone, "sh", "-c", 'for file; do pdftotext "$file" -; done', "sh", *files],
        "PDFium (Qt PDF)": [*alone, str(BIN / "bench_text_qtpdf"), "--plain", *files],
    }


def race_at_once(files, runs, limit):
    """Medians over the runs; a reader that does not get through is left out, with the reason."""
    costs = collections.defaultdict(list)
    left_out = {}
    for _ in range(runs):
        for name, command in whole_collection(files).items():
            cost = timed(command, limit)
            if isinstance(cost, str):
                left_out[name] = f"{name} {cost} on all at once"
            else:
                costs[name].append(cost)
    results = {name: Cost(*(statistics.median(values) for values in zip(*turns)))
               for name, turns in costs.items() if name not in left_out}
    return results, left_out


def print_left_out(left_out):
    by_reason = collections.defaultdict(list)
    for name, reason in left_out.items():
        by_reason[reason].append(name)
    for reason, names in sorted(by_reason.items()):
        print(f"Left out, {reason}: {', '.join(names)}.\n")


def print_race(title, results, bases):
    print(title + ":\n")
    print("| | s | processor s | peak MiB | " + " | ".join(f"times {short}" for short, _ in bases) + " |")
    print("|---|---|---|---|" + "---|" * len(bases))
    for name, cost in results.items():
        times = [f"{cost.seconds / base.seconds:.1f} ({cost.processor / base.processor:.1f})"
                 for base in (results[base] for _, base in bases)]
        print(f"| `{name}` | {cost.seconds:.2f} | {cost.processor:.2f} | {cost.peak:.0f} | {' | '.join(times)} |")
    print(flush=True)


PROCESS_EACH = (("found", "orvexpdf found"), ("text", "orvexpdf text"))


def speed_on_collection(folder, runs):
    files = list(pdfs_of([folder]))
    results, left_out = race(files, runs, SECONDS_OF_A_RACE["files"])
    print_left_out(left_out)
    if not results:
        return
    read = [file for file in files if file.name not in left_out]
    title = f"{Path(folder).name}, {len(read)} of {len(files)} files"
    print_race(f"{title}, a process each", results, PROCESS_EACH)
    results, left_out = race_at_once(read, runs, SECONDS_OF_A_RACE["pages"])
    print_left_out(left_out)
    print_race(f"{title}, one process for all, on one core unless it says otherwise", results,
               [("text", "orvexpdf text")])


def speed(options):
    for folder in options.corpus or ():
        speed_on_collection(folder, options.runs)
    if options.corpus:
        return
    with tempfile.TemporaryDirectory() as folder:
        for count in (options.pages // 4, options.pages):
            file = Path(folder) / f"{count}.pdf"
            many_pages(file, count)
            results, left_out = race([file], options.runs, SECONDS_OF_A_RACE["pages"])
            print_left_out(left_out)
            if results:
                print_race(f"{count} pages, {file.stat().st_size / 1e6:.0f} MB", results, PROCESS_EACH)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(dest="command", required=True)
    agreeing = commands.add_parser("agree")
    agreeing.add_argument("--list", action="store_true")
    agreeing.add_argument("paths", nargs="+")
    racing = commands.add_parser("speed")
    racing.add_argument("--pages", default=20_000, type=int)
    racing.add_argument("--runs", default=3, type=int)
    racing.add_argument("--corpus", metavar="FOLDER", nargs="+")
    options = parser.parse_args()
    {"agree": agree, "speed": speed}[options.command](options)


if __name__ == "__main__":
    main()
