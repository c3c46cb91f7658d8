"""The worker killed at each of its system calls for files, and at each for messages of the bus, by number, and started
again: clean, and the report tells that it took two goes.

With TIDEWELL_FAULT_STRIDE set, every so-manieth call is tried; 1 for all."""

import contextlib
import glob
import json
import os
import shutil
import signal
import sqlite3
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
STRIDE = int(os.environ.get("TIDEWELL_FAULT_STRIDE", "211"))
DATA = ".config/chromium/"
PROFILE = DATA + "Default/"
CACHE = ".cache/chromium/"
SETTINGS = ".config/tidewell/"
SITE = "visited.example"
EXTENSION = "chrome-extension://abcdefghijklmnopabcdefghijklmnop/"


class Kills(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS, library=False)
        self.addCleanup(self.desk.close)
        self.fill()
        self.desk.configure(["org.chromium.Chromium"], notifications=False, overwrite=True)
        self.desk.start_worker()
        self.desk.tidewell("enable", "chromium", "--yes")
        browser = self.desk.run_browser("chromium")
        self.desk.wait(self.is_owed, what="the note of what is owed")
        self.desk.worker.process.kill()
        self.desk.worker.stop()
        self.desk.quit_browser(browser)
        self.sample = os.path.join(self.desk.root, "sample")
        shutil.copytree(self.desk.home, self.sample, symlinks=True)

    def database(self, path, *statements):
        os.makedirs(os.path.dirname(os.path.join(self.desk.home, path)), exist_ok=True)
        with contextlib.closing(sqlite3.connect(os.path.join(self.desk.home, path))) as database:
            for statement in statements:
                database.execute(statement)
            database.commit()

    def fill(self):
        self.desk.file(DATA + "Local State", '{"profile":{"info_cache":{"Default":{"name":"Ann"}}}}')
        self.desk.file(PROFILE + "Preferences", json.dumps({
            "kept": 1, "profile": {"content_settings": {"exceptions": {"notifications": {f"https://{SITE}:443,*": {}}}}}}))
        self.desk.file(PROFILE + "History")
        for name in ("Cookies", "Cookies-journal", "Network Persistent State", "TransportSecurity"):
            self.desk.file(PROFILE + name)
        self.database(PROFILE + "databases/Databases.db",
                      "CREATE TABLE Databases (id INTEGER PRIMARY KEY, origin TEXT, name TEXT)",
                      f"INSERT INTO Databases VALUES (1, 'https_{SITE}_0', 'a')")
        self.database(PROFILE + "WebStorage/QuotaManager",
                      "CREATE TABLE buckets (id INTEGER PRIMARY KEY, storage_key TEXT)",
                      f"INSERT INTO buckets VALUES (1, '{EXTENSION}'), (2, 'https://{SITE}/')")
        for number in range(8):
            self.desk.file(f"{PROFILE}IndexedDB/https_{SITE}_{number}.indexeddb.leveldb/000003.log")
            self.desk.file(f"{CACHE}Default/Cache/Cache_Data/{number:04}", "x" * 5000)
        self.desk.file(f"{PROFILE}IndexedDB/{EXTENSION[:-1].replace('://', '_')}_0.indexeddb.leveldb/000003.log")

    def settings(self, query):
        path = glob.glob(os.path.join(self.desk.home, SETTINGS) + session.WORKER + "*")
        path = min(path, key=len)
        with contextlib.closing(sqlite3.connect(path, timeout=10)) as database:
            return database.execute(query).fetchall()

    def is_owed(self):
        return bool(self.settings("SELECT 1 FROM defaults WHERE key LIKE 'owedCleaning %'"))

    def contents(self, home):
        """Names, and what the kept databases and files hold."""
        found = {}
        for top in (DATA, CACHE):
            for folder, _, names in os.walk(os.path.join(home, top)):
                found[os.path.relpath(folder, home)] = None
                for name in names:
                    path = os.path.join(folder, name)
                    found[os.path.relpath(path, home)] = self.meaning(path)
        return found

    @staticmethod
    def meaning(path):
        if os.path.basename(path) == "QuotaManager":
            with contextlib.closing(sqlite3.connect(path)) as database:
                return database.execute("SELECT storage_key FROM buckets").fetchall()
        with open(path, "rb") as file:
            return file.read()

    def restore(self):
        """Puts everything back; the granted folders stay the same folders."""
        for top in (DATA, CACHE, SETTINGS):
            folder = os.path.join(self.desk.home, top)
            for name in os.listdir(folder):
                path = os.path.join(folder, name)
                if os.path.isdir(path) and not os.path.islink(path):
                    shutil.rmtree(path)
                else:
                    os.unlink(path)
            shutil.copytree(os.path.join(self.sample, top), folder, symlinks=True, dirs_exist_ok=True)

    def run_worker(self, kill_at=None, what="TIDEWELL_KILL_AT"):
        """Lets a worker clean what is owed; returns whether it was killed."""
        environment = dict(self.desk.environment)
        if kill_at is not None:
            environment.update({"LD_PRELOAD": os.path.join(PROGRAMS, "libkill_at.so"), what: str(kill_at)})
        worker = session.Worker(self.desk.program("tidewell-worker"), environment)
        try:
            self.desk.wait(lambda: worker.process.poll() is not None or not self.is_owed(),
                           what=f"the end of the cleaning ({kill_at})")
        finally:
            status = worker.stop()
        self.assertIn(status, (0, -signal.SIGKILL))
        return status != 0

    def reports(self):
        return json.loads(self.desk.tidewell("history", "--json"))

    def test_at_each_call_are_made_good_by_the_next_worker(self):
        before = self.contents(self.sample)
        self.run_worker()
        cleaned = self.contents(self.desk.home)
        self.assertFalse([path for path in cleaned if SITE in path or "Cookies" in path or "Cache_Data" in path])
        self.assertIn(PROFILE + "History", cleaned)
        self.assertEqual(cleaned[PROFILE + "WebStorage/QuotaManager"], [(EXTENSION,)])
        number, kills, in_two_goes = 1, 0, 0
        while True:
            self.restore()
            if not self.run_worker(kill_at=number):
                break
            kills += 1
            is_begun = self.names() != set(before)
            is_done = not self.is_owed()
            if not is_done:
                self.run_worker()
            self.assertEqual(self.contents(self.desk.home), cleaned, number)
            reports = self.reports()
            self.assertTrue(reports, number)
            self.assertTrue(reports[-1]["done"], number)
            cut_off = [run for run in reports[0]["runs"] if run["ended"] is None]
            self.assertLessEqual(len(cut_off), 1)
            if is_begun and not is_done and len(reports) == 1:
                self.assertEqual(len(cut_off), 1, number)
            in_two_goes += len(cut_off)
            number += STRIDE
        print(f"{kills} kills of about {number} calls, {in_two_goes} in two goes", file=sys.stderr)
        self.assertGreater(in_two_goes, kills / 2)

    def test_at_each_message_are_made_good_by_the_next_worker(self):
        self.desk.defaults("write", session.SHARED, "displayNotifications", "-bool", "YES")
        notifications = session.NotificationService(self.desk.connection)
        shutil.rmtree(os.path.join(self.sample, SETTINGS))
        shutil.copytree(os.path.join(self.desk.home, SETTINGS), os.path.join(self.sample, SETTINGS))
        self.run_worker()
        cleaned = self.contents(self.desk.home)
        kills = 0
        while True:
            self.restore()
            if not self.run_worker(kill_at=kills + 1, what="TIDEWELL_KILL_AT_MESSAGE"):
                break
            kills += 1
            if self.is_owed():
                self.run_worker()
            self.assertEqual(self.contents(self.desk.home), cleaned, kills)
            self.assertTrue(self.reports()[-1]["done"], kills)
        print(f"{kills} kills at messages", file=sys.stderr)
        self.assertGreater(kills, 10)
        notifications.remove_from_connection()

    def names(self):
        return set(self.contents(self.desk.home))


if __name__ == "__main__":
    unittest.main(verbosity=2)
