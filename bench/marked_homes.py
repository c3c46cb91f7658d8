"""Homes whose browsers' data is full of marks, to be searched for on the disk. Each kind of data has marks of its own."""

import os
import sqlite3

MARK_SIZE = 8
SECTOR = 512  # bytes; what a disk writes at once
MIB = 1 << 20
GIB = 1 << 30
FILES = 300
ROWS = 400  # of sites, in each database; and as many that stay


class Kind:
    """A kind of data; `count` is how many of its marks have been written so far, not counting copies in journals."""

    def __init__(self, letter, title):
        self.mark = f"TIDEMAR{letter}".encode()
        self.title = title
        self.count = 0

    def marks(self, size):
        """That many bytes, full of marks."""
        self.count += size // MARK_SIZE
        return self.mark * (size // MARK_SIZE) + bytes(size % MARK_SIZE)

    def sectors(self, size):
        """That many bytes, with a mark in each sector."""
        self.count += size // SECTOR
        return (self.mark + bytes(SECTOR - MARK_SIZE)) * (size // SECTOR)


def write(path, content=b""):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content)


class LibraryHome:
    """A home with a folder "Library". Only files that are removed as items of their own are overwritten there, not those
    in a folder. So each file has a profile of its own, and the name of its plug-in folder."""

    browsers = {"org.chromium.Chromium": "Chromium"}

    def __init__(self, home):
        self.small, self.large = Kind("A", "files of 6,000 bytes"), Kind("B", "files of 200,000 bytes")
        self.kinds = [self.small, self.large]
        data = home + "/Library/Application Support/Chromium"
        names = [f"P{number}" for number in range(2 * FILES)]
        for number, name in enumerate(names):
            write(f"{data}/{name}/Pepper Data", self.large.marks(200_000) if number % 2 else self.small.marks(6_000))
        listed = ", ".join(f'"{name}": {{"name": "{name}"}}' for name in names)
        write(data + "/Local State", f'{{"profile": {{"info_cache": {{{listed}}}}}}}'.encode())

    @staticmethod
    def complaint():
        """What of the person's own is missing; "" when all is there."""
        return ""


class Database:
    """A database of sites' rows, which are full of marks, and of as many rows that stay."""

    def __init__(self, path, schema, insertion, site, own):
        self.path, self.schema, self.insertion, self.site, self.own = path, schema, insertion, site, own
        self.table = insertion.split()[2]

    def fill(self, kind, mode):
        os.makedirs(os.path.dirname(self.path), exist_ok=True)
        writer = os.fork()
        if writer == 0:  # ends as a browser that is killed: its journals stay
            try:
                self._write(kind.mark.decode() * 40, mode)
                os._exit(0)
            finally:
                os._exit(1)
        if os.waitpid(writer, 0)[1] != 0:
            raise RuntimeError("can't write " + self.path)
        kind.count += ROWS * 40

    def _write(self, marks, mode):
        connection = sqlite3.connect(self.path)
        connection.executescript(f"PRAGMA journal_mode={mode}; PRAGMA wal_autocheckpoint=0; {self.schema}")
        half = ROWS // 2
        self._insert(connection, marks, range(half))
        connection.execute("PRAGMA wal_checkpoint")  # cuts nothing off the log: what it frees is out of anyone's reach
        self._insert(connection, marks, range(half, ROWS))
        # The old rows are left in the journal of a rollback, and in pages that are no longer used.
        with connection:
            connection.execute(f"DELETE FROM {self.table} WHERE rowid % 4 = 0")

    def _insert(self, connection, marks, numbers):
        with connection:
            for number in numbers:
                connection.execute(self.insertion, (self.site % f"{number}.{marks}",))
                connection.execute(self.insertion, (self.own % number,))

    def complaint(self):
        connection = sqlite3.connect(f"file:{self.path}?mode=ro&immutable=1", uri=True)
        try:
            rows = connection.execute(f"SELECT * FROM {self.table}").fetchall()
        finally:
            connection.close()
        sites = sum("TIDEMAR" in str(row) for row in rows)
        kept = len(rows) - sites
        return f"{self.path}: {kept} rows stayed, {sites} of sites. " if kept < ROWS // 2 or sites else ""


def databases(firefox, chromium):
    scopes = "CREATE TABLE webappsstore2 (scope TEXT);", "INSERT INTO webappsstore2 VALUES (?)", "elpmaxe.%s.:https", "own%d"
    return [
        Database(firefox + "/content-prefs.sqlite",
                 "CREATE TABLE groups (id INTEGER PRIMARY KEY, name TEXT);"
                 "CREATE TABLE prefs (id INTEGER PRIMARY KEY, groupID INTEGER, value TEXT);",
                 "INSERT INTO prefs SELECT NULL, CASE WHEN ?1 LIKE 'site%' THEN 1 END, ?1", "site%s", "own%d"),
        Database(firefox + "/storage.sqlite", "CREATE TABLE origin (origin TEXT);", "INSERT INTO origin VALUES (?)",
                 "https://%s.example", "moz-extension://%d"),
        Database(firefox + "/webappsstore.sqlite", *scopes),
        Database(firefox + "/storage/ls-archive.sqlite", *scopes),
        Database(chromium + "/WebStorage/QuotaManager",
                 "CREATE TABLE buckets (id INTEGER PRIMARY KEY, storage_key TEXT);",
                 "INSERT INTO buckets VALUES (NULL, ?)", "https://%s.example/", "chrome-extension://%d/"),
    ]


class LinuxHome:
    """A home as it is on Linux, with a folder of caches that goes as a whole, and with databases of which a part stays."""

    browsers = {"org.chromium.Chromium": "Chromium", "org.mozilla.firefox": "Firefox"}
    FIREFOX, CHROMIUM, CACHES = ".mozilla/firefox", ".config/chromium", ".cache/chromium/Default"
    LEVELS = 300

    def __init__(self, home, has_full_file):
        self.small, self.large = Kind("A", "files of 6,000 bytes"), Kind("B", "files of 200,000 bytes")
        self.sparse, self.full = Kind("C", "2 files of 5 GiB with holes"), Kind("D", "1 file of 5 GiB in full")
        self.deep = Kind("E", f"files {self.LEVELS} folders deep")
        self.logged, self.rolled = Kind("F", "rows, write-ahead log"), Kind("G", "rows, rollback journal")
        self.kinds = [self.small, self.large, self.sparse, self.deep, self.logged, self.rolled]
        caches = os.path.join(home, self.CACHES)
        for number in range(FILES):
            write(f"{caches}/Cache/Cache_Data/{number:016x}_0", self.small.marks(6_000))
            write(f"{caches}/Code Cache/js/{number:016x}_0", self.large.marks(200_000))
        for number in range(2):
            self.fill_sparsely(f"{caches}/Cache/Cache_Data/sparse{number}")
        if has_full_file:
            self.kinds.append(self.full)
            self.fill_in_full(caches + "/Cache/Cache_Data/full")
        self.fill_deep_folder(caches + "/Cache")
        self.databases = []
        self.make_profiles(os.path.join(home, self.FIREFOX), os.path.join(home, self.CHROMIUM))

    def fill_sparsely(self, path):
        """A MiB of marks every 64 MiB, on both sides of 4 GiB, and at the end."""
        with open(path, "wb") as file:
            for place in [*range(0, 5 * GIB, 64 * MIB), 4 * GIB - MIB, 5 * GIB - MIB]:
                file.seek(place)
                file.write(self.sparse.sectors(MIB))

    def fill_in_full(self, path):
        block = self.full.sectors(64 * MIB)
        with open(path, "wb") as file:
            for _ in range(5 * GIB // len(block)):
                file.write(block)
        self.full.count *= 5 * GIB // len(block)

    def fill_deep_folder(self, path):
        """Most of its folders have a path that is too long for the system."""
        folder = os.open(path, os.O_DIRECTORY)
        for level in range(1, self.LEVELS + 1):
            name = "d" * 200
            os.mkdir(name, dir_fd=folder)
            inner = os.open(name, os.O_DIRECTORY, dir_fd=folder)
            os.close(folder)
            folder = inner
            if level % 30 == 0:
                with open(os.open("file", os.O_CREAT | os.O_WRONLY, dir_fd=folder), "wb") as file:
                    file.write(self.deep.marks(6_000))
        os.close(folder)

    def make_profiles(self, firefox, chromium):
        modes = {"WAL": self.logged, "PERSIST": self.rolled}
        for number, (mode, kind) in enumerate(modes.items()):
            name = ["Default", "Profile 1"][number]
            write(f"{chromium}/{name}/Preferences", b"{}")
            write(f"{firefox}/{number}.{mode}/prefs.js")
            for database in databases(f"{firefox}/{number}.{mode}", f"{chromium}/{name}"):
                database.fill(kind, mode)
                self.databases.append(database)
        write(chromium + "/Local State",
              b'{"profile": {"info_cache": {"Default": {"name": "Ann"}, "Profile 1": {"name": "Work"}}}}')
        write(firefox + "/profiles.ini", "".join(
            f"[Profile{number}]\nName={mode}\nIsRelative=1\nPath={number}.{mode}\n\n"
            for number, mode in enumerate(modes)).encode())

    def complaint(self):
        return "".join(database.complaint() for database in self.databases)
