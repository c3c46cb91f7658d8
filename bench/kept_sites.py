"""Measures how much longer a run takes while sites are kept: 10,000 on the list, of which some have data, in a home with
50,000 cookies and all other stores of 1,000 sites. Prints the ratio to the same run with an empty list."""

import json
import os
import shutil
import sqlite3
import statistics
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "system"))
import session  # noqa: E402
from figures import PROGRAMS  # noqa: E402

SITES = 1000
COOKIES = 50_000
KEPT = 10_000
ROUNDS = 5
BROWSERS = {"Chromium": "org.chromium.Chromium", "Firefox": "org.mozilla.firefox"}
DATA = {"Chromium": [".config/chromium", ".cache/chromium"], "Firefox": [".mozilla", ".cache/mozilla"]}
COOKIES_OF = {"Chromium": (".config/chromium/Default/Cookies", """
    CREATE TABLE cookies (creation_utc INTEGER NOT NULL, host_key TEXT NOT NULL, top_frame_site_key TEXT NOT NULL,
        name TEXT NOT NULL, value TEXT NOT NULL, encrypted_value BLOB NOT NULL, path TEXT NOT NULL);
    CREATE UNIQUE INDEX cookies_unique_index ON cookies (host_key, top_frame_site_key, name, path);""",
                           "INSERT INTO cookies VALUES (133, ?, '', ?, '', ?, '/')"),
              "Firefox": (".mozilla/firefox/p.default/cookies.sqlite", """
    CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT NOT NULL DEFAULT '', name TEXT, value TEXT,
        host TEXT, path TEXT, CONSTRAINT moz_uniqueid UNIQUE (name, host, path, originAttributes));""",
                          "INSERT INTO moz_cookies (host, name, value, path) VALUES (?, ?, ?, '/')")}


def host_of(site):
    return f"www.site{site}.example"


def make(home):
    subprocess.run([os.path.join(PROGRAMS, "many_sites_profile"), home, str(SITES)], check=True)
    for path, tables, insertion in COOKIES_OF.values():
        os.remove(f"{home}/{path}")
        with sqlite3.connect(f"{home}/{path}") as database:
            database.executescript(tables)
            database.executemany(insertion, ((host_of(number // 3), f"id{number % 3}", "v" * 120)
                                             for number in range(COOKIES)))
        database.close()


def kept(number):
    """The entries of the list: the first are of sites that have data, half of them alone, the others of none."""
    own = [("=" if site % 2 else "") + host_of(site) for site in range(number // 100)]
    return own + [f"elsewhere{site}.example" for site in range(number - len(own))]


def used(pid):
    """The processor's seconds that a process has used, with those of the processes that it has begun and that have ended."""
    with open(f"/proc/{pid}/stat") as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return sum(map(int, fields[11:15])) / os.sysconf("SC_CLK_TCK")


class Desk:
    def __init__(self, template, entries):
        self.desk = session.Session(PROGRAMS, library=False)
        self.template = template
        for folder in (".config", ".cache", ".mozilla"):
            os.makedirs(f"{self.desk.home}/{folder}", exist_ok=True)
        self.desk.configure(list(BROWSERS.values()), notifications=False)
        if entries:
            self.ask("keep", "--import", self.desk.file("kept.json", json.dumps(entries)))
        self.desk.start_worker()
        for browser in BROWSERS:
            self.fill(browser)
            self.ask("enable", browser.lower(), "--yes")
            self.ask("quit-of", browser.lower())  # whatever enabling has begun is done then

    def ask(self, *words):
        with tempfile.TemporaryFile("w+") as output:  # a pipe would be full before the end
            process = subprocess.Popen([self.desk.program("tidewell"), *words], env=self.desk.environment, stdout=output,
                                       stdin=subprocess.DEVNULL)
            self.desk.wait(lambda: process.poll() is not None, 120, "the end of tidewell " + " ".join(words))
            assert process.wait() == 0, words
            output.seek(0)
            return output.read()

    def fill(self, browser):
        for folder in DATA[browser]:
            shutil.rmtree(f"{self.desk.home}/{folder}", ignore_errors=True)
            subprocess.run(["cp", "-a", f"{self.template}/{folder}", f"{self.desk.home}/{folder}"], check=True)

    def run(self, browser):
        """Cleans a fresh copy of the home. Returns the seconds of the processor that this has taken."""
        self.fill(browser)
        os.sync()
        pid = self.desk.worker.process.pid
        before = used(pid)
        self.ask("quit-of", browser.lower())
        return used(pid) - before


def main():
    template = tempfile.mkdtemp(prefix="tidewell-bench-", dir="/tmp")
    desks = {}
    try:
        make(template)
        for name, entries in (("without", []), ("with", kept(KEPT))):
            desks[name] = Desk(template, entries)
        for browser in BROWSERS:
            took = {name: [] for name in desks}
            for _ in range(ROUNDS):
                for name, desk in desks.items():
                    took[name].append(desk.run(browser))
            processor = {name: statistics.median(times) for name, times in took.items()}
            print(f"{COOKIES} cookies of {browser}, {KEPT} sites kept: {processor['with']:.2f} s of the processor, without "
                  f"a list {processor['without']:.2f} s, ratio {processor['with'] / processor['without']:.2f} (wanted: at "
                  "most 1.25)", flush=True)
    finally:
        for desk in desks.values():
            desk.desk.close()
        shutil.rmtree(template)


if __name__ == "__main__":
    main()
