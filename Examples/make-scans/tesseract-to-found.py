#!/usr/bin/env python3
"""Turns tesseract's output (TSV or hOCR) into found-content JSON, the recognised text that orvexpdf takes.

    tesseract scan.jpg scan --dpi 300 hocr
    tesseract-to-found.py scan.hocr -o scan.found.json
    orvexpdf make scan.jpg --found scan.found.json -o scan.pdf

One page of input becomes a found page, several become a found document. Boxes are in pixels of the image that
was recognised. Take hOCR when you can: unlike TSV it tells the image's resolution and the lines' baselines and
heights. With them all words of a line get boxes of one height along the baseline, so that PDF readers see a line
where people see one; boxes drawn tightly round each word's ink (--height ink) fall apart when text is copied.
Exit status: 0 done, 2 wrong usage, 3 input missing or unreadable, 4 input is not tesseract's, 6 output not written.
"""
import argparse
import json
import os
import re
import sys
import tempfile
from html.parser import HTMLParser


class NotTesseract(Exception):
    """The input is neither of the two formats; the text says where it went wrong."""


class Page:
    def __init__(self, width, height, dpi=None):
        self.width, self.height, self.dpi = width, height, dpi
        self.lines = []


class Line:
    def __init__(self, box, baseline=None, height=None, descent=None):
        self.box, self.baseline, self.height, self.descent = box, baseline, height, descent
        self.words = []


class Word:
    def __init__(self, text, box, confidence):
        self.text, self.box, self.confidence = text, box, confidence


# ---- reading -------------------------------------------------------------------------------------------------------

PAGE_ROW, LINE_ROW, WORD_ROW = 1, 4, 5
TSV_HEAD = ["level", "page_num", "block_num", "par_num", "line_num", "word_num",
            "left", "top", "width", "height", "conf", "text"]


def read_tsv(text):
    rows = [row.rstrip("\r").split("\t") for row in text.split("\n")]
    if rows[0] != TSV_HEAD:
        raise NotTesseract("line 1: not the heading of tesseract's TSV")
    pages = []
    for number, row in enumerate(rows[1:], start=2):
        if row != [""]:
            read_tsv_row(row, number, pages)
    return pages


def read_tsv_row(row, number, pages):
    try:
        level, box, confidence = int(row[0]), tuple(int(v) for v in row[6:10]), float(row[10])
        text = row[11] if len(row) > 11 else ""
        if level == PAGE_ROW:
            pages.append(Page(box[2], box[3]))
        elif level == LINE_ROW:
            pages[-1].lines.append(Line(box))
        elif level == WORD_ROW:
            pages[-1].lines[-1].words.append(Word(text, box, confidence))
    except (ValueError, IndexError) as error:
        raise NotTesseract(f"line {number}: not a row of tesseract's TSV ({error})") from error


class HocrReader(HTMLParser):
    """Pages, lines and words by their class names; whatever else stands between them does not matter."""

    LINE_CLASSES = {"ocr_line", "ocr_header", "ocr_textfloat", "ocr_caption"}
    VOID = {"meta", "br", "img", "link", "hr", "input"}

    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.pages, self.word, self.depth = [], None, 0

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        kinds, title = set((attributes.get("class") or "").split()), attributes.get("title") or ""
        try:
            if "ocr_page" in kinds:
                self.pages.append(page_of(title))
            elif kinds & self.LINE_CLASSES:
                self.pages[-1].lines.append(line_of(title))
            elif "ocrx_word" in kinds:
                self.word, self.depth = Word("", box_of(title), number_of("x_wconf", title)), 0
                self.pages[-1].lines[-1].words.append(self.word)
        except (ValueError, IndexError) as error:
            raise NotTesseract(f"line {self.getpos()[0]}: not what tesseract writes ({error})") from error
        if self.word is not None and tag not in self.VOID:
            self.depth += 1

    def handle_endtag(self, tag):
        if self.word is not None and tag not in self.VOID:
            self.depth -= 1
            if self.depth == 0:
                self.word = None

    def handle_data(self, data):
        if self.word is not None:
            self.word.text += data


def numbers_of(name, title):
    unquoted = re.sub(r'"[^"]*"', "", title)  # the image's file name may hold anything
    match = re.search(rf"(?:^|;)\s*{name}((?:\s+-?[0-9.]+)+)", unquoted)
    return [float(v) for v in match.group(1).split()] if match else []


def number_of(name, title):
    return next(iter(numbers_of(name, title)), None)


def box_of(title):
    left, top, right, bottom = numbers_of("bbox", title)
    return left, top, right - left, bottom - top


def page_of(title):
    _, _, width, height = box_of(title)
    resolution = number_of("scan_res", title)
    return Page(width, height, resolution or None)


def line_of(title):
    baseline = numbers_of("baseline", title)
    height, descent = number_of("x_size", title), number_of("x_descenders", title)
    return Line(box_of(title), baseline if len(baseline) == 2 else None, height, descent)


def read_hocr(text):
    reader = HocrReader()
    reader.feed(text)
    reader.close()
    if not reader.pages:
        raise NotTesseract("no page (class ocr_page) in it")
    return reader.pages


