#!/usr/bin/python3
"""The person logs out while the browser runs: a real service manager of the person's ends, with the browser and
the worker as its services. By hand, as root: tests/system/log_out.py PROGRAMS

It takes mounts, processes and control groups of its own, in which the service manager finds what it needs. The worker
has its own unit, with all its confinement."""

import json
import os
import re
import shutil
import subprocess
import sys
import time
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
if __name__ == "__main__" and not os.environ.get("TIDEWELL_PROGRAMS"):
    os.environ["TIDEWELL_PROGRAMS"] = os.path.abspath(sys.argv[1])
    os.execvp("unshare", ["unshare", "-m", "-C", "-p", "-f", "--kill-child", "--mount-proc", sys.executable, "-B",
                          os.path.abspath(__file__), *sys.argv[2:]])

import linux_home  # noqa: E402
import session  # noqa: E402
from installed_chromium import Chromium  # noqa: E402
from installed_firefox import Firefox  # noqa: E402

PACKAGING = os.path.join(HERE, "../../packaging/systemd")
VARIABLE = re.compile(r"@\w+@")


def prepare_machine():
    """What a service manager of a person's needs of the system."""
    for command in (["umount", "-R", "/sys/fs/cgroup"], ["mount", "-t", "cgroup2", "none", "/sys/fs/cgroup"],
                    ["mount", "-t", "tmpfs", "tmpfs", "/run"]):
        subprocess.run(command, check=command[0] == "mount", stderr=subprocess.DEVNULL)
    os.makedirs("/run/systemd/system")


