#!/usr/bin/env python3
"""Writes samples/soil-1.0 and samples/soil-2.0: two mid-infrared absorbance spectra as Bruker OPUS files.

The spectra are made up. Their axes differ by half a spacing, so that the pair shows what the two OPUS readers
do: one asks, the other brings the second file onto the axis of the first.
"""
import math
import os
import struct

POINTS = 900
FIRST_X = 3998.0  # cm-1
LAST_X = 402.0

SAMPLE_PARAMETERS = 0xA0
RATIOED_DATA = 0x100F
RATIOED_STATUS = 0x101F


def head(name, kind, size):
    return name.encode() + b'\0' + struct.pack('<Hh', kind, size // 2)


def number(name, value):
    raw = struct.pack('<d', value) if isinstance(value, float) else struct.pack('<i', value)
    return head(name, 1 if isinstance(value, float) else 0, len(raw)) + raw


def text(name, value):
    raw = value.encode('latin-1') + b'\0'
    raw += b'\0' * (len(raw) % 2)
    return head(name, 2, len(raw)) + raw


def padded(block):
    block += head('END', 0, 0)
    return block + b'\0' * (-len(block) % 4)


def spectrum(first_x, last_x, clay):
    values = []
    for i in range(POINTS):
        x = first_x + i * (last_x - first_x) / (POINTS - 1)
        y = 0.3 + 0.9 * math.exp(-(((x - 1040) / 90) ** 2)) + clay * math.exp(-(((x - 3620) / 25) ** 2))
        values.append(y + 0.4 * math.exp(-(((x - 3400) / 220) ** 2)) + 0.15 * math.exp(-(((x - 1640) / 40) ** 2)))
    return values


def opus_file(name, shift, clay, time):
    first_x, last_x = FIRST_X + shift, LAST_X + shift
    values = spectrum(first_x, last_x, clay)
    sample = padded(text('SNM', name) + text('SFM', 'ground, 40 mesh'))
    status = padded(number('DPF', 1) + number('NPT', POINTS) + number('FXV', first_x) + number('LXV', last_x)
                    + number('CSF', 1.0) + number('MXY', max(values)) + number('MNY', min(values))
                    + text('DAT', '17/09/2025') + text('TIM', time) + text('DXU', 'WN'))
    data = struct.pack('<%df' % POINTS, *values)
    blocks = [(SAMPLE_PARAMETERS, sample), (RATIOED_STATUS, status), (RATIOED_DATA, data)]
    result = b'\x0a\x0a\xfe\xfe' + struct.pack('<diii', 920622.0, 24, 40, len(blocks))
    offset = len(result) + 12 * len(blocks)
    for kind, block in blocks:
        result += struct.pack('<Iii', kind, len(block) // 4, offset)
        offset += len(block)
    return result + b''.join(block for _, block in blocks)


def main():
    folder = os.path.dirname(os.path.abspath(__file__))
    for count, shift, clay, time in ((1, 0.0, 0.6, '09:12:44.100'), (2, 2.0, 0.35, '09:20:03.750')):
        with open(os.path.join(folder, 'soil-%d.0' % count), 'wb') as file:
            file.write(opus_file('Field 7, plot %d' % count, shift, clay, time))


if __name__ == '__main__':
    main()
