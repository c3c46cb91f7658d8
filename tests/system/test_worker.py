"""The whole worker on a private bus, in real time."""

import os
import shutil
import signal
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
SUPPORT = "Library/Application Support/"
FLASH = "Library/Preferences/Macromedia/Flash Player"
SILVERLIGHT = SUPPORT + "Microsoft/Silverlight"


class SystemTest(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS)
        self.addCleanup(self.desk.close)

    def fill_home(self):
        self.desk.file(FLASH + "/#SharedObjects/x/site.sol")
        self.desk.file(SILVERLIGHT + "/is/store")
        for browser in ("Google/Chrome", "Chromium"):
            self.desk.file(SUPPORT + browser + "/Local State",
                           '{"profile": {"info_cache": {"Default": {"name": "Ann"}, "Profile 1": {"name": "W"}}}}')
            for profile in ("Default", "Profile 1"):
                self.desk.file(f"{SUPPORT}{browser}/{profile}/Pepper Data/a.sol")
                self.desk.file(f"{SUPPORT}{browser}/{profile}/Bookmarks")
        self.desk.file(SUPPORT + "Firefox/Profiles/p/places.sqlite")
        os.makedirs(self.desk.home + "/Library/Caches")

    def start(self, identifiers, panel=True, notifications=True, **settings):
        self.fill_home()
        self.desk.configure(identifiers, **settings)
        if panel:
            self.panel = session.OpenPanel(self.desk.connection)
        if notifications:
            self.notifications = session.NotificationService(self.desk.connection)
        self.desk.start_worker()

    def notified(self, count=1):
        self.desk.wait(lambda: len(self.notifications.posted) >= count, what="the notification")

    def bodies(self):
        return [posted["body"] for posted in self.notifications.posted]


