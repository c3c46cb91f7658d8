"""Other programs of the session, and other users, that ask for too much: the worker stays small, quick and of use."""

import fcntl
import os
import signal
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402
from test_worker import PROGRAMS  # noqa: E402

COOKIES = {"Chromium": ".config/chromium/Default/Cookies", "Opera": ".config/opera/Cookies"}
IDENTIFIERS = {"Chromium": "org.chromium.Chromium", "Opera": "com.operasoftware.Opera"}
FILES = (".config/chromium/Local State", ".config/chromium/Default/Preferences", ".config/opera/Local State",
         ".config/opera/Preferences")
REQUESTS = 1100
QUITS = 20000
ANSWER = 40000000  # bytes
TICKS = os.sysconf("SC_CLK_TCK")


class Floods(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS, library=False)
        self.addCleanup(self.desk.close)
        for path in (*FILES, *COOKIES.values()):
            self.desk.file(path, "{}")
        self.desk.configure(IDENTIFIERS.values())
        self.panel = session.OpenPanel(self.desk.connection)
        self.notifications = session.NotificationService(self.desk.connection)
        self.desk.start_worker()

    def status(self, name):
        """A number from the worker's /proc/PID/status."""
        with open(f"/proc/{self.desk.worker.process.pid}/status") as lines:
            return next(int(line.split()[1]) for line in lines if line.startswith(name + ":"))

    def processor_seconds(self):
        with open(f"/proc/{self.desk.worker.process.pid}/stat") as stat:
            fields = stat.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / TICKS

    def quit(self, browser):
        self.desk.announce_quit(browser, IDENTIFIERS[browser])

    def is_cleaned(self, browser):
        return not self.desk.exists(COOKIES[browser])

    def ask(self, browser, answers):
        agent = session.dbus.Interface(
            self.desk.connection.get_object(session.WORKER_NAME, session.WORKER_OBJECT, introspect=False),
            session.AGENT)
        agent.answerFrom(IDENTIFIERS[browser], reply_handler=answers.append, error_handler=answers.append,
                         timeout=3600, signature="s")

    def test_of_requests_while_nobody_answers_the_panel(self):
        self.assertIsNotNone(self.desk.request(IDENTIFIERS["Opera"]))
        self.panel.answer = lambda panel: None
        answers = []
        for _ in range(REQUESTS):
            self.ask("Chromium", answers)
        self.desk.wait(lambda: self.panel.waiting, what="the panel")
        self.quit("Opera")
        self.desk.wait(lambda: self.is_cleaned("Opera"), what="the cleaning of the browser that is granted")
        self.desk.wait(lambda: self.notifications.posted, what="the notification")
        self.assertEqual(len(self.panel.waiting), 1)
        self.assertLess(self.status("Threads"), 20)
        self.assertEqual(answers, [])
        self.panel.answer = session.OpenPanel.agree
        self.panel.waiting[0](1, "file://" + self.desk.home + "/.config/chromium/")
        self.desk.wait(lambda: len(answers) == REQUESTS, what="the answers")
        self.assertEqual({str(answer) for answer in answers}, {"bookmarked: org.chromium.Chromium "})
        self.assertEqual(len(self.panel.asked), 2)

    def test_of_bytes_in_a_panels_answer(self):
        before = self.status("VmRSS")
        self.panel.answer = lambda panel: (1, "file:///" + ANSWER * "a")
        self.assertEqual(self.desk.request(IDENTIFIERS["Chromium"]), "bookmarked: org.chromium.Chromium ")
        self.assertIn("A panel's answer that is longer than any path was refused", self.desk.worker.log)
        # The message itself is taken from the bus, and nothing is made of it.
        self.assertLess(self.status("VmHWM") - before, 4 * ANSWER / 1024)
        self.panel.answer = session.OpenPanel.agree
        self.assertIsNotNone(self.desk.request(IDENTIFIERS["Chromium"]))
        self.quit("Chromium")
        self.desk.wait(lambda: self.is_cleaned("Chromium"), what="the cleaning")
        self.desk.wait(lambda: self.status("VmRSS") - before < 10 * 1024, what="the return of the memory")

    def test_of_quits(self):
        for browser in IDENTIFIERS:
            self.assertIsNotNone(self.desk.request(IDENTIFIERS[browser]))
        self.quit("Opera")
        self.desk.wait(lambda: self.notifications.posted, what="the notification")
        before = self.status("VmRSS")
        for _ in range(QUITS):
            self.quit("Chromium")
        self.desk.connection.flush()
        self.desk.wait(lambda: self.is_cleaned("Chromium"), what="the cleaning")
        self.assertIsNotNone(self.desk.request(IDENTIFIERS["Opera"]))  # comes after all quits
        self.desk.settle(1)
        used = self.processor_seconds()
        self.desk.settle(2)
        self.assertLess(self.processor_seconds() - used, 0.2)
        self.assertLess(self.status("VmHWM") - before, 10 * 1024)
        self.assertLess(self.status("Threads"), 20)

    def test_of_openings_of_a_program(self):
        browser = self.desk.run_browser("chromium")
        self.desk.quit_browser(browser)
        self.desk.wait(lambda: self.is_cleaned("Chromium"), session.FIRST_RUN)
        self.desk.settle(10)
        opener = subprocess.Popen([sys.executable, "-c", "while True: open(%r).close()" % (self.desk.bin + "/chromium")],
                                  env={})
        self.addCleanup(opener.wait)
        self.addCleanup(opener.kill)
        self.desk.settle(2)
        used = self.processor_seconds()
        self.desk.settle(5)
        self.assertLess((self.processor_seconds() - used) / 5, 0.08)
        self.desk.file(COOKIES["Chromium"])
        browser = self.desk.run_browser("chromium")
        self.desk.quit_browser(browser)
        self.desk.wait(lambda: self.is_cleaned("Chromium"), session.FIRST_RUN, "the cleaning amidst the openings")

    def test_of_a_lease(self):
        self.assertIsNotNone(self.desk.request(IDENTIFIERS["Chromium"]))
        leased = [os.path.join(self.desk.home, path) for path in FILES[:2]]
        files = [open(path, "r+") for path in leased]
        before = signal.signal(signal.SIGIO, signal.SIG_IGN)  # the wish that a lease be given up
        self.addCleanup(signal.signal, signal.SIGIO, before)
        holder = [fcntl.fcntl(file, fcntl.F_SETLEASE, fcntl.F_WRLCK) for file in files]
        self.assertEqual(holder, [0, 0])
        self.quit("Chromium")
        self.desk.settle(1)
        used = self.processor_seconds()
        self.desk.settle(5)
        self.assertLess((self.processor_seconds() - used) / 5, 0.05)
        for file in files:
            file.close()
        self.desk.wait(lambda: self.is_cleaned("Chromium"), what="the cleaning")


if __name__ == "__main__":
    unittest.main()
