#!/usr/bin/env python3
"""Decodes the golden compressed blocks of compress/testdata/block on its own and checks that each
gives back its input, and that the blocks cover what they were made for (every code width, a
reset of the dictionary).

    tools/check_block_golden.py [compress/testdata/block]

The inputs are rebuilt here by the same seeded generator as compress/internal/block_test_inputs.h,
so only the blocks and the short text are stored. The blocks are written by the unit test
block_compressors_test with OV_BLOCK_GOLDEN_ECRIT=1.

Block layout: type 0 is the type byte, a 32-bit little-endian size and the bytes. Types 2 and 4 are
the type byte, the 32-bit packed size, the 32-bit original size, two zero bytes, the packed codes.
"""
import os
import struct
import sys


class Damaged(Exception):
    pass


def generator(seed):
    state = seed
    while True:
        state = (state * 1103515245 + 12345) & 0x7FFFFFFF
        yield state >> 16


def serie():
    return b"a" * 100000


def melange():
    gen = generator(2024)
    out = bytearray(260000)
    for i in range(len(out)):
        value = next(gen)
        out[i] = value & 0xFF if (i >> 12) % 8 == 7 else b"ACGT"[value & 3]
    return bytes(out)


def aleatoire(size, seed):
    gen = generator(seed)
    return bytes(next(gen) & 0xFF for _ in range(size))


def header(block, kind):
    if len(block) < 11 or block[0] != kind or block[9:11] != b"\0\0":
        raise Damaged("header")
    packed, original = struct.unpack_from("<II", block, 1)
    if 11 + packed > len(block):
        raise Damaged("packed size past the block")
    return block[11:11 + packed], original


def decode_type4(block, stats):
    """LZW, 9 to 16 bits a code, least significant bits first. Code 0 resets, 0x101 ends, byte b is
    code b + 1. The decoder learns each string one code late, so its width rises as soon as its next
    free code reaches the limit."""
    data, original = header(block, 4)
    table = {}
    out = bytearray()
    acc = nbits = pos = 0
    width, limit, nxt, prev = 9, 0x200, 0x102, None
    while len(out) < original:
        while nbits < 24 and pos < len(data):
            acc |= data[pos] << nbits
            nbits += 8
            pos += 1
        if nbits < width:
            break
        code = acc & ((1 << width) - 1)
        acc >>= width
        nbits -= width
        stats["widths"].add(width)
        if code == 0x101:
            break
        if code == 0:
            stats["resets"] += 1
            width, limit, nxt, prev = 9, 0x200, 0x102, None
            continue
        if 1 <= code <= 0x100:
            entry = bytes([code - 1])
        elif code in table and code < nxt:
            entry = table[code]
        elif code == nxt and prev is not None:
            entry = prev + prev[:1]
        else:
            raise Damaged("code 0x%x past the table" % code)
        if prev is not None:
            if nxt < 0x10000:
                table[nxt] = prev + entry[:1]
                nxt += 1
                if width < 16 and nxt >= limit:
                    width += 1
                    limit <<= 1
        elif code > 0x100:
            raise Damaged("a string before any string")
        out += entry
        prev = entry
    if len(out) != original:
        raise Damaged("size %d, %d declared" % (len(out), original))
    return bytes(out)


def decode_type2(block, stats):
    """LZW, codes from 9 bits, most significant bits first, single bytes as codes 0 to 255. 0x100 is
    an escape: then 0 is the code 0x100, 1 a reset, 2 one more bit, 3 the end."""
    data, original = header(block, 2)
    bits = "".join(format(b, "08b") for b in data)
    pos = 0
    table = {}
    out = bytearray()
    width, nxt, prev = 9, 0x100, None

    def read():
        nonlocal pos
        if pos + width > len(bits):
            raise Damaged("input ends without its end code")
        value = int(bits[pos:pos + width], 2)
        pos += width
        return value

    while len(out) < original:
        stats["widths"].add(width)
        code = read()
        if code == 0x100:
            sub = read()
            if sub == 3:
                break
            if sub == 1:
                stats["resets"] += 1
                width, nxt, prev = 9, 0x100, None
                continue
            if sub == 2:
                width += 1
                if width > 15:
                    raise Damaged("width past 15")
                continue
            if sub != 0:
                raise Damaged("escape %d" % sub)
        if code < 0x100:
            entry = bytes([code])
        elif code in table and code < nxt:
            entry = table[code]
        elif code == nxt and prev is not None:
            entry = prev + prev[:1]
        else:
            raise Damaged("code 0x%x past the table" % code)
        if prev is not None and nxt < 0x8000:
            table[nxt] = prev + entry[:1]
            nxt += 1
        out += entry
        prev = entry
    if len(out) != original:
        raise Damaged("size %d, %d declared" % (len(out), original))
    return bytes(out)


def decode(block, stats):
    if block[:1] == b"\0":
        if len(block) < 5:
            raise Damaged("header")
        (size,) = struct.unpack_from("<I", block, 1)
        if 5 + size != len(block):
            raise Damaged("stored size")
        return block[5:]
    if block[:1] == b"\x04":
        return decode_type4(block, stats)
    if block[:1] == b"\x02":
        return decode_type2(block, stats)
    raise Damaged("type %r" % block[:1])


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.join(
        os.path.dirname(os.path.abspath(__file__)), "..", "compress", "testdata", "block")
    with open(os.path.join(folder, "texte.txt"), "rb") as f:
        texte = f.read()
    # file, input, widths the block must pass through, least number of resets
    cases = [
        ("texte.2", texte, {9}, 0),
        ("texte.4", texte, {9}, 0),
        ("serie.2", serie(), {9}, 0),
        ("serie.4", serie(), {9}, 0),
        ("melange.2", melange(), set(range(9, 16)), 1),
        ("melange.4", melange(), set(range(9, 17)), 1),
        ("aleatoire.0", aleatoire(300, 7), set(), 0),
    ]
    failures = 0
    for name, expected, widths, resets in cases:
        with open(os.path.join(folder, name), "rb") as f:
            block = f.read()
        stats = {"widths": set(), "resets": 0}
        try:
            ok = decode(block, stats) == expected
            problem = "" if ok else "decodes to other bytes"
        except Damaged as error:
            ok, problem = False, "damaged: %s" % error
        if ok and not widths <= stats["widths"]:
            ok, problem = False, "widths %s, not all of %s" % (sorted(stats["widths"]), sorted(widths))
        if ok and stats["resets"] < resets:
            ok, problem = False, "%d resets, at least %d expected" % (stats["resets"], resets)
        print("%-12s %7d bytes  %s  widths %s  resets %d" % (
            name, len(block), "ok" if ok else "FAILED: " + problem,
            ",".join(str(w) for w in sorted(stats["widths"])) or "-", stats["resets"]))
        failures += not ok
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
