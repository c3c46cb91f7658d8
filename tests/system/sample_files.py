"""Writes and reads small files in the formats of browsers, for a sample home."""

import json
import os
import re
import sqlite3
import struct

import traces


def write(path, content):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content)


def write_json(path, value):
    write(path, json.dumps(value, separators=(",", ":")).encode())


def read_json(path):
    with open(path, "rb") as file:
        return json.load(file)


# Databases.

def write_database(path, schema, **rows):
    """Writes a database with the schema's tables and these rows."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    connection = sqlite3.connect(path)
    try:
        with connection:
            connection.executescript(schema)
            for table, lines in rows.items():
                connection.executemany(f"INSERT INTO {table} VALUES ({', '.join('?' * len(lines[0]))})", lines)
    finally:
        connection.close()


def count_rows(path, table, condition="TRUE"):
    """Counts rows; 0 when the database is missing."""
    if not os.path.exists(path):
        return 0
    connection = sqlite3.connect(f"file:{path}?mode=ro", uri=True)
    try:
        return connection.execute(f"SELECT count(*) FROM {table} WHERE {condition}").fetchone()[0]
    finally:
        connection.close()


# Firefox's compressed JSON: a magic number, the size, and one block of LZ4, here with literals only.

MARK = b"mozLz40\0"


def write_packed(path, value):
    text = json.dumps(value).encode()
    rest = len(text) - 15
    assert rest >= 0, "short texts have another form"
    lengths = b"\xff" * (rest // 255) + bytes([rest % 255])
    write(path, MARK + struct.pack("<I", len(text)) + b"\xf0" + lengths + text)


def read_packed(path):
    with open(path, "rb") as file:
        return json.loads(traces.expand(file.read()[len(MARK) + 4:], traces.lz4))


# A LevelDB database that was just filled: all entries are in its log (doc/log_format.md and doc/impl.md of LevelDB).

def _crc32c_table():
    for byte in range(256):
        for _ in range(8):
            byte = byte >> 1 ^ (0x82F63B78 if byte & 1 else 0)
        yield byte


CRC = list(_crc32c_table())
BLOCK = 32768


def _masked_crc(data):
    crc = 0xFFFFFFFF
    for byte in data:
        crc = CRC[(crc ^ byte) & 255] ^ crc >> 8
    crc ^= 0xFFFFFFFF
    return ((crc >> 15 | crc << 17) + 0xA282EAD8) & 0xFFFFFFFF


def _number(value):
    """The number in LevelDB's encoding of variable length."""
    encoded = bytearray()
    while value > 127:
        encoded.append(value & 127 | 128)
        value >>= 7
    return bytes(encoded) + bytes([value])


def _text(text):
    return _number(len(text)) + text


def _log(record):
    assert len(record) + 7 <= BLOCK, "longer ones would have to be split"
    return struct.pack("<IHB", _masked_crc(b"\1" + record), len(record), 1) + record


def write_level(folder, entries):
    manifest = (_number(1) + _text(b"leveldb.BytewiseComparator") + _number(2) + _number(3) + _number(9) + _number(0)
                + _number(3) + _number(4) + _number(4) + _number(0))
    batch = struct.pack("<QI", 1, len(entries)) + b"".join(
        b"\1" + _text(key) + _text(value) for key, value in entries.items())
    write(folder + "/CURRENT", b"MANIFEST-000002\n")
    write(folder + "/MANIFEST-000002", _log(manifest))
    write(folder + "/000003.log", _log(batch))
    write(folder + "/LOCK", b"")


def find_in_level(folder, expression):
    """The distinct matches of the expression in the database's logs and tables."""
    found = set()
    for name in os.listdir(folder) if os.path.isdir(folder) else []:
        if name.endswith((".log", ".ldb")):
            for text in traces.texts_of(os.path.join(folder, name)):
                found.update(re.findall(expression, text))
    return found


# Folders.

def list_names(folder, *starts):
    """The names in the folder that begin with one of `starts`."""
    return [name for name in os.listdir(folder) if name.startswith(starts or "")] if os.path.isdir(folder) else []


def list_files(folder):
    """(path, size) of every file below the folder."""
    found = []
    for where, _, names in os.walk(folder):
        for name in names:
            path = os.path.join(where, name)
            if not os.path.islink(path):
                found.append((path, os.path.getsize(path)))
    return found
