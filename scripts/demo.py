"""The demo on an ordinary Linux home in which browsers quit. See scripts/demo."""

import ctypes
import os
import struct
import sys
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "system"))
import linux_sample  # noqa: E402
import real_chromium  # noqa: E402
import session  # noqa: E402
from demo_show import BOLD, CYAN, DIM, GREEN, RED, say, say_command, show, size, table  # noqa: E402

IN_MOVED_FROM, IN_DELETE = 0x40, 0x200
IDLE_SECONDS = 3


class FirstRemoval:
    """Records when the kernel reports the first entry that is removed from some folders."""

    def __init__(self, folders):
        self.at = None
        libc = ctypes.CDLL(None, use_errno=True)
        self.watch = libc.inotify_init()
        for folder in folders:
            libc.inotify_add_watch(self.watch, os.fsencode(folder), IN_MOVED_FROM | IN_DELETE)
        threading.Thread(target=self._wait, daemon=True).start()

    def _wait(self):
        events = os.read(self.watch, 4096)
        if struct.unpack_from("iIII", events)[1] & (IN_MOVED_FROM | IN_DELETE):
            self.at = time.monotonic()


def show_home(browsers):
    sizes = [browser.size() for browser in browsers]
    say("An ordinary home folder. Its owner has been on the web for a few days.", BOLD)
    show()
    table(["", "files", "", "where"],
          [[browser.name, count, size(of), "   ".join("~/" + folder for folder in browser.folders)]
           for browser, (count, of) in zip(browsers, sizes)])
    return sum(count for count, _ in sizes), sum(of for _, of in sizes)


def quit_all(desk, browsers):
    """Lets all browsers quit; returns the milliseconds until the first removal."""
    running = [desk.run_browser(browser.program) for browser in browsers]
    say(" and ".join(browser.name for browser in browsers) + " run. The worker has noticed them, and sleeps.")
    desk.settle(1)
    removal = FirstRemoval([where for browser in browsers for folder in browser.folders
                            for where, _, _ in os.walk(os.path.join(desk.home, folder))])
    say("They quit.", BOLD)
    quit_at = time.monotonic()
    for process in running:
        desk.quit_browser(process)
    desk.wait(lambda: removal.at is not None, what="the first removal")
    milliseconds = 1000 * (removal.at - quit_at)
    say(f"The first file is gone, {milliseconds:.0f} ms after the first of them was told to quit.")
    desk.settle(1)
    for browser in browsers:
        desk.file(browser.late, "cookies, written late\n")
        desk.give(os.path.join(desk.home, browser.late))
    say("While they go down, both write their cookies once more. So the worker comes again, eight seconds after a quit.")
    return milliseconds


def show_outcome(browser, before):
    """Shows how much of each content there was and is; returns whether all is as expected."""
    right = True
    rows, colours = [], []
    for content, was in zip(browser.contents, before):
        now = content.count()
        expected = 0 if content.goes else was
        right = right and now == expected
        mark, colour = ("!", BOLD) if now != expected else ("✗", RED) if content.goes else ("✓", GREEN)
        rows.append([mark, content.what, was, now, content.place])
        colours.append(colour)
    table(["", browser.name, "before", "after", "where"], rows, colours)
    return right


def switches(pid):
    """How often each thread of the process has been woken up so far."""
    counts = {}
    for thread in os.listdir(f"/proc/{pid}/task"):
        with open(f"/proc/{pid}/task/{thread}/status") as status:
            counts[thread] = sum(int(line.split()[1]) for line in status if line.startswith("voluntary_ctxt_switches"))
    return counts


def memory(pid, file, *names):
    """The sum of the named lines in megabytes."""
    with open(f"/proc/{pid}/{file}") as lines:
        return sum(int(line.split()[1]) * 1024 / 1e6 for line in lines if line.startswith(names))


def look_at_idle_worker(desk):
    """Returns how often the worker is woken up while nothing happens, and its private memory in MB."""
    pid = desk.worker.process.pid
    desk.wait(lambda: len(switches(pid)) == 1, what="the end of the threads that have done their work")
    before = switches(pid)
    desk.settle(IDLE_SECONDS)
    woken = sum(count - before.get(thread, 0) for thread, count in switches(pid).items())
    return woken, memory(pid, "smaps_rollup", "Private_")


def show_figures(desk, milliseconds, woken, own):
    peak = memory(desk.worker.process.pid, "status", "VmHWM")
    say("In figures:", BOLD)
    for what, figure in (
            ("from a quit to the first removal", f"{milliseconds:.1f} ms"),
            ("memory of its own, while it sleeps", f"{own:.1f} MB"),
            ("memory at the peak, with shared libraries", f"{peak:.1f} MB"),
            (f"woken up in {IDLE_SECONDS} seconds in which nothing happened",
             "never" if woken == 0 else f"{woken} times")):
        show(f"  {what:<50} {figure}")
    show()


def main(programs):
    # When root runs this, the home still belongs to an ordinary user.
    with session.Session(programs, user="nobody", library=False) as desk:
        posted = []
        chromium = real_chromium.Chromium(desk, posted) if real_chromium.is_installed() else None
        browsers = [linux_sample.firefox(desk.home),
                    (linux_sample.google_chrome if chromium else linux_sample.chromium)(desk.home)]
        desk.give(desk.home)
        desk.defaults("write", session.SHARED, "userFolder", "-string", desk.home)
        files, bytes_ = show_home(browsers)

        def notify(summary, body):
            posted.append(body)
            say(f"Notification: {body}", GREEN)

        session.NotificationService(desk.connection, notify)
        desk.start_worker(lambda line: say(f"log: {line.replace(desk.home, '~')}", CYAN))
        say("The worker runs in the background. It may touch nothing yet: its owner says after which browsers it")
        show("cleans, and allows their folders.")
        show()
        for browser in browsers:
            say_command(desk, "enable", browser.word, answers=True)
        say_command(desk, "notifications", "on")
        show()
        before = {browser: [content.count() for content in browser.contents] for browser in browsers}
        milliseconds = quit_all(desk, browsers)
        desk.wait(lambda: len(posted) == len(browsers), what="the notifications")
        show()
        say(f"What became of it ({RED}✗{BOLD} goes, {GREEN}✓{BOLD} stays):", BOLD)
        show()
        right = all([show_outcome(browser, before[browser]) for browser in browsers])
        sizes = [browser.size() for browser in browsers]
        say(f"Of {files} files with {size(bytes_)}, {sum(count for count, _ in sizes)} with "
            f"{size(sum(of for _, of in sizes))} are left: history, bookmarks, passwords, tabs, settings, extensions.")
        show()
        woken, own = look_at_idle_worker(desk)
        told = [any(session.tells_of_removal(body, browser.name) for body in posted) for browser in browsers]
        right = right and all(told)
        if chromium:
            right = chromium.show_visits() and right
        show_figures(desk, milliseconds, woken, own)
        if not right:
            say("Not all of this is as it should be.", RED)
        show("This was a sample home, and it is gone again. With a folder Library: scripts/demo --library", DIM)
        return 0 if right else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
