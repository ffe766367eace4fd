#!/bin/bash
# Makes the sample scans anew: typesets the pages, makes them look scanned, recognises them.
# usage: make.sh [OUTPUT_FOLDER]      (default: Examples/scans)
# Needs Debian's weasyprint poppler-utils python3-pil python3-numpy tesseract-ocr tesseract-ocr-deu
# tesseract-ocr-fra fonts-ebgaramond fonts-courier-prime fonts-liberation fonts-vollkorn.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
out=$(mkdir -p "${1:-$here/../scans}" && cd "${1:-$here/../scans}" && pwd)
python=/usr/bin/python3 # Debian's own, which has Debian's Pillow and NumPy
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

upright() { # a copy with the EXIF orientation carried out: tesseract looks at the pixels only
    $python -c 'import sys; from PIL import Image, ImageOps
ImageOps.exif_transpose(Image.open(sys.argv[1])).save(sys.argv[2], dpi=(300, 300))' "$1" "$2"
}

make_scan() { # PAGE SCAN LOOK LANGUAGE
    weasyprint -q "$work/$1.html" "$work/$1.pdf"
    pdftoppm -scale-to-x 2480 -scale-to-y 3508 -png -singlefile "$work/$1.pdf" "$work/$1"
    $python "$here/scan.py" "$work/$1.png" "$out/$2" "$3"
    upright "$out/$2" "$work/upright.png"
    OMP_THREAD_LIMIT=1 tesseract "$work/upright.png" "$work/$1" -l "$4" --dpi 300 hocr 2>"$work/tesseract.log" ||
        { cat "$work/tesseract.log" >&2; exit 1; }
    $python "$here/tesseract-to-found.py" "$work/$1.hocr" -o "$out/${2%.*}.found.json"
}

cp "$here"/pages/*.html "$work"
$python "$here/figure.py" "$work/figure.png"
make_scan article 1-article.jpg colour eng
make_scan letter 2-letter.jpg grey fra
make_scan price-list 3-price-list.png fax eng
make_scan recipe 4-recipe.jpg photo deu
ls -l "$out"