class Cleaning(SystemTest):
    def test_quit_of_an_enabled_browser_to_the_notification(self):
        self.start(["org.mozilla.firefox"])
        browser = self.desk.run_browser("firefox")
        quit_at = time.monotonic()
        self.desk.quit_browser(browser)
        self.desk.wait(lambda: not self.desk.exists(FLASH) and not self.desk.exists(SILVERLIGHT), session.FIRST_RUN)
        self.assertEqual(self.notifications.posted, [])
        # The second run removes what the browser writes while it shuts down.
        self.desk.file(FLASH + "/written late")
        self.notified()
        self.assertGreater(time.monotonic() - quit_at, 7.9)
        self.desk.wait(lambda: not self.desk.exists(FLASH))
        posted = self.notifications.posted[0]
        self.assertEqual(posted["application"], "Tidewell")
        self.assertEqual(posted["summary"], "Tidewell")
        self.assertEqual(posted["body"], "Cookies, Databases, Flash, Silverlight, and Cache removed from Firefox")
        self.assertEqual(posted["actions"], ["default", ""])
        self.assertTrue(posted["hints"]["suppress-sound"])
        self.desk.settle(1)
        self.assertEqual(len(self.notifications.posted), 1)
        self.assertEqual(self.desk.worker.log, [])
        self.assertTrue(self.desk.exists(SUPPORT + "Chromium/Default/Pepper Data/a.sol"))
        self.assertTrue(self.desk.exists(SUPPORT + "Firefox/Profiles/p/places.sqlite"))
        self.notifications.ActionInvoked(1, "default")
        self.desk.wait(lambda: self.notifications.closed == [1])

    def test_chrome_and_chromium_overlapping_with_overwriting(self):
        self.start(["com.google.Chrome", "org.chromium.Chromium"], overwrite=True)
        browsers = [self.desk.run_browser("chrome"), self.desk.run_browser("chromium")]
        for browser in browsers:
            browser.kill()
            browser.wait()
        self.notified(2)
        self.assertCountEqual(self.bodies(), [
            "Cookies, Databases, Flash, Silverlight, and Cache removed from Google Chrome",
            "Cookies, Databases, Flash, Silverlight, and Cache removed from Chromium"])
        for browser in ("Google/Chrome", "Chromium"):
            for profile in ("Default", "Profile 1"):
                self.assertFalse(self.desk.exists(f"{SUPPORT}{browser}/{profile}/Pepper Data"))
                self.assertTrue(self.desk.exists(f"{SUPPORT}{browser}/{profile}/Bookmarks"))
        self.assertTrue(self.desk.exists(FLASH))
        self.assertFalse(self.desk.exists(SILVERLIGHT))

    def test_a_disabled_browser_is_left_alone(self):
        self.start(["org.mozilla.firefox"])
        browser = self.desk.run_browser("opera")
        self.desk.quit_browser(browser)
        self.desk.settle(1)
        self.assertTrue(self.desk.exists(FLASH))
        self.assertEqual(self.panel.asked, [])

    def test_a_browser_enabled_while_the_worker_runs(self):
        self.start([])
        self.desk.defaults("write", session.SHARED, "enabledBrowsers", "-array", "com.operasoftware.Opera")
        browser = self.desk.run_browser("opera")
        self.desk.quit_browser(browser)
        self.desk.wait(lambda: not self.desk.exists(FLASH), session.FIRST_RUN)

    def test_an_announced_quit(self):
        self.start(["com.operasoftware.Opera"])
        self.desk.announce_quit("Some Name", "com.operasoftware.Opera")
        self.desk.wait(lambda: not self.desk.exists(FLASH), session.FIRST_RUN)
        self.notified()
        self.assertIn("removed from Opera", self.bodies()[0])

    def test_without_notifications_nothing_is_shown(self):
        self.fill_home()
        self.desk.configure(["org.mozilla.firefox"], notifications=False)
        session.OpenPanel(self.desk.connection)
        service = session.NotificationService(self.desk.connection)
        self.desk.start_worker()
        self.desk.announce_quit("Firefox", "")
        self.desk.wait(lambda: not self.desk.exists(FLASH), session.FIRST_RUN)
        self.desk.settle(9)
        self.assertEqual(service.posted, [])

    def test_in_the_language_of_the_session(self):
        # Compiled for this test, since systems have only the locales of their own users.
        subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8", "--no-archive", self.desk.root + "/de_DE.UTF-8"],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.desk.environment.update(LANG="de_DE.UTF-8", LOCPATH=self.desk.root)
        self.start(["org.mozilla.firefox"])
        self.desk.announce_quit("Firefox", "")
        self.notified()
        self.assertEqual(self.bodies(), ["Cookies, Datenbanken, Flash, Silverlight und Cache von Firefox entfernt"])

    def test_grants_outlive_the_worker(self):
        self.start(["org.mozilla.firefox"])
        self.desk.request("org.mozilla.firefox")
        asked = len(self.panel.asked)
        self.assertGreater(asked, 0)
        self.desk.worker.stop()
        self.desk.start_worker()
        self.desk.announce_quit("Firefox", "")
        self.desk.wait(lambda: not self.desk.exists(FLASH) and not self.desk.exists(SILVERLIGHT), session.FIRST_RUN)
        self.assertEqual(len(self.panel.asked), asked)


class Requests(SystemTest):
    def test_are_answered_when_the_grants_were_asked_for(self):
        self.start([])
        self.assertEqual(self.desk.request("com.google.Chrome"), "bookmarked: com.google.Chrome ")
        self.assertEqual(self.panel.asked[0], self.desk.home + "/" + SUPPORT + "Google")

    def test_of_an_unknown_identifier_are_never_answered(self):
        self.start([])
        self.assertIsNone(self.desk.request("com.apple.safari", seconds=1))
        self.assertIsNone(self.desk.request("", seconds=1))
        self.assertEqual(self.desk.request("com.google.Chrome"), "bookmarked: com.google.Chrome ")
        self.assertEqual(self.desk.worker.log, [])

    def test_quits_and_requests_are_served_while_a_panel_is_open(self):
        self.start(["org.mozilla.firefox"])
        self.assertIsNotNone(self.desk.request("org.mozilla.firefox"))  # grants all that its run needs
        shutil.rmtree(self.desk.home + "/" + SILVERLIGHT)
        self.panel.answer = lambda panel: None
        os.makedirs(self.desk.home + "/outside/Library")
        self.desk.defaults("write", session.SHARED, "userFolder", "-string", self.desk.home + "/outside")
        self.assertIsNone(self.desk.request("com.google.Chrome", seconds=1))
        self.assertEqual(len(self.panel.waiting), 1)
        self.desk.defaults("write", session.SHARED, "userFolder", "-string", self.desk.home)
        self.desk.announce_quit("Firefox", "")
        self.desk.wait(lambda: not self.desk.exists(FLASH), session.FIRST_RUN)
        self.notified()
        self.assertEqual(self.desk.worker.stop(), 0)  # it still ends when it is told to


