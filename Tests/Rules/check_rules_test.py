#!/usr/bin/env python3
"""Each rule must be able to fail: a small tree that keeps all of them, and one breach at a time."""

import tempfile
import unittest
from pathlib import Path

import check_rules

CLEAN = {
    "Sources/Platform/Foundation/Bytes.h": "// Bytes.\n#include <vector>\n",
    "Sources/Platform/Text/Font.h": "// Fonts.\n#include <string>\n",
    "Sources/Platform/PDF/File.h": '// Files.\n#include "Platform/Foundation/Bytes.h"\n',
    "Sources/Platform/PDF/Objects_p.h": "// Objects.\n#include <qpdf/QPDF.hh>\n",
    "Sources/Platform/PDF/File_qpdf.cpp": '#include "Platform/PDF/Objects_p.h"\n#include <sys/stat.h>\n',
    "Sources/OrvexPDF/Page.h": '// Pages.\n#include "Platform/PDF/File.h"\n',
    "Apps/orvexpdf/main.cpp": '#include "OrvexPDF/Page.h"\n#include <CLI/CLI.hpp>\n',
    "README.md": "Plain words.\n",
}

# Words that the rules forbid are spelt in two pieces, lest they be found here.
BREACHES = [
    ("upward include", "Sources/Platform/PDF/Up.cpp", '#include "OrvexPDF/Page.h"', "floor"),
    ("side by side", "Sources/Platform/Imaging/Side.cpp", '#include "Platform/Text/Font.h"', "floor"),
    ("another floor's internals", "Sources/OrvexPDF/In_qpdf.cpp", '#include "Platform/PDF/Objects_p.h"', "internal to"),
    ("internal header in public", "Sources/Platform/PDF/Pub.h", '// P.\n#include "Platform/PDF/Objects_p.h"', "internal"),
    ("library in a public header", "Sources/Platform/PDF/Lib.h", "// L.\n#include <qpdf/QPDF.hh>", "public header"),
    ("system header in a public one", "Sources/Platform/PDF/Sys.h", "// S.\n#include <unistd.h>", "public header"),
    ("library outside its jail", "Sources/Platform/PDF/Free.cpp", "#include <qpdf/QPDF.hh>", "may"),
    ("wrong jail", "Sources/Platform/PDF/Free_libpng.cpp", "#include <qpdf/QPDF.hh>", "may"),
    ("unknown library", "Sources/Platform/PDF/New.cpp", "#include <new/Thing.hpp>", "no library"),
    ("missing file", "Sources/Platform/PDF/Gone.cpp", '#include "Platform/PDF/Nowhere.h"', "none of our files"),
    ("header without a head", "Sources/Platform/PDF/Bare.h", "#pragma once", "comment"),
    ("long file", "Sources/Platform/PDF/Long.cpp", "\n" * 401, "more than"),
    ("section number", "README.md", "See Pa" "rt 3.2.", "section"),
    ("issue number", "CHANGELOG.md", "Fixed in iss" "ue 12.", "issue number"),
    ("issue mark", "CHANGELOG.md", "Fixed (#12).", "issue number"),
    ("machine path", "README.md", "cd /ho" "me/me/project", "absolute path"),
    ("unfinished work", "Sources/OrvexPDF/Later.cpp", "// TO" "DO: later", "unfinished"),
]


class Rules(unittest.TestCase):
    def found(self, extra):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in {**CLEAN, **extra}.items():
                path = Path(folder) / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text + "\n", encoding="utf-8")
            return list(check_rules.breaches(Path(folder)))

    def test_a_tree_that_keeps_the_rules_passes(self):
        self.assertEqual(self.found({}), [])

    def test_each_breach_is_found_in_its_file(self):
        for name, path, text, reason in BREACHES:
            with self.subTest(name):
                found = self.found({path: text})
                self.assertTrue(found)
                self.assertTrue(all(line.startswith(path) for line in found), found)
                self.assertIn(reason, found[0])

    def test_an_empty_folder_is_no_pass(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertIn("no sources found", list(check_rules.breaches(Path(folder)))[0])


if __name__ == "__main__":
    unittest.main()
