#!/usr/bin/env python3
"""Checks the serialisation buffer's golden files with nothing but struct, independently of the
C++ code that wrote them.

Usage: check_ov_buffer_golden.py <folder>   (base/testdata/ov_buffer)

The files are written by base/ov_buffer_test.cpp when OV_REGENERATE_GOLDEN=1 is set:
    OV_REGENERATE_GOLDEN=1 build/base/ov_buffer_test --gtest_filter='OVBufferGolden.*'
then run this script on them before committing.
"""
import struct
import sys
from pathlib import Path

FRENCH = "Élève à Noël: «ça coûte 5 €» \U0001D11E"
FRENCH_1252 = "Élève à Noël: «ça coûte 5 €»"
START, END = bytes([0xFF, 0xCE, 0x88, 0xF1]), bytes([0xFE, 0xED, 0x98, 0xE1])
failures = []


def check(condition, what):
    if not condition:
        failures.append(what)


def marked(data, offset):
    """One marked string at offset: (text, offset after it)."""
    check(data[offset:offset + 4] == START, f"start mark at {offset}")
    (size,) = struct.unpack_from("<I", data, offset + 4)
    check(size >= 13 and offset + size <= len(data), f"size {size} at {offset}")
    check(data[offset + size - 4:offset + size] == END, f"end mark at {offset + size - 4}")
    text = data[offset + 8:offset + size - 5]
    check(data[offset + size - 5] == 0 and 0 not in text, f"zero byte of the text at {offset}")
    return text.decode("utf-8"), offset + size


def main(folder):
    read = lambda name: (folder / name).read_bytes()

    data = read("string_mode1.bin")
    text, end = marked(data, 0)
    check(text == FRENCH, "mode 1 text")
    check(data[end:] == b"\0", "mode 1 empty text is one zero byte")

    data = read("string_mode3.bin")
    text, end = marked(data, 0)
    check(text == FRENCH, "mode 3 text")
    text, end = marked(data, end)
    check(text == "" and end == len(data) and end - len(FRENCH.encode()) - 13 == 13, "mode 3 empty text is 13 bytes")

    check(read("string_mode2.bin") == FRENCH_1252.encode("cp1252") + b"\0\0", "mode 2 in code page 1252")
    check(read("string_mode4.bin") == FRENCH.encode("utf-8") + b"\0\0", "mode 4 plain UTF-8")

    # A section: size counting itself, a word, a part size not counting itself, a count, 3 elements.
    data = read("section.bin")
    size, word, part, count = struct.unpack_from("<IIII", data, 0)
    elements = struct.unpack_from("<3H", data, 16)
    check(size == len(data) == 22, f"section size {size} of {len(data)}")
    check(word == 0xCAFE and part == 10 and count == 3 and elements == (1, 2, 3), "section content")

    data = read("header.bin")
    check(struct.unpack("<IIII", data) == (12, 7, 2, 0x01020304), "main header")
    data = read("header_16.bin")
    size, version, compat, _ = struct.unpack("<IIII", data)
    check(size == 16 == len(data) and (version, compat) == (7, 2), "longer header with nothing behind")

    # Packed: the clear header, then one LZW block (type 4, packed size, original size, two zeros).
    clear_region = 40 * (len(FRENCH.encode("utf-8")) + 13)
    packed = read("packed.bin")
    check(struct.unpack_from("<III", packed, 0) == (12, 7, 2), "packed: header stays clear")
    kind, packed_size, original, pad = struct.unpack_from("<BIIH", packed, 12)
    check(kind == 4 and pad == 0, "packed: LZW block type")
    check(12 + 11 + packed_size == len(packed), "packed: block size covers the region")
    check(original == clear_region, f"packed: original size {original}, expected {clear_region}")
    check(len(packed) < 12 + clear_region, "packed: smaller than the clear region")

    # Enciphered after packing: same length (the cipher keeps it), clear header, other bytes.
    enciphered = read("packed_enciphered.bin")
    check(enciphered[:12] == packed[:12], "enciphered: header stays clear")
    check(len(enciphered) == len(packed), "enciphered: the cipher keeps the length")
    check(enciphered[12:] != packed[12:], "enciphered: region changed")

    # The text packer's stream: the clear header, then packed bytes ending in the stream's zero mark;
    # what it packed was the region behind its 32-bit length, so nothing of ours stands in front.
    text = read("packed_text.bin")
    check(struct.unpack_from("<III", text, 0) == (12, 7, 2), "text packer: header stays clear")
    clear_text = 8 * (len(FRENCH_1252.encode("cp1252")) + 1)
    # (It packs plain message text; accented text may come out longer.)
    check(text[-1] == 0 and len(text) > 12, "text packer: a stream with its end mark")
    check(struct.unpack_from("<I", text, 12)[0] != clear_text, "text packer: no clear length in front")

    for failure in failures:
        print("FAIL:", failure)
    print("golden files:", "bad" if failures else "good")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1] if len(sys.argv) > 1 else "base/testdata/ov_buffer")))
