"""The everyday commands of "tidewell"."""

import fcntl
import glob
import json
import os
import signal
import sqlite3
import struct
import subprocess
import sys
import termios
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402
from test_worker import FLASH, SUPPORT  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]


class Commands(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS)
        self.addCleanup(self.desk.close)

    def tidewell(self, *words, environment=None, given=""):
        """Runs the command while the session continues; returns (status, output, errors)."""
        process = subprocess.Popen([self.desk.program("tidewell"), *words], env=environment or self.desk.environment,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        process.stdin.write(given)
        process.stdin.close()
        self.desk.wait(lambda: process.poll() is not None, what="the command's end")
        output, errors = process.stdout.read(), process.stderr.read()
        process.stdout.close()
        process.stderr.close()
        return process.returncode, output, errors

    def succeed(self, *words, **more):
        """Runs the command, which must succeed; returns what it prints."""
        status, output, errors = self.tidewell(*words, **more)
        self.assertEqual((status, errors), (0, ""), words)
        return output

    def start(self):
        for folder in (SUPPORT + "Firefox/Profiles", SUPPORT + "Microsoft", "Library/Caches",
                       "Library/Preferences/Macromedia"):
            os.makedirs(self.desk.home + "/" + folder)
        self.desk.configure([])
        self.desk.start_worker()

    def state(self):
        return json.loads(self.succeed("status", "--json"))

    def browser(self, name):
        return next(browser for browser in self.state()["browsers"] if browser["name"] == name)

    def test_enabling_asks_for_the_folders_and_quit_of_cleans(self):
        self.start()
        self.assertFalse(self.browser("Firefox")["enabled"])
        output = self.succeed("enable", "firefox", "--yes")
        self.assertIn("Firefox: its folders are allowed.", output)
        firefox = self.browser("Firefox")
        self.assertTrue(firefox["enabled"] and firefox["allowed"])
        self.assertEqual(firefox["data"], self.desk.home + "/" + SUPPORT + "Firefox/Profiles/")
        self.assertTrue(self.state()["workerRunning"])
        self.desk.file(FLASH + "/a")
        self.assertIn("on demand", self.succeed("quit-of", "Firefox"))
        self.assertFalse(self.desk.exists(FLASH))
        self.succeed("disable", "org.mozilla.firefox")
        self.assertFalse(self.browser("Firefox")["enabled"])
        self.assertEqual(self.tidewell("quit-of", "firefox")[0], 1)

    def test_quit_of_while_the_browser_runs(self):
        self.start()
        self.succeed("enable", "firefox", "--yes")
        browser = self.desk.run_browser("firefox")
        self.desk.file(FLASH + "/a")
        status, _, errors = self.tidewell("quit-of", "firefox", given="y\n")
        self.assertEqual((status, len(errors.splitlines())), (1, 1))
        self.assertIn("Firefox is running", errors)
        self.assertIn("Firefox is running", self.answered(["n"], "quit-of", "firefox"))
        self.assertTrue(self.desk.exists(FLASH))
        self.answered(["y"], "quit-of", "--no-wait", "firefox")
        self.desk.wait(lambda: not self.desk.exists(FLASH), session.FIRST_RUN)
        self.desk.file(FLASH + "/a")
        self.succeed("quit-of", "--no-wait", "--force", "firefox")
        self.desk.wait(lambda: not self.desk.exists(FLASH), session.FIRST_RUN)
        self.desk.quit_browser(browser)
        self.succeed("quit-of", "--no-wait", "firefox")

    def answered(self, answers, *words, typed_ahead="", **variables):
        """Runs the command in a terminal, and gives the answers to its questions, the last to all that follow; returns
        what it prints."""
        ours, terminal = os.openpty()
        self.addCleanup(os.close, ours)
        os.write(ours, typed_ahead.encode())
        process = subprocess.Popen([self.desk.program("tidewell"), *words], stdin=terminal,
                                   env=dict(self.desk.environment, **variables), stdout=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL)
        os.close(terminal)
        os.set_blocking(process.stdout.fileno(), False)
        printed, questions = b"", 0

        def goes_on():
            nonlocal printed, questions
            printed += process.stdout.read() or b""
            if printed.count(b"] ") > questions:
                os.write(ours, (answers[min(questions, len(answers) - 1)] + "\n").encode())
                questions += 1
            return process.poll() is not None

        self.desk.wait(goes_on, what="the command's end")
        with process.stdout:
            printed += process.stdout.read() or b""
        return printed.decode()

    def test_several_browsers_by_any_of_their_names(self):
        self.start()
        self.succeed("enable", "chrome", "Chromium", "com.operasoftware.Opera", "--yes")
        enabled = [browser["name"] for browser in self.state()["browsers"] if browser["enabled"]]
        self.assertEqual(enabled, ["Google Chrome", "Chromium", "Opera"])

    def test_switches(self):
        self.start()
        for command, key in (("notifications", "notifications"), ("overwrite", "overwrite")):
            for word in ("on", "off"):
                self.succeed(command, word)
                self.assertEqual(self.state()[key], word == "on")
            self.assertEqual(self.tidewell(command, "perhaps")[0], 2)
        for word, value in (("on", "1"), ("off", "0")):
            self.succeed("notify-always", word)
            self.assertEqual(self.succeed("defaults", "read", session.SHARED, "notifyAlways").strip(), value)

    def test_site_settings(self):
        self.start()
        for word in ("keep", "remove"):
            self.succeed("site-settings", word)
            key = [session.SHARED, "keepSiteSettings"]
            self.assertEqual(self.succeed("defaults", "read", *key).strip(), "1" if word == "keep" else "0")
        self.assertEqual(self.tidewell("site-settings", "on")[0], 2)
        self.assertFalse(self.state()["keepSiteSettings"], "nothing is kept on a home with a Library")

    def test_grants_can_be_listed_and_taken_back(self):
        self.start()
        self.succeed("allow", "firefox", "--yes")
        granted = json.loads(self.succeed("grants", "--json"))
        self.assertIn(self.desk.home + "/Library/Caches", granted)
        self.assertEqual(self.succeed("grants").splitlines(), granted)
        self.succeed("grants", "revoke", self.desk.home + "/Library/")
        self.assertEqual(json.loads(self.succeed("grants", "--json")), [])
        self.assertEqual(self.tidewell("grants", "revoke", self.desk.home)[0], 1)
        self.assertEqual(self.tidewell("grants", "revoke", "relative")[0], 2)

    def test_in_a_terminal_one_question_is_for_all_folders_of_a_browser(self):
        self.on_linux_home()
        os.makedirs(self.desk.home + "/.cache/chromium")
        folders = [self.desk.home + place for place in ("/.config/chromium", "/.cache/chromium")]
        output = self.answered(["n"], "allow", "chromium")
        self.assertEqual(output.count("Clean Chromium when it quits?"), 1)
        self.assertEqual(output.count("[y/N/never]"), 1)
        self.assertNotIn("Click Allow", output)
        for folder in folders:
            self.assertIn("  " + folder, output)
        self.assertEqual(json.loads(self.succeed("grants", "--json")), [])
        self.answered(["y"], "allow", "chromium")
        self.assertEqual(json.loads(self.succeed("grants", "--json")), sorted(folders))

    def test_never_is_an_answer_in_a_terminal_and_status_tells_it(self):
        self.on_linux_home()
        folder = self.desk.home + "/.config/chromium"
        self.assertIn("[y/N/never]", self.answered(["never"], "allow", "chromium"))
        self.assertEqual(self.browser("Chromium")["neverAsked"], [folder])
        self.assertIn("never asked for: " + folder, self.succeed("status"))
        self.succeed("allow", "chromium", "--yes")
        self.assertEqual(self.browser("Chromium")["neverAsked"], [])

    def test_the_graphical_panel_is_left_to_answer_where_there_is_a_display(self):
        self.start()
        panel = session.OpenPanel(self.desk.connection)
        environment = dict(self.desk.environment, DISPLAY=":99")
        self.succeed("allow", "firefox", environment=environment)
        self.assertTrue(panel.asked)

    def test_without_a_terminal_nobody_is_asked(self):
        self.start()
        status, _, errors = self.tidewell("allow", "firefox")
        self.assertEqual(status, 1)
        self.assertIn("--yes", errors)

    def test_in_a_terminal_the_person_is_asked_there(self):
        self.start()
        output = self.answered(["y", "n", "y"], "allow", "firefox")
        self.assertIn("Allow Access: Tidewell needs to access this path", output)
        self.assertNotIn("never", output)
        self.assertEqual(len(self.desk.worker.log), 1)  # for the folder that was refused

    def test_what_was_typed_ahead_is_no_answer_in_a_terminal(self):
        self.start()
        self.answered(["n"], "allow", "firefox", typed_ahead="y\ny\ny\ny\ny\n")
        self.assertEqual(json.loads(self.succeed("grants", "--json")), [])

    def test_with_a_worker_that_does_not_answer(self):
        self.start()
        # Not in its start: stopped while it writes to the settings, it would hold their lock.
        self.desk.settle(3)
        self.desk.wait(lambda: len(os.listdir(f"/proc/{self.desk.worker.process.pid}/task")) == 1)
        os.kill(self.desk.worker.process.pid, signal.SIGSTOP)
        self.addCleanup(os.kill, self.desk.worker.process.pid, signal.SIGCONT)
        # Questions in a window may take up to an hour, but a worker that has stopped is noticed much sooner.
        environment = dict(self.desk.environment, DISPLAY=":nowhere")
        status, output, errors = self.tidewell("allow", "firefox", environment=environment)
        self.assertEqual((status, output, errors), (1, "", "tidewell: the worker does not answer: "
                          '"systemctl --user restart tidewell-worker" starts it anew, or see "tidewell doctor"\n'))
        self.succeed("status")

    def test_beside_a_program_that_stopped_while_it_wrote_to_the_settings(self):
        self.start()
        self.desk.worker.stop()
        files = glob.glob(self.desk.home + "/.config/tidewell/*")
        self.assertTrue(files)
        for file in files:
            if not file.endswith(("-wal", "-shm")):
                holder = sqlite3.connect(file, isolation_level=None)
                self.addCleanup(holder.close)
                holder.execute("PRAGMA locking_mode = EXCLUSIVE")
                holder.execute("BEGIN EXCLUSIVE")
        # Each key that can't be read would take ten seconds, and there are several for each browser.
        self.succeed("status")

    def test_without_a_worker(self):
        self.desk.configure([])
        status, output, _ = self.tidewell("status")
        self.assertEqual(status, 0)
        self.assertIn("not running", output)
        status, _, errors = self.tidewell("allow", "firefox", "--yes")
        self.assertEqual((status, len(errors.splitlines())), (1, 1))
        status, _, errors = self.tidewell("quit-of", "firefox")
        self.assertEqual((status, len(errors.splitlines())), (1, 1))

    def test_without_a_bus(self):
        environment = dict(self.desk.environment, DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")
        for words in (["allow", "firefox", "--yes"], ["quit-of", "firefox"]):
            status, _, errors = self.tidewell(*words, environment=environment)
            self.assertEqual((status, len(errors.splitlines())), (1, 1))
            self.assertIn("no session bus", errors)
        self.succeed("status", environment=environment)

    def test_without_a_command_it_is_status(self):
        self.start()
        self.assertEqual(self.succeed(), self.succeed("status"))
        self.assertRegex(self.succeed("--version"), r"^tidewell \d+\.\d+\.\d+\n$")

    def test_a_folder_that_was_refused_shows_in_the_exit_status(self):
        self.on_linux_home()
        panel = session.OpenPanel(self.desk.connection, lambda panel: (0, ""))
        environment = dict(self.desk.environment, DISPLAY=":99")
        status, _, errors = self.tidewell("allow", "chromium", environment=environment)
        self.assertEqual((status, len(errors.splitlines())), (1, 1))
        self.assertIn(self.desk.home + "/.config/chromium is not allowed", errors)
        panel.answer = session.OpenPanel.agree
        self.succeed("allow", "chromium", environment=environment)

    def test_every_change_is_confirmed_in_a_line(self):
        self.start()
        for words in (["disable", "firefox"], ["notifications", "on"], ["overwrite", "off"], ["keep-history", "on"],
                      ["site-settings", "keep"], ["notify-always", "off"], ["history", "--clear"],
                      ["defaults", "write", "a.domain", "key", "-int", "3"],
                      ["defaults", "delete", "a.domain", "key"]):
            self.assertEqual(len(self.succeed(*words).splitlines()), 1, words)

    def test_what_was_mistyped_is_guessed(self):
        for words, meant in ((["statsu"], '"status"'), (["enable", "firefx"], '"firefox"'),
                             (["quit-off", "chromium"], '"quit-of"')):
            status, _, errors = self.tidewell(*words)
            self.assertEqual(status, 2, words)
            self.assertIn("did you mean " + meant, errors)

    def test_output_that_can_not_be_written_is_an_error(self):
        for words in (["status"], ["--help"], ["browsers", "--json"]):
            with open("/dev/full", "w") as full:
                ended = subprocess.run([self.desk.program("tidewell"), *words], env=self.desk.environment, stdout=full,
                                       stderr=subprocess.PIPE, text=True)
            self.assertEqual((ended.returncode, len(ended.stderr.splitlines())), (1, 1), words)

    def printed(self, columns, *words, **variables):
        """What the command prints in a terminal of so many columns."""
        ours, terminal = os.openpty()
        self.addCleanup(os.close, ours)
        fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        process = subprocess.Popen([self.desk.program("tidewell"), *words], stdout=terminal, stderr=subprocess.DEVNULL,
                                   env=dict(self.desk.environment, TERM="xterm", **variables))
        os.close(terminal)
        os.set_blocking(ours, False)
        text = b""

        def ends():
            nonlocal text
            while True:
                try:
                    text += os.read(ours, 65536)
                except BlockingIOError:
                    return False
                except OSError:  # nobody has the terminal any more
                    return True

        self.desk.wait(ends, what="the command's end")
        process.wait()
        return text.decode().replace("\r\n", "\n")

    def test_a_terminal_gets_colours_unless_they_are_not_wanted(self):
        self.start()
        self.assertIn("\x1b[", self.printed(80, "status"))
        self.assertNotIn("\x1b", self.printed(80, "status", NO_COLOR="1"))
        self.assertNotIn("\x1b", self.succeed("status"))

    def test_text_keeps_within_the_terminals_width(self):
        self.start()
        self.succeed("enable", "firefox", "--yes")
        for columns in (30, 50, 100):
            for line in self.printed(columns, "status", NO_COLOR="1").splitlines():
                is_path = line.strip().startswith("/")  # which is not broken, so that it can be copied
                self.assertTrue(len(line) <= columns or is_path, (columns, line))

    def test_the_bus_starts_the_worker(self):
        self.desk.configure([])
        self.desk.let_bus_start(session.WORKER_NAME, "tidewell-worker")
        self.addCleanup(self.end_started_worker)
        self.desk.file("Library/Caches/a")
        self.succeed("enable", "firefox", "--yes")
        self.assertTrue(self.state()["workerRunning"])

    def end_started_worker(self):
        bus = self.desk.connection.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus")
        os.kill(int(bus.GetConnectionUnixProcessID(session.WORKER_NAME)), signal.SIGTERM)

    def test_the_preview_sums_up_by_kind_and_lists_paths_when_asked_to(self):
        self.on_linux_home()
        cookies = self.desk.file(".config/chromium/Default/Session Storage/a", "0123456789")
        text = self.succeed("preview", "chromium")
        self.assertRegex(text, r"(?m)^Site data +1 +10 bytes")
        self.assertIn("would remove", text)
        self.assertNotIn("/Session Storage", text)
        self.assertIn("/Session Storage: 1 file, 10 bytes (not allowed yet)", self.succeed("preview", "-v", "chromium"))
        items = json.loads(self.succeed("preview", "--json", "chromium"))["items"]
        self.assertEqual([item["group"] for item in items], ["site-data"], cookies)

    def doctor(self, environment=None):
        """The exit status of the doctor, and the grade of each look: the worst."""
        status, output, errors = self.tidewell("doctor", "--json", environment=environment)
        self.assertEqual(errors, "")
        grades = {}
        order = ["good", "remark", "wrong"]
        for finding in json.loads(output)["findings"]:
            before = grades.get(finding["look"], "good")
            grades[finding["look"]] = max(before, finding["grade"], key=order.index)
        return status, grades

    def test_the_doctor_finds_what_is_wrong_and_says_what_to_do(self):
        self.on_linux_home()
        status, grades = self.doctor()
        self.assertEqual(status, 1)
        self.assertEqual((grades["bus"], grades["worker"], grades["browsers"]), ("good", "good", "wrong"))
        _, text, _ = self.tidewell("doctor")
        self.assertIn("    tidewell allow chromium\n", text)
        self.succeed("allow", "chromium", "--yes")
        self.assertEqual(self.doctor()[1]["browsers"], "good")
        self.desk.worker.stop()
        self.assertEqual(self.doctor()[1]["worker"], "wrong")
        nowhere = dict(self.desk.environment, DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")
        self.assertEqual(self.doctor(nowhere)[1]["bus"], "wrong")

    def test_the_doctor_changes_nothing(self):
        self.on_linux_home()
        self.desk.worker.stop()
        def files():
            return sorted(folder + "/" + name for folder, _, names in os.walk(self.desk.home) for name in names
                          if not name.endswith(("-wal", "-shm")))
        before, grants = files(), self.succeed("grants")
        self.tidewell("doctor")
        self.assertEqual((files(), self.succeed("grants")), (before, grants))

    def test_it_speaks_the_persons_language_but_not_to_programs(self):
        self.on_linux_home()
        german = dict(self.desk.environment, LC_ALL="C.UTF-8", LANGUAGE="de")
        self.assertIn("Der Dienst läuft.", self.succeed("status", environment=german))
        self.assertIn("„status“", self.tidewell("statsu", environment=german)[2])
        nowhere = {"DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}
        for words in (["status", "--json"], ["preview", "chromium", "--json"], ["doctor", "--json"]):
            self.assertEqual(self.tidewell(*words, environment=german | nowhere),
                             self.tidewell(*words, environment=self.desk.environment | nowhere), words)
        self.assertIn("[j/N/nie]", self.answered(["j"], "allow", "chromium", LC_ALL="C.UTF-8", LANGUAGE="de"))
        self.assertTrue(self.browser("Chromium")["allowed"])

    def on_linux_home(self):
        """Another session, with an enabled Chromium that has run, and a worker."""
        self.desk.close()
        self.desk = session.Session(PROGRAMS, library=False)
        self.addCleanup(self.desk.close)
        self.desk.file(".config/chromium/Local State", "{}")
        self.desk.file(".config/chromium/Default/Preferences", "{}")
        self.desk.configure(["org.chromium.Chromium"])
        self.desk.start_worker()

    def test_misuse(self):
        for words in (["frobnicate"], ["enable"], ["enable", "lynx", "--yes"], ["disable", "lynx"], ["allow", ""],
                      ["quit-of"], ["grants", "revoke"], ["status", "--yaml"]):
            status, _, errors = self.tidewell(*words)
            self.assertEqual(status, 2, words)
            self.assertTrue(errors, words)


if __name__ == "__main__":
    unittest.main(verbosity=2)
