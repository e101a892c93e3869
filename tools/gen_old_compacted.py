#!/usr/bin/env python3
"""Writes the old-format compacted files the tests read, with an encoder of its own.

The format: "MTOLVERALZCS@", the original size and the whole file's size (big endian, 4 bytes
each), then LZW codes of 9 to 14 bits, most significant bit first. The stream opens with the reset
code 256 and a literal; each later code adds the entry (previous code, first byte of this string)
at the next free code, from 257; when the next free code reaches 2^width and the width is below
14, the width grows by one. At 16,384 entries the table stops growing.

Regenerate the committed files (run from the repository's root):

    python3 tools/gen_old_compacted.py compress/testdata/compacted

The originals sit beside the compacted files (texte.txt for texte.txt.ovc and sans_fin.ovc,
long.bin for long.bin.ovc and reinit.ovc; vide.ovc is empty), so the tests compare bytes; the
fuzz target's seeds go to fuzz_seeds/.
"""
import os
import random
import sys

MAGIC = b"MTOLVERALZCS@"
RESET = 256
FIRST_FREE = 257
MAX_WIDTH = 14
TABLE = 1 << MAX_WIDTH


class BitWriter:
    def __init__(self):
        self.out = bytearray()
        self.acc = 0
        self.nbits = 0

    def put(self, code, width):
        assert 0 <= code < (1 << width), (code, width)
        self.acc = (self.acc << width) | code
        self.nbits += width
        while self.nbits >= 8:
            self.nbits -= 8
            self.out.append((self.acc >> self.nbits) & 0xFF)
        self.acc &= (1 << self.nbits) - 1

    def finish(self, drop_partial=False):
        if self.nbits and not drop_partial:
            self.out.append((self.acc << (8 - self.nbits)) & 0xFF)
        return bytes(self.out)


def encode(data, reset_when_full=False, drop_partial=False):
    """Returns (codes as bytes, statistics). The width of each code is the width the reader has
    when it reads it: the reader adds its entry one code later than the writer, so the writer
    tracks the reader's count rather than its own."""
    stats = {"kwkwk": 0, "max_width": 9, "resets": 0, "partial_bits": 0}
    bits = BitWriter()
    if not data:
        return b"", stats

    def start():
        bits.put(RESET, state["width"])
        state.update(width=9, reader_next=None, table={}, writer_next=FIRST_FREE)
        stats["resets"] += 1

    state = {"width": 9}
    start()
    w = data[0:1]
    pending_literal = True  # the code after a reset is read as a bare 9-bit literal
    for i in range(1, len(data) + 1):
        c = data[i:i + 1]
        if c and (w + c) in state["table"]:
            w = w + c
            continue
        code = w[0] if len(w) == 1 else state["table"][w]
        bits.put(code, state["width"])
        if pending_literal:
            pending_literal = False
            state["reader_next"] = FIRST_FREE
        else:
            if code == state["reader_next"]:
                stats["kwkwk"] += 1
            if state["reader_next"] < TABLE:
                state["reader_next"] += 1
                if state["reader_next"] >= (1 << state["width"]) and state["width"] < MAX_WIDTH:
                    state["width"] += 1
                    stats["max_width"] = max(stats["max_width"], state["width"])
        if not c:
            break
        if state["writer_next"] < TABLE:
            state["table"][w + c] = state["writer_next"]
            state["writer_next"] += 1
        elif reset_when_full and state["reader_next"] >= TABLE:
            start()
            pending_literal = True
        w = c
    stats["partial_bits"] = bits.nbits
    return bits.finish(drop_partial), stats


def old_file(data, **options):
    codes, stats = encode(data, **options)
    total = len(MAGIC) + 8 + len(codes)
    header = MAGIC + len(data).to_bytes(4, "big") + total.to_bytes(4, "big")
    return header + codes, stats


def samples():
    french = ("Noël à l’école : où est passée la clé du garçon ? "
              "Ça déménage, l’été, près de la forêt \U0001F600. ").encode("utf-8")
    rng = random.Random(2024)
    text = french * 6 + b"a" * 40 + b"abababababab" + french
    # Letters drawn from a small alphabet: codes stay short at first, so the table fills and the
    # width climbs to 14 within a few tens of KiB.
    long_input = bytes(rng.choice(b"abcdefghijklmnop\xc3\xa9") for _ in range(60000)) + french * 20
    # (compacted file, its original, content, options)
    return [
        ("texte.txt.ovc", "texte.txt", text, {}),
        ("long.bin.ovc", "long.bin", long_input, {}),
        ("reinit.ovc", "long.bin", long_input, {"reset_when_full": True}),
        ("vide.ovc", None, b"", {}),
        ("sans_fin.ovc", "texte.txt", text, {"drop_partial": True}),
    ]


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    out = sys.argv[1]
    os.makedirs(out, exist_ok=True)
    for name, original, data, options in samples():
        packed, stats = old_file(data, **options)
        if name == "texte.txt.ovc":
            assert stats["kwkwk"] > 0, "the text must exercise the KwKwK case"
        if original == "long.bin":
            assert stats["max_width"] == MAX_WIDTH, stats
        if options.get("reset_when_full"):
            assert stats["resets"] > 1, stats
        if options.get("drop_partial"):
            assert stats["partial_bits"] > 0, "nothing to drop"
        if original:
            with open(os.path.join(out, original), "wb") as f:
                f.write(data)
        with open(os.path.join(out, name), "wb") as f:
            f.write(packed)
        print(name, len(data), "->", len(packed), stats)
        if name in ("texte.txt.ovc", "sans_fin.ovc"):
            # Seeds of the decoder's fuzz target: two bytes of original size, then the codes.
            os.makedirs(os.path.join(out, "fuzz_seeds"), exist_ok=True)
            with open(os.path.join(out, "fuzz_seeds", name.split(".")[0] + ".bin"), "wb") as f:
                f.write(len(data).to_bytes(2, "big") + packed[21:])


if __name__ == "__main__":
    main()
