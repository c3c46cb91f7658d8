"""However a session ends, and whatever happens to the worker: what was enabled and has run is cleaned."""

import contextlib
import os
import random
import select
import signal
import sqlite3
import subprocess
import sys
import time
import unittest

import dbus.service

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
DATA = ".config/chromium/"
COOKIES = DATA + "Default/Cookies"
MANAGER = "org.freedesktop.systemd1"
ENDINGS = int(os.environ.get("TIDEWELL_ENDINGS", "25"))  # of browsers while the worker is killed


class ServiceManager(dbus.service.Object):
    """The person's service manager, as far as the worker asks it anything."""

    def __init__(self, connection):
        self.state = "running"
        self.name = dbus.service.BusName(MANAGER, connection)
        super().__init__(connection, "/org/freedesktop/systemd1")

    @dbus.service.method("org.freedesktop.DBus.Properties", in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        assert (interface, name) == ("org.freedesktop.systemd1.Manager", "SystemState")
        return dbus.String(self.state, variant_level=1)


class LoginManager(dbus.service.Object):
    """The machine's login manager, as far as the worker asks it anything; on the session's bus."""

    def __init__(self, connection):
        self.asked = []
        self.held = []  # the other end of each delay
        self.name = dbus.service.BusName("org.freedesktop.login1", connection)
        super().__init__(connection, "/org/freedesktop/login1")

    @dbus.service.method("org.freedesktop.login1.Manager", in_signature="ssss", out_signature="h")
    def Inhibit(self, what, who, why, mode):
        self.asked.append(tuple(str(word) for word in (what, who, why, mode)))
        ours, theirs = os.pipe()
        self.held.append(ours)
        answer = dbus.types.UnixFd(theirs)
        os.close(theirs)
        return answer

    def all_ended(self):
        return all(select.select([end], [], [], 0)[0] for end in self.held)


class Endings(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS, library=False)
        self.addCleanup(self.desk.close)
        self.desk.file(DATA + "Local State", "{}")
        self.desk.file(DATA + "Default/Preferences", "{}")
        self.desk.configure(["org.chromium.Chromium"], notifications=False)
        self.desk.start_worker()
        self.desk.tidewell("enable", "chromium", "--yes")

    def start_browser(self):
        browser = self.desk.run_browser("chromium")
        self.desk.wait(self.is_owed, what="the note of what is owed")
        self.desk.file(COOKIES)
        return browser

    def is_owed(self):
        return "owedCleaning" in self.desk.defaults("read", session.WORKER).stdout

    def is_clean(self):
        return not self.desk.exists(COOKIES)

    def kill_worker(self):
        self.desk.worker.process.kill()
        self.desk.worker.stop()

    def ends(self):
        process = self.desk.worker.process
        self.desk.wait(lambda: process.poll() is not None, what="the worker's end")
        return process.returncode

    def hold(self, database):
        """Starts a program that has the database locked until its input ends."""
        script = ("import sqlite3, sys; connection = sqlite3.connect(sys.argv[1], isolation_level=None);"
                  "connection.execute('BEGIN EXCLUSIVE'); print('held', flush=True); sys.stdin.read()")
        holder = subprocess.Popen([sys.executable, "-c", script, database], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, text=True)
        self.addCleanup(holder.stdout.close)
        self.addCleanup(holder.wait)
        self.addCleanup(holder.stdin.close)
        self.assertEqual(holder.stdout.readline(), "held\n")
        return holder

    def test_with_a_store_that_another_program_holds_is_made_good_when_that_ends(self):
        browser = self.start_browser()
        index = self.desk.file(DATA + "Default/WebStorage/QuotaManager", "")
        with contextlib.closing(sqlite3.connect(index)) as database, database:
            database.execute("CREATE TABLE buckets (id INTEGER, storage_key TEXT)")
            database.execute("INSERT INTO buckets VALUES (1, 'chrome-extension://a/'), (2, 'https://visited.example/')")
        holder = self.hold(index)
        self.desk.quit_browser(browser)
        self.desk.wait(lambda: "WebStorage in" in self.desk.tidewell("history", "--last"), what="the report")
        self.assertIn("in use", self.desk.tidewell("history", "--last"))
        self.assertTrue(self.is_owed())
        holder.stdin.close()
        self.desk.wait(lambda: not self.is_owed(), what="the cleaning")
        with contextlib.closing(sqlite3.connect(index)) as database:
            self.assertEqual(database.execute("SELECT id FROM buckets").fetchall(), [(1,)])

    def test_of_the_worker_before_the_browser_is_made_good_by_the_next_worker(self):
        browser = self.start_browser()
        self.kill_worker()
        self.desk.quit_browser(browser)
        self.assertIn("is owed a cleaning, which comes when the worker starts", self.desk.tidewell("status"))
        self.desk.start_worker()
        self.desk.wait(self.is_clean)
        self.desk.wait(lambda: not self.is_owed())
        self.assertNotIn("is owed", self.desk.tidewell("status"))

    def test_of_the_worker_right_after_the_browser_is_made_good_by_the_next_worker(self):
        for _ in range(10):
            browser = self.start_browser()
            browser.kill()
            self.kill_worker()
            self.desk.quit_browser(browser)
            self.desk.start_worker()
            self.desk.wait(self.is_clean)

    def test_of_the_worker_by_an_update_comes_at_once_and_the_next_one_goes_on(self):
        browser = self.start_browser()
        begun = time.monotonic()
        self.assertEqual(self.desk.worker.stop(), 0)
        self.assertLess(time.monotonic() - begun, session.BOUND / 4)  # it does not wait for the browser
        self.assertFalse(self.is_clean())
        self.desk.start_worker()
        self.desk.wait(lambda: self.desk.is_noticed(browser))
        self.desk.quit_browser(browser)
        self.desk.wait(self.is_clean)

    def test_of_the_session_waits_for_the_browser(self):
        manager = ServiceManager(self.desk.connection)
        browser = self.start_browser()
        manager.state = "stopping"
        self.desk.worker.process.terminate()
        self.desk.settle(1)
        self.assertIsNone(self.desk.worker.process.poll())
        self.desk.quit_browser(browser)
        self.assertEqual(self.ends(), 0)
        self.assertTrue(self.is_clean())
        self.assertFalse(self.is_owed())
        manager.remove_from_connection()

    def test_of_the_machine_is_held_up_only_while_a_run_is_under_way(self):
        manager = LoginManager(self.desk.connection)
        self.assertEqual(self.desk.worker.stop(), 0)
        self.desk.environment["DBUS_SYSTEM_BUS_ADDRESS"] = self.desk.address
        self.desk.start_worker()
        browser = self.start_browser()
        for number in range(20_000):  # so that the run is not over before the manager has answered
            self.desk.file(f"{DATA}Default/Cache/Cache_Data/{number}")
        self.assertEqual(manager.asked, [])
        self.desk.quit_browser(browser)
        self.desk.wait(lambda: manager.held, what="the delay")
        self.assertEqual(manager.asked[0], ("shutdown", "Tidewell", "Cleaning a browser that has quit", "delay"))
        self.desk.wait(self.is_clean)
        self.desk.wait(manager.all_ended, what="the end of the delay")
        manager.remove_from_connection()

    def test_of_the_session_between_the_runs_makes_the_second_one_at_once(self):
        manager = ServiceManager(self.desk.connection)
        browser = self.start_browser()
        self.desk.quit_browser(browser)
        self.desk.wait(self.is_clean, session.FIRST_RUN)
        self.desk.file(COOKIES)  # written on the way down
        manager.state = "stopping"
        self.desk.worker.process.terminate()
        self.assertEqual(self.ends(), 0)
        self.assertTrue(self.is_clean())
        self.assertFalse(self.is_owed())
        manager.remove_from_connection()

    def test_of_the_session_comes_at_once_when_it_is_told_twice(self):
        manager = ServiceManager(self.desk.connection)
        browser = self.start_browser()
        manager.state = "stopping"
        self.desk.worker.process.terminate()
        self.desk.settle(0.5)
        self.desk.worker.process.terminate()
        self.assertEqual(self.ends(), 0)
        self.assertTrue(self.is_owed())
        self.desk.quit_browser(browser)
        manager.remove_from_connection()

    def test_of_the_bus_with_the_browser_is_cleaned_all_the_same(self):
        browser = self.start_browser()
        self.desk.stop_bus()
        self.desk.settle(0.5)
        self.assertIsNone(self.desk.worker.process.poll())
        self.desk.quit_browser(browser)
        self.assertEqual(self.ends(), 1)
        self.assertTrue(self.is_clean())

    def test_of_many_browsers_are_cleaned_while_the_worker_is_killed(self):
        chance = random.Random(1)
        for number in range(ENDINGS):
            browser = self.start_browser()
            steps = [lambda: self.desk.quit_browser(browser), self.kill_worker,
                     lambda: time.sleep(chance.choice((0, 0.001, 0.01, 0.1)))]
            chance.shuffle(steps)
            for step in steps:
                step()
            self.desk.start_worker()
            self.desk.wait(self.is_clean, what=f"the cleaning after ending {number}")
            self.desk.browsers.clear()


if __name__ == "__main__":
    unittest.main()
