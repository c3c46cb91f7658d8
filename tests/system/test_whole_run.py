"""All five browsers quit in one home, in real time: what is removed, what stays, and what the user sees."""

import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sample_home  # noqa: E402
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
SCRIPT = ".local/share/tidewell/Application Scripts/" + session.WORKER + "/clearCookies.sh"


class WholeRun(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS)
        self.addCleanup(self.desk.close)
        self.browsers = sample_home.fill(self.desk)
        self.before = sample_home.contents(self.desk.home)
        self.panel = session.OpenPanel(self.desk.connection)
        self.notifications = session.NotificationService(self.desk.connection)

    def start(self, browsers, **settings):
        self.desk.configure([browser.identifier for browser in browsers], **settings)
        self.desk.start_worker()

    def request(self, browsers):
        for browser in browsers:
            self.assertEqual(self.desk.request(browser.identifier), f"bookmarked: {browser.identifier} ")

    def quit(self, browsers):
        """Lets all these browsers quit at the same time."""
        running = [self.desk.run_browser(browser.program) for browser in browsers if browser.program]
        for process in running:
            self.desk.quit_browser(process)
        for browser in browsers:
            if not browser.program:
                self.desk.announce_quit(browser.name, browser.identifier)

    def bodies(self):
        return [posted["body"] for posted in self.notifications.posted]

    def gone(self):
        after = sample_home.contents(self.desk.home)
        return sample_home.topmost(self.before.keys() - after.keys())

    def wait_until_it_is_all_over(self, browsers):
        self.desk.wait(lambda: len(self.notifications.posted) == len(browsers), what="the notifications")
        self.assertCountEqual(self.bodies(), [browser.notification for browser in browsers])
        self.desk.settle(1.5)  # Safari's last step comes a second later, and is the last of all

    def assert_went(self, browsers, common):
        """Checks that exactly the data of these browsers have gone: files, rows, and nothing else."""
        expected = set(common).union(*(browser.goes for browser in browsers))
        self.desk.wait(lambda: expected <= self.gone(), what="the last of what has to go")
        self.assertEqual(sorted(self.gone() ^ expected), [])
        after = sample_home.contents(self.desk.home)
        self.assertEqual(sorted(after.keys() - self.before.keys()), [])
        cleaned = {table.path for browser in browsers for table in browser.tables}
        self.assertEqual([path for path in after if path not in cleaned and after[path] != self.before[path]], [])
        for browser in self.browsers:
            for table in browser.tables:
                left = table.stays if browser in browsers else table.goes + table.stays
                self.assertEqual(table.rows(self.desk.home), left, f"{table.name} in {table.path}")

    def test_of_all_five_takes_exactly_what_sites_have_left(self):
        self.start(self.browsers)
        self.request(self.browsers)
        asked = len(self.panel.asked)
        self.assertEqual(self.gone(), set())

        # The user has confirmed the script's folder, so our script is there. A stand-in replaces it, to record starts.
        installed = os.path.join(self.desk.home, SCRIPT)
        with open(installed) as script, open(os.path.join(PROGRAMS, "../share/tidewell/clearCookies.sh")) as ours:
            self.assertEqual(script.read(), ours.read())
        self.assertTrue(os.access(installed, os.X_OK))
        started = os.path.join(self.desk.root, "started")
        with open(installed, "w") as script:
            script.write(f"#!/bin/sh\necho \"$# $(cat)\" >>'{started}'\n")

        self.quit(self.browsers)
        self.wait_until_it_is_all_over(self.browsers)
        self.assert_went(self.browsers, sample_home.COMMON)
        self.desk.wait(lambda: os.path.exists(started) and os.path.getsize(started) >= len("0 \n" * 2),
                       what="the second start of the script")
        with open(started) as lines:
            self.assertEqual(lines.read(), "0 \n" * 2)  # no arguments, no input, once in each run
        self.assertEqual(len(self.panel.asked), asked)
        self.assertEqual(self.desk.worker.log, [])

    def test_with_the_script_itself_and_overwriting(self):
        safari = self.browsers[:1]
        self.start(safari, overwrite=True)
        self.request(safari)
        self.quit(safari)
        self.wait_until_it_is_all_over(safari)
        self.assert_went(safari, sample_home.COMMON)
        self.assertTrue(os.path.exists(os.path.join(self.desk.home, SCRIPT)))
        self.assertEqual(self.desk.worker.log, [])

    def test_of_two_of_them_leaves_the_others_data(self):
        chrome_and_chromium = [browser for browser in self.browsers if browser.program in ("chrome", "chromium")]
        self.start(chrome_and_chromium)
        self.request(chrome_and_chromium)
        self.quit(self.browsers)  # all five quit; two are enabled
        self.wait_until_it_is_all_over(chrome_and_chromium)
        self.assert_went(chrome_and_chromium, sample_home.COMMON.keys() - {sample_home.FLASH})
        self.assertEqual(self.desk.worker.log, [])

    def test_a_panel_that_was_not_asked_ahead_is_asked_at_the_quit(self):
        opera = self.browsers[-1:]
        self.start(opera)
        self.quit(opera)
        self.wait_until_it_is_all_over(opera)
        self.assert_went(opera, sample_home.COMMON)
        self.assertGreater(len(self.panel.asked), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
