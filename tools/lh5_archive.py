#!/usr/bin/env python3
"""Archives of "-lh5-" streams, to check our encoder and decoder against independent tools.

  lh5_archive.py wrap ARCHIVE NAME=STREAM,ORIGINAL...
      Writes a level-0 archive whose members are our raw streams, with the CRC-16 of each
      original computed here, for `lhasa t ARCHIVE` to test.
  lh5_archive.py jlha OUTDIR FILE...
      Compresses the files with jlha (method -lh5-) and writes each member's raw stream to
      OUTDIR/<name>.lh5, after checking the archive's CRC-16 against the original. Prints one
      line per member: name, method, original size, compressed size.
  lh5_archive.py streams ARCHIVE OUTDIR
      The same extraction for any archive of header level 0, 1 or 2.

Processes run from argument vectors, never through a shell.
"""
import os
import shutil
import struct
import subprocess
import sys
import tempfile


def crc16(data, crc=0):
    """CRC-16 of the reflected polynomial 0xA001, start 0, bit by bit: independent of the tables
    of the C++ code."""
    for byte in data:
        crc ^= byte
        for _ in range(8):
            crc = (crc >> 1) ^ 0xA001 if crc & 1 else crc >> 1
    return crc


def level0_header(name, method, packed, original, crc):
    name_bytes = name.encode("utf-8")
    # method, packed, original, DOS time (1 January 2000), attribute, level, name, CRC
    body = (method + struct.pack("<IIIBB", packed, original, 0x28210000, 0x20, 0) +
            bytes([len(name_bytes)]) + name_bytes + struct.pack("<H", crc))
    return bytes([len(body), sum(body) & 0xFF]) + body


def wrap(archive, members):
    with open(archive, "wb") as out:
        for member in members:
            name, paths = member.split("=", 1)
            stream_path, original_path = paths.split(",", 1)
            with open(stream_path, "rb") as f:
                stream = f.read()
            with open(original_path, "rb") as f:
                original = f.read()
            out.write(level0_header(name, b"-lh5-", len(stream), len(original), crc16(original)))
            out.write(stream)
        out.write(b"\0")


def members(data):
    """Yields (name, method, original size, CRC, stream) for each member of an archive."""
    pos = 0
    while pos < len(data) and data[pos] != 0:
        level = data[pos + 20]
        method = data[pos + 2:pos + 7].decode("ascii")
        packed, original = struct.unpack_from("<II", data, pos + 7)
        if level in (0, 1):
            size = data[pos]
            name_len = data[pos + 21]
            name = data[pos + 22:pos + 22 + name_len].decode("utf-8", "replace")
            (crc,) = struct.unpack_from("<H", data, pos + 22 + name_len)
            start = pos + 2 + size
            if level == 1:  # extended headers follow, counted in the packed size
                (next_size,) = struct.unpack_from("<H", data, start - 2)
                while next_size:
                    ext = data[start:start + next_size]
                    if ext[0] == 1:
                        name = ext[1:-2].decode("utf-8", "replace")
                    start += next_size
                    packed -= next_size
                    (next_size,) = struct.unpack_from("<H", ext, len(ext) - 2)
        elif level == 2:
            (size,) = struct.unpack_from("<H", data, pos)
            (crc,) = struct.unpack_from("<H", data, pos + 21)
            name = ""
            ext_pos = pos + 24
            (next_size,) = struct.unpack_from("<H", data, ext_pos)
            ext_pos += 2
            while next_size:
                ext = data[ext_pos:ext_pos + next_size]
                if ext[0] == 1:
                    name = ext[1:-2].decode("utf-8", "replace")
                ext_pos += next_size
                (next_size,) = struct.unpack_from("<H", ext, len(ext) - 2)
            start = pos + size
        else:
            raise ValueError("header level %d" % level)
        yield name, method, original, crc, data[start:start + packed]
        pos = start + packed


def extract(archive, outdir, originals=None):
    os.makedirs(outdir, exist_ok=True)
    with open(archive, "rb") as f:
        data = f.read()
    for name, method, original, crc, stream in members(data):
        if originals is not None:
            with open(originals[name], "rb") as f:
                expected = f.read()
            if len(expected) != original or crc16(expected) != crc:
                sys.exit("%s: the archive's size or CRC does not match the original" % name)
        print("%s\t%s\t%d\t%d" % (name, method, original, len(stream)))
        if method == "-lh5-":
            with open(os.path.join(outdir, name + ".lh5"), "wb") as f:
                f.write(stream)


def jlha(outdir, files):
    work = tempfile.mkdtemp()
    try:
        names = {}
        for path in files:
            name = os.path.basename(path)
            shutil.copyfile(path, os.path.join(work, name))
            names[name] = path
        archive = os.path.join(work, "jlha.lzh")
        subprocess.run(["jlha", "co5q", archive] + sorted(names), cwd=work, check=True,
                       stdout=subprocess.DEVNULL)
        extract(archive, outdir, names)
    finally:
        shutil.rmtree(work)


def main(argv):
    if len(argv) >= 3 and argv[1] == "wrap":
        wrap(argv[2], argv[3:])
    elif len(argv) >= 3 and argv[1] == "jlha":
        jlha(argv[2], argv[3:])
    elif len(argv) == 4 and argv[1] == "streams":
        extract(argv[2], argv[3])
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main(sys.argv)
