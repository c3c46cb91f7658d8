"""What "tidewell status" says of browsers that run, on a private X server with a stand-in for a window manager."""

import ctypes
import datetime
import json
import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import screen  # noqa: E402
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
REPLACE, WINDOW, CARDINAL = 0, 33, 6  # numbers of the X protocol


class WindowManager:
    """Keeps the list of windows, as a window manager does."""

    def __init__(self, display):
        self.x11 = ctypes.CDLL("libX11.so.6")
        for name in ("XOpenDisplay", "XDefaultRootWindow", "XInternAtom", "XCreateSimpleWindow"):
            getattr(self.x11, name).restype = ctypes.c_void_p
        self.server = ctypes.c_void_p(self.x11.XOpenDisplay(display.encode()))
        self.root = self.x11.XDefaultRootWindow(self.server)

    def close(self):
        self.x11.XCloseDisplay(self.server)

    def set(self, window, name, kind, values):
        numbers = (ctypes.c_ulong * max(1, len(values)))(*values)
        atom = ctypes.c_ulong(self.x11.XInternAtom(self.server, name.encode(), 0))
        self.x11.XChangeProperty(self.server, ctypes.c_ulong(window), atom, ctypes.c_ulong(kind), 32, REPLACE, numbers,
                                 len(values))
        self.x11.XSync(self.server, 0)

    def window_of(self, pid):
        window = self.x11.XCreateSimpleWindow(self.server, ctypes.c_ulong(self.root), 0, 0, 9, 9, 0,
                                              ctypes.c_ulong(0), ctypes.c_ulong(0))
        self.set(window, "_NET_WM_PID", CARDINAL, [pid])
        return window

    def list(self, *windows):
        self.set(self.root, "_NET_CLIENT_LIST", WINDOW, windows)


class Running(unittest.TestCase):
    def setUp(self):
        self.desk = session.Session(PROGRAMS, library=False)
        self.addCleanup(self.desk.close)
        self.screen = screen.Screen(self.desk)
        self.addCleanup(self.screen.close)
        self.windows = WindowManager(self.desk.environment["DISPLAY"])
        self.addCleanup(self.windows.close)
        self.desk.configure([])

    def running(self, name="Chromium"):
        browsers = json.loads(self.desk.tidewell("status", "--json"))["browsers"]
        return next(browser["running"] for browser in browsers if browser["name"] == name)

    def test_since_when_a_browser_runs(self):
        self.assertIsNone(self.running())
        before = datetime.datetime.now(datetime.timezone.utc) - datetime.timedelta(minutes=1)
        browser = self.desk.run_browser("chromium")
        since = datetime.datetime.fromisoformat(self.running()["since"].replace("Z", "+00:00"))
        self.assertLess(before, since)
        self.assertLess(since, datetime.datetime.now(datetime.timezone.utc) + datetime.timedelta(minutes=1))
        self.assertIsNone(self.running("Firefox"))
        self.assertIn("runs since " + str(since.year), self.desk.tidewell("status"))
        self.desk.quit_browser(browser)
        self.assertIsNone(self.running())

    def test_whether_it_has_a_window(self):
        browser = self.desk.run_browser("chromium")
        self.assertIsNone(self.running()["window"])  # there is no window manager
        others = self.windows.window_of(1)
        self.windows.list(others)
        self.assertIs(self.running()["window"], False)
        self.assertIn("without a window: it is cleaned when it quits", self.desk.tidewell("status"))
        self.windows.list(others, self.windows.window_of(browser.pid))
        self.assertIs(self.running()["window"], True)
        self.assertNotIn("window", self.desk.tidewell("status"))

    def test_that_it_cannot_be_told_where_windows_may_be_elsewhere(self):
        self.windows.list()
        self.desk.environment["WAYLAND_DISPLAY"] = "wayland-0"
        self.desk.run_browser("chromium")
        del self.desk.environment["WAYLAND_DISPLAY"]
        display, self.desk.environment["DISPLAY"] = self.desk.environment["DISPLAY"], ":99"
        self.desk.run_browser("firefox")
        self.assertIsNone(self.running("Firefox")["window"])
        self.desk.environment["DISPLAY"] = display
        self.assertIsNone(self.running("Chromium")["window"])
        self.assertIsNone(self.running("Firefox")["window"])
        self.assertIn("whether it has a window can't be told", self.desk.tidewell("status"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
