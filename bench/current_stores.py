"""Measures a run on a Linux home in which 5,000 sites have left data in every store of today's browsers. Prints its
time beside that of a plain "rm -rf" of the same folders, and the worker's memory."""

import os
import shutil
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "system"))
import session  # noqa: E402
from figures import PROGRAMS, private_kilobytes  # noqa: E402

SITES = 5000
CHROMIUM = ".config/chromium/Default/"
FIREFOX = ".mozilla/firefox/p.default/"
GONE = {"Chromium": [CHROMIUM + "Cookies", ".cache/chromium/Default/Cache"],
        "Firefox": [FIREFOX + "cookies.sqlite", ".cache/mozilla/firefox/p.default/cache2"]}
# Folders with one item for each site and one for the extension: only the last may be left.
ONE_LEFT = {"Chromium": ["IndexedDB", "Service Worker/CacheStorage"], "Firefox": ["storage/default"]}
IDENTIFIERS = {"Chromium": "org.chromium.Chromium", "Firefox": "org.mozilla.firefox"}


def make(home, sites):
    subprocess.run([os.path.join(PROGRAMS, "many_sites_profile"), home, str(sites)], check=True)


def by_rm(sites):
    """Returns the seconds that "rm -rf" takes for each browser's folders, the extension's data included."""
    folder = tempfile.mkdtemp(prefix="tidewell-bench-", dir="/tmp")
    try:
        make(folder, sites)
        os.sync()
        took = {}
        for browser, folders in (("Chromium", [".config/chromium", ".cache/chromium"]),
                                 ("Firefox", [".mozilla", ".cache/mozilla"])):
            begun = time.monotonic()
            subprocess.run(["rm", "-rf", *(os.path.join(folder, path) for path in folders)], check=True)
            took[browser] = time.monotonic() - begun
        return took
    finally:
        shutil.rmtree(folder)


def is_clean(home, browser):
    profile = os.path.join(home, CHROMIUM if browser == "Chromium" else FIREFOX)
    return (not any(os.path.exists(os.path.join(home, path)) for path in GONE[browser]) and
            all(len(os.listdir(os.path.join(profile, path))) == 1 for path in ONE_LEFT[browser]))


def by_worker(sites, browser):
    """Returns the seconds of the first run, and the memory in MB: at its peak, and when idle again."""
    with session.Session(PROGRAMS, library=False) as desk:
        make(desk.home, sites)
        desk.configure([IDENTIFIERS[browser]], notifications=True)
        notifications = session.NotificationService(desk.connection)
        session.OpenPanel(desk.connection)
        desk.start_worker()
        desk.request(IDENTIFIERS[browser])
        os.sync()
        pid = desk.worker.process.pid
        begun = time.monotonic()
        desk.announce_quit(browser, IDENTIFIERS[browser])
        desk.wait(lambda: is_clean(desk.home, browser), 300)
        took = time.monotonic() - begun
        desk.wait(lambda: notifications.posted, 300)
        desk.settle(12)
        with open(f"/proc/{pid}/status") as status:
            peak = next(int(line.split()[1]) for line in status if line.startswith("VmHWM")) / 1000
        return took, peak, private_kilobytes(pid) / 1000


def main():
    plain = by_rm(SITES)
    for browser in ("Chromium", "Firefox"):
        took, peak, idle = by_worker(SITES, browser)
        print(f"{SITES} sites in every store of {browser}: {took:.2f} s, rm -rf {plain[browser]:.2f} s, "
              f"ratio {took / plain[browser]:.1f}; peak {peak:.0f} MB, idle again {idle:.1f} MB", flush=True)


if __name__ == "__main__":
    main()
