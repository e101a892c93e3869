#!/usr/bin/env python3
"""Expected bytes of the text files that the language's file handles write, made by Python's own
codecs (utf-16-le and cp1252) as an independent oracle.

Regenerate from the repository's root with:

    python3 tools/gen_file_handles_testdata.py files/testdata

Each file is what a program gets by creating the file and writing LINES one by one with a line
end: the Unicode file starts with the mark FF FE, every line ends with CR LF.
"""
import os
import sys

LINES = [
    "première ligne",
    "",
    "été \U0001F600 à l'œil",           # a character outside the Basic Multilingual Plane
    "\u0a0a\u010a pièges",              # 0x0A bytes that are halves of 16-bit units
    "dernière",
]

# The ANSI file holds what code page 1252 can carry.
ANSI_LINES = ["première ligne", "", "été à l'œil", "dernière"]


def main(argv):
    out = argv[1] if len(argv) > 1 else "files/testdata"
    os.makedirs(out, exist_ok=True)
    with open(os.path.join(out, "handles_unicode.txt"), "wb") as f:
        f.write(b"\xff\xfe" + "".join(l + "\r\n" for l in LINES).encode("utf-16-le"))
    with open(os.path.join(out, "handles_ansi.txt"), "wb") as f:
        f.write("".join(l + "\r\n" for l in ANSI_LINES).encode("cp1252"))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
