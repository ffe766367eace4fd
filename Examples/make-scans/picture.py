#!/usr/bin/python3
"""Makes the before-and-after picture: a scan, and its PDF page with the text layer's boxes as a reader finds them.

usage: picture.py SCAN PDF PAGE OUT.png      e.g. picture.py Examples/scans/1-article.jpg country-binder.pdf 1 OUT.png
Needs pdftoppm and pdftotext (poppler-utils) and Python's Pillow.
"""
import os
import re
import subprocess
import sys
import tempfile

from PIL import Image, ImageDraw, ImageFont, ImageOps

WIDTH, SHOWN, GAP, HEAD, ZOOM = 540, 0.88, 18, 40, 3  # pixels; SHOWN is the upper part of the page that is shown
BOX_LINE, BOX_FILL, COLOURS = (20, 90, 200, 255), (60, 140, 255, 60), 200


def rendered(pdf, page):
    with tempfile.TemporaryDirectory() as folder:
        root = os.path.join(folder, "page")
        subprocess.run(["pdftoppm", "-r", "200", "-png", "-singlefile", "-f", page, "-l", page, pdf, root], check=True)
        return Image.open(root + ".png").convert("RGB")


def boxes(pdf, page, upright):
    """Boxes of the words that pdftotext reads, as fractions of the page, which is shown upright or wide."""
    text = subprocess.run(["pdftotext", "-bbox", "-f", page, "-l", page, pdf, "-"], check=True, capture_output=True, text=True)
    number = r'"([-0-9.]+)"'
    size = sorted(map(float, re.search(rf"<page width={number} height={number}", text.stdout).groups()))
    width, height = size if upright else reversed(size)  # poppler turns the boxes with the page, not the size
    words = re.findall(rf"<word xMin={number} yMin={number} xMax={number} yMax={number}", text.stdout)
    return [[float(v) / (width, height)[i % 2] for i, v in enumerate(word)] for word in words]


def with_boxes(image, found):
    layer = Image.new("RGBA", image.size)
    draw = ImageDraw.Draw(layer)
    for box in found:
        draw.rectangle([v * image.size[i % 2] for i, v in enumerate(box)], fill=BOX_FILL, outline=BOX_LINE, width=ZOOM)
    return Image.alpha_composite(image.convert("RGBA"), layer).convert("RGB")


def enlarged(image, shape):
    return image.resize((WIDTH * ZOOM, round(WIDTH * ZOOM * shape.height / shape.width)), Image.LANCZOS)


def upper_part(image):
    shown = image.crop((0, 0, image.width, round(image.height * SHOWN)))
    return shown.resize((WIDTH, shown.height // ZOOM), Image.LANCZOS)


def size_of(path):
    return f"{os.path.getsize(path) / 1000:,.0f} kB"


def pasted(before, after, words, scan):
    sheet = Image.new("RGB", (2 * WIDTH + 3 * GAP, before.height + HEAD + GAP), (236, 239, 243))
    draw = ImageDraw.Draw(sheet)
    font = ImageFont.truetype("LiberationSans-Regular.ttf", 15)
    draw.text((GAP, 11), f"Before: a scan, {size_of(scan)}, nothing to search", (40, 46, 56), font)
    draw.text((WIDTH + 2 * GAP, 11), f"After: its PDF page, with the {words} words that a reader finds", (40, 46, 56), font)
    sheet.paste(before, (GAP, HEAD))
    sheet.paste(after, (WIDTH + 2 * GAP, HEAD))
    return sheet


def main():
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    scan, pdf, page, target = sys.argv[1:]
    before = ImageOps.exif_transpose(Image.open(scan)).convert("RGB")
    found = boxes(pdf, page, before.height > before.width)
    after = with_boxes(enlarged(rendered(pdf, page), before), found)
    sheet = pasted(upper_part(enlarged(before, before)), upper_part(after), len(found), scan)
    sheet.quantize(COLOURS, Image.FASTOCTREE, dither=Image.NONE).save(target, optimize=True)


if __name__ == "__main__":
    main()
