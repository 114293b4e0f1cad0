#!/usr/bin/env python3
"""Writes samples/kinetics.spc: a near-infrared batch run, 12 spectra of 350 points in one Galactic SPC file.

The spectra are made up: a water band that fades while a product band grows, with a little noise from a fixed
sequence. New format, 32-bit integers with an exponent of their own in each sub-file.
"""
import math
import os
import struct

POINTS = 350
SPECTRA = 12
FIRST_X = 1100.0  # nm
LAST_X = 2496.0
SECONDS_BETWEEN = 90.5


def noise(state):
    state = (state * 1664525 + 1013904223) % 2**32
    return state, state / 2**32 - 0.5


def band(x, centre, width):
    return math.exp(-(((x - centre) / width) ** 2))


def spectrum(number, state):
    progress = 1.0 - math.exp(-number / 4.0)
    values = []
    for i in range(POINTS):
        x = FIRST_X + i * (LAST_X - FIRST_X) / (POINTS - 1)
        state, wobble = noise(state)
        values.append(0.25 + (x - FIRST_X) * 1e-4 + (1.0 - 0.6 * progress) * band(x, 1940, 60)
                      + 0.8 * progress * band(x, 2270, 35) + 0.3 * band(x, 1450, 70) + 0.0004 * wobble)
    return values, state


def packed_date(year, month, day, hour, minute):
    return year << 20 | month << 16 | day << 11 | hour << 6 | minute


def header():
    start = struct.pack('<BBBbiddiBBBBI', 0x04, ord('K'), 5, 1, POINTS, FIRST_X, LAST_X, SPECTRA, 3, 2, 4, 0,
                        packed_date(2025, 9, 17, 13, 42))
    return start.ljust(512, b'\0')


def sub_file(number, values):
    # Values are read as v / 2^(32 - exponent), so that 32 bits hold what lies below 2^(exponent - 1).
    exponent = math.frexp(max(abs(v) for v in values))[1] + 1
    time = number * SECONDS_BETWEEN
    head = struct.pack('<Bbhff', 0, exponent, number, time, time + SECONDS_BETWEEN).ljust(32, b'\0')
    return head + struct.pack('<%di' % POINTS, *[round(v * 2.0 ** (32 - exponent)) for v in values])


def main():
    state = 2025
    data = header()
    for number in range(SPECTRA):
        values, state = spectrum(number, state)
        data += sub_file(number, values)
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'kinetics.spc')
    with open(path, 'wb') as file:
        file.write(data)


if __name__ == '__main__':
    main()
