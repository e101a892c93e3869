#!/usr/bin/env python3
"""Expected values for the cipher tests, computed here from the algorithms' own description with
nothing of the C++ code under test: the two password-to-key derivations, the home-made byte mixer
and RC5 with its chaining and nibble-wise tail.

    python3 tools/gen_cipher_vectors.py > crypt/testdata/cipher_vectors.inc

The output is a C++ fragment that crypt/ciphers_test.cpp includes after declaring the row types;
each row's __LINE__ is its line in the generated file. Rerun and commit it when a case is added.
No randomness, no network.
"""

import sys

MASK32 = 0xFFFFFFFF

# The home-made cipher's two fixed blocks.
BLOC_INITIAL = bytes([0x3A, 0xC5, 0x17, 0x8E, 0x62, 0xF1, 0x09, 0xB4,
                      0xD8, 0x2F, 0x93, 0x4C, 0xE7, 0x55, 0x1B, 0xA0])
BLOC_MELANGE = bytes([0x71, 0x0E, 0xBC, 0x48, 0xA3, 0xD6, 0x2B, 0x95,
                      0x5F, 0xE2, 0x84, 0x3D, 0xC9, 0x16, 0x7A, 0xF0])


def rotl32(x, s):
    s &= 31
    return ((x << s) | (x >> (32 - s))) & MASK32 if s else x


def le32(b, o):
    return int.from_bytes(b[o:o + 4], "little")


# ------------------------------------------------------------------ password to material

# The five bytes 1252 leaves undefined stand for the control characters of the same value, both
# ways, as the system's conversion has it (Python's codec refuses them).
UNDEFINED_1252 = (0x81, 0x8D, 0x8F, 0x90, 0x9D)


def to_1252(password):
    out = bytearray()
    for ch in password:
        if ord(ch) in UNDEFINED_1252:
            out.append(ord(ch))
            continue
        try:
            b = ch.encode("cp1252")
        except UnicodeError:
            return None
        if b.decode("cp1252") != ch:
            return None
        out += b
    return bytes(out)


def material(password):
    """1252 bytes when the text goes there and back unchanged, else UTF-16LE."""
    b = to_1252(password)
    return b if b is not None else password.encode("utf-16-le")


# ------------------------------------------------------------------ the home-made cipher

def homemade_crypt(data, key):
    d = bytearray(data)
    n = len(d)
    if n == 0:
        return bytes(d)
    if n == 1:
        s = sum(le32(key, 4 * j) for j in range(4)) & MASK32
        t = ((s >> 16) & 0xFF) + (s & 0xFF)
        d[0] = ((d[0] - 0x35) ^ t) & 0xFF
        return bytes(d)
    d[0] = ((d[n - 1] + d[0]) & 0xFF) ^ key[15]
    p = 0
    for i in range(1, n):
        m = n - 1 - i
        if i == m:
            x = ((d[m - 1] + d[m]) & 0xFF) ^ key[15 - p]
            d[m] = ((x + 0x11) & 0xFF) ^ key[p]
        else:
            x = ((d[i - 1] + d[i] + d[m]) & 0xFF) ^ key[15 - p]
            d[i] = x
            d[m] = ((x + d[m]) & 0xFF) ^ key[p]
        p = (p + 1) % 16
    return bytes(d)


def homemade_key(mat, own_key=None):
    """own_key: the object's own key when it was made by the system, else None."""
    key = bytearray(BLOC_INITIAL)
    length = len(mat)
    if length == 0:
        return bytes(key)
    w = bytearray(mat)
    n = max(16, length)
    first = w[0] - 256 if w[0] >= 128 else w[0]
    r = abs(first) % 29
    w[0] = (-r if first < 0 else r) & 0xFF  # the remainder takes the dividend's sign
    for i in range(1, length):
        w[i] ^= w[i - 1]
    w = bytearray(homemade_crypt(bytes(w), own_key if own_key is not None else BLOC_MELANGE))
    for i in range(n):
        key[i % 16] = ((key[(i + 1) % 16] + w[i % length]) & 0xFF) ^ ((i * n) & 0xFF)
    return bytes(key)


# ------------------------------------------------------------------ the RC5 derivation

def sha_like_key(mat):
    length = len(mat)
    size = 64 * -(-(length + 4) // 64)
    buf = bytearray(size)
    buf[:length] = mat
    buf[length] = 0x01
    buf[size - 4:] = length.to_bytes(4, "little")
    h = [0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0]
    acc = h[:4]
    for o in range(0, size, 64):
        w = [le32(buf, o + 4 * t) for t in range(16)]
        for t in range(16, 80):
            w.append(w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16])
        a, b, c, d, e = h
        for t in range(80):
            if t < 20:
                f, k = (b & c) | (~b & d), 0x5A827999
            elif t < 40:
                f, k = b ^ c ^ d, 0x6ED9EBA1
            elif t < 60:
                f, k = (b & c) | (b & d) | (c & d), 0x8F1BBCDC
            else:
                f, k = b ^ c ^ d, 0xCA62C1D6
            x = (rotl32(a, 5) + (f & MASK32) + e + k + w[t]) & MASK32
            a, b, c, d, e = x, a, rotl32(b, 30), c, d
        h = [a, b, c, d, e]
        acc = [(acc[j] + h[j]) & MASK32 for j in range(4)]
    return b"".join(v.to_bytes(4, "little") for v in acc)


# ------------------------------------------------------------------ RC5

