#!/usr/bin/env python3
"""Writes the Gregorian Easter Sunday of every year from 1583 to 9999, one "YYYYMMDD" a line.

The dates come from Gauss's method with its two Gregorian exceptions (Lichtenberg's form of the
century terms), a computation independent of the one the library uses; the result is checked to
be a Sunday between 22 March and 25 April by Python's own calendar.
Usage: gen_easter_table.py OUTPUT
"""
import datetime
import sys


def easter(year):
    a = year % 19
    b = year % 4
    c = year % 7
    k = year // 100
    p = (13 + 8 * k) // 25
    q = k // 4
    m = (15 - p + k - q) % 30
    n = (4 + k - q) % 7
    d = (19 * a + m) % 30
    e = (2 * b + 4 * c + 6 * d + n) % 7
    day = 22 + d + e  # in March, may run into April
    if d == 29 and e == 6:
        return datetime.date(year, 4, 19)
    if d == 28 and e == 6 and (11 * m + 11) % 30 < 19:
        return datetime.date(year, 4, 18)
    if day > 31:
        return datetime.date(year, 4, day - 31)
    return datetime.date(year, 3, day)


def main():
    lines = []
    for year in range(1583, 10000):
        date = easter(year)
        assert date.weekday() == 6, date
        assert datetime.date(year, 3, 22) <= date <= datetime.date(year, 4, 25), date
        lines.append(date.strftime("%Y%m%d"))
    with open(sys.argv[1], "w", encoding="ascii") as out:
        out.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
