"""Pictures of a private X server's screen. The server keeps its screen in a file, in the form of "xwd"."""

import struct
import zlib


def read_screen(path):
    """(width, height, rows of red, green and blue bytes) of the screen in that file."""
    with open(path, "rb") as file:
        data = file.read()
    head = struct.unpack(">25I", data[:100])
    header, width, height, order, bits, line, colours = head[0], head[4], head[5], head[7], head[11], head[12], head[19]
    if bits != 32 or order != 0:
        raise ValueError("only screens of 24 bits, lowest byte first, are known")
    start = header + 12 * colours
    rows = []
    for number in range(height):
        row = data[start + number * line:start + number * line + 4 * width]
        pixels = bytearray(3 * width)
        pixels[0::3], pixels[1::3], pixels[2::3] = row[2::4], row[1::4], row[0::4]
        rows.append(bytes(pixels))
    return width, height, rows


def write_png(path, width, rows):
    def chunk(kind, content):
        return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))

    raw = b"".join(b"\0" + row for row in rows)
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, len(rows), 8, 2, 0, 0, 0)) +
                   chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))


def take(screen_file, path, x, y, width, height):
    """A picture of that part of the screen."""
    whole, tall, rows = read_screen(screen_file)
    width, height = min(width, whole - x), min(height, tall - y)
    write_png(path, width, [row[3 * x:3 * (x + width)] for row in rows[y:y + height]])
