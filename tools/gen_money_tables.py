#!/usr/bin/env python3
"""Expected results of money arithmetic, from Python's decimal module.

The tests of numeric/ compare CMoney's addition, subtraction, multiplication, division and its
three roundings with what this independent decimal implementation gives for the same operands,
under each operation's own rounding and overflow rules. The output is committed, so tests never
need Python.

Regenerate with:
    python3 tools/gen_money_tables.py > numeric/testdata/money_arithmetic.txt

Only the standard library is used (decimal, random). The operands are drawn from a fixed seed:
uniform over the whole 80-bit range, by random bit length, everyday amounts, the extremes and
their neighbours, products near the top of the range, exact halves for division and rounding,
and sums of two negatives that land on the top word 8000 (hexadecimal) with a zero lowest word.

Row format, one pair per line, fields separated by one space:
    a b n add sub mul div arr inf sup
a and b are the raw 80-bit integers N (the value is N / 1,000,000) in signed lower-case
hexadecimal; n is the number of decimals (0 to 5) for the roundings of a. add, sub, mul and div
are raw integers in the same form; arr, inf and sup are given as their difference from a, which
keeps the file small. "!" stands where the operation answers null (overflow, zero divisor).
"""

import random
import sys
from decimal import ROUND_DOWN, ROUND_HALF_UP, Decimal, getcontext

# Exact: the widest intermediate (a quotient of 24 integer digits, read to 60 significant digits
# past a possible tie) is far below this precision.
getcontext().prec = 200

ROWS = 100_000
SEED = 20240501
SCALE = Decimal(10) ** 6
MAX = 2**79 - 1
MIN = -(2**79)
MICRO = Decimal("0.000001")


def value(n):
    return Decimal(n) / SCALE


def raw(d):
    n = d * SCALE
    assert n == n.to_integral_value(), d
    return int(n)


def peculiar(n):
    """The sum of two negatives that the addition refuses although it is in range."""
    w = n % 2**80
    return (w >> 64) == 0x8000 and (w & 0xFFFF) == 0


def add(a, b):
    s = raw(value(a) + value(b))
    if (a < 0) != (b < 0):
        return s
    if a >= 0:
        return None if s > MAX else s
    return None if s < MIN or peculiar(s) else s


def sub(a, b):
    return add(a, -b)


def mul(a, b):
    p = raw((value(a) * value(b)).quantize(MICRO, rounding=ROUND_DOWN))
    return None if abs(p) > MAX else p


def div(a, b):
    if b == 0:
        return None
    q = raw((value(a) / value(b)).quantize(MICRO, rounding=ROUND_HALF_UP))
    return None if q > MAX or q < MIN else q


def unit(n):
    return Decimal(10) ** -n


def arr(a, n):
    half = 5 * 10 ** (5 - n)
    if abs(a) + half > MAX:
        return None
    return raw(value(a).quantize(unit(n), rounding=ROUND_HALF_UP))


def directed(a, n, down):
    m = abs(value(a))
    t = m.quantize(unit(n), rounding=ROUND_DOWN)
    if m != m.to_integral_value() and (a < 0 if down else a > 0):
        t += unit(n)
    r = raw(t)
    if r > MAX:
        return None
    return -r if a < 0 else r


def hexa(n):
    if n is None:
        return "!"
    return ("-" if n < 0 else "") + format(abs(n), "x")


EXTREMES = [MIN, MIN + 1, MIN + 2, MAX, MAX - 1, MAX - 499_999, MAX - 500_000, 0, 1, -1, 2, -2,
            499_999, 500_000, 500_001, -500_000, 999_999, 1_000_000, -1_000_000, 1_500_000,
            -1_500_000, 2**64, -(2**64), 2**64 - 1, MIN + 2**64, MIN + 2**64 - 1, 2**40, -(2**40)]


def random_sign(rng, n):
    return -n if rng.random() < 0.5 else n


def by_length(rng, bits):
    return random_sign(rng, rng.getrandbits(bits) if bits > 0 else 0)


def operands(rng):
    kind = rng.randrange(9)
    if kind == 0:  # uniform over the whole range
        return rng.randint(MIN, MAX), rng.randint(MIN, MAX)
    if kind == 1:  # random bit lengths
        return by_length(rng, rng.randint(0, 79)), by_length(rng, rng.randint(0, 79))
    if kind == 2:  # everyday amounts: cents up to a billion
        return (random_sign(rng, rng.randrange(10**11)) * 10**4,
                random_sign(rng, rng.randrange(1, 10**9)) * 10**rng.randint(0, 6))
    if kind == 3:  # an extreme against anything
        x = rng.choice(EXTREMES)
        y = by_length(rng, rng.randint(0, 79))
        return (x, y) if rng.random() < 0.5 else (y, x)
    if kind == 4:  # two extremes
        return rng.choice(EXTREMES), rng.choice(EXTREMES)
    if kind == 5:  # products near the top of the range: bit lengths adding up to about 99
        bits = rng.randint(20, 79)
        return by_length(rng, bits), by_length(rng, min(79, max(0, 99 - bits + rng.randint(-2, 2))))
    if kind == 6:  # exact halves of division: a * 10^6 / b ends in .5
        s = rng.randint(1, 2**40)
        q = rng.randrange(2**30)
        return random_sign(rng, s * (2 * q + 1)), random_sign(rng, 2 * 10**6 * s)
    if kind == 7:  # halves of rounding: a whole number of units plus half a unit at n decimals
        n = rng.randint(0, 5)
        u = 10 ** (6 - n)
        return random_sign(rng, rng.randrange(10**15) * u + u // 2), by_length(rng, rng.randint(0, 60))
    # kind 8: two negatives whose sum lands near the smallest value, often on a word boundary
    target = MIN + rng.randrange(2**16) * 2**16 + (0 if rng.random() < 0.7 else rng.randrange(2**16))
    a = -rng.randint(1, 2**78)
    return a, target - a


def main():
    rng = random.Random(SEED)
    out = sys.stdout
    out.write("# Money arithmetic from tools/gen_money_tables.py: a b n add sub mul div arr inf sup\n")
    for i in range(ROWS):
        a, b = operands(rng)
        assert MIN <= a <= MAX and MIN <= b <= MAX
        n = i % 6
        results = [add(a, b), sub(a, b), mul(a, b), div(a, b)]
        roundings = [arr(a, n), directed(a, n, True), directed(a, n, False)]
        results += [None if r is None else r - a for r in roundings]
        out.write(" ".join([hexa(a), hexa(b), str(n)] + [hexa(r) for r in results]) + "\n")


if __name__ == "__main__":
    main()
