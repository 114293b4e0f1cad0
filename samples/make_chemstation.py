#!/usr/bin/env python3
"""Makes caffeine.ch and caffeine.uv: the 273 nm signal of a short HPLC run, and its spectra over time."""
import math
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))
PEAKS = [(62.0, 2.4, 41.0, 205), (96.5, 2.9, 118.0, 273), (131.0, 3.6, 27.0, 254)]  # s, width, mAU, nm


def noise(state=19841010):
    while True:
        state = (state * 1664525 + 1013904223) % 2 ** 32
        yield state / 2 ** 32 - 0.5


def absorbance(seconds, wavelength):
    total = 0.0
    for centre, width, height, maximum in PEAKS:
        shape = math.exp(-((seconds - centre) / width) ** 2 / 2)
        total += height * shape * math.exp(-((wavelength - maximum) / 18) ** 2 / 2)
    return total


class Header:
    """The older layout: big-endian fields at fixed places, texts with a length byte, data from 0x400 on."""

    def __init__(self, version):
        self.bytes = bytearray(0x400)
        self.text(0x0, version)
        self.text(0x18, 'Caffeine standard')
        self.text(0xb2, '10-Oct-23, 14:05:12')
        self.number('>i', 0x108, 3)

    def text(self, offset, value):
        self.bytes[offset] = len(value)
        self.bytes[offset + 1:offset + 1 + len(value)] = value.encode('ascii')

    def number(self, form, offset, value):
        struct.pack_into(form, self.bytes, offset, value)


def signal(random):
    scale, step, points = 0.001, 0.4, 451
    header = Header('30')
    header.text(0xda, 'DAD1 A, Sig=273,4 Ref=off')
    header.number('>i', 0x11a, 0)
    header.number('>i', 0x11e, int((points - 1) * step * 1000))
    header.number('>h', 0x212, 2)
    header.number('>h', 0x214, 5)
    header.text(0x244, 'mAU')
    header.number('>d', 0x284, scale)
    values = [round((absorbance(i * step, 273) + 0.02 * next(random)) / scale) for i in range(points)]
    data = bytearray()
    for start in range(0, points, 100):
        run = values[start:start + 100]
        data += struct.pack('>H', 0x1000 | len(run))
        for i, value in enumerate(run, start):
            difference = value - (values[i - 1] if i else 0)
            if i == 0 or not -32767 <= difference <= 32767:
                data += struct.pack('>Hi', 0x8000, value)
            else:
                data += struct.pack('>h', difference)
    write('caffeine.ch', header, data + b'\0\0')


def spectra(random):
    scale, step, count = 0.01, 4.0, 45
    first, last, spacing = 190, 400, 2
    header = Header('31')
    header.text(0xda, 'DAD1')
    header.number('>i', 0x116, count)
    header.number('>d', 0x13e, scale)
    header.text(0x146, 'mAU')
    data, running = bytearray(), 0
    for k in range(count):
        values = bytearray()
        for i, wavelength in enumerate(range(first, last + 1, spacing)):
            value = round((absorbance(k * step, wavelength) + 0.02 * next(random)) / scale)
            if i == 0 or not -32767 <= value - running <= 32767:
                values += struct.pack('<Hi', 0x8000, value)
            else:
                values += struct.pack('<h', value - running)
            running = value
        data += struct.pack('<BBhihhhhh', ord('C'), 0, 18 + 4 + len(values), int(k * step * 1000), first * 20, last * 20,
                            spacing * 20, 0, 4) + b'\0\0\0\0' + values
    write('caffeine.uv', header, data)


def write(name, header, data):
    with open(os.path.join(HERE, name), 'wb') as file:
        file.write(bytes(header.bytes) + bytes(data))


if __name__ == '__main__':
    sequence = noise()
    signal(sequence)
    spectra(sequence)
