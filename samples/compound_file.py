"""Writes a small compound file (structured storage): header, directory, streams and the tables of sectors.

The entries are linked as a balanced tree in the order of the format: by length, then by letters.
"""
import struct

SECTOR = 512
LARGE_SECTOR = 4096
MINI_SECTOR = 64
CUTOFF = 4096
FREE, END, FAT = 0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFD


def pad(data, unit):
    return data + b"\0" * (-len(data) % unit)


class Sectors:
    def __init__(self, size):
        self.size = size
        self.data = bytearray()
        self.table = []

    def add(self, data):
        """Appends a stream and returns its first sector."""
        if not data:
            return END
        first = len(self.table)
        data = pad(data, self.size)
        count = len(data) // self.size
        self.table += [first + i + 1 for i in range(count - 1)] + [END]
        self.data += data
        return first


def link(entries, low, high, links):
    """The middle entry is the root of its part of the tree."""
    if low >= high:
        return FREE
    middle = (low + high) // 2
    links[middle] = (link(entries, low, middle, links), link(entries, middle + 1, high, links))
    return middle + 1


def entry(name, kind, left, right, child, first, size):
    raw = name.encode("utf-16le")
    return (raw.ljust(64, b"\0") + struct.pack("<HBB", len(raw) + 2, kind, 1) + struct.pack("<III", left, right, child) +
            b"\0" * 36 + struct.pack("<IQ", first, size))


def compound_file(streams, same_as=None, sector=SECTOR):
    """The bytes of a file with these streams at its root: {name: bytes}. `same_as`: {name: the stream whose bytes it has}.

    Its table of sectors is one sector's list: more than 7 MB take sectors of LARGE_SECTOR.
    """
    same_as = same_as or {}
    names = sorted([*streams, *same_as], key=lambda name: (len(name), name.upper()))
    sectors = Sectors(sector)
    mini, mini_table, firsts = b"", [], {}
    for name in names:
        if name in same_as:
            continue
        data = streams[name]
        if len(data) >= CUTOFF:
            firsts[name] = sectors.add(data)
        elif data:
            first = len(mini_table)
            count = -(-len(data) // MINI_SECTOR)
            mini_table += [first + i + 1 for i in range(count - 1)] + [END]
            mini += pad(data, MINI_SECTOR)
            firsts[name] = first
        else:
            firsts[name] = END
    mini_first = sectors.add(mini)
    mini_fat = struct.pack("<%dI" % len(mini_table), *mini_table)
    mini_fat += b"\xff" * (-len(mini_fat) % sector)
    mini_fat_first = sectors.add(mini_fat)

    links = {}
    top = link(names, 0, len(names), links)
    directory = entry("Root Entry", 5, FREE, FREE, top, mini_first, len(mini))
    for i, name in enumerate(names):
        holder = same_as.get(name, name)
        directory += entry(name, 2, links[i][0], links[i][1], FREE, firsts[holder], len(streams[holder]))
    unused = b"\0" * 68 + b"\xff" * 12 + b"\0" * 48
    directory += unused * (-len(directory) // 128 % (sector // 128))
    directory_first = sectors.add(directory)

    fat_count = 1
    entries = sector // 4
    while fat_count * entries < len(sectors.table) + fat_count:
        fat_count += 1
    fat_first = len(sectors.table)
    table = sectors.table + [FAT] * fat_count
    table += [FREE] * (fat_count * entries - len(table))
    places = [fat_first + i for i in range(fat_count)] + [FREE] * (109 - fat_count)
    header = (b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" + b"\0" * 16 + struct.pack("<HHHHH", 0x3E, 3 if sector == SECTOR else 4, 0xFFFE, sector.bit_length() - 1, 6) +
              b"\0" * 6 + struct.pack("<I", 0 if sector == SECTOR else len(directory) // sector) +
              struct.pack("<IIIIIIII", fat_count, directory_first, 0, CUTOFF, mini_fat_first,
                          len(mini_fat) // sector, END, 0) + struct.pack("<109I", *places))
    return pad(header, sector) + bytes(sectors.data) + struct.pack("<%dI" % len(table), *table)