def read(text):
    text = text.removeprefix("\ufeff")
    pages = read_hocr(text) if text.lstrip().startswith("<") else read_tsv(text)
    if not pages:
        raise NotTesseract("no page in it")
    return pages


# ---- writing -------------------------------------------------------------------------------------------------------


def tidy(number):
    return int(number) if number == int(number) else round(number, 3)


def found_box(box):
    return dict(zip("xywh", map(tidy, box)))


def baseline_of(line, box):
    """Where the baseline runs at the middle of the box, in pixels from the top of the page."""
    left, top, _, height = line.box
    slope, offset = line.baseline
    return top + height + offset + slope * (box[0] + box[2] / 2 - left)


def line_high(line, box):
    """The box with its line's height, from the descenders to the ascenders, as far as the line's measures are known."""
    if not (line.baseline and line.height and line.descent is not None):
        return box
    top = baseline_of(line, box) + line.descent - line.height
    return box[0], round(top, 1), box[2], round(line.height, 1)


def found_item(line, text, box, confidence):
    item = {"box": found_box(box), "text": text}
    if line.baseline:
        item["bl"] = tidy(round(box[1] + box[3] - baseline_of(line, box), 1))
    if confidence is not None and confidence >= 0:
        item["cf"] = tidy(confidence)
    return item


def kept(line, least):
    return [w for w in line.words if w.text.strip() and (w.confidence is None or w.confidence >= least)]


def words_of(line, options):
    fitted = line_high if options.height == "line" else lambda _, box: box
    words = kept(line, options.min_confidence)
    return [found_item(line, w.text.strip(), fitted(line, w.box), w.confidence) for w in words]


def whole_line(line, options):
    words = kept(line, options.min_confidence)
    if not words:
        return []
    known = [w.confidence for w in words if w.confidence is not None]
    confidence = sum(known) / len(known) if known else None
    return [found_item(line, " ".join(w.text.strip() for w in words), hull([w.box for w in words]), confidence)]


def hull(boxes):
    left, top = min(b[0] for b in boxes), min(b[1] for b in boxes)
    right, bottom = max(b[0] + b[2] for b in boxes), max(b[1] + b[3] for b in boxes)
    return left, top, right - left, bottom - top


def found_page(page, options):
    items_of = whole_line if options.items == "lines" else words_of
    found = {"size": {"w": tidy(page.width), "h": tidy(page.height)}}
    found["items"] = [item for line in page.lines for item in items_of(line, options)]
    dpi = options.dpi or page.dpi
    if dpi:
        found["dpi"] = tidy(dpi)
    return found


def found(pages, options):
    records = [found_page(page, options) for page in pages]
    return records[0] if len(records) == 1 else {"source": "tesseract", "pages": records}


def to_json(record):
    """One item on a line: small, and still pleasant to read and to compare."""
    text = json.dumps(record, ensure_ascii=False, separators=(",", ":"))
    return re.sub(r'(?<=[\[,])(\{"(?:box|size)":)', r"\n\1", text) + "\n"


def write(text, target):
    if target == "-":
        sys.stdout.buffer.write(text.encode())
        return
    folder = os.path.dirname(os.path.abspath(target))
    with tempfile.NamedTemporaryFile("wb", dir=folder, prefix=".found-", delete=False) as beside:
        name = beside.name
        try:
            beside.write(text.encode())
            beside.flush()
            os.fsync(beside.fileno())
            os.chmod(name, 0o666 & ~current_umask())
            os.replace(name, target)
        except BaseException:
            os.unlink(name)
            raise


def current_umask():
    mask = os.umask(0)
    os.umask(mask)
    return mask


# ---- command line --------------------------------------------------------------------------------------------------


def parse(arguments):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("input", help="tesseract's .tsv or .hocr file; - for standard input")
    parser.add_argument("-o", "--output", default="-", help="found-content JSON to write (default: standard output)")
    parser.add_argument("--items", choices=["words", "lines"], default="words",
                        help="one item per word (default) or per line")
    parser.add_argument("--height", choices=["line", "ink"], default="line",
                        help="boxes of words as high as their line (default, when known) or as the word's own ink")
    parser.add_argument("--min-confidence", type=float, default=-1, metavar="0-100",
                        help="leave out words of which tesseract was less sure (default: keep all)")
    parser.add_argument("--dpi", type=float, help="resolution to note down when the input does not tell it")
    return parser.parse_args(arguments)


def load(name):
    if name == "-":
        return sys.stdin.buffer.read()
    with open(name, "rb") as file:
        return file.read()


def decoded(data):
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError as error:
        raise NotTesseract(f"byte {error.start}: not UTF-8 text; give the .tsv or .hocr file, not the image") from error


def fail(status, message):
    print(f"tesseract-to-found: {message}", file=sys.stderr)
    return status


def main(arguments):
    options = parse(arguments)
    try:
        data = load(options.input)
    except OSError as error:
        return fail(3, f"{options.input}: {error.strerror}")
    try:
        text = to_json(found(read(decoded(data)), options))
    except NotTesseract as error:
        return fail(4, f"{options.input}: {error}")
    try:
        write(text, options.output)
    except OSError as error:
        return fail(6, f"{options.output}: {error.strerror}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
