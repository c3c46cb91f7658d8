"""A real Chromium, headless, that is told to quit."""

import os
import signal
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402
from test_worker import PROGRAMS, SILVERLIGHT, SUPPORT  # noqa: E402

PROFILE = SUPPORT + "Chromium/"


class RealChromium(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS)
        self.addCleanup(self.desk.close)
        self.desk.configure(["org.chromium.Chromium"])
        session.OpenPanel(self.desk.connection)
        self.notifications = session.NotificationService(self.desk.connection)
        os.makedirs(self.desk.home + "/" + PROFILE)
        self.desk.file(SILVERLIGHT + "/is/store")
        self.desk.start_worker()
        self.desk.request("org.chromium.Chromium")

    def start_chromium(self):
        environment = dict(self.desk.environment, PATH="/usr/bin:/bin")
        chromium = subprocess.Popen(
            ["/usr/bin/chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--disable-dev-shm-usage", "--remote-debugging-port=0",
             "--user-data-dir=" + self.desk.home + "/" + PROFILE, "about:blank"],
            env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.desk.browsers.append(chromium)
        # Chromium lists its profile once it has started.
        self.desk.wait(lambda: self.desk.exists(PROFILE + "Local State") and "info_cache" in open(
            self.desk.home + "/" + PROFILE + "Local State").read(), 2 * session.BOUND, "Chromium's start")
        self.desk.file(PROFILE + "Default/Pepper Data/Shockwave Flash/site.sol")
        return chromium

    def quit_with(self, number):
        chromium = self.start_chromium()
        self.desk.wait(lambda: self.desk.is_noticed(chromium), what="the worker's notice of Chromium")
        self.desk.settle(2)
        self.assertTrue(self.desk.exists(PROFILE + "Default/Pepper Data"), "removed while it was running")
        self.assertEqual(self.notifications.posted, [])
        chromium.send_signal(number)
        self.desk.wait(lambda: chromium.poll() is not None, what="Chromium's end")
        # One after the other, in the same run.
        self.desk.wait(lambda: not self.desk.exists(PROFILE + "Default/Pepper Data") and
                       not self.desk.exists(SILVERLIGHT), session.FIRST_RUN, "the first run")
        self.desk.wait(lambda: self.notifications.posted, what="the notification")
        self.assertEqual(self.notifications.posted[0]["body"],
                         "Cookies, Databases, Flash, Silverlight, and Cache removed from Chromium")
        self.assertTrue(self.desk.exists(PROFILE + "Local State"))
        self.desk.settle(1)
        self.assertEqual(len(self.notifications.posted), 1)
        self.assertEqual(self.desk.worker.log, [])

    def test_told_to_quit(self):
        self.quit_with(signal.SIGTERM)

    def test_killed(self):
        self.quit_with(signal.SIGKILL)


if __name__ == "__main__":
    unittest.main(verbosity=2)