def rc5_table(key, rounds):
    t = 2 * rounds + 2
    L = [le32(key, 4 * j) for j in range(4)]
    S = [(0xB7E15163 + i * 0x9E3779B9) & MASK32 for i in range(t)]
    a = b = i = j = 0
    for _ in range(3 * t):
        a = S[i] = rotl32((S[i] + a + b) & MASK32, 3)
        b = L[j] = rotl32((L[j] + a + b) & MASK32, (a + b) & 31)
        i = (i + 1) % t
        j = (j + 1) % 4
    return S


def rot4(v, s):
    return ((v << s) | (v >> (4 - s))) & 0xFF


def rc5_crypt(data, key, rounds):
    S = rc5_table(key, rounds)
    out = bytearray(data)
    prev = 0
    nblocks = len(data) // 8
    for k in range(nblocks):
        v = int.from_bytes(out[8 * k:8 * k + 8], "little") ^ prev
        A, B = v >> 32, v & MASK32  # A is the high half
        A = (A + S[0]) & MASK32
        B = (B + S[1]) & MASK32
        for i in range(1, rounds + 1):
            A = (rotl32(A ^ B, B) + S[2 * i]) & MASK32
            B = (rotl32(B ^ A, A) + S[2 * i + 1]) & MASK32
        prev = (A << 32) | B
        out[8 * k:8 * k + 8] = prev.to_bytes(8, "little")
    chain = prev & 0xFF
    for p in range(8 * nblocks, len(data)):
        by = out[p] ^ chain
        A, B = by >> 4, by & 15
        A = (A + (S[0] & 0xFF)) & 15
        B = (B + (S[1] & 0xFF)) & 15
        for i in range(1, rounds + 1):
            x = (rot4(A ^ B, B & 3) + (S[2 * i] & 0xFF)) & 0xFF
            A = x & 15
            shift = x & 3
            y = (rot4(B ^ A, shift) + (S[2 * i + 1] & 0xFF)) & 0xFF
            B = y & 15
        chain = A * 16 + B
        out[p] = chain
    return bytes(out)


# ------------------------------------------------------------------ output

def cpp_wide(s):
    out = []
    for ch in s:
        c = ord(ch)
        if 0x20 <= c < 0x7F and ch not in '\\"?':
            out.append(ch)
        else:
            out.append("\\U%08X" % c)
    return 'L"' + "".join(out) + '"'


def hexa(b):
    return '"' + b.hex().upper() + '"'


def pattern(n, seed):
    x = seed
    out = bytearray()
    for _ in range(n):
        x = (x * 1103515245 + 12345) & 0x7FFFFFFF
        out.append((x >> 16) & 0xFF)
    return bytes(out)


def main():
    w = sys.stdout.write
    w("// Generated by tools/gen_cipher_vectors.py; do not edit.\n\n")

    passwords = [
        "", "a", "motdepasse", "Noël à l'école, déjà été", "œuvre €", "\u00ff\u0081",
        "Ελληνικά", "clé \U0001F600", "\U0001F600", "Łódź", "A" * 8 + "\u0100",
    ]
    # Lengths around the padding edges of the hash, in 1252 (one byte a character) and in UTF-16.
    for n in list(range(55, 66)) + list(range(119, 130)) + [200]:
        passwords.append("".join(chr(0x61 + (i * 7) % 26) for i in range(n - 1)) + "é")
    for n in (27, 28, 30, 32, 60):  # 54..120 bytes of UTF-16
        passwords.append("ş" + "x" * (n - 1))
    w("// {line, password, home-made key (second block), home-made key (system-made, zero own key), RC5 key}\n")
    w("const stVecteurMotDePasse kVecteursMotDePasse[] = {\n")
    for p in passwords:
        m = material(p)
        w("    {__LINE__, %s, %s, %s, %s},\n" % (
            cpp_wide(p), hexa(homemade_key(m)), hexa(homemade_key(m, bytes(16))), hexa(sha_like_key(m))))
    w("};\n\n")

    # Narrow material as it is: bytes above 0x7F first (the signed remainder), lengths at the edges.
    materials = [bytes([0x80]), bytes([0xFF, 0x01]), bytes([0xE9]) + b"t\xe9", bytes([0x9D]) * 3,
                 bytes([0x1D]), bytes([0x3A]) + b"abc"]
    for n in (1, 15, 16, 17, 55, 56, 59, 60, 61, 63, 64, 65, 119, 120, 123, 124, 125, 128, 300):
        materials.append(pattern(n, n) .replace(b"\x00", b"\x01"))
    w("// {line, narrow material (hex), home-made key (second block), RC5 key}\n")
    w("const stVecteurAnsi kVecteursAnsi[] = {\n")
    for m in materials:
        w("    {__LINE__, %s, %s, %s},\n" % (hexa(m), hexa(homemade_key(m)), hexa(sha_like_key(m))))
    w("};\n\n")

    key = pattern(16, 4242)
    w("// The key of the two cipher tables.\n")
    w("const char* const kCleVecteurs = %s;\n\n" % hexa(key))
    w("// {line, plain (hex), home-made cipher text, RC5 8 rounds, RC5 16 rounds}\n")
    w("const stVecteurDonnees kVecteursDonnees[] = {\n")
    for n in list(range(0, 26)) + [31, 32, 33, 64 + 7, 100, 101]:
        plain = pattern(n, 1000 + n)
        w("    {__LINE__, %s, %s, %s, %s},\n" % (
            hexa(plain), hexa(homemade_crypt(plain, key)), hexa(rc5_crypt(plain, key, 8)),
            hexa(rc5_crypt(plain, key, 16))))
    w("};\n\n")


if __name__ == "__main__":
    main()
