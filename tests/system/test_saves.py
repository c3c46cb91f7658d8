"""A browser that is back while it is being cleaned: nothing that it has saved is lost, and its stores are left alone."""

import json
import os
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
DATA = ".config/chromium/"
PREFERENCES = DATA + "Default/Preferences"
SITE = "https://visited.example"


class Saves(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS, library=False)
        self.addCleanup(self.desk.close)
        self.desk.file(DATA + "Local State", "{}")
        self.path = self.desk.file(PREFERENCES, "{}")
        self.desk.configure(["org.chromium.Chromium"], notifications=False)
        self.desk.start_worker()
        self.desk.tidewell("enable", "chromium", "--yes")

    def prepare(self, number):
        """Writes what is about to be saved."""
        rules = {f"{SITE}:{port},*": {"setting": 1} for port in range(1000)}
        with open(self.path + ".tmp", "w") as file:
            json.dump({"saved": number, "profile": {"content_settings": {"exceptions": {"notifications": rules}}}}, file)
            file.flush()
            os.fsync(file.fileno())

    def save(self):
        os.rename(self.path + ".tmp", self.path)

    def text(self):
        with open(self.path) as file:
            return file.read()

    def is_unfinished(self):
        return os.path.lexists(self.path + ".tidewell")

    def quit(self):
        self.desk.announce_quit("Chromium", "org.chromium.Chromium")
        self.desk.connection.flush()

    def check(self, number):
        self.desk.wait(lambda: not self.is_unfinished(), what="the end of the rewriting")
        self.assertEqual(json.loads(self.text())["saved"], number)

    def check_the_next_run_cleans(self, number):
        self.quit()
        self.desk.wait(lambda: SITE not in self.text(), what="the cleaning of what was saved last")
        self.check(number)

    def saves_while_it_is_rewritten(self):
        """Saves as soon as the new contents are being written; False when they were in place before that was seen."""
        before = os.stat(self.path).st_ino
        self.quit()
        end = time.monotonic() + session.BOUND
        while not self.is_unfinished():
            if os.stat(self.path).st_ino != before:
                return False
            self.assertLess(time.monotonic(), end)
        self.save()
        return True

    def test_while_the_new_contents_are_written(self):
        number = 0
        while number < 25:
            self.prepare(-1)
            self.save()
            self.prepare(number)
            if self.saves_while_it_is_rewritten():
                self.check(number)
                number += 1
        self.check_the_next_run_cleans(24)

    def test_just_after_the_quit(self):
        for number in range(150):
            self.prepare(number)
            self.quit()
            time.sleep(number % 60 / 1000)
            self.save()
            self.check(number)
        self.check_the_next_run_cleans(149)

    def test_of_a_browser_that_runs_stay_until_it_quits(self):
        notifications = session.NotificationService(self.desk.connection)
        self.desk.tidewell("notifications", "on")
        browser = self.desk.run_browser("chromium")
        self.desk.file(DATA + "Default/Cookies")
        self.quit()  # a launcher's, while another main process runs
        self.desk.settle(10)  # the second run comes after eight seconds
        self.assertTrue(self.desk.exists(DATA + "Default/Cookies"))
        self.assertEqual(notifications.posted, [])
        self.desk.quit_browser(browser)
        self.desk.wait(lambda: not self.desk.exists(DATA + "Default/Cookies"), session.FIRST_RUN)


if __name__ == "__main__":
    unittest.main(verbosity=2)
