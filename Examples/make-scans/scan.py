#!/usr/bin/python3
"""Makes a clean page image look scanned: turned a little, tinted, unevenly lit, blurred, grainy.

usage: scan.py PAGE.png OUT.jpg|OUT.png LOOK      (LOOK is one of the names in LOOKS)
Needs Python's Pillow and NumPy. The same input gives the same pixels every time.
"""
import sys
from dataclasses import dataclass

import numpy as np
from PIL import Image, ImageFilter

DPI = 300
ORIENTATION_TAG, TURNED_RIGHT_TO_SHOW = 0x0112, 6


@dataclass
class Look:
    tilt: float  # degrees, counter-clockwise
    paper: tuple  # colour of the paper, 0 to 1
    blur: float  # pixels
    grain: float  # standard deviation of the noise, of 255
    shade: float  # how much darker the darkest corner is, 0 to 1
    mode: str  # Pillow's: L grey, RGB colour, 1 bilevel
    quality: int = 75
    curl: float = 0.0  # pixels by which lines bow in the middle
    sideways: bool = False  # stored a quarter turn to the left, with an EXIF orientation that says so


LOOKS = {
    "colour": Look(0.55, (0.965, 0.945, 0.890), 0.8, 2.4, 0.09, "RGB", 74),
    "grey": Look(-0.80, (0.930, 0.930, 0.930), 0.9, 3.0, 0.07, "L", 74),
    "fax": Look(0.35, (1.0, 1.0, 1.0), 1.1, 26.0, 0.0, "1"),
    "photo": Look(0.95, (0.950, 0.905, 0.825), 1.1, 2.2, 0.26, "RGB", 72, 7.0, True),
}


def bowed(page, curl):
    """Lines sag in the middle, as on a page that does not lie flat."""
    width = page.shape[1]
    lift = np.rint(curl * np.sin(np.linspace(0, np.pi, width))).astype(int)
    return np.stack([np.roll(page[:, x], lift[x], 0) for x in range(width)], 1)


def lit(page, look):
    """Paper colour times a light that falls off smoothly towards one corner."""
    height, width = page.shape[:2]
    y, x = np.mgrid[0:height, 0:width]
    fall = ((x / width - 0.30) ** 2 + (y / height - 0.25) ** 2) / 1.05
    return page * np.array(look.paper) * (1 - look.shade * fall)[..., None]


def grained(page, look, random):
    """Noise of half the pixels' fineness: that of a sensor after its own smoothing, and cheap for a JPEG."""
    height, width = page.shape[:2]
    coarse = random.normal(0, look.grain, ((height + 1) // 2, (width + 1) // 2))
    noise = Image.fromarray(coarse.astype(np.float32)).resize((width, height), Image.BICUBIC)
    return page + np.asarray(noise)[..., None]


def dusty(page, random):
    """A few specks, as on every glass plate."""
    for _ in range(40):
        y, x = random.integers(0, page.shape[0] - 4), random.integers(0, page.shape[1] - 4)
        page[y : y + random.integers(1, 4), x : x + random.integers(1, 4)] *= random.uniform(0.45, 0.8)
    return page


def scanned(page, look, random):
    turned = page.rotate(look.tilt, Image.BICUBIC, fillcolor="white").filter(ImageFilter.GaussianBlur(look.blur))
    pixels = np.asarray(turned, np.float32)
    pixels = bowed(pixels, look.curl) if look.curl else pixels
    pixels = 255 - (255 - pixels) * 0.92  # ink is never quite black
    pixels = grained(dusty(lit(pixels, look), random), look, random)
    return Image.fromarray(np.clip(pixels, 0, 255).astype(np.uint8))


def save(image, look, target):
    if look.mode == "1":
        image.convert("L").point(lambda v: 255 if v > 150 else 0).convert("1").save(target, dpi=(DPI, DPI), optimize=True)
        return
    image, extras = image.convert(look.mode), {}
    if look.sideways:
        image, extras["exif"] = image.transpose(Image.ROTATE_90), Image.Exif()
        extras["exif"][ORIENTATION_TAG] = TURNED_RIGHT_TO_SHOW
    image.save(target, quality=look.quality, dpi=(DPI, DPI), optimize=True, **extras)


def main():
    if len(sys.argv) != 4 or sys.argv[3] not in LOOKS:
        sys.exit(__doc__)
    source, target, look = sys.argv[1], sys.argv[2], LOOKS[sys.argv[3]]
    save(scanned(Image.open(source).convert("RGB"), look, np.random.default_rng(11)), look, target)


if __name__ == "__main__":
    main()
