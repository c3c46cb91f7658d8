#!/usr/bin/python3
"""The power fails while the browser runs: the disk as it was at one moment is what the next session finds. By hand, as
root: tests/system/power_cut.py PROGRAMS

The home lies on an ext4 image, and the image on Btrfs, which copies it in one moment (a reflink). The copy is mounted in
its place, the worker starts, and no browser does."""

import os
import subprocess
import sys
import time
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
if __name__ == "__main__" and not os.environ.get("TIDEWELL_PROGRAMS"):
    os.environ["TIDEWELL_PROGRAMS"] = os.path.abspath(sys.argv[1])
    os.execvp("unshare", ["unshare", "-m", sys.executable, "-B", os.path.abspath(__file__), *sys.argv[2:]])

import linux_home  # noqa: E402
import session  # noqa: E402
from installed_chromium import Chromium  # noqa: E402
from installed_firefox import Firefox  # noqa: E402


def run(*words):
    return subprocess.run(words, check=True, capture_output=True, text=True).stdout


class Disk:
    """An ext4 image on Btrfs."""

    def __init__(self, folder):
        self.folder, self.image = folder + "/btrfs", folder + "/btrfs/disk"
        os.makedirs(self.folder)
        run("truncate", "-s", "4G", folder + "/btrfs.image")
        run("mkfs.btrfs", "-q", folder + "/btrfs.image")
        run("mount", "-o", "loop", folder + "/btrfs.image", self.folder)
        run("truncate", "-s", "1500M", self.image)
        run("mkfs.ext4", "-q", "-F", self.image)

    def mount(self, image, place):
        run("mount", "-o", "loop", image, place)

    def cut(self):
        """Returns the image as it is on the disk at this moment."""
        copy = f"{self.image}.{time.monotonic_ns()}"
        run("cp", "--reflink=always", self.image, copy)
        return copy

    def close(self):
        subprocess.run(["umount", self.folder], check=False)


class DeskOn(linux_home.Desk):
    """A session whose home folder lies on a disk of its own, always at the same place."""

    def __init__(self, root, image, disk):
        super().__init__()
        home = root + "/ann"
        os.makedirs(home, exist_ok=True)
        disk.mount(image, home)
        self.environment = {name: value.replace(self.home, home) for name, value in self.environment.items()}
        self.home = home
        self.give(home)

    def close(self):
        super().close()
        subprocess.run(["umount", "-l", self.home], check=False)


class PowerCut(linux_home.LinuxHome):
    test_every_way_to_end = test_started_again_at_once = test_two_profiles_killed = None
    test_where_other_installations_keep_their_data = test_kept_sites = None

    def test_while_the_browser_runs(self):
        self.desk.close()
        root = session.tempfile.mkdtemp(prefix="tidewell-", dir="/tmp")
        os.chmod(root, 0o755)
        disk = Disk(root)
        self.addCleanup(disk.close)
        self.desk = DeskOn(root, disk.image, disk)
        self.browser = self.browser_class(self.desk, self.desk.screen, self.site)
        self.take_over((".", "."))
        run("sync", "-f", self.desk.home)
        self.desk.enable(self.browser)
        self.use(self.browser)
        self.browser.wait_until_filled()
        owned = self.browser.owned()
        copy = disk.cut()
        self.desk.close()

        after = DeskOn(root, copy, disk)
        self.addCleanup(after.close)
        self.browser = self.browser_class(after, after.screen, self.site)
        before = self.browser.must_go(linux_home.traces.below(after.home))
        self.assertTrue(before, "nothing of the visit was on the disk")
        begun = time.monotonic()
        with open(after.root + "/bus", "wb") as traffic:
            monitor = subprocess.Popen(["dbus-monitor", "--session"], env=after.environment, stdout=traffic,
                                       **after.identity)
        self.addCleanup(monitor.wait)
        self.addCleanup(monitor.kill)
        after.settle(1)
        after.start_worker()
        after.wait(lambda: "owedCleaning" not in after.defaults("read", session.WORKER).stdout,
                   what="the end of what is owed")
        took = time.monotonic() - begun
        left = self.browser.must_go(linux_home.traces.below(after.home))
        print(f"{self.browser.name}: {sum(map(len, before.values()))} marks in {len(before)} files before, "
              f"{sum(map(len, left.values()))} after {took:.2f} s", file=sys.stderr)
        print(after.tidewell("history"), file=sys.stderr)
        self.assertEqual(left, {})  # nor in what the worker has stored
        after.settle(1)
        with open(after.root + "/bus", "rb") as traffic:
            said = traffic.read()
        self.assertIn(b"Cleaned", said)
        self.assertEqual(linux_home.traces.words_in(said), set())
        self.assertEqual([linux_home.traces.words_in(line.encode()) for line in after.worker.log], [set()] * len(
            after.worker.log))
        for name in ("bookmarks", "passwords"):
            self.assertEqual(self.browser.owned()[name], owned[name])


class ChromiumsUser(PowerCut):
    browser_class = Chromium


class FirefoxsUser(PowerCut):
    browser_class = Firefox


del PowerCut  # it has no browser

if __name__ == "__main__":
    unittest.main(verbosity=2)
