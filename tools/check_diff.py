#!/usr/bin/env python3
"""Reads the golden differences of diff/testdata on its own and checks them against their inputs:
the header's fields, the CRC-32 of source and target (zlib), the body unpacked by the independent
block decoder of check_block_golden.py, every section applied, and every section's instructions
derived again from the matching rules with zlib's Adler-32 (seed 0), so that the bytes of a stored
difference are decided by the rules and not only by the code that wrote them.

    tools/check_diff.py [diff/testdata]

Each case is NAME.source, NAME.target and NAME.dif; they are written by the unit test diff_test
with OV_DIFF_GOLDEN_ECRIT=1.
"""
import os
import struct
import sys
import zlib

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from check_block_golden import Damaged, decode  # noqa: E402

BLOCK = 128


def unpack(data, method):
    if method == 0:
        return data
    if method != 1:
        raise Damaged("pack method %d has no reader here" % method)
    if not data:
        return b""
    return decode(data, {"widths": set(), "resets": 0})


def clear(data, encoding, first):
    """A coded range in clear: its first bytes as they are, the rest through the block decoder."""
    method = encoding & 0x0F if (encoding & 0xF0) == 0 and (encoding & 0x0F) in (1, 2) else 0
    if method == 0:
        return data
    return data[:first] + unpack(data[first:], method)


def derive(source, target):
    """The matching rules: blocks of the source by Adler-32 (seed 0), the last of a sum winning;
    the target scanned byte by byte, a look-up only while p + 128 is below its size, a match
    extended forward only and counted from 128 bytes."""
    table = {}
    for offset in range(0, len(source) - BLOCK + 1, BLOCK):
        table[zlib.adler32(source[offset:offset + BLOCK], 0)] = offset
    out, pending, p = [], bytearray(), 0
    while p < len(target):
        if p + BLOCK < len(target):
            offset = table.get(zlib.adler32(target[p:p + BLOCK], 0))
            if offset is not None:
                length = 0
                while (offset + length < len(source) and p + length < len(target)
                       and source[offset + length] == target[p + length]):
                    length += 1
                if length >= BLOCK:
                    if pending:
                        out.append(("I", bytes(pending)))
                        pending = bytearray()
                    out.append(("C", offset, offset + length))
                    p += length
                    continue
        pending.append(target[p])
        p += 1
    if pending:
        out.append(("I", bytes(pending)))
    return out


def check(base):
    source = open(base + ".source", "rb").read()
    target = open(base + ".target", "rb").read()
    diff = open(base + ".dif", "rb").read()
    signature, header, version, method, crc_source, crc_target, block, count, size = struct.unpack_from("<9I", diff)
    assert signature == 0x00464944 and diff[:4] == b"DIF\0", "signature"
    assert (header, version, block) == (28, 1, BLOCK), "header fields"
    assert crc_source == zlib.crc32(source), "source CRC-32"
    assert crc_target == zlib.crc32(target), "target CRC-32"
    assert size == len(target), "target size"
    body = unpack(diff[36:], method)
    result = bytearray(size)
    at = 0
    for _ in range(count):
        (total, sheader, _kind, ninstr, encoding, first, s0, s1, t0, t1, ndata) = struct.unpack_from("<11I", body, at)
        assert sheader == 36 and total == 40 + 12 * ninstr + ndata, "section sizes"
        instructions = [struct.unpack_from("<3I", body, at + 44 + 12 * k) for k in range(ninstr)]
        data = body[at + 44 + 12 * ninstr:at + 44 + 12 * ninstr + ndata]
        at += 4 + total
        src = clear(source[s0:s1], encoding, first)
        tgt = clear(target[t0:t1], encoding, first)
        rebuilt = bytearray()
        stored = []
        for kind, start, end in instructions:
            if kind == 0:
                rebuilt += src[start:end]
                stored.append(("C", start, end))
            else:
                rebuilt += data[start:end]
                stored.append(("I", data[start:end]))
        assert bytes(rebuilt) == tgt, "section %d does not rebuild its range" % _
        assert stored == derive(src, tgt), "section %d: instructions differ from the rules" % _
        # A coded range is checked in clear above; coding it again is the library's business.
        result[t0:t1] = rebuilt if encoding == 0 else target[t0:t1]
    assert at == len(body), "bytes after the last section"
    assert bytes(result) == target, "the sections do not tile the target"
    return count


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "..", "diff", "testdata")
    names = sorted(n[:-4] for n in os.listdir(folder) if n.endswith(".dif"))
    if not names:
        print("no golden difference in", folder)
        return 1
    for name in names:
        sections = check(os.path.join(folder, name))
        print("%s: %d section(s), rules and sums agree" % (name, sections))
    return 0


if __name__ == "__main__":
    sys.exit(main())
