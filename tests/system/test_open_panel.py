"""The graphical open panel, on a private X server, driven by keyboard and pointer from outside."""

import os
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
FIRST_SECOND = 3  # seconds: with the time that a busy machine takes to draw the window


class OpenPanelProgram(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS)
        self.addCleanup(self.desk.close)
        read, write = os.pipe()
        self.screen = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1024x768x24", "-nolisten",
                                        "tcp", "-noreset"], pass_fds=[write], stderr=subprocess.DEVNULL)
        self.addCleanup(self.stop, self.screen)
        os.close(write)
        with os.fdopen(read) as display:
            self.desk.environment["DISPLAY"] = ":" + display.readline().strip()
        self.desk.environment.update(GDK_BACKEND="x11", GSK_RENDERER="cairo", LIBGL_ALWAYS_SOFTWARE="1")
        self.program = subprocess.Popen([self.desk.program("tidewell-open-panel")], env=self.desk.environment,
                                        stderr=subprocess.DEVNULL)
        self.addCleanup(self.stop, self.program)
        self.desk.wait(lambda: self.desk.connection.name_has_owner(session.PANEL))
        os.makedirs(self.desk.home + "/Library/Application Support")

    @staticmethod
    def stop(process):
        if process.poll() is None:
            process.terminate()
        process.wait()

    def ask(self, connection=None, title="Allow Access", target="/Library/Application Support", **more):
        """Asks for a folder, with further keys; returns a list to which the answer will be added."""
        answers = []
        panel = session.dbus.Interface(
            (connection or self.desk.connection).get_object(session.PANEL, session.PANEL_OBJECT, introspect=False),
            session.PANEL)
        enabled, path = [], self.desk.home + target
        while path != "/":
            enabled.append("file://" + path.replace(" ", "%20") + "/")
            path = os.path.dirname(path)
        enabled.append("file:///")
        settings = session.dbus.Dictionary({
            "title": title, "message": "Tidewell needs to access this path to continue. Click Allow to continue.",
            "prompt": "Allow", "directory": enabled[0], "canChooseFiles": True, "canChooseDirectories": True,
            "canCreateDirectories": False, "allowsMultipleSelection": False, "showsHiddenFiles": False,
            "extensionHidden": False, "enabled": session.dbus.Array(enabled, signature="s"), **more}, signature="sv")
        panel.RunModal(settings, reply_handler=lambda *answer: answers.append((int(answer[0]), str(answer[1]))),
                       error_handler=answers.append, timeout=3600, signature="a{sv}")
        return answers

    def xdotool(self, *words):
        return subprocess.run(["xdotool", *words], env=self.desk.environment, capture_output=True, text=True)

    def window(self, title="Allow Access", settles=FIRST_SECOND):
        """Waits for the window of that title, and until answers count in it; returns its number."""
        found = []

        def look():
            found[:] = self.xdotool("search", "--onlyvisible", "--name", title).stdout.split()
            return found

        self.desk.wait(look, what="the panel's window")
        self.xdotool("windowfocus", "--sync", found[0])
        self.desk.settle(settles)
        return found[0]

    def press(self, *keys):
        for key in keys:
            self.xdotool("key", key)
            self.desk.settle(0.1)

    def answer_of(self, answers):
        self.desk.wait(lambda: answers, what="the panel's answer")
        return answers[0]

    def url(self, path=""):
        return "file://" + self.desk.home + path.replace(" ", "%20") + "/"

    def test_return_confirms_the_folder_that_is_asked_for(self):
        answers = self.ask()
        self.window()
        self.press("Tab", "Return")
        self.assertEqual(self.answer_of(answers), (1, self.url("/Library/Application Support")))

    def test_nothing_counts_in_the_first_second(self):
        for attempt in range(20):  # on a busy machine a second can be over before all is typed
            begun = time.monotonic()
            answers = self.ask(title=f"Panel {attempt}.", never=True)
            number = self.window(f"Panel {attempt}.", settles=0)
            self.xdotool("key", "Tab", "Return", "Escape", "space", "alt+a", "alt+n", "alt+v", "alt+F4")
            self.click_confirm(number, settles=0)
            if time.monotonic() - begun < 1:
                break
            self.desk.settle(FIRST_SECOND)
            self.click_confirm(number)
            self.answer_of(answers)
        else:
            self.skipTest("the machine is too slow")
        self.desk.settle(FIRST_SECOND)
        self.assertEqual(answers, [])
        self.click_confirm(number)
        self.assertEqual(self.answer_of(answers)[0], 1)

    def test_a_key_counts_after_one_that_is_of_use_in_the_panel_alone(self):
        answers = self.ask()
        self.window()
        self.press("y", "space", "Return", "Escape", "alt+y", "alt+Return", "shift+Return", "KP_Enter")
        self.desk.settle(0.5)
        self.assertEqual(answers, [])
        self.press("Tab", "Escape")
        self.assertEqual(self.answer_of(answers), (0, ""))

    def test_a_key_counts_after_a_click_in_the_window(self):
        answers = self.ask()
        number = self.window()
        self.xdotool("mousemove", "--window", number, "200", "30", "click", "1")
        self.desk.settle(0.2)
        self.assertEqual(answers, [])
        self.press("Return")
        self.assertEqual(self.answer_of(answers), (1, self.url("/Library/Application Support")))

    def test_a_mnemonic_answers(self):
        for key, response in (("alt+a", 1), ("alt+n", 0), ("alt+v", 2)):
            answers = self.ask(title=f"Answer {response}", never=True)
            self.window(f"Answer {response}")
            # Pressed again: on a busy machine the window may have been drawn less than a second ago.
            self.desk.wait(lambda: self.press(key) or self.desk.settle(0.5) or answers, what="the panel's answer")
            self.assertEqual(answers[0][0], response)

    def test_never_can_be_answered_only_where_it_is_offered(self):
        answers = self.ask(title="Without")
        self.window("Without")
        self.press("alt+v", "alt+n", "Tab", "Escape")
        self.assertEqual(self.answer_of(answers), (0, ""))
        answers = self.ask(title="With", never=True)
        self.window("With")
        self.press("shift+Tab", "shift+Tab", "space")
        self.assertEqual(self.answer_of(answers), (2, ""))

    def click_confirm(self, number, settles=0.2):
        """Clicks the confirm button, in the corner at the bottom right."""
        lines = self.xdotool("getwindowgeometry", "--shell", number).stdout.splitlines()
        size = dict(line.split("=") for line in lines if "=" in line)
        x, y = int(size["WIDTH"]) - 50, int(size["HEIGHT"]) - 35
        self.xdotool("mousemove", "--window", number, str(x), str(y), "click", "1")
        self.desk.settle(settles)

    def test_a_folder_above_can_be_chosen_from_the_keyboard(self):
        answers = self.ask()
        self.window()
        self.press("shift+Tab", "shift+Tab", "Down", "Tab", "Tab", "Return")
        response, url = self.answer_of(answers)
        self.assertEqual(response, 1)
        self.assertIn(url, [self.url("/Library"), self.url()])

    def test_the_nearest_existing_folder_is_chosen(self):
        answers = self.ask(target="/Library/Application Support/Google/Chrome")
        self.window()
        self.press("Tab", "Return")
        self.assertEqual(self.answer_of(answers), (1, self.url("/Library/Application Support")))

    def test_escape_cancels(self):
        answers = self.ask()
        self.window()
        self.press("Down", "Escape")
        self.assertEqual(self.answer_of(answers), (0, ""))

    def test_closing_the_window_cancels(self):
        answers = self.ask()
        number = self.window()
        subprocess.run(["xdotool", "windowclose", number], env=self.desk.environment)
        # Without a window manager the window is destroyed; with one it is asked to close. Neither may count as consent.
        answer = self.answer_of(answers)
        self.assertTrue(answer == (0, "") or isinstance(answer, Exception))

    def test_several_requests_are_shown_one_after_the_other(self):
        first = self.ask(title="First")
        second = self.ask(title="Second")
        self.window("First")
        self.assertEqual(self.xdotool("search", "--onlyvisible", "--name", "Second").stdout, "")
        self.press("Tab", "Return")
        self.answer_of(first)
        self.assertEqual(second, [])
        self.window("Second")
        self.press("Tab", "Escape")
        self.assertEqual(self.answer_of(second), (0, ""))

    def test_calls_beyond_any_measure_are_refused(self):
        refused = self.ask(title="x" * 2000000)
        self.desk.wait(lambda: refused, what="the refusal of a long call")
        self.assertIn("LimitsExceeded", str(refused[0].get_dbus_name()))
        calls = [self.ask() for _ in range(66)]
        self.desk.wait(lambda: sum(map(len, calls)) == 2, what="the refusal of further calls")
        self.assertEqual([len(answers) for answers in calls], [0] * 64 + [1] * 2)

    def test_a_caller_that_disappears_takes_its_panel_along(self):
        caller = self.desk.connect()
        self.ask(caller, title="Gone")
        self.window("Gone")
        answers = self.ask(title="Stays")
        caller.close()
        self.window("Stays")
        self.assertEqual(self.xdotool("search", "--onlyvisible", "--name", "Gone").stdout, "")
        self.press("Tab", "Escape")
        self.answer_of(answers)

    def test_is_gone_a_little_after_the_last_panel(self):
        answers = self.ask()
        self.window()
        self.press("Tab", "Escape")
        self.answer_of(answers)
        self.assertEqual(self.program.wait(timeout=session.BOUND), 0)

    def test_grants_a_request_of_the_worker(self):
        self.desk.configure(["org.chromium.Chromium"])
        os.makedirs(self.desk.home + "/Library/Application Support/Chromium")
        os.makedirs(self.desk.home + "/Library/Caches")
        self.desk.start_worker()
        answers = []
        agent = session.dbus.Interface(
            self.desk.connection.get_object(session.WORKER_NAME, session.WORKER_OBJECT, introspect=False),
            session.AGENT)
        agent.answerFrom("org.chromium.Chromium", reply_handler=answers.append, error_handler=answers.append,
                         timeout=3600, signature="s")
        begun = time.monotonic()
        while not answers and time.monotonic() - begun < 2 * session.BOUND:
            if self.xdotool("search", "--onlyvisible", "--name", "Allow Access").stdout:
                self.window()
                self.press("Tab", "Return")
            self.desk.settle(0.3)
        self.assertEqual([str(answer) for answer in answers], ["bookmarked: org.chromium.Chromium "])
        keys = self.desk.defaults("read", session.WORKER).stdout
        self.assertIn("Library/Application%20Support/", keys)


if __name__ == "__main__":
    unittest.main(verbosity=2)