class Troubles(SystemTest):
    def cleans(self):
        """Checks that the worker is alive and still cleans."""
        self.desk.file(FLASH + "/again")
        self.desk.announce_quit("Firefox", "")
        self.desk.wait(lambda: not self.desk.exists(FLASH), what="the cleaning")

    def run_worker_alone(self, environment):
        return subprocess.run([self.desk.program("tidewell-worker")], env=environment, capture_output=True, text=True,
                              timeout=session.BOUND)

    def test_no_session_bus(self):
        environment = dict(self.desk.environment)
        environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nonexistent"
        result = self.run_worker_alone(environment)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(len(result.stderr.splitlines()), 1)
        self.assertIn("no session bus", result.stderr)
        del environment["DBUS_SESSION_BUS_ADDRESS"]
        environment.pop("XDG_RUNTIME_DIR", None)
        self.assertEqual(self.run_worker_alone(environment).returncode, 1)

    def test_the_name_already_taken(self):
        self.start([])
        result = self.run_worker_alone(self.desk.environment)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(len(result.stderr.splitlines()), 1)
        self.assertIn("runs already", result.stderr)
        self.assertIsNone(self.desk.worker.process.poll())

    def test_no_notification_service(self):
        self.start(["org.mozilla.firefox"], notifications=False)
        self.cleans()
        self.desk.settle(9)
        self.assertEqual(self.desk.worker.log, [])
        self.cleans()

    def test_no_panel_program(self):
        self.start(["org.mozilla.firefox"], panel=False)
        self.assertEqual(self.desk.request("org.mozilla.firefox"), "bookmarked: org.mozilla.firefox ")
        self.assertEqual(self.desk.worker.log, [
            "Sandbox has denied access to " + self.desk.home + path
            for path in ("/" + SUPPORT + "Firefox/Profiles/", "/Library/Caches", "/" + SILVERLIGHT, "/" + FLASH)])
        self.panel = session.OpenPanel(self.desk.connection)
        self.cleans()

    def test_a_panel_program_that_dies_while_it_is_asked(self):
        self.start(["org.mozilla.firefox"], panel=False)
        other = self.desk.connect()
        panel = session.OpenPanel(other, lambda panel: None)
        answers = []
        agent = session.dbus.Interface(
            self.desk.connection.get_object(session.WORKER_NAME, session.WORKER_OBJECT, introspect=False),
            session.AGENT)
        agent.answerFrom("org.mozilla.firefox", reply_handler=answers.append, error_handler=answers.append,
                         signature="s")
        self.desk.wait(lambda: panel.waiting)
        panel.remove_from_connection()
        other.close()
        self.desk.wait(lambda: answers)
        self.assertEqual(str(answers[0]), "bookmarked: org.mozilla.firefox ")
        self.assertEqual(len(self.desk.worker.log), 4)
        self.panel = session.OpenPanel(self.desk.connection)
        self.cleans()

    def test_a_panel_that_answers_with_a_folder_that_was_not_enabled(self):
        self.start(["org.mozilla.firefox"])
        wrong = ["file:///etc/", "file:///", "file://" + self.desk.home + "/Documents/"]
        self.panel.answer = lambda panel: (1, wrong.pop()) if wrong else session.OpenPanel.agree(panel)
        self.assertIsNotNone(self.desk.request("org.mozilla.firefox"))
        # The root is above the folder that was asked for, so it is accepted; after the other two the panel opens again.
        self.assertLessEqual(len(wrong), 1)
        self.assertEqual(self.panel.asked[0], self.panel.asked[1])
        self.cleans()

    def test_a_panel_that_answers_with_no_url(self):
        self.start(["org.mozilla.firefox"])
        self.panel.answer = lambda panel: (1, "not a URL")
        self.assertIsNotNone(self.desk.request("org.mozilla.firefox"))
        self.assertEqual(len(self.desk.worker.log), 4)
        self.panel.answer = session.OpenPanel.agree
        self.cleans()

    def test_the_bus_goes_away(self):
        self.start([])
        self.desk.stop_bus()
        self.assertEqual(self.desk.worker.process.wait(timeout=session.BOUND), 1)

    def test_a_damaged_settings_file_is_set_aside(self):
        self.start(["org.mozilla.firefox"])
        self.desk.worker.stop()
        folder = self.desk.home + "/.config/tidewell/"
        for name in os.listdir(folder):
            os.remove(folder + name)
        with open(folder + session.SHARED + ".defaults", "w") as file:
            file.write("not settings at all " * 100)
        self.desk.start_worker()
        self.desk.wait(lambda: self.desk.worker.log)
        self.assertEqual(len(self.desk.worker.log), 1)
        self.assertIn("set aside", self.desk.worker.log[0])
        self.assertTrue(any(".damaged-1" in name for name in os.listdir(folder)))
        self.desk.configure(["org.mozilla.firefox"])
        self.cleans()

    def test_nobody_reads_the_log_any_more(self):
        self.start(["org.mozilla.firefox"], panel=False)
        session.GLib.source_remove(self.desk.worker._watch)
        self.desk.worker._watch = None
        self.desk.worker.process.stderr.close()
        self.assertEqual(self.desk.request("org.mozilla.firefox"), "bookmarked: org.mozilla.firefox ")  # logs four lines
        self.panel = session.OpenPanel(self.desk.connection)
        self.cleans()

    def test_the_script_is_asked_for_on_the_main_thread_which_goes_on(self):
        self.start(["com.apple.Safari"])
        self.desk.announce_quit("Safari", "")
        script = (".local/share/tidewell/Application Scripts/" + session.WORKER + "/clearCookies.sh")
        self.desk.wait(lambda: self.desk.exists(script), what="the script")
        self.assertEqual(self.desk.request("com.google.Chrome"), "bookmarked: com.google.Chrome ")

    def test_told_to_end(self):
        self.start([])
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            self.desk.worker.process.send_signal(number)
            self.assertEqual(self.desk.worker.process.wait(timeout=session.BOUND), 0)
            self.desk.worker.stop()
            self.desk.start_worker()


