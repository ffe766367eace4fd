#!/usr/bin/env python3
"""Enforces the house rules that a compiler cannot see; prints one line per breach and exits with 1 when there is any.

Floors: a file includes its own floor and lower ones. Libraries: each third-party library is named by the files whose
name ends in it (Codec_libpng.cpp), and by internal headers (*_p.h), which never leave their floor. Public headers name
the standard library and our own public headers. Words: nothing that only its author could follow.

Usage: check_rules.py PROJECT-FOLDER
"""

import re
import subprocess
import sys
from pathlib import Path

# From the ground up; each may include itself and what stands before it.
FLOORS = [
    "Sources/Platform/Foundation",
    "Sources/Platform/Text",
    "Sources/Platform/Imaging",
    "Sources/Platform/PDF",
    "Sources/OrvexPDF",
    "Apps",
]
# Floors that stand side by side and do not know each other.
STRANGERS = {("Sources/Platform/Imaging", "Sources/Platform/Text")}

# Library, as file names spell it, and how its headers begin.
LIBRARIES = {
    "qpdf": r"qpdf/",
    "qtpdf": r"Q[A-Z]|Qt",
    "libjpegturbo": r"jpeglib\.h|jerror\.h|turbojpeg\.h",
    "libpng": r"png\.h",
    "libtiff": r"tiff",
    "lcms2": r"lcms2",
    "openjp2": r"openjpeg\.h",
    "zimg": r"zimg",
    "libdeflate": r"libdeflate\.h",
    "zlib": r"zlib\.h",
    "xxhash": r"xxhash\.h",
    "fontconfig": r"fontconfig/",
    "fribidi": r"fribidi/",
    "harfbuzz": r"hb(-\w+)?\.h",
    "freetype": r"ft2build\.h|freetype/",
}
# The tool is a program, not a library: its argument parser may be named anywhere in it.
APP_HEADERS = re.compile(r"CLI/")
SYSTEM_HEADERS = re.compile(r"(sys/\w+|unistd|fcntl|poll|setjmp|signal|termios|pthread|dlfcn|malloc|endian|emmintrin|immintrin)\.h$")
STANDARD_HEADER = re.compile(r"[a-z_]+$")

MAX_LINES = 400