class Managed(linux_home.Desk):
    """A session with a service manager, which starts the worker and the browsers."""

    def __init__(self):
        super().__init__()
        runtime = os.path.join(self.root, "run")
        os.makedirs(runtime)
        units = os.path.join(self.home, ".config/systemd/user")
        os.makedirs(units)
        with open(os.path.join(PACKAGING, "tidewell-worker.service.in")) as unit:
            text = VARIABLE.sub("", unit.read().replace("@CMAKE_INSTALL_FULL_BINDIR@", self.programs))
        with open(os.path.join(units, "tidewell-worker.service"), "w") as unit:
            unit.write(text)
        for name in ("app-.scope.d", "app-.service.d"):
            shutil.copytree(os.path.join(PACKAGING, name), os.path.join(units, name))
        for folder in (self.home, runtime):
            self.give(folder)
        os.chmod(runtime, 0o700)
        self.address = f"unix:path={runtime}/bus"  # the bus of the session is the manager's
        self.environment.update(XDG_RUNTIME_DIR=runtime, DBUS_SESSION_BUS_ADDRESS=self.address)
        group = f"/sys/fs/cgroup/session-{os.path.basename(self.root)}"
        os.makedirs(group)
        subprocess.run(["chown", "-R", str(self.account.pw_uid), group], check=True)

        def enter():
            with open(group + "/cgroup.procs", "w") as processes:
                processes.write("0")
        # The group is entered before the user is changed.
        self.manager = subprocess.Popen(
            ["setpriv", f"--reuid={self.account.pw_uid}", f"--regid={self.account.pw_gid}", "--clear-groups",
             "/lib/systemd/systemd", "--user"], env=self.environment, preexec_fn=enter, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.wait(lambda: self.systemctl("is-system-running").strip() in ("running", "degraded"), what="the manager")
        self.connection.close()
        self.connection = self.connect()
        self.panel = session.OpenPanel(self.connection)
        self.notifications = session.NotificationService(self.connection)

    def systemctl(self, *words):
        return subprocess.run(["systemctl", "--user", *words], env=self.environment, text=True, capture_output=True,
                              **self.identity).stdout

    def start_worker(self, on_line=None):
        self.systemctl("start", "tidewell-worker.service")
        self.wait(lambda: self.connection.name_has_owner(session.WORKER_NAME), what="the worker")

    def log_out(self):
        """Returns the seconds that the end took."""
        begun = time.monotonic()
        self.systemctl("exit")
        self.wait(lambda: self.manager.poll() is not None, 2 * session.BOUND, "the manager's end")
        return time.monotonic() - begun

    def close(self):
        if self.manager.poll() is None:
            self.log_out()
        super().close()


class AsAService:
    """A browser that the service manager starts, as desktops let it start programs. (A scope would need a manager that
    may move processes into it.)"""

    services = 0

    def run(self, *arguments):
        if not isinstance(self.desk, Managed):
            return super().run(*arguments)
        AsAService.services += 1
        variables = [f"--setenv={name}={value}" for name, value in self.desk.environment.items() if name != "PATH"]
        with open(self.output, "a") as output:
            os.chmod(self.output, 0o666)
            process = subprocess.Popen(
                ["systemd-run", "--user", "--wait", "-q", f"--unit=app-{self.command}-{AsAService.services}.service",
                 *variables, f"--property=StandardError=append:{self.output}", "--working-directory=" + self.desk.home,
                 "/usr/bin/" + self.command, *self.arguments, *arguments], env=self.desk.environment,
                stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT, **self.desk.identity)
        self.desk.browsers.append(process)
        return process


class Unit(unittest.TestCase):
    """What the worker's unit denies it."""

    def test_is_nothing_that_cleaning_needs(self):
        desk = Managed()
        self.addCleanup(desk.close)
        rules = {"https://visited.example:443,*": {"setting": 1}}
        desk.file(".config/chromium/Local State", "{}")
        path = desk.file(".config/chromium/Default/Preferences", json.dumps(
            {"kept": 1, "profile": {"content_settings": {"exceptions": {"notifications": rules}}}}))
        desk.give(desk.home)
        desk.configure(["org.chromium.Chromium"], notifications=False)
        desk.start_worker()
        desk.tidewell("enable", "chromium", "--yes")
        # Read in a cell, whose own list of system calls adds to that of the unit.
        print(desk.tidewell("quit-of", "chromium"), file=sys.stderr)
        with open(path) as file:
            kept = json.load(file)
        self.assertEqual(kept, {"kept": 1, "profile": {"content_settings": {"exceptions": {"notifications": {}}}}})
        self.assertEqual(desk.systemctl("show", "-P", "MemoryMax", "tidewell-worker.service").strip(), str(3 << 30))
        self.assertEqual(desk.systemctl("show", "-P", "TasksMax", "tidewell-worker.service").strip(), "256")


class LogOut:
    def test_with_the_browser_open(self):
        self.desk.close()
        self.desk = Managed()
        self.browser = self.browser_class(self.desk, self.desk.screen, self.site)
        self.take_over((".config", ".config"), (".cache", ".cache"), (".mozilla", ".mozilla"), (".pki", ".pki"))
        self.desk.enable(self.browser)
        try:
            visit = self.use(self.browser)
        except AssertionError:
            with open(self.browser.output) as output:
                print(output.read(), file=sys.stderr)
            raise
        self.browser.wait_until_filled()
        written = self.written(visit)
        self.assertTrue(self.browser.must_go(self.traces()))
        owned = self.browser.owned()
        self.assertIn(self.browser.command, self.desk.systemctl("list-units", "app-*", "--no-legend"))
        took = self.desk.log_out()
        left = self.traces()
        print(f"{self.browser.name}: {len(written)} kinds written; the end of the session took {took:.2f} s; "
              f"{sum(map(len, self.browser.must_go(left).values()))} marks left", file=sys.stderr)
        print(self.desk.tidewell("history"), file=sys.stderr)
        self.check_nothing_is_left(left)
        for name in ("bookmarks", "passwords"):
            self.assertEqual(self.browser.owned()[name], owned[name])
        # The next session: before anything was started, all is clean; the browser finds nothing.
        desk = linux_home.Desk()
        self.addCleanup(desk.close)
        shutil.rmtree(desk.home)
        shutil.copytree(self.desk.home, desk.home, symlinks=True)
        desk.give(desk.home)
        self.browser = self.browser_class(desk, desk.screen, self.site)
        visit = self.use(self.browser)
        self.assertEqual(visit.found(), {})


def case(browser):
    class AsServices(AsAService, browser):
        pass

    class Tests(linux_home.LinuxHome):
        browser_class = AsServices
        test_with_the_browser_open = LogOut.test_with_the_browser_open
        # Of the others none.
        test_every_way_to_end = test_started_again_at_once = test_two_profiles_killed = None
        test_where_other_installations_keep_their_data = test_kept_sites = None

        def take_over(self, *folders):
            super().take_over(*((folder, place) for folder, place in folders
                                if os.path.exists(os.path.join(self.template, "home", folder))))

    Tests.__name__ = Tests.__qualname__ = browser.name
    return Tests


ChromiumsUser = case(Chromium)
FirefoxsUser = case(Firefox)

if __name__ == "__main__":
    prepare_machine()
    unittest.main(verbosity=2)
