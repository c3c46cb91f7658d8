"""The settings window with the graphical open panel, on a private X server, driven from outside. The window's texts are
read as assistive technologies read them."""

import os
import shutil
import signal
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sample_home  # noqa: E402
import screen  # noqa: E402
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
TITLE = "^Tidewell$"
CHROMIUM = "org.chromium.Chromium"
ALLOWED = "Its folders are allowed"


class SettingsWindow(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS)
        self.addCleanup(self.desk.close)
        self.screen = screen.Screen(self.desk)
        self.addCleanup(self.screen.close)
        self.reader = screen.Accessibility(self.screen)
        self.addCleanup(self.reader.close)
        self.chromium = next(browser for browser in sample_home.fill(self.desk) if browser.identifier == CHROMIUM)

    def open(self, program=None):
        self.program = self.screen.start([program or self.desk.program("tidewell-settings")])
        number = self.screen.focus(TITLE)
        self.wait_for_text("Clean after Chromium")
        return number

    def start_panels(self):
        # The panel program ends when it hasn't been called for a while, so the bus must be able to start it again.
        self.desk.let_bus_start(session.PANEL, "tidewell-open-panel")

    def wait_for_text(self, text):
        self.desk.wait(lambda: self.reader.says(text), what=f"the text {text}")

    def wait_for_value(self, text):
        self.desk.wait(lambda: any(text in value for value in self.reader.values()), what=f"the text {text}")

    def has_focus(self, name):
        return any(item[1] == name and item[2] for item in self.reader.items())

    def setting(self, key):
        return self.desk.defaults("read", session.SHARED, key, check=False).stdout.strip()

    def use(self, name, key="space"):
        """Presses the control of that name from the keyboard."""
        self.screen.focus(TITLE)
        self.assertTrue(self.reader.tab_to(name), name)
        self.screen.press(key)

    def open_page(self, name):
        """Opens the page to which the row of that name leads."""
        self.use(name, "Return")
        self.desk.wait(lambda: self.reader.place_of("button", "Back"), what="the page of " + name)

    def agree_to_all(self, done):
        """Confirms the panels, one after the other, from the keyboard."""
        end = time.monotonic() + 2 * session.BOUND
        while not done():
            self.assertLess(time.monotonic(), end)
            if self.screen.windows("Allow Access"):
                self.screen.focus("Allow Access")
                self.desk.settle(1.5)  # nothing counts in the first second
                self.screen.press("Tab", "Return")
            self.desk.settle(0.3)

    def assert_cleans(self):
        self.desk.announce_quit("Chromium", CHROMIUM)
        self.desk.wait(lambda: not any(self.desk.exists(path) for path in self.chromium.goes), what="the cleaning")
        for path in self.chromium.stays:
            self.assertTrue(self.desk.exists(path), path)

    def test_enabling_a_browser_from_the_keyboard_leads_to_grants_and_a_cleaning(self):
        self.desk.configure([])
        self.desk.start_worker()
        self.start_panels()
        self.open()
        self.assertFalse(self.reader.says(ALLOWED))
        self.use("Clean after Chromium")
        self.desk.wait(lambda: self.screen.windows("Allow Access"), what="the panel")
        self.assertIn(CHROMIUM, self.setting("enabledBrowsers"))
        # The window still works while the panel is open.
        self.wait_for_text("Waiting for your answer")
        self.use("Overwrite files before they are removed")
        self.desk.wait(lambda: self.setting("secureDeleteData") == "1", what="the setting")
        self.agree_to_all(lambda: self.reader.says("Cleaned when it quits"))
        self.open_page("Chromium")
        self.wait_for_text(ALLOWED)
        self.assertIn("Library/Application%20Support/", self.desk.defaults("read", session.WORKER).stdout)
        self.assert_cleans()

    def test_enabling_a_browser_with_the_pointer_leads_to_grants_and_a_cleaning(self):
        self.desk.configure([])
        self.desk.start_worker()
        self.start_panels()
        number = self.open()
        self.click(number, "switch", "Clean after Chromium")
        self.desk.wait(lambda: CHROMIUM in self.setting("enabledBrowsers"), what="the setting")
        self.agree_to_all(lambda: self.reader.says("Cleaned when it quits"))
        self.click(self.screen.focus(TITLE), "list item", "Chromium")
        self.wait_for_text(ALLOWED)
        self.assert_cleans()

    def click(self, number, role, name):
        """Clicks into the left half of that control."""
        self.desk.wait(lambda: self.reader.place_of(role, name), what=name)
        x, y, width, height = self.reader.place_of(role, name)
        self.screen.click(number, x + width // 4, y + height // 2)

    def test_a_panel_that_is_cancelled_leaves_the_folders_to_be_allowed_later(self):
        self.desk.configure([])
        panels = session.OpenPanel(self.desk.connection, lambda panel: (0, ""))
        self.desk.start_worker()
        self.open()
        self.use("Clean after Chromium")
        self.desk.wait(lambda: panels.asked and not self.reader.says("Waiting"), what="the end of the panels")
        self.wait_for_text("Needs permission")
        self.open_page("Chromium")
        self.assertFalse(self.reader.says(ALLOWED))
        panels.answer = session.OpenPanel.agree
        self.use("Allow the folders of Chromium")
        self.wait_for_text(ALLOWED)

    def test_says_since_when_a_browser_runs_and_that_a_folder_is_never_asked_for(self):
        self.desk.configure([])
        folder = self.desk.home + "/Library/Application Support/Chromium"
        self.desk.defaults("write", session.WORKER, "neverAsked", "-array", folder)
        self.desk.run_browser("chromium")
        self.open()
        self.open_page("Chromium")
        self.wait_for_text("It runs since")
        self.assertFalse(self.reader.says("without a window"))  # nobody keeps a list of windows here
        self.wait_for_text("Some of its folders are never asked for")

    def test_a_click_on_a_notification_opens_it_at_the_browser(self):
        shutil.rmtree(self.desk.home + "/Library")
        self.desk.configure([CHROMIUM])
        notifications = session.NotificationService(self.desk.connection)
        self.desk.let_bus_start(session.WINDOW, "tidewell-settings --gapplication-service")
        self.desk.start_worker()
        self.desk.announce_quit("Chromium", CHROMIUM)
        self.desk.wait(lambda: notifications.posted, what="the notification")
        notifications.ActionInvoked(1, "default")
        self.desk.wait(lambda: self.screen.windows(TITLE), what="the window")
        self.screen.focus(TITLE)
        self.desk.wait(lambda: self.has_focus("Clean after Chromium"), what="the focus on the browser")

    def test_is_opened_at_a_browser_from_the_command_line(self):
        self.desk.configure([])
        self.open()
        self.screen.start([self.desk.program("tidewell-settings"), "--browser", CHROMIUM])
        self.desk.wait(lambda: self.has_focus("Clean after Chromium"), what="the focus on the browser")

    def test_switches_are_written(self):
        self.desk.configure([CHROMIUM], notifications=False)
        self.desk.start_worker()
        self.open()
        self.use("Show a notification")
        self.desk.wait(lambda: self.setting("displayNotifications") == "1", what="the setting")
        self.use("Show a notification")
        self.desk.wait(lambda: self.setting("displayNotifications") == "0", what="the setting")
        self.use("Clean after Chromium")
        self.desk.wait(lambda: CHROMIUM not in self.setting("enabledBrowsers"), what="the setting")

    def test_without_a_worker_says_so(self):
        self.desk.configure([])
        self.open()
        self.wait_for_text("The Tidewell worker is not running. Nothing is removed until it is started.")
        self.use("Clean after Chromium")
        self.wait_for_text("The folders of Chromium could not be asked for: the Tidewell worker is not running.")
        self.assertIn(CHROMIUM, self.setting("enabledBrowsers"))
        self.desk.start_worker()
        self.desk.wait(lambda: not self.reader.says("is not running"), what="the end of the message")

    def test_a_worker_that_does_not_answer_is_not_waited_for(self):
        self.desk.configure([])
        worker = self.desk.start_worker()
        self.open()
        worker.process.send_signal(signal.SIGSTOP)
        self.addCleanup(worker.process.send_signal, signal.SIGCONT)
        self.use("Clean after Chromium")
        self.wait_for_text("Waiting for your answer")
        self.wait_for_text("The folders of Chromium could not be asked for: the Tidewell worker does not answer.")
        self.assertFalse(self.reader.says("Waiting for your answer"))

    def test_without_a_bus_says_that_there_is_no_worker(self):
        self.desk.configure([])
        self.desk.environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + self.desk.root + "/none"
        program = self.screen.start([self.desk.program("tidewell-settings")])
        self.screen.focus(TITLE)
        self.screen.press(*["Tab"] * 2, "space")
        self.desk.settle(1)
        self.assertIsNone(program.poll())
        self.assertIn("com.apple.Safari", self.setting("enabledBrowsers"))

    def test_previews_what_would_go(self):
        self.desk.configure([])
        self.desk.start_worker()
        self.open()
        self.open_page("Chromium")
        self.use("Preview of what would be removed from Chromium")
        self.screen.focus("^Preview$")
        heading = "What would be removed from Chromium now"
        # Twice: the heading itself, and the list, which has the heading as its name.
        self.desk.wait(lambda: [name for _, name, _ in self.reader.items()].count(heading) == 2, what="the list")
        self.wait_for_text("In total: ")
        self.assertFalse(self.reader.says("~/" + next(iter(self.chromium.goes))))
        groups = [name for name in ("Cookies", "Site data", "Caches", "Other") if self.reader.says(name)]
        for number in range(len(groups)):  # the last one is unfolded last: until then it is where End leads
            self.screen.press("End", *["Up"] * (len(groups) - 1 - number), "Return")
        self.wait_for_text("~/" + next(iter(self.chromium.goes)))
        self.screen.press("Escape")
        self.desk.wait(lambda: not self.screen.windows("^Preview$"), what="the end of the preview")
        for path in self.chromium.goes:
            self.assertTrue(self.desk.exists(path), path)

    def test_a_preview_that_fails_says_why(self):
        self.desk.configure([])
        alone = os.path.join(self.desk.root, "alone")
        os.makedirs(alone)
        shutil.copy(self.desk.program("tidewell-settings"), alone)
        with open(alone + "/tidewell", "w") as program:
            program.write("#!/bin/sh\necho 'tidewell: the disk is gone' >&2\nexit 1\n")
        os.chmod(alone + "/tidewell", 0o755)
        self.open(alone + "/tidewell-settings")
        self.open_page("Chromium")
        self.use("Preview of what would be removed from Chromium")
        self.screen.focus("^Preview$")
        self.wait_for_text("tidewell: the disk is gone")

    def names_of_controls(self):
        """The names of all switches and buttons. The button of a menu is in another one of the same name."""
        controls = [(role, name) for role, name, _ in self.reader.items() if role in ("switch", "push button", "button")]
        controls.remove(("button", "Main Menu")) if ("button", "Main Menu") in controls else None
        return [name for _, name in controls]

    def test_every_control_has_a_name(self):
        self.desk.configure([])
        self.open()
        main = self.names_of_controls()
        self.assertEqual(sum(name.startswith("Clean after") for name in main), 5)
        self.assertIn("Show a notification", main)
        self.assertIn("Overwrite files before they are removed", main)
        self.open_page("Chromium")
        page = self.names_of_controls()
        self.assertIn("Clean after Chromium", page)
        for names in (main, page):
            self.assertEqual(len(set(names)), len(names), names)
            self.assertNotIn("", names)

    def test_what_another_program_changes_is_shown_at_once(self):
        self.desk.configure([])
        self.desk.start_worker()
        self.open()
        self.wait_for_text("Welcome to Tidewell")
        self.desk.defaults("write", session.SHARED, "enabledBrowsers", "-array", CHROMIUM)
        self.desk.wait(lambda: not self.reader.says("Welcome to Tidewell"), what="the change")
        self.wait_for_text("Needs permission")

    def test_a_change_can_be_undone_with_a_key(self):
        self.desk.configure([CHROMIUM])
        self.desk.start_worker()
        self.open()
        self.use("Clean after Chromium")
        self.desk.wait(lambda: CHROMIUM not in self.setting("enabledBrowsers"), what="the setting")
        self.screen.press("ctrl+z")
        self.desk.wait(lambda: CHROMIUM in self.setting("enabledBrowsers"), what="the end of the change")

    def test_a_change_can_be_undone_with_the_pointer(self):
        self.desk.configure([CHROMIUM])
        self.desk.start_worker()
        number = self.open()
        for _ in range(5):  # on a busy machine the button can be gone again before it is found
            self.use("Clean after Chromium")
            self.desk.wait(lambda: CHROMIUM not in self.setting("enabledBrowsers"), what="the setting")
            self.desk.settle(1)
            place = self.reader.place_of("label", "Undo")
            if place:
                self.assertTrue(self.reader.says("Chromium is no longer cleaned"))
                self.screen.click(number, place[0] + place[2] // 2, place[1] + place[3] // 2)
                self.desk.wait(lambda: CHROMIUM in self.setting("enabledBrowsers"), what="the end of the change")
                return
            self.screen.press("ctrl+z")
            self.desk.wait(lambda: CHROMIUM in self.setting("enabledBrowsers"), what="the end of the change")
        self.fail("there is no button to undo")

    def test_a_permission_is_taken_back_and_given_again(self):
        self.desk.configure([CHROMIUM])
        panels = session.OpenPanel(self.desk.connection)
        self.desk.start_worker()
        self.desk.request(CHROMIUM)
        self.assertTrue(panels.asked)
        before = self.desk.defaults("read", session.WORKER).stdout
        self.open()
        self.open_page("Chromium")
        self.wait_for_text(ALLOWED)
        self.use("Take back the permission for ~/Library/Caches/Chromium")
        self.wait_for_text("Some of its folders are allowed")
        self.assertNotIn("Library/Caches", self.desk.defaults("read", session.WORKER).stdout)
        self.screen.press("ctrl+z")
        self.wait_for_text(ALLOWED)
        self.assertEqual(self.desk.defaults("read", session.WORKER).stdout, before)

    def test_cleans_at_once_and_tells_what_went(self):
        self.desk.configure([CHROMIUM])
        panels = session.OpenPanel(self.desk.connection)
        self.desk.start_worker()
        self.desk.request(CHROMIUM)
        self.assertTrue(panels.asked)
        self.open()
        self.open_page("Chromium")
        self.use("Clean Chromium now")
        self.wait_for_text("It is being cleaned")
        self.wait_for_text("Cleaned today at")
        self.wait_for_text("items removed")
        self.assertFalse(any(self.desk.exists(path) for path in self.chromium.goes))

    def test_asks_before_it_cleans_a_browser_that_runs(self):
        self.desk.configure([CHROMIUM])
        panels = session.OpenPanel(self.desk.connection)
        self.desk.start_worker()
        self.desk.request(CHROMIUM)
        self.assertTrue(panels.asked)
        self.desk.run_browser("chromium")
        self.open()
        self.open_page("Chromium")
        self.use("Clean Chromium now")
        self.wait_for_text("Chromium is running")
        self.screen.press("Escape")
        self.desk.wait(lambda: not self.reader.says("Chromium is running"), what="the end of the question")
        self.assertTrue(all(self.desk.exists(path) for path in self.chromium.goes))

    def test_keeps_a_site_that_is_typed_and_lets_go_of_it(self):
        shutil.rmtree(self.desk.home + "/Library")
        self.desk.configure([CHROMIUM])
        self.desk.start_worker()
        self.open()
        self.open_page("Kept sites")
        self.wait_for_text("Add a site")  # a line that has the focus
        self.screen.xdotool("type", "https://mail.example/inbox")
        self.screen.press("Return")
        self.desk.wait(lambda: "mail.example" in self.setting("keptSites"), what="the setting")
        self.use("Keep mail.example no longer")
        self.desk.wait(lambda: "mail.example" not in self.setting("keptSites"), what="the end of the setting")

    def test_the_settings_of_sites_are_kept_by_a_switch(self):
        shutil.rmtree(self.desk.home + "/Library")
        self.desk.configure([CHROMIUM])
        self.desk.start_worker()
        self.open()
        self.use("Keep the settings of sites")
        self.desk.wait(lambda: self.setting("keepSiteSettings") == "1", what="the setting")

    def test_shows_the_history_and_clears_it(self):
        self.desk.configure([CHROMIUM])
        panels = session.OpenPanel(self.desk.connection)
        self.desk.start_worker()
        self.desk.request(CHROMIUM)
        self.assertTrue(panels.asked)
        self.desk.tidewell("quit-of", "chromium", "--json")
        self.open()
        self.open_page("History")
        self.wait_for_text("Chromium: ")
        self.use("Clear the history")
        self.wait_for_text("Not cleaned yet")

    def test_the_worker_starts_with_the_session_or_does_not(self):
        self.desk.configure([])
        self.desk.start_worker()
        self.open()
        entry = self.desk.home + "/.config/autostart/tidewell-worker.desktop"
        self.use("Start with the session")
        self.desk.wait(lambda: os.path.exists(entry), what="the entry")

    def test_starts_the_worker(self):
        self.desk.configure([])
        self.open()
        self.wait_for_text("The Tidewell worker is not running")
        self.desk.let_bus_start(session.WORKER_NAME, "tidewell-worker")
        self.use("Start")
        self.desk.wait(lambda: not self.reader.says("is not running"), what="the end of the message")
        self.assertTrue(self.desk.connection.name_has_owner(session.WORKER_NAME))

    def test_nothing_is_cut_off_in_a_narrow_window(self):
        self.desk.configure([CHROMIUM])
        number = self.open()
        for page in ("", "Chromium"):
            if page:
                self.open_page(page)
            self.screen.xdotool("windowsize", "--sync", number, "360", "720")
            self.desk.wait(lambda: self.outside(360) == [], what="a window in which all fits")

    def outside(self, width):
        """The controls and texts that are not within this width; None while the screen changes."""
        places = self.reader.places({"switch", "button", "label"})
        return [place for place in places if place[2] < 0 or place[2] + place[4] > width] if places else None

    def test_closes_with_a_key(self):
        self.desk.configure([])
        self.open()
        self.screen.press("ctrl+w")
        self.assertEqual(self.program.wait(timeout=session.BOUND), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
