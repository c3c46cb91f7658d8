"""Browsers as they are installed, of an ordinary user who just starts them: where they keep their data, what their
owner has in them, and the ways in which they end."""

import contextlib
import glob
import os
import re
import shutil
import signal
import sqlite3
import subprocess

import traces

# A mark of a site that stays with a list: names and titles are what these lists are for, and the tabs that are open go
# on with what was typed into them.
TITLES = {"title"}
TABS = {"title", "field", "formText", "historyState", "windowName"}
COMPLAINTS = re.compile(r"corrupt|malformed|not a database|disk image|IO error|could not be (opened|read)|"
                        r"failed to (open|load|read).*(database|store|profile)", re.IGNORECASE)


class Browser:
    """One browser of a session with a screen. Its data and caches lie in `data` and `cache`, from the home folder."""

    name = identifier = command = data = cache = ""
    other_places = {}   # of sandboxed installations: the folders for data and cache
    arguments = []
    first_profile = []  # what to say to get the first one, where the browser opens the one that was used last
    quit_keys = []
    manifest = {}       # of the extension
    spared = {}         # what may go on naming sites, as expressions for paths in `data`: marks that may be there
    stores = {}         # what sites fill: expressions for paths in `data` and `cache`
    fills_at_once = ()  # those of them that are on the disk before the browser ends, whatever the way
    read_back = set()   # what a visit finds again besides what pages could write

    def __init__(self, desk, screen, site):
        self.desk, self.screen, self.site = desk, screen, site
        self.output = os.path.join(desk.root, "output of " + self.command)
        self.processes = []

    def path(self, *parts):
        return os.path.join(self.desk.home, *parts)

    def run(self, *arguments):
        """Starts it; it may hand over to one that runs already."""
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
        """What it says about files that are not as it left them."""
        with open(self.output, errors="replace") as output:
            found = [line for line in output if COMPLAINTS.search(line)]
        for folder in (self.data, self.cache):
            for where, folders, files in os.walk(self.path(folder)):
                found += [os.path.join(where, name) for name in folders + files
                          if re.search(r"corrupt|\.bad$|\.bak$|^lost$", name)]
        return found + [title for title in self.titles() if not title.startswith("zqfirst-title")]

    def titles(self):
        return [self.screen.xdotool("getwindowname", number).strip() for number in self.screen.windows(".")]

    # Ways to end. Some browsers ask whether that is meant: the suggested answer is yes.

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
        """What its owner does after the end, where it has left a window."""

    # What lies where.

    def store_of(self, path, data=None, cache=None):
        """The store that the file at that path from the home folder belongs to; itself when it is none of them."""
        for folder in (data or self.data, cache or self.cache):
            if path.startswith(folder + "/"):
                inside = path[len(folder) + 1:]
                for expression, store in self.stores.items():
                    if re.match(expression, inside):
                        return store
        return path

    def stores_in(self, found, data=None, cache=None):
        """The stores that those traces of sites are in."""
        return {self.store_of(path, data, cache) for path, words in found.items()
                if any(not word.startswith("zqextension-") for word in words)}

    def wait_until_filled(self):
        """Until all is on the disk that is there whichever way it ends."""
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
        """Of what was found below the home folder, what a cleaning leaves nowhere."""
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
        """Of a database of the profile, which a browser may hold: thus of a copy."""
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

    def prepare(self):
        """The first start, after which all is there that its owner has in it."""
        raise NotImplementedError

    def owned(self):
        """Bookmarks, passwords and history, as they lie on the disk."""
        raise NotImplementedError
