"""Searches a folder for what sites have left: names of hosts, and the marks "zqPLACE-STORE" that pages write."""

import base64
import os
import re

from local_site import HOSTS

NAMES = [host.split(".")[0].encode() for host in HOSTS.values()]
STARTS = NAMES + [f"zq{place}-".encode() for place in (*HOSTS, "extension", "large")]
WORDS = re.compile(b"(?:" + b"|".join(STARTS) + b")(?:(?<=[a-z]-)[A-Za-z]+)?")
WIDE_STARTS = [start.decode().encode("utf-16-le") for start in STARTS]
WIDE = re.compile(b"((?:[!-~]\0){8,})")
# Firefox stores the text of a key in a database with each byte increased by one.
HIGHER = {bytes(byte + 1 for byte in name): name for name in NAMES}


def in_base64(name):
    """The name in the base64 form of a longer text, for each of its three alignments."""
    for shift in range(3):
        text = base64.b64encode(bytes(shift) + name)
        yield text[(8 * shift + 5) // 6:8 * (shift + len(name)) // 6]


CODED = {text: name for name in NAMES for text in in_base64(name)}


def expand(block, repeat_in):
    """Decompresses an LZ77 format: `repeat_in` yields either bytes, or (distance, length) of a repetition."""
    text = bytearray()
    try:
        for piece in repeat_in(block):
            if isinstance(piece, bytes):
                text += piece
            else:
                distance, length = piece
                while length > 0:
                    again = text[-distance:][:length]
                    text += again
                    length -= len(again) or length
    except IndexError:
        pass  # damaged: keeps what came before
    return bytes(text)


def lz4(block):
    place = 0

    def length(nibble):
        nonlocal place
        while nibble >= 15:
            nibble += block[place]
            place += 1
            if block[place - 1] != 255:
                break
        return nibble

    while place < len(block):
        token = block[place]
        place += 1
        plain = length(token >> 4)
        yield block[place:place + plain]
        place += plain
        if place < len(block):
            distance = block[place] | block[place + 1] << 8
            place += 2
            yield distance, length(token & 15) + 4


def number_at(text, place):
    """A number of variable length, and the place where it ends."""
    value = shift = 0
    while True:
        value |= (text[place] & 127) << shift
        shift += 7
        place += 1
        if text[place - 1] < 128:
            return value, place


def snappy(block):
    _, place = number_at(block, 0)
    while place < len(block):
        tag = block[place]
        place += 1
        kind, count = tag & 3, tag >> 2
        if kind == 0:
            if count >= 60:
                more = count - 59
                count = int.from_bytes(block[place:place + more], "little")
                place += more
            yield block[place:place + count + 1]
            place += count + 1
        elif kind == 1:
            yield (tag >> 5) << 8 | block[place], (count & 7) + 4
            place += 1
        else:
            size = 2 if kind == 2 else 4
            yield int.from_bytes(block[place:place + size], "little"), count + 1
            place += size


def table_block(table, offset, size):
    block = table[offset:offset + size]
    return expand(block, snappy) if table[offset + size] == 1 else block


def table_contents(table):
    """The blocks of a LevelDB table, decompressed."""
    footer = table[-48:]
    place = 0
    for _ in range(2):  # the footer's two handles
        _, place = number_at(footer, place)
        _, place = number_at(footer, place)
    offset, size = number_at(footer, number_at(footer, number_at(footer, 0)[1])[1])
    size, _ = number_at(footer, size)
    index = table_block(table, offset, size)
    end = len(index) - 4 - 4 * int.from_bytes(index[-4:], "little")
    place = 0
    while place < end:
        _, place = number_at(index, place)
        rest, place = number_at(index, place)
        value, place = number_at(index, place)
        place += rest
        offset, after = number_at(index, place)
        size, _ = number_at(index, after)
        yield table_block(table, offset, size)
        place += value


def texts_of(path):
    """The contents of the file, as they are and decompressed."""
    with open(path, "rb") as file:
        contents = file.read()
    if contents.startswith(b"mozLz40\0"):
        yield expand(contents[12:], lz4)
        return
    yield contents
    if path.endswith(".ldb"):
        yield from table_contents(contents)


def words_in(text):
    found = {name for coded in (HIGHER, CODED) for code, name in coded.items() if code in text}
    if any(start in text for start in STARTS):
        found.update(WORDS.findall(text))
    if any(start in text for start in WIDE_STARTS):
        for wide in WIDE.findall(text):
            found.update(WORDS.findall(wide[::2]))
    return {word.decode() for word in found}


def of_file(path):
    """The traces of sites in a file and in its name."""
    found = words_in(os.path.basename(path).encode())
    if os.path.isfile(path) and not os.path.islink(path):
        for text in texts_of(path):
            found |= words_in(text)
    return found


def below(folder):
    """The traces of sites below the folder, by relative path. The browser may be running."""
    found = {}
    for where, folders, files in os.walk(folder):
        for name in folders + files:
            path = os.path.join(where, name)
            try:
                words = of_file(path)
            except FileNotFoundError:
                continue
            if words:
                found[os.path.relpath(path, folder)] = words
    return found