# What a stranger to the author's desk cannot follow. Spelt so that this file passes its own check.
FORBIDDEN = [
    (re.compile(r"\b[Pp]arts? \d+\.\d"), "a section number of a document that is not in the project"),
    (re.compile(r"(?<![\w.])\bissues? ?#?\d(?!\w*\.pdf\b)|(?<![\w&])#\d{1,4}\b(?![\w.])"), "an issue number"),
    (re.compile(r"(?<![\w.$}])/(?:home|root|work|farm|Users)/"), "an absolute path of one machine"),
    (re.compile(r"/tmp/(?:wt|brief)"), "an absolute path of one machine"),
    (re.compile(r"registry\.npm" r"js|deb\.debian\.o" r"rg"), "a package registry's host"),
    (re.compile(r"\b(?:TO(?:DO)|FIX(?:ME)|XX[X])\b"), "a mark of unfinished work"),
]
ISSUE_NUMBERS_MEAN_COLOURS = {".html", ".css", ".svg", ".json", ".py"}
SOURCE_SUFFIXES = {".cpp", ".h"}
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def project_files(root):
    """Tracked files; every file outside build folders where there is no repository."""
    listing = subprocess.run(
        ["git", "-C", str(root), "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        capture_output=True, check=False) if (root / ".git").exists() and has_git() else None
    if listing is not None and listing.returncode == 0:
        names = listing.stdout.decode().split("\0")
        return sorted(root / name for name in names if name and (root / name).is_file())
    skipped = {".git", "build", "node_modules", ".cache", "__pycache__"}
    return sorted(path for path in root.rglob("*")
                  if path.is_file() and not skipped & set(path.relative_to(root).parts))


def has_git():
    try:
        subprocess.run(["git", "--version"], capture_output=True, check=True)
        return True
    except (OSError, subprocess.CalledProcessError):
        return False


def floor_of(relative):
    return next((floor for floor in FLOORS if relative.startswith(floor + "/")), None)


def library_of(header):
    return next((name for name, start in LIBRARIES.items() if re.match(start, header)), None)


def is_internal(relative):
    return relative.endswith("_p.h")


def jail_of(relative):
    """The library that the file's name says it jails."""
    stem = Path(relative).stem
    return stem.rsplit("_", 1)[1] if "_" in stem else None


class Sources:
    """The library's and the tool's sources and who includes what."""

    def __init__(self, root, files):
        self.includes = {}
        self.lines = {}
        for path in files:
            relative = path.relative_to(root).as_posix()
            if path.suffix in SOURCE_SUFFIXES and floor_of(relative):
                text = path.read_text(encoding="utf-8")
                self.includes[relative] = INCLUDE.findall(text)
                self.lines[relative] = text.splitlines()

    def resolve(self, relative, name):
        """The source file that an include in quotes names: from the source root, or beside the includer (tool only)."""
        for candidate in ("Sources/" + name, "Apps/" + name, (Path(relative).parent / name).as_posix()):
            if candidate in self.includes:
                return candidate
        return None


def check_floors(sources):
    for relative, includes in sources.includes.items():
        own = floor_of(relative)
        for kind, name in includes:
            target = sources.resolve(relative, name) if kind == '"' else None
            if target is None:
                continue
            floor = floor_of(target)
            if FLOORS.index(floor) > FLOORS.index(own) or (own, floor) in STRANGERS:
                yield f"{relative}: includes {name} of a floor that it may not know"
            if is_internal(target) and floor != own:
                yield f"{relative}: includes {name}, which is internal to {floor}"
            if is_internal(target) and relative.endswith(".h") and not is_internal(relative):
                yield f"{relative}: a public header includes the internal {name}"


def check_libraries(sources):
    for relative, includes in sources.includes.items():
        for kind, name in includes:
            yield from check_include(sources, relative, kind, name)


def check_include(sources, relative, kind, name):
    if kind == '"':
        if sources.resolve(relative, name) is None:
            yield f'{relative}: "{name}" is none of our files'
        return
    if STANDARD_HEADER.match(name):
        return
    public = relative.endswith(".h") and not is_internal(relative)
    in_app = relative.startswith("Apps/")
    if in_app and (APP_HEADERS.match(name) or SYSTEM_HEADERS.match(name)):
        return
    if public:
        yield f"{relative}: a public header includes <{name}>"
        return
    library = library_of(name)
    if library is None and not SYSTEM_HEADERS.match(name):
        yield f"{relative}: <{name}> belongs to no library that the rules know"
    elif library and not is_internal(relative) and jail_of(relative) != library:
        yield f"{relative}: uses {library}, which only files named *_{library}.cpp may"


def check_heads(sources):
    """A header says in its first line what it is for."""
    for relative, lines in sources.lines.items():
        if relative.endswith(".h") and not (lines and lines[0].startswith("// ")):
            yield f"{relative}: the header does not open with a comment that says what it is for"
        if len(lines) > MAX_LINES:
            yield f"{relative}: {len(lines)} lines, more than {MAX_LINES}"


def check_words(root, files):
    for path in files:
        relative = path.relative_to(root).as_posix()
        data = path.read_bytes()
        if b"\0" in data[:4096] or path.name == "LICENSE":
            continue
        for number, line in enumerate(data.decode("utf-8", "replace").splitlines(), 1):
            for pattern, reason in FORBIDDEN:
                if reason == "an issue number" and path.suffix in ISSUE_NUMBERS_MEAN_COLOURS:
                    continue
                if pattern.search(line):
                    yield f"{relative}:{number}: names {reason}"


def breaches(root):
    files = project_files(root)
    sources = Sources(root, files)
    if not sources.includes:
        yield f"{root}: no sources found"
    yield from check_floors(sources)
    yield from check_libraries(sources)
    yield from check_heads(sources)
    yield from check_words(root, files)


def main():
    found = list(breaches(Path(sys.argv[1]).resolve()))
    print("\n".join(found) or "the rules hold")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
