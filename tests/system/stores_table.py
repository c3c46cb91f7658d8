"""The results for each store, as tables for people: the tests write them to docs/real-browsers.md when the variable
TIDEWELL_TABLES names that file."""

import fcntl
import os
import re
import subprocess

PLACES = {"first": "the site", "third": "one framed", "secure": "another framed"}
READ_BACK = {
    "cookie": "cookies of scripts",
    "httpOnlyCookie": "cookies of the server",
    "sessionCookie": "cookies of the session",
    "partitionedCookie": "partitioned cookies of scripts",
    "partitionedHttpOnlyCookie": "partitioned cookies of the server",
    "localStorage": "local storage",
    "sessionStorage": "storage of the tab",
    "indexedDatabase": "IndexedDB",
    "blobInIndexedDatabase": "IndexedDB, blobs",
    "cacheStorage": "CacheStorage",
    "serviceWorker": "service worker",
    "backgroundSync": "synchronization in the background",
    "privateFiles": "private file system",
    "fileSystem": "sandboxed file system",
    "databaseInBucket": "storage bucket, IndexedDB",
    "cacheInBucket": "storage bucket, CacheStorage",
    "filesInBucket": "storage bucket, files",
    "cached /cached": "HTTP cache, requests of scripts",
    "cached /image.png": "HTTP cache, picture",
    "cached /large.js": "HTTP cache, script",
    "dictionary": "compression dictionary",
    "clientHints": "client hints",
    "permission": "permission to notify",
    "zoom": "zoom",
    "windowName": "name of the window",
    "historyState": "state of the history entry",
    "formText": "text in a form",
    "secureOnly": "demand for secure connections",
}


class Table:
    """The tables of one browser."""

    def __init__(self, browser):
        self.browser = browser
        self.ways = []
        self.stores = {}    # store: {way to end: outcome}
        self.readable = {}  # the same for what pages can find, with the places that found it under "before"

    def found_before(self, found):
        for name in found:
            place, store = name.split(": ")
            self.readable.setdefault(READ_BACK[store], {}).setdefault("before", set()).add(PLACES[place])

    def found_after(self, way, found):
        again = {READ_BACK[name.split(": ")[1]] for name in found}
        for name in set(self.readable) | again:
            self.readable.setdefault(name, {})[way] = "**found**" if name in again else "nothing"

    def ended(self, way, before, after):
        self.ways.append(way)
        was, stays = self.browser.stores_in(before), self.browser.stores_in(after)
        for name in was | stays:
            self.stores.setdefault(name, {})[way] = "stays" if name in stays else "removed"

    @staticmethod
    def _lines(group, columns, order):
        yield "| " + " | ".join(["store", *columns]) + " |"
        yield "|---" * (len(columns) + 1) + "|"
        known = {name: number for number, name in enumerate(order)}
        for name in sorted(group, key=lambda name: (known.get(name, len(known)), name)):
            cells = [group[name].get(column, "") for column in columns]
            cells = ["; ".join(place for place in PLACES.values() if place in cell) if isinstance(cell, set) else cell
                     for cell in cells]
            yield f"| {name} | " + " | ".join(cells) + " |"

    def text(self):
        version = subprocess.run([self.browser.command, "--version"], capture_output=True, text=True).stdout
        version = re.search(r"[\d.]+(esr)?", version).group()
        lines = [f"## {self.browser.name} {version}", "", "On the disk:", ""]
        lines += self._lines(self.stores, self.ways, dict.fromkeys(self.browser.stores.values()))
        lines += ["", "At the next visit:", ""]
        lines += self._lines(self.readable, ["before", *self.ways], READ_BACK.values())
        return "\n".join(lines) + "\n"

    def write(self):
        """Replaces the browser's tables in the file."""
        path = os.environ.get("TIDEWELL_TABLES")
        if not path:
            return
        text = self.text()
        with open(path, "r+") as file:
            fcntl.flock(file, fcntl.LOCK_EX)  # the other browser's tests may write at the same time
            page = file.read()
            start = page.index(f"## {self.browser.name} ")
            end = page.find("\n## ", start + 1)
            file.seek(0)
            file.truncate()
            file.write(page[:start] + text + (page[end:] if end >= 0 else ""))
