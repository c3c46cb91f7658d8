"""The settings window with the graphical open panel, on a screen of their own, driven from outside."""

import os
import signal
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import screen  # noqa: E402
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
TITLE = "^Tidewell$"
CHROMIUM = "org.chromium.Chromium"
STOPS = {"preview": 0, "allow": 1, "switch": 2}  # with the Tab key, in a browser's row
BROWSERS = ["Safari", "Firefox", "Google Chrome", "Chromium", "Opera"]


class SettingsWindow(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS)
        self.addCleanup(self.desk.close)
        self.screen = screen.Screen(self.desk)
        self.addCleanup(self.screen.close)
        self.read_by = screen.Accessibility(self.screen)
        self.addCleanup(self.read_by.close)
        os.makedirs(self.desk.home + "/Library/Application Support/Chromium")
        os.makedirs(self.desk.home + "/Library/Caches/Chromium")

    def open(self):
        self.program = self.screen.start([self.desk.program("tidewell-settings")])
        number = self.screen.focus(TITLE)
        self.desk.wait(lambda: self.read_by.says("Clean after Chromium"), what="the window's contents")
        return number

    def setting(self, key):
        return self.desk.defaults("read", session.SHARED, key, check=False).stdout.strip()

    def to(self, browser, stop):
        """From a window that was just opened, the focus on its first control."""
        count = sum(STOPS.values()) * BROWSERS.index(browser) + STOPS[stop]
        self.screen.press(*["Tab"] * count)

    def agree_to_all(self, done):
        def step():
            if done():
                return True
            if self.screen.windows("Allow Access"):
                self.screen.focus("Allow Access")
                self.screen.press("Return")
            return False

        self.desk.wait(step, 60, "the end of the panels")

    def assert_cleans(self):
        notifications = session.NotificationService(self.desk.connection)
        kept = self.desk.file("Library/Caches/com.example.mail/1")
        gone = self.desk.file("Library/Caches/Chromium/Default/Cache/data_0")
        self.desk.announce_quit("Chromium", CHROMIUM)
        self.desk.wait(lambda: not os.path.exists(gone), what="the cleaning")
        self.assertTrue(os.path.exists(kept))
        return notifications

    def test_a_browser_that_is_enabled_is_asked_for_and_then_cleaned(self):
        self.desk.configure([])
        self.desk.start_worker()
        self.screen.start([self.desk.program("tidewell-open-panel")])
        self.desk.wait(lambda: self.desk.connection.name_has_owner(session.PANEL))
        self.open()
        self.focus_switch("Chromium")
        self.screen.press("space")
        self.desk.wait(lambda: CHROMIUM in self.setting("enabledBrowsers"), what="the setting")
        # The window is alive while the panel is up.
        self.screen.focus("Allow Access")
        self.assertTrue(self.read_by.says("Waiting for your answer in the panel"))
        self.agree_to_all(lambda: self.read_by.says("Its folders are allowed"))
        self.assertIn("Library/Application%20Support/", self.desk.defaults("read", session.WORKER).stdout)
        self.assert_cleans()

    def focus_switch(self, browser):
        self.to_first()
        self.screen.press(*["Tab"] * (3 * BROWSERS.index(browser) + STOPS["switch"]))

    def to_first(self):
        """The focus is on the first control of a window that was just opened."""


if __name__ == "__main__":
    unittest.main(verbosity=2)
