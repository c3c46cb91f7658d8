"""The demo's part with an installed Chromium: a site recognises its visitor, and after a cleaning it doesn't."""

import os
import signal
import subprocess

from demo_show import BOLD, GREEN, RED, say, say_command, show, table
from page_site import Site

PROGRAM = "/usr/bin/chromium"
DATA = ".config/chromium"
STORES = {"cookies": "cookies", "local": "local storage", "indexed": "database", "cached": "cache"}


def is_installed():
    return os.access(PROGRAM, os.X_OK)


class Chromium:
    def __init__(self, desk, posted):
        self.desk = desk
        self.posted = posted
        self.site = None

    def start(self):
        return subprocess.Popen(
            [PROGRAM, "--headless", "--disable-gpu", "--no-first-run", "--disable-background-networking",
             "--disable-component-update", "--disable-sync", "--disable-dev-shm-usage",
             "--user-data-dir=" + os.path.join(self.desk.home, DATA), self.site.url],
            env=dict(self.desk.environment, PATH="/usr/bin:/bin"), stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **self.desk.identity)

    def visit(self, meanwhile=None):
        """Opens the page, waits for its report, and quits; returns what the page found of earlier visits."""
        reports, served = len(self.site.reports), self.site.served
        self.site.closing_time.clear()
        process = self.start()
        self.desk.browsers.append(process)
        self.desk.wait(lambda: len(self.site.reports) > reports or process.poll() is not None, what="its page's report")
        if process.poll() is not None:
            raise TimeoutError(f"it ended by itself, with status {process.returncode}")
        self.desk.wait(lambda: self.desk.is_noticed(process), what="the worker's notice of it")
        if meanwhile:
            meanwhile()
        self.desk.settle(1)
        process.send_signal(signal.SIGTERM)
        self.desk.wait(lambda: process.poll() is not None, what="its end")
        found = self.site.reports[-1]["found"]
        return {"cookies": bool(found["cookies"]), "local": found["local"] is not None,
                "indexed": found["indexed"] is not None, "cached": self.site.served == served}

    def show_visits(self):
        """Whether the site found its data again while nothing was cleaned, and nothing after a cleaning."""
        say("And a real Chromium, which is installed here: it visits a site on this machine.", BOLD)
        self.site = Site()
        try:
            return self.show_three_visits()
        except TimeoutError as error:
            say(f"It can't be shown on this machine: no sign of {error}.")
            show()
            return True
        finally:
            self.site.close()

    def show_three_visits(self):
        first = self.visit()
        say("First visit: the page leaves what it can. Chromium quits.")
        again = self.visit(lambda: say_command(self.desk, "enable", "chromium", answers=True))
        say("Second visit: the page knows its visitor again. Meanwhile Chromium is enabled; then it quits.")
        # A browser that is started before the cleaning has ended is spared.
        self.desk.wait(lambda: any(body.startswith("Chromium:") for body in self.posted), what="the cleaning's notification")
        last = self.visit()
        say("Third visit: what does the page find?")
        show()
        rows = [[what] + ["found" if visit[store] else "nothing" for visit in (first, again, last)]
                for store, what in STORES.items()]
        right = all(again.values()) and not any(first.values()) and not any(last.values())
        table(["", "first visit", "second visit", "third visit, after a cleaning"], rows, [GREEN if right else RED] * 4)
        return right
