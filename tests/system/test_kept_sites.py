"""Sites that stay, with the real worker and the command: what a person has put on the list is there after each quit."""

import json
import os
import sqlite3
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
CHROMIUM = ".config/chromium/"
CHROME_COOKIES = CHROMIUM + "Default/Cookies"
FIREFOX = ".mozilla/firefox/p.default/"
FIREFOX_COOKIES = FIREFOX + "cookies.sqlite"
HOSTS = ["kept.test", ".kept.test", "www.kept.test", "alone.test", "www.alone.test", "notkept.test", "other.test",
         "xn--bcher-kva.test", "[::1]", "127.0.0.1"]
KEPT = ["kept.test", ".kept.test", "www.kept.test", "alone.test", "xn--bcher-kva.test", "[::1]"]
LIST = ["Kept.Test.", "=alone.test", "b\u00fccher.test", "::1"]


class KeptSites(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS, library=False)
        self.addCleanup(self.desk.close)
        self.desk.file(CHROMIUM + "Local State", "{}")
        self.desk.file(CHROMIUM + "Default/Preferences", "{}")
        self.desk.file(FIREFOX + "times.json", "{}")
        self.desk.file(".mozilla/firefox/profiles.ini", "[Profile0]\nPath=p.default\nIsRelative=1\n")
        self.desk.configure(["org.chromium.Chromium", "org.mozilla.firefox"], notifications=False)
        self.desk.start_worker()
        self.desk.tidewell("enable", "chromium", "firefox", "--yes")

    def path(self, name):
        path = os.path.join(self.desk.home, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        return path

    def fill(self, hosts=HOSTS):
        with sqlite3.connect(self.path(CHROME_COOKIES)) as database:
            database.execute("CREATE TABLE IF NOT EXISTS cookies (host_key TEXT, top_frame_site_key TEXT, value BLOB)")
            database.execute("DELETE FROM cookies")
            database.executemany("INSERT INTO cookies VALUES (?, '', 'v')", [(host,) for host in hosts])
        database.close()
        with sqlite3.connect(self.path(FIREFOX_COOKIES)) as database:
            database.execute("CREATE TABLE IF NOT EXISTS moz_cookies (originAttributes TEXT, host TEXT, value TEXT)")
            database.execute("DELETE FROM moz_cookies")
            database.executemany("INSERT INTO moz_cookies VALUES ('', ?, 'v')", [(host,) for host in hosts])
        database.close()
        for name in ("https_kept.test_0", "https_other.test_0"):
            self.desk.file(CHROMIUM + f"Default/IndexedDB/{name}.indexeddb.leveldb/CURRENT")
        for name in ("https+++kept.test", "https+++other.test"):
            self.desk.file(FIREFOX + f"storage/default/{name}/ls/data.sqlite")

    def hosts(self, name, table, column):
        with sqlite3.connect(f"file:{self.path(name)}?mode=ro", uri=True) as database:
            hosts = [row[0] for row in database.execute(f"SELECT {column} FROM {table}")]
        database.close()
        return hosts

    def chrome_hosts(self):
        return self.hosts(CHROME_COOKIES, "cookies", "host_key")

    def firefox_hosts(self):
        return self.hosts(FIREFOX_COOKIES, "moz_cookies", "host")

    def clean(self):
        for word in ("chromium", "firefox"):
            self.desk.tidewell("quit-of", word)

    def clean_with_complaints(self):
        for word in ("chromium", "firefox"):
            with self.assertRaises(AssertionError):
                self.desk.tidewell("quit-of", word)

    def test_stay_and_the_others_go(self):
        self.desk.tidewell("keep", *LIST)
        self.assertEqual(json.loads(self.desk.tidewell("keep", "--list", "--json")),
                         ["kept.test", "=alone.test", "xn--bcher-kva.test", "[::1]"])
        for _ in range(2):
            self.fill()
            preview = json.loads(self.desk.tidewell("preview", "chromium", "--json"))["kept"]
            self.assertEqual([row["rows"] for row in preview["rows"]], [len(KEPT)])
            self.assertEqual([os.path.basename(item["path"]) for item in preview["items"]],
                             ["https_kept.test_0.indexeddb.leveldb"])
            self.clean()
            self.assertEqual(self.chrome_hosts(), KEPT)
            self.assertEqual(self.firefox_hosts(), KEPT)
            self.assertEqual(os.listdir(self.path(CHROMIUM + "Default/IndexedDB")),
                             ["https_kept.test_0.indexeddb.leveldb"])
            self.assertEqual(os.listdir(self.path(FIREFOX + "storage/default")), ["https+++kept.test"])
        with open(self.path(CHROME_COOKIES), "rb") as file:
            self.assertNotIn(b"other.test", file.read())

    def test_no_longer_on_the_list_go(self):
        self.desk.tidewell("keep", *LIST)
        self.desk.tidewell("keep", "--remove", *LIST)
        self.fill()
        self.clean()
        self.assertFalse(self.desk.exists(CHROME_COOKIES))
        self.assertFalse(self.desk.exists(FIREFOX_COOKIES))
        self.assertFalse(self.desk.exists(FIREFOX + "storage/default/https+++kept.test"))

    def test_of_a_list_that_is_none_all_are_left(self):
        self.fill()
        for words in (("-string", "kept.test"), ("-bool", "YES"), ("-array", "kept.test", "com")):
            self.desk.defaults("write", session.SHARED, "keptSites", *words)
            self.clean_with_complaints()
            self.assertEqual(self.chrome_hosts(), HOSTS)
            self.assertEqual(self.firefox_hosts(), HOSTS)
            self.assertTrue(self.desk.exists(FIREFOX + "storage/default/https+++other.test"))
            self.assertIn("the list of kept sites could not be read", self.desk.tidewell("history", "--last"))
        self.desk.defaults("delete", session.SHARED, "keptSites")
        self.clean()
        self.assertFalse(self.desk.exists(CHROME_COOKIES))

    def test_of_many_each_stays(self):
        sites = [f"site{number}.test" for number in range(10_000)]
        self.desk.defaults("write", session.SHARED, "keptSites", "-array", *sites)
        hosts = [f"www{number % 5}.site{number}.test" for number in range(5_000, 55_000)]
        self.fill(hosts)
        self.clean()
        self.assertEqual(self.chrome_hosts(), hosts[:5_000])
        self.assertEqual(self.firefox_hosts(), hosts[:5_000])


if __name__ == "__main__":
    unittest.main(verbosity=2)
