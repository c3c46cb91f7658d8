"""Real browsers, headless: a page fills their stores, they quit, the worker cleans, and the page looks for the rest."""

import contextlib
import json
import os
import signal
import sqlite3
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402
from page_site import Site  # noqa: E402
from test_worker import PROGRAMS, SUPPORT  # noqa: E402


class RealBrowser(unittest.TestCase):
    """Common to the tests of each browser, which define the name, the identifier and what a run covers."""

    name = identifier = ""
    folders = ()  # created before the first start of the browser
    covered = ()  # what a run removes completely
    spared = ()   # some of what a run leaves

    def setUp(self):
        self.desk = session.Session(PROGRAMS)
        self.addCleanup(self.desk.close)
        self.site = Site()
        self.addCleanup(self.site.close)
        for folder in self.folders:
            os.makedirs(os.path.join(self.desk.home, folder))
        self.desk.configure([])
        self.panel = session.OpenPanel(self.desk.connection)
        self.notifications = session.NotificationService(self.desk.connection)
        self.desk.start_worker()
        self.assertEqual(self.desk.request(self.identifier), f"bookmarked: {self.identifier} ")
        self.asked = len(self.panel.asked)

    def command(self):
        raise NotImplementedError

    def environment(self):
        return dict(self.desk.environment, PATH="/usr/bin:/bin")

    def visit(self):
        """Starts the browser on the page; returns the browser and the page's report."""
        count = len(self.site.reports)
        self.site.closing_time.clear()
        browser = subprocess.Popen([*self.command(), self.site.url], env=self.environment(),
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.desk.browsers.append(browser)
        self.desk.wait(lambda: len(self.site.reports) > count or browser.poll() is not None, 2 * session.BOUND,
                       "the page's report")
        self.assertIsNone(browser.poll(), "the browser ended by itself")
        report = self.site.reports[-1]
        self.assertNotIn("error", report)
        # The stores work, whatever was there before.
        self.assertEqual(report["works"], {"local": "kept", "indexed": "kept", "cookie": "page=kept"})
        return browser, report["found"]

    def ended(self, browser):
        self.desk.wait(lambda: browser.poll() is not None, what="the browser's end")

    def gone(self):
        return not any(self.desk.exists(path) for path in self.covered)

    def tell_to_quit(self, browser):
        raise NotImplementedError

    def clean(self, end):
        """Fills the stores, has them cleaned when `end` ends the browser, and returns what is found after that."""
        browser, found = self.visit()
        self.assertEqual(found, {"cookies": "", "local": None, "indexed": None, "cached": "1"})
        self.desk.settle(1)
        self.tell_to_quit(browser)
        self.ended(browser)
        self.check_filled()

        # The browser is not yet enabled: all that the page left is found again.
        browser, found = self.visit()
        # A browser may quit before it has written its last cookies to the disk, or the local storage, so not all of
        # that is required.
        self.assertIn("server=kept", found.pop("cookies").split("; "))
        self.assertIn(found.pop("local"), ("kept", None))
        self.assertEqual(found, {"indexed": "kept", "cached": "1"})
        self.desk.defaults("write", session.SHARED, "enabledBrowsers", "-array", self.identifier)
        self.desk.wait(lambda: self.desk.is_noticed(browser), what="the worker's notice of the browser")
        self.desk.settle(2)
        for path in self.covered + self.spared:
            self.assertTrue(self.desk.exists(path), path)
        self.assertEqual(self.notifications.posted, [])

        # The quit isn't announced on the bus: the worker must notice it.
        end(browser)
        self.ended(browser)
        self.desk.wait(self.gone, session.FIRST_RUN, "the first run")
        for path in self.covered:
            self.desk.file(path)
        self.desk.wait(lambda: self.notifications.posted, what="the notification")
        self.desk.wait(self.gone, what="the second run")
        for path in self.spared:
            self.assertTrue(self.desk.exists(path), path)
        self.desk.settle(1)
        self.assertEqual([posted["body"] for posted in self.notifications.posted],
                         [f"Cookies, Databases, Flash, Silverlight, and Cache removed from {self.name}"])
        self.assertEqual(len(self.panel.asked), self.asked)
        self.assertEqual(self.desk.worker.log, [])
        self.check_cleaned()

        self.desk.configure([])
        browser, found = self.visit()
        browser.terminate()
        self.ended(browser)
        return found

    def check_filled(self):
        """Further checks of the files before the cleaning."""

    def check_cleaned(self):
        """Further checks of the files after the cleaning."""


class Chromium(RealBrowser):
    name = "Chromium"
    identifier = "org.chromium.Chromium"
    data = SUPPORT + "Chromium/"
    cache = "Library/Caches/Chromium"
    folders = (data, cache)
    covered = (data + "Default/Cookies", data + "Default/IndexedDB", data + "Default/GPUCache", cache + "/Default")
    spared = (data + "Local State", data + "Default/Preferences", data + "Default/History",
              data + "Default/Local Storage/leveldb/CURRENT")

    def command(self):
        return ["/usr/bin/chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
                "--no-first-run", "--disable-background-networking", "--disable-component-update", "--disable-sync",
                "--disable-dev-shm-usage", "--remote-debugging-port=0",
                "--user-data-dir=" + os.path.join(self.desk.home, self.data),
                "--disk-cache-dir=" + os.path.join(self.desk.home, self.cache)]

    def tell_to_quit(self, browser):
        browser.send_signal(signal.SIGTERM)

    def test_told_to_quit(self):
        found = self.clean(self.tell_to_quit)
        # Chromium keeps local storage in one database for all sites, which a run does not cover.
        self.assertIn(found.pop("local"), (None, "kept"))
        self.assertEqual(found, {"cookies": "", "indexed": None, "cached": "2"})


class Firefox(RealBrowser):
    name = "Firefox"
    identifier = "org.mozilla.firefox"
    profile = SUPPORT + "Firefox/Profiles/p.default/"
    cache = "Library/Caches/Firefox/Profiles/p.default/"
    folders = (profile, cache + "Cache", cache + "startupCache")
    covered = (profile + "cookies.sqlite", profile + "permissions.sqlite", profile + "storage/default",
               profile + "storage/temporary", cache + "Cache", cache + "startupCache")
    spared = (profile + "prefs.js", profile + "places.sqlite", profile + "key4.db", profile + "storage/permanent")
    preferences = {
        "dom.allow_scripts_to_close_windows": True,
        # Only the visit makes requests to the site: the network doesn't race the cache, and no thumbnail is loaded.
        "network.http.rcwn.enabled": False,
        "browser.pagethumbnails.capturing_disabled": True,
        "browser.startup.page": 0,
        "browser.startup.homepage_override.mstone": "ignore",
        "browser.aboutwelcome.enabled": False,
        "browser.newtabpage.enabled": False,
        "browser.shell.checkDefaultBrowser": False,
        "browser.sessionstore.resume_from_crash": False,
        "toolkit.startup.max_resumed_crashes": -1,
        "browser.warnOnQuit": False,
        "browser.tabs.warnOnClose": False,
        "app.update.enabled": False,
        "app.normandy.enabled": False,
        "extensions.update.enabled": False,
        "datareporting.policy.dataSubmissionEnabled": False,
        "toolkit.telemetry.enabled": False,
        "network.captive-portal-service.enabled": False,
        "network.connectivity-service.enabled": False,
        "services.settings.server": "data:,",
        "browser.safebrowsing.malware.enabled": False,
        "browser.safebrowsing.phishing.enabled": False,
    }

    def set_preferences(self, **more):
        values = {**self.preferences, **more,
                  "browser.cache.disk.parent_directory": os.path.join(self.desk.home, self.cache, "Cache")}
        self.desk.file(self.profile + "user.js", "".join(
            f"user_pref({json.dumps(name)}, {json.dumps(value)});\n" for name, value in values.items()))

    def setUp(self):
        super().setUp()
        self.set_preferences()

    def command(self):
        return ["/usr/bin/firefox-esr", "--headless", "--no-remote",
                "-profile", os.path.join(self.desk.home, self.profile)]

    def environment(self):
        startup_cache = os.path.join(self.desk.home, self.cache, "startupCache/startupCache.8.little")
        # Without a sandbox, like Chromium: its set-up has crashed at a start, and the page is the test's own.
        sandboxes = {f"MOZ_DISABLE_{process}_SANDBOX": "1"
                     for process in ("CONTENT", "SOCKET_PROCESS", "RDD", "UTILITY", "GMP")}
        return dict(super().environment(), MOZ_HEADLESS="1", MOZ_CRASHREPORTER_DISABLE="1",
                    MOZ_STARTUP_CACHE=startup_cache, **sandboxes)

    def tell_to_quit(self, browser):
        """Lets the page close the last window, at which Firefox quits."""
        self.site.closing_time.set()

    def terminate(self, browser):
        """Ends Firefox at once, without its usual shutdown."""
        browser.send_signal(signal.SIGTERM)

    def test_told_to_quit(self):
        self.assertEqual(self.clean(self.tell_to_quit),
                         {"cookies": "", "local": None, "indexed": None, "cached": "2"})

    def test_terminated(self):
        self.assertEqual(self.clean(self.terminate),
                         {"cookies": "", "local": None, "indexed": None, "cached": "2"})


class FirefoxWithOneTable(Firefox):
    """With local storage as older versions of Firefox kept it: one table for all sites."""

    table = Firefox.profile + "webappsstore.sqlite"
    spared = Firefox.spared + (table,)
    test_terminated = None

    def setUp(self):
        super().setUp()
        self.set_preferences(**{"dom.storage.enable_unsupported_legacy_implementation": True})

    def rows(self):
        with contextlib.closing(sqlite3.connect(os.path.join(self.desk.home, self.table))) as database:
            return [value for value, in database.execute("SELECT value FROM webappsstore2")]

    def check_filled(self):
        self.assertEqual(self.rows(), ["kept"])

    def check_cleaned(self):
        self.assertEqual(self.rows(), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