class Defaults(SystemTest):
    def test_values_of_every_type(self):
        read = lambda *words: self.desk.defaults("read", session.SHARED, *words).stdout  # noqa: E731
        self.desk.defaults("write", session.SHARED, "text", "hello")
        self.desk.defaults("write", session.SHARED, "string", "-string", "-bool")
        self.desk.defaults("write", session.SHARED, "yes", "-bool", "YES")
        self.desk.defaults("write", session.SHARED, "number", "-int", "-42")
        self.desk.defaults("write", session.SHARED, "list", "-array", "a", "b c")
        self.desk.defaults("write", session.SHARED, "empty", "-array")
        self.assertEqual(read("text"), "hello\n")
        self.assertEqual(read("string"), "-bool\n")
        self.assertEqual(read("yes"), "1\n")
        self.assertEqual(read("number"), "-42\n")
        self.assertEqual(read("list"), "(a, b c)\n")
        self.assertEqual(read("empty"), "()\n")
        self.assertIn("number = -42", read())
        self.desk.defaults("delete", session.SHARED, "text")
        self.assertNotIn("text", read())
        self.desk.defaults("delete", session.SHARED)
        self.assertEqual(self.desk.defaults("read", session.SHARED, check=False).returncode, 1)

    def test_missing_values_and_misuse(self):
        status = lambda *words: self.desk.defaults(*words, check=False).returncode  # noqa: E731
        self.assertEqual(status("read", session.SHARED, "missing"), 1)
        self.assertEqual(status("delete", session.SHARED, "missing"), 1)
        self.assertEqual(os.listdir(self.desk.home), ["Library"])  # reading creates nothing
        for words in ([], ["read"], ["write", session.SHARED], ["write", session.SHARED, "k"],
                      ["write", session.SHARED, "k", "-int", "x"], ["write", session.SHARED, "k", "-bool", "maybe"],
                      ["write", session.SHARED, "k", "-unknown", "x"], ["read", "../x"], ["frobnicate", "x"],
                      ["read", session.SHARED, "a", "b"]):
            self.assertEqual(status(*words), 2, words)

    def test_settings_that_can_not_be_written(self):
        self.desk.file(".config/tidewell", "a file in the way")
        result = self.desk.defaults("write", session.SHARED, "k", "v", check=False)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(len(result.stderr.splitlines()), 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
