"""What other programs can ask about cleanings, and have done: on the bus, and by "tidewell quit-of"."""

import json
import os
import shutil
import subprocess
import sys
import unittest
import xml.etree.ElementTree

import dbus

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
CLEANINGS = "com.emberlinestudio.Tidewell.Cleanings"
ERROR = "com.emberlinestudio.Tidewell.Error."
DESCRIPTION = os.path.join(os.path.dirname(os.path.abspath(__file__)), f"../../packaging/dbus/{CLEANINGS}.xml")
CHROMIUM = "org.chromium.Chromium"
DATA = ".config/chromium/"
COOKIES = DATA + "Default/Cookies"


def interface_in(text):
    """The interface of a description: its members, with their arguments."""
    for interface in xml.etree.ElementTree.fromstring(text).iter("interface"):
        if interface.get("name") == CLEANINGS:
            return {(member.tag, member.get("name")): [(arg.get("type"), arg.get("name"), arg.get("direction", "out"))
                                                       for arg in member.iter("arg")] for member in interface}
    return None


class Cleanings(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS, library=False)
        self.addCleanup(self.desk.close)
        self.desk.file(DATA + "Local State", "{}")
        self.desk.file(DATA + "Default/Preferences", "{}")
        self.desk.configure([CHROMIUM], notifications=False)
        self.desk.start_worker()
        self.desk.tidewell("enable", "chromium", "--yes")
        self.worker = dbus.Interface(self.desk.connection.get_object(session.WORKER_NAME, session.WORKER_OBJECT), CLEANINGS)

    def call(self, method, *arguments):
        """Returns (answer, name of the error)."""
        answers = []
        getattr(self.worker, method)(*arguments, timeout=session.BOUND,
                                     reply_handler=lambda value: answers.append((value, None)),
                                     error_handler=lambda error: answers.append((None, error.get_dbus_name())))
        self.desk.wait(lambda: answers, what="an answer to " + method)
        return answers[0]

    def quit_of(self, *words):
        """Returns (status, output, errors)."""
        process = subprocess.Popen([self.desk.program("tidewell"), "quit-of", "chromium", *words], text=True,
                                   env=self.desk.environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE)
        with process, process.stdout, process.stderr:
            self.desk.wait(lambda: process.poll() is not None, what="the command's end")
            return process.returncode, process.stdout.read(), process.stderr.read()

    def test_have_the_description_that_is_installed(self):
        shown = dbus.Interface(self.desk.connection.get_object(session.WORKER_NAME, session.WORKER_OBJECT, introspect=False),
                               "org.freedesktop.DBus.Introspectable").Introspect()
        with open(DESCRIPTION, encoding="utf-8") as described:
            self.assertEqual(interface_in(str(shown)), interface_in(described.read()))

    def test_on_demand_are_answered_and_announced(self):
        self.desk.file(COOKIES)
        heard = []
        self.desk.connection.add_signal_receiver(lambda browser, report, member: heard.append((member, browser, report)),
                                          dbus_interface=CLEANINGS, member_keyword="member")
        report, error = self.call("Clean", CHROMIUM, False)
        self.assertIsNone(error)
        self.assertFalse(self.desk.exists(COOKIES))
        self.assertEqual((report["browser"], report["cause"], report["done"], report["items"]),
                         (CHROMIUM, "announced", True, 1))
        self.assertEqual(len(report["runs"]), 2)
        self.desk.wait(lambda: len(heard) == 2, what="both signals")
        self.assertEqual([(member, browser) for member, browser, _ in heard],
                         [("RunEnded", CHROMIUM), ("Cleaned", CHROMIUM)])
        self.assertEqual(heard[1][2], report)
        self.assertEqual(self.call("LastReport", "")[0], report)
        self.assertEqual(self.call("LastReport", "org.mozilla.firefox")[0], {})

    def test_are_refused_with_a_reason(self):
        self.assertEqual(self.call("Clean", "com.example.Nothing", False)[1], ERROR + "UnknownBrowser")
        self.assertEqual(self.call("Clean", "org.mozilla.firefox", False)[1], ERROR + "NotEnabled")
        browser = self.desk.run_browser("chromium")
        self.assertEqual(self.call("Clean", CHROMIUM, False)[1], ERROR + "IsRunning")
        self.desk.quit_browser(browser)

    def test_are_whole_where_the_program_of_a_cell_is_missing(self):
        self.assertEqual(self.desk.worker.stop(), 0)
        programs = os.path.join(self.desk.root, "two")
        os.mkdir(programs)
        for name in ("tidewell", "tidewell-worker"):
            shutil.copy(os.path.join(PROGRAMS, name), programs)
        self.desk.programs = programs
        self.desk.start_worker()
        rules = {"https://visited.example:443,*": {"setting": 1}}
        path = self.desk.file(DATA + "Default/Preferences", json.dumps(
            {"kept": 1, "profile": {"content_settings": {"exceptions": {"notifications": rules}}}}))
        status, output, errors = self.quit_of()
        self.assertEqual((status, errors), (0, ""), output)
        with open(path) as file:
            text = file.read()
        self.assertNotIn("visited.example", text)
        self.assertEqual(json.loads(text)["kept"], 1)

    def test_by_the_command_are_waited_for(self):
        self.desk.file(COOKIES)
        status, output, errors = self.quit_of()
        self.assertEqual((status, errors), (0, ""))
        self.assertIn("Chromium: 1 item, ", output)
        self.assertEqual(len(output.splitlines()), 1)
        state = json.loads(self.quit_of("--json")[1])
        self.assertEqual((state["browser"], state["done"], len(state["runs"])), (CHROMIUM, True, 2))

    def test_by_the_command_are_not_waited_for_on_demand(self):
        self.desk.file(COOKIES)
        self.assertEqual(self.quit_of("--no-wait"), (0, "The worker was told that Chromium has quit, and cleans.\n", ""))
        self.desk.wait(lambda: not self.desk.exists(COOKIES), session.FIRST_RUN)

    def test_by_the_command_that_leave_something_say_what_and_fail(self):
        self.desk.tidewell("grants", "revoke", self.desk.home + "/.config/chromium")
        panel = session.OpenPanel(self.desk.connection, lambda panel: (0, ""))
        self.addCleanup(panel.remove_from_connection)
        status, output, errors = self.quit_of()
        self.assertEqual((status, errors), (1, ""))
        self.assertIn("not allowed", output)


if __name__ == "__main__":
    unittest.main(verbosity=2)
