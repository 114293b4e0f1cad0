"""Zip archives and deflated bytes of pieces that are repeated: each piece is packed once, however often it stands there."""
import struct
import zlib

# Packed as one, so that many small pieces don't each cost a packer.
SMALL = 1 << 16


def pack(piece):
    """A run of deflate blocks that look back at nothing before them, so that they can stand anywhere."""
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    return packer.compress(piece) + packer.flush(zlib.Z_FULL_FLUSH)


class Deflated:
    """What pieces pack to: bytes that inflate to them, how many they are, and both checksums."""

    def __init__(self, pieces):
        """pieces: bytes, or (bytes, times)."""
        self.size, self.crc, self.adler = 0, 0, 1
        self.runs, self.known = [], {}
        small = b""
        for piece in pieces:
            data, times = piece if isinstance(piece, tuple) else (piece, 1)
            if times == 1 and len(data) < SMALL:
                small += data
                if len(small) < SMALL:
                    continue
                data, small = small, b""
            elif small:
                self.add(small, 1)
                small = b""
            self.add(data, times)
        if small:
            self.add(small, 1)
        self.runs.append(b"\x03\x00")  # the last block, which is empty
        self.packed = b"".join(self.runs)

    def add(self, data, times):
        self.size += len(data) * times
        for _ in range(times):
            self.crc = zlib.crc32(data, self.crc)
        if data not in self.known:
            self.known[data] = pack(data)
        self.runs.append(self.known[data] * times)


def zlib_stream(pieces):
    """The bytes of RFC 1950 around the pieces."""
    pieces = list(pieces)
    adler = 1
    for piece in pieces:
        data, times = piece if isinstance(piece, tuple) else (piece, 1)
        for _ in range(times):
            adler = zlib.adler32(data, adler)
    return b"\x78\xda" + Deflated(pieces).packed + struct.pack(">I", adler)


def packed_zip(path, parts):
    """parts: {name: text, bytes, or pieces}."""
    directory, offset = b"", 0
    with open(path, "wb") as out:
        for name, content in parts.items():
            if isinstance(content, (str, bytes)):
                content = [content.encode() if isinstance(content, str) else content]
            entry = Deflated(content)
            raw = name.encode()
            fields = struct.pack("<HHHHHIIIHH", 20, 0, 8, 0, 0x21, entry.crc, len(entry.packed), entry.size, len(raw), 0)
            out.write(b"PK\3\4" + fields + raw + entry.packed)
            directory += b"PK\1\2\x14\0" + fields + struct.pack("<HHHII", 0, 0, 0, 0, offset) + raw
            offset += 30 + len(raw) + len(entry.packed)
        out.write(directory + b"PK\5\6" + struct.pack("<HHHHIIH", 0, 0, len(parts), len(parts), len(directory), offset, 0))
