#!/usr/bin/env python3
"""Times the optimiser on scans, to the medium preset, against libjpeg-turbo alone, ImageMagick, libvips and Ghostscript;
prints Markdown tables.

Usage: squeeze.py [--build FOLDER] [--runs N] [--pages N] [--scans FOLDER]

The scans are A4 pages of 300 dpi as JPEG of quality 90. The shared collection holds few pages of that size, so each of
them is taken several times: as it is, as a scanner makes it of paper that lies askew (turned by a degree, softened,
grey), on yellowish paper (colour), and at 400 dpi. Without the collection only the samples of Examples are taken. A
batch of a hundred repeats the pages as they are, for the time by the clock on one core and on all.

The floor is what nothing that reduces and encodes a scan can do without: libjpeg-turbo decoding at half the size and
encoding that, with the same quality and fitting Huffman tables. Ours and the floor are measured inside one program, page
by page; ours again and the peers as commands for all pages at once. All take turns; times are the processor's, whatever
number of threads took them, unless the clock is named. Alike means structural similarity with the scan decoded in full
and reduced by GraphicsMagick's Lanczos filter, on the samples as they are stored.
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
PRESET_DPI, PRESET_QUALITY = 144, 50

VARIANTS = {
    "plain": [],
    "askew": ["-background", "white", "-rotate", "1", "-blur", "0x0.6", "-colorspace", "Gray"],
    "yellowed": ["-type", "TrueColor", "-fill", "#fdf3d0", "-opaque", "white", "-blur", "0x0.6"],
    "fine": ["-resize", "133.333%"],
}


def run(*command):
    result = subprocess.run([str(part) for part in command], capture_output=True, check=False)
    if result.returncode != 0:
        sys.exit(f"failed with {result.returncode}: {command}\n{result.stderr.decode(errors='replace')}")
    return result.stdout.decode(errors="replace")


def sources(scans, folder):
    """Whole pages, as pictures of whatever kind."""
    pages = sorted((PROJECT / "Examples/scans").glob("*.jpg")) + sorted((PROJECT / "Examples/scans").glob("*.png"))
    if not scans.is_dir():
        print(f"no collection at {scans}: samples only")
        return pages
    pages += [scans / "linn.png", scans / "typewriter.png"]
    for pdf in ("ccitt", "epson", "poster", "2400dpi", "c02-22"):
        run("pdftoppm", "-png", "-r", 300 if pdf != "poster" else 102, "-singlefile", scans / f"{pdf}.pdf", folder / pdf)
        pages.append(folder / f"{pdf}.png")
    return pages


def make_scans(pages, count, folder):
    """JPEGs of A4 at 300 dpi, or 400 for the fine ones."""
    made = []
    for variant, options in VARIANTS.items():
        dpi = 400 if variant == "fine" else 300
        for page in pages:
            target = folder / f"{page.stem}-{variant}.jpg"
            run("gm", "convert", page, "-background", "white", "-flatten", "-resize", "2480x3508", *options,
                "-units", "PixelsPerInch", "-density", f"{dpi}x{dpi}", "-quality", 90, target)
            made.append(target)
            if len(made) == count:
                return made
    return made


def prepare(tool, program, scans, folder):
    """What the reduction alone gives, what it is compared with, and the scans in one PDF."""
    for number, jpeg in enumerate(scans):
        reduced, reference = folder / f"reduced-{number:03}.png", folder / f"reference-{number:03}.png"
        run(program, "reduce", jpeg, reduced)
        run("gm", "convert", jpeg, "-filter", "Lanczos", "-resize", size_of(reduced), reference)
    run(tool, "-q", "make", *scans, "-o", folder / "scans.pdf")


def size_of(picture):
    return run("gm", "identify", "-format", "%wx%h!", picture).strip()


def peers(tool, scans, folder):
    """One command for all scans each."""
    magick = []
    for dpi in (300, 400):
        files = [str(scan) for scan in scans if ("-fine" in scan.name) == (dpi == 400)]
        if files:
            magick.append(f"mogrify -path '{folder}/magick' -resize {100 * PRESET_DPI / dpi}% -units PixelsPerInch "
                          f"-density {PRESET_DPI} -quality {PRESET_QUALITY} '" + "' '".join(files) + "'")
    ghostscript = ["gs", "-q", "-dBATCH", "-dNOPAUSE", "-sDEVICE=pdfwrite", f"-sOutputFile={folder / 'gs.pdf'}"]
    for kind in ("Color", "Gray"):
        ghostscript += [f"-dDownsample{kind}Images=true", f"-d{kind}ImageDownsampleType=/Bicubic",
                        f"-d{kind}ImageResolution={PRESET_DPI}", f"-d{kind}ImageDownsampleThreshold=1.0",
                        f"-dAutoFilter{kind}Images=false", f"-d{kind}ImageFilter=/DCTEncode"]
    vips = []
    for number, scan in enumerate(scans):
        scale = PRESET_DPI / (400 if "-fine" in scan.name else 300)
        vips.append(f"vips resize '{scan}' '{folder}/vips/{number:03}.jpg[Q={PRESET_QUALITY},optimize-coding]' {scale}")
    return {
        "ours": [tool, "-q", "make", *scans, "--squeeze", "medium", "-o", folder / "ours.pdf"],
        "ImageMagick": ["sh", "-c", " && ".join(magick)],
        "libvips": ["sh", "-c", " && ".join(vips)],
        "Ghostscript": [*ghostscript, folder / "scans.pdf"],
    }


def pictures(name, scans, folder):
    """The JPEGs themselves; out of a PDF, whose own objects would be counted otherwise."""
    if name == "ImageMagick":
        return [folder / "magick" / scan.name for scan in scans]
    if name == "libvips":
        return sorted((folder / "vips").iterdir())
    pdf = folder / ("ours.pdf" if name == "ours" else "gs.pdf")
    run("pdfimages", "-all", pdf, folder / name)
    return sorted(folder.glob(f"{name}-*"))


def likeness(program, folder, number, picture):
    reference, shown = folder / f"reference-{number:03}.png", folder / "shown.png"
    run("gm", "convert", picture, "-filter", "Lanczos", "-resize", size_of(reference), shown)
    return float(run(program, "compare", reference, shown))


def seconds(command):
    """Of the processor, by the command and all that it started, and by the clock."""
    start = time.monotonic()
    process = subprocess.Popen([str(part) for part in command], stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"failed with {process.returncode}: {command}")
    return usage.ru_utime + usage.ru_stime, time.monotonic() - start


def measure_peers(tool, program, scans, runs, folder):
    """Median seconds, sizes in bytes and likenesses of each."""
    (folder / "magick").mkdir()
    (folder / "vips").mkdir()
    prepare(tool, program, scans, folder)
    commands = peers(tool, scans, folder)
    taken = {name: [] for name in commands}
    for _ in range(runs):
        for name, command in commands.items():
            taken[name].append(seconds(command)[0])
    times, sizes, alike = {}, {}, {}
    alike["reduction alone"] = [likeness(program, folder, number, folder / f"reduced-{number:03}.png")
                                for number in range(len(scans))]
    for name in commands:
        left = pictures(name, scans, folder)
        times[name] = statistics.median(taken[name])
        sizes[name] = [picture.stat().st_size for picture in left]
        alike[name] = [likeness(program, folder, number, picture) for number, picture in enumerate(left)]
    return times, sizes, alike


def time_batch(tool, pages, runs, folder):
    """A hundred scans through the tool on one core and on all, and through Ghostscript, by the clock."""
    scans = [pages[i % len(pages)] for i in range(100)]
    run(tool, "-q", "make", *scans, "-o", folder / "scans.pdf")
    commands = peers(tool, scans, folder)
    ours = [str(part) for part in commands["ours"]]
    batch = {"ours, one core": ["taskset", "-c", "0", *ours], f"ours, {os.cpu_count()} cores": ours,
             "Ghostscript": commands["Ghostscript"]}
    taken = {name: [] for name in batch}
    for _ in range(runs):
        for name, command in batch.items():
            taken[name].append(seconds(command))
    first = statistics.median(clock for _, clock in taken["ours, one core"])
    print("\n| 100 scans of 300 dpi | s by the clock | s of the processor | clock, times ours on one core |")
    print("|---|---|---|---|")
    for name, pairs in taken.items():
        processor, clock = (statistics.median(column) for column in zip(*pairs))
        print(f"| {name} | {clock:.1f} | {processor:.1f} | {clock / first:.2f} |")


def time_inside(program, scans, runs):
    """The optimiser and the floor, page by page."""
    lines = [line.rsplit(" ", 4) for line in run(program, "time", runs, *scans).splitlines()]
    ours, floor = sum(float(line[1]) for line in lines), sum(float(line[2]) for line in lines)
    ratios = sorted(float(line[1]) / float(line[2]) for line in lines)
    print(f"| {len(lines)} scans, inside one program | ms a page | |")
    print("|---|---|---|")
    print(f"| `optimizeImage` | {ours / len(lines):.1f} | {ours / floor:.2f} times the floor |")
    print(f"| libjpeg-turbo alone | {floor / len(lines):.1f} | |")
    winners = [line[4] for line in lines]
    print(f"\nPage by page {ratios[0]:.2f} to {ratios[-1]:.2f} times the floor, in the middle "
          f"{statistics.median(ratios):.2f}; {sum(ratio > 1.5 for ratio in ratios)} above 1.5. Kept: "
          f"{', '.join(f'{winners.count(mode)} {mode}' for mode in sorted(set(winners)))}.\n")


def compare(tool, program, scans, runs, folder):
    """The tool and the peers as commands."""
    times, sizes, alike = measure_peers(tool, program, scans, runs, folder)
    print(f"| {len(scans)} pages, as commands | ms a page | times ours | KB a page | alike |")
    print("|---|---|---|---|---|")
    for name, taken in times.items():
        print(f"| {name} | {1000 * taken / len(scans):.0f} | {taken / times['ours']:.2f} | "
              f"{sum(sizes[name]) / 1000 / len(scans):.0f} | {statistics.mean(alike[name]):.4f} |")
    reduction = alike["reduction alone"]
    print(f"\nOur reduction alone is {min(reduction):.4f} to {max(reduction):.4f} alike, in the middle "
          f"{statistics.median(reduction):.4f}.")


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("--build", default=PROJECT / "build/release", type=Path)
    arguments.add_argument("--runs", default=5, type=int)
    arguments.add_argument("--pages", default=40, type=int, help="0: all variants of all pages")
    arguments.add_argument("--scans", default=PROJECT.parent / "shared/corpus/scans", type=Path)
    options = arguments.parse_args()
    tool, program = options.build / "bin/orvexpdf", options.build / "bin/bench_squeeze"

    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        pages = sources(options.scans, folder)
        scans = make_scans(pages, options.pages, folder)
        few = max(1, options.runs // 2)
        time_inside(program, scans, options.runs)
        compare(tool, program, scans[:len(pages)], few, folder)
        time_batch(tool, scans[:len(pages)], few, folder)


if __name__ == "__main__":
    main()
