"""Reads PNG images as written by rsvg-convert: square, RGBA, 8 bits, not interlaced."""

import struct
import zlib


def read(path):
    """Returns the side in pixels and the samples row by row, with unassociated alpha."""
    with open(path, "rb") as file:
        data = file.read()
    at, packed, side = 8, b"", 0
    while at < len(data):
        size, kind = struct.unpack(">I4s", data[at:at + 8])
        chunk = data[at + 8:at + 8 + size]
        at += size + 12
        if kind == b"IHDR":
            side, height, *form = struct.unpack(">IIBBBBB", chunk)
            if side != height or form != [8, 6, 0, 0, 0]:
                raise ValueError(f"{path}: not a square 8-bit RGBA image without interlacing")
        elif kind == b"IDAT":
            packed += chunk
    return side, _unfiltered(zlib.decompress(packed), side * 4)


def _unfiltered(rows, stride):
    samples, above = bytearray(), bytes(stride)
    for start in range(0, len(rows), stride + 1):
        method, *line = rows[start:start + stride + 1]
        for i in range(stride):
            left = line[i - 4] if i >= 4 else 0
            up = above[i]
            corner = above[i - 4] if i >= 4 else 0
            nearest = min((left, up, corner), key=lambda near: abs(left + up - corner - near))
            line[i] = (line[i] + (0, left, up, (left + up) // 2, nearest)[method]) % 256
        above = line
        samples += bytes(line)
    return bytes(samples)
