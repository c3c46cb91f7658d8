"""Installed browsers that an ordinary user starts: where they keep their data, what the user has stored in them, and
the ways in which they end."""

import contextlib
import glob
import hashlib
import os
import re
import shutil
import signal
import sqlite3
import subprocess
import tempfile

import traces

# Marks of a site that may stay: history, bookmarks and open tabs hold titles.
TITLES = {"title"}
COMPLAINTS = re.compile(r"corrupt|malformed|not a database|disk image|IO error|could not be (opened|read)|"
                        r"failed to (open|load|read).*(database|store|profile)", re.IGNORECASE)


def is_database(path):
    with open(path, "rb") as file:
        return file.read(16) == b"SQLite format 3\0"


def integrity(path):
    with contextlib.closing(sqlite3.connect(path)) as database:
        try:
            return database.execute("PRAGMA integrity_check").fetchone()[0]
        except sqlite3.DatabaseError as error:
            # Of functions that only the browser has, nothing can be said here.
            return "ok" if re.match("no such (collation|module)|unknown (function|tokenizer)", str(error)) else str(error)


class Browser:
    """One browser of a session with a screen. Its data and caches are in `data` and `cache`, below the home folder."""

    name = identifier = command = data = cache = ""
    other_places = {}   # of sandboxed installations: the folders for data and cache
    arguments = []
    first_profile = []  # arguments for the first profile, where the browser opens the last used one by itself
    quit_keys = []
    manifest = {}       # the extension's
    spared = {}         # files that may name sites: expressions for paths in `data`, with the allowed marks
    stores = {}         # what sites fill: expressions for paths in `data` and `cache`
    fills_at_once = ()  # those of them that are on the disk before the browser ends in any way
    reopens_tabs_after = ()  # ways to end
    read_back = set()   # what a visit finds again besides what pages write

    def __init__(self, desk, screen, site):
        self.desk, self.screen, self.site = desk, screen, site
        self.output = os.path.join(desk.root, "output of " + self.command)
        self.processes = []

    def path(self, *parts):
        return os.path.join(self.desk.home, *parts)

    def run(self, *arguments):
        """Starts the browser, which may hand over to an instance that runs already."""
        with open(self.output, "a") as output:
            process = subprocess.Popen(
                ["/usr/bin/" + self.command, *self.arguments, *arguments], cwd=self.desk.home,
                env=dict(self.desk.environment, PATH="/usr/bin:/bin"), stdin=subprocess.DEVNULL, stdout=output,
                stderr=subprocess.STDOUT, **self.desk.identity)
        self.desk.browsers.append(process)
        return process

    def start(self, *arguments):
        with open(self.output, "w"):
            pass
        self.processes = [self.run(*arguments)]

    def has_ended(self):
        return all(process.poll() is not None for process in self.processes)

    def complaints(self):
        """The browser's messages about damaged files, and the files and windows that show such damage."""
        with open(self.output, errors="replace") as output:
            found = [line for line in output if COMPLAINTS.search(line)]
        for folder in (self.data, self.cache):
            for where, folders, files in os.walk(self.path(folder)):
                found += [os.path.join(where, name) for name in folders + files
                          if re.search(r"corrupt|\.bad$|\.bak$|^lost$", name)]
        return found + [title for title in self.titles() if not re.match("zq(first|third)-title", title)]

    def damaged_databases(self):
        """The databases that SQLite's own check of integrity finds damaged, while the browser does not run."""
        damaged, checked = [], 0
        for path in glob.glob(self.path(self.data, "**"), recursive=True, include_hidden=True):
            if not os.path.isfile(path) or not is_database(path):
                continue
            with tempfile.TemporaryDirectory() as folder:  # opening a database changes what lies beside it
                for companion in ("", "-wal", "-journal"):
                    if os.path.exists(path + companion):
                        shutil.copy(path + companion, folder)
                checked += 1
                verdict = integrity(os.path.join(folder, os.path.basename(path)))
                if verdict != "ok":
                    damaged.append((os.path.relpath(path, self.desk.home), verdict))
        assert checked > 5, "databases were found"
        return damaged

    def titles(self):
        return [self.screen.xdotool("getwindowname", number).strip() for number in self.screen.windows(".")]

    # Ways to end. Some browsers ask for confirmation; their default answer is yes.

    def press_and_agree(self, *keys):
        self.screen.press(*keys)
        for _ in range(8):
            with contextlib.suppress(TimeoutError):
                return self.desk.wait(self.has_ended, 1.5)
            self.screen.press("Return")

    def close_the_window(self):
        self.press_and_agree("ctrl+shift+w")

    def quit(self):
        self.press_and_agree(*self.quit_keys)

    def send(self, number):
        for process in self.processes:
            process.send_signal(number)

    ways = {"closing the last window": close_the_window, "quitting by the menu or its key": quit,
            "SIGTERM": lambda self: self.send(signal.SIGTERM), "SIGKILL": lambda self: self.send(signal.SIGKILL),
            "a crash": lambda self: self.send(signal.SIGSEGV)}

    def end(self, way):
        self.ways[way](self)
        self.desk.wait(self.has_ended, what="the browser's end by " + way)

    def see_to_what_it_asks(self):
        """Closes the window that the browser may have left after its end."""

    # Stores and files.

    def store_of(self, path, data=None, cache=None):
        """The store that the file belongs to, or its path if it belongs to none. The path is below the home folder."""
        for folder in (data or self.data, cache or self.cache):
            if path.startswith(folder + "/"):
                inside = path[len(folder) + 1:]
                for expression, store in self.stores.items():
                    if re.match(expression, inside):
                        return store
        return path

    def stores_in(self, found, data=None, cache=None):
        """The stores in which these traces of sites were found."""
        return {self.store_of(path, data, cache) for path, words in found.items()
                if any(not word.startswith("zqextension-") for word in words)}

    def wait_until_filled(self):
        """Waits until all stores in `fills_at_once` are on the disk."""
        missing = set()

        def filled():
            nonlocal missing
            missing = set(self.fills_at_once) - self.stores_in(traces.below(self.desk.home))
            return not missing

        try:
            self.desk.wait(filled)
        except TimeoutError:
            raise AssertionError(f"not on the disk: {missing}") from None

    def must_go(self, found, data=None):
        """The traces, of those found below the home folder, that a cleaning must remove."""
        left = {}
        for path, words in found.items():
            allowed = None
            inside = os.path.relpath(path, data or self.data)
            for expression, marks in self.spared.items():
                if re.match(expression, inside):
                    allowed = marks
            wrong = {word for word in words if not word.startswith("zqextension-")
                     and (allowed is None or word.startswith("zq") and word.split("-")[1] not in allowed)}
            if wrong:
                left[path] = wrong
        return left

    def rows(self, path, query):
        """The result of a query on a database, which is copied first, since a browser may have it locked."""
        copy = os.path.join(self.desk.root, "copy")
        for ending in ("", "-wal"):
            with contextlib.suppress(FileNotFoundError):
                shutil.copy(path + ending, copy + ending)
        try:
            with contextlib.closing(sqlite3.connect(copy)) as database:
                return sorted(database.execute(query), key=repr)
        finally:
            for left in glob.glob(copy + "*"):
                os.remove(left)

    @staticmethod
    def extensions_files(folder, *patterns):
        """What extensions keep in files of their own: each file with a digest."""
        files = [file for pattern in patterns for path in glob.glob(os.path.join(folder, pattern))
                 for file in (glob.glob(path + "/**", recursive=True) if os.path.isdir(path) else [path])]
        digests = {}
        for path in filter(os.path.isfile, files):
            with open(path, "rb") as file:
                digests[os.path.relpath(path, folder)] = hashlib.sha256(file.read()).hexdigest()
        return digests

    def prepare(self):
        """Starts the browser for the first time, and stores what belongs to the user."""
        raise NotImplementedError

    def owned(self):
        """Bookmarks, passwords, history and extensions' files, as they are on the disk."""
        raise NotImplementedError
