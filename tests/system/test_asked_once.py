"""Which folders the whole worker asks for after a quit, on a home without a folder Library."""

import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
CHROMIUM = "org.chromium.Chromium"
COOKIES = ".config/chromium/Default/Cookies"
NOT_NOW, NEVER = (0, ""), (2, "")


class AskedOnce(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS, library=False)
        self.addCleanup(self.desk.close)
        self.panel = session.OpenPanel(self.desk.connection)
        for name in ("Local State", "Default/Preferences"):
            self.desk.file(".config/chromium/" + name, "{}")
        self.desk.configure([CHROMIUM], notifications=False)
        self.desk.start_worker()
        self.desk.request(CHROMIUM)  # the data folder is allowed
        self.caches = self.desk.home + "/.cache/chromium"
        os.makedirs(self.caches)
        self.panel.asked.clear()

    def wait_for_run(self):
        self.desk.wait(lambda: not self.desk.exists(COOKIES), what="the run")

    def wait_for_panels(self, count):
        self.desk.wait(lambda: len(self.panel.asked) == count, what="the panel")

    def quit_and_wait_for_both_runs(self):
        """Lets both runs pass, also while a panel is open."""
        self.desk.file(COOKIES)
        self.desk.announce_quit("Chromium", CHROMIUM)
        self.wait_for_run()
        self.wait_for_panels(1)
        self.desk.file(COOKIES)
        self.wait_for_run()

    def test_a_refusal_holds_for_both_runs_however_long_it_takes(self):
        self.panel.answer = lambda panel: None  # it stays open
        self.quit_and_wait_for_both_runs()
        self.panel.answer = lambda panel: NOT_NOW
        self.panel.waiting.pop()(*NOT_NOW)
        # Requests come one after the other, so what waited has been looked at when the next is answered.
        self.desk.request(CHROMIUM)
        self.assertEqual(self.panel.asked, [self.caches] * 2)

    def test_what_was_allowed_meanwhile_is_not_asked_for(self):
        self.panel.answer = lambda panel: None
        self.quit_and_wait_for_both_runs()
        self.panel.waiting.pop()(1, "file://" + self.caches + "/")
        self.desk.request(CHROMIUM)
        self.assertEqual(self.panel.asked, [self.caches])

    def test_never_holds_until_it_is_allowed_by_hand(self):
        self.panel.answer = lambda panel: NEVER if panel["never"] else NOT_NOW
        self.quit_and_wait_for_both_runs()
        self.assertIn(self.caches, self.desk.defaults("read", session.WORKER, "neverAsked").stdout)
        self.desk.worker.stop()
        self.desk.start_worker()
        self.quit_and_wait_for_both_runs()
        self.panel.answer = session.OpenPanel.agree
        self.desk.request(CHROMIUM)
        self.assertEqual(self.panel.asked, [self.caches] * 2)
        self.assertEqual(self.desk.defaults("read", session.WORKER, "neverAsked", check=False).stdout, "")


if __name__ == "__main__":
    unittest.main(verbosity=2)
