"""The package in a bare Debian: installation, everyday use, upgrade, removal and purge. scripts/test-package runs it, as
root and in mount and process namespaces of its own."""

import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402

PACKAGE = os.environ["TIDEWELL_PACKAGE"]
NEXT_PACKAGE = os.environ["TIDEWELL_NEXT_PACKAGE"]
DEBIAN = os.environ["TIDEWELL_DEBIAN"]

PROFILE = "Library/Application Support/Firefox/Profiles/ann.default/"
LINUX_PROFILE = ".mozilla/firefox/ann.default/"
LINUX_CACHE = ".cache/mozilla/firefox/ann.default/cache2/entries/"
SETTINGS = ".config/tidewell"
# Paths that change when any package is installed or removed.
BOOKKEEPING = ("var/log/", "var/cache/", "var/lib/dpkg/", "var/lib/apt/", "etc/ld.so.cache", "tmp/", "run/", "root/",
               "home/", "proc/", "var/tmp/")


class Machine:
    """A Debian in a folder: layers that stay unchanged, and one on top that takes all changes."""

    def __init__(self, scratch, *layers):
        self.top = tempfile.mkdtemp(dir=scratch)
        self.changes, self.root = self.top + "/changes", self.top + "/root"
        for folder in (self.changes, self.top + "/work", self.root):
            os.mkdir(folder)
        os.chmod(self.top, 0o755)
        subprocess.run(["mount", "-t", "overlay", "overlay", "-o", f"lowerdir={':'.join(layers)},"
                        f"upperdir={self.changes},workdir={self.top}/work", self.root], check=True)
        subprocess.run(["mount", "-t", "proc", "proc", self.root + "/proc"], check=True)

    def close(self):
        subprocess.run(["umount", "--lazy", "--recursive", self.root], check=True)

    def run(self, *words):
        environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "DEBIAN_FRONTEND": "noninteractive", "LANG": "C.UTF-8"}
        done = subprocess.run(["chroot", self.root, *words], env=environment, text=True, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if done.returncode != 0:
            raise AssertionError(f"{' '.join(words)}: {done.returncode}\n{done.stdout}")
        return done.stdout

    def install(self, package):
        shutil.copy(package, self.root + "/var/tmp/")
        return self.run("apt-get", "install", "-y", "--no-install-recommends", "/var/tmp/" + os.path.basename(package))

    def files(self):
        """Every path, except those that the package manager itself changes."""
        found = set()
        for folder, folders, files in os.walk(self.root):
            inside = os.path.relpath(folder, self.root) + "/"
            inside = "" if inside == "./" else inside
            if (inside + "/").startswith(BOOKKEEPING):
                folders.clear()
                continue
            found.update(path for path in (inside + name for name in folders + files)
                         if not path.startswith(BOOKKEEPING))
        return found

    def running(self, programs="tidewell"):
        """The numbers of the processes that run the package's programs whose names begin so."""
        found = []
        for process in pathlib.Path(self.root, "proc").glob("[0-9]*"):
            try:
                if os.path.basename(os.readlink(process / "exe")).startswith(programs):
                    found.append(int(process.name))
            except OSError:
                pass
        return found


class Desk(session.Session):
    """The session of an ordinary user of the machine. Its bus starts the worker by the package's service file."""

    def __init__(self, machine, user):
        self.machine = machine
        machine.run("useradd", "--create-home", user)
        entry = machine.run("id", "--user", user).strip()
        self.user = int(entry)
        self.root = machine.root
        self.home = machine.root + "/home/" + user
        self.bin = machine.root + "/usr/local/bin"
        self.environment = {"PATH": "/usr/local/bin:/usr/bin:/bin", "HOME": "/home/" + user, "LANG": "C.UTF-8",
                            "DBUS_SESSION_BUS_ADDRESS": f"unix:path=/home/{user}/bus"}
        self.worker = None
        self.browsers = []
        self.start_bus()
        self.connection = self.connect()
        self.notifications = session.NotificationService(self.connection)

    def connect(self):
        # The bus accepts only connections of its own user.
        os.seteuid(self.user)
        try:
            return super().connect()
        finally:
            os.seteuid(0)

    def popen(self, *words, **streams):
        return subprocess.Popen(["/usr/sbin/chroot", f"--userspec={self.user}:{self.user}", self.root, *words],
                                env=self.environment, **streams)

    def start_bus(self):
        self.daemon = self.popen("dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=1",
                                 "--address=" + self.environment["DBUS_SESSION_BUS_ADDRESS"],
                                 stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.daemon.stdout.readline()
        self.address = f"unix:path={self.home}/bus"

    def close(self):
        for browser in self.browsers:
            if browser.poll() is None:
                browser.kill()
            browser.wait()
            browser.stdin.close()
        self.connection.close()
        self.stop_bus()  # the worker ends with the bus
        self.wait(lambda: not self.machine.running(), what="the worker's end")

    def call(self, *words):
        """Runs a program while the session continues; returns (status, output, errors)."""
        process = self.popen(*words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.wait(lambda: process.poll() is not None, 60, "the end of " + " ".join(words))
        with process.stdout, process.stderr:
            return process.returncode, process.stdout.read(), process.stderr.read()

    def tidewell(self, *words):
        status, output, errors = self.call("tidewell", *words)
        if status != 0 or errors:
            raise AssertionError(f"tidewell {' '.join(words)}: {status}\n{output}{errors}")
        return output

    def state(self):
        state = json.loads(self.tidewell("status", "--json"))
        firefox = next(browser for browser in state["browsers"] if browser["identifier"] == "org.mozilla.firefox")
        return state, firefox

    def fill(self):
        for name in ("cookies.sqlite", "permissions.sqlite", "places.sqlite"):
            self.file(PROFILE + name)
        for folder in ("Library/Caches", "Library/Preferences/Macromedia", "Library/Application Support/Microsoft"):
            os.makedirs(os.path.join(self.home, folder), exist_ok=True)
        for folder, folders, files in os.walk(self.home):
            for name in folders + files:
                os.chown(os.path.join(folder, name), self.user, self.user)

    def fill_without_library(self, caches=3):
        self.file(".mozilla/firefox/profiles.ini", "[Profile0]\nName=ann\nIsRelative=1\nPath=ann.default\n")
        for name in ("prefs.js", "times.json"):
            self.file(LINUX_PROFILE + name, "")
        self.fill_again(caches)

    def fill_again(self, caches=3):
        """What a visit leaves."""
        for name in ("cookies.sqlite", "places.sqlite"):
            self.file(LINUX_PROFILE + name)
        for number in range(caches):
            self.file(f"{LINUX_CACHE}{number:08X}")
        subprocess.run(["chown", "-R", f"{self.user}:{self.user}", self.home], check=True)

    def is_clean(self):
        return not self.exists(LINUX_PROFILE + "cookies.sqlite") and not self.exists(LINUX_CACHE)

    def upgrade(self):
        """The next version, and the worker's end and start, as the person's service manager restarts it."""
        self.machine.install(NEXT_PACKAGE)
        for worker in self.machine.running():
            os.kill(worker, signal.SIGTERM)
        self.wait(lambda: not self.machine.running(), what="the old worker's end")
        worker = self.popen("tidewell-worker", stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.wait(lambda: self.connection.name_has_owner(session.WORKER_NAME), what="the new worker")
        return worker

    def left(self):
        return sorted(os.listdir(os.path.join(self.home, PROFILE)))

    def install_browser(self):
        if not os.path.exists(self.bin + "/firefox-esr"):
            shutil.copy(self.root + "/usr/bin/cat", self.bin + "/firefox-esr")

    def start_browser(self):
        browser = self.popen("/usr/local/bin/firefox-esr", stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        self.browsers.append(browser)
        self.settle(1)
        return browser

    def clean(self):
        """Runs the browser and lets it quit; returns when the notification says that it was cleaned."""
        before = len(self.notifications.posted)
        self.quit_browser(self.start_browser())
        self.wait(lambda: len(self.notifications.posted) > before, 25, "the notification")


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.mkdtemp(prefix="tidewell-", dir=os.path.dirname(DEBIAN))
        cls.addClassCleanup(shutil.rmtree, scratch, ignore_errors=True)
        cls.scratch = scratch
        os.chmod(scratch, 0o755)
        # The dependencies first, so that the package's own files can be told from theirs.
        needed = Machine(scratch, DEBIAN)
        depends = subprocess.run(["dpkg-deb", "-f", PACKAGE, "Depends"], text=True, stdout=subprocess.PIPE, check=True)
        try:
            needed.run("apt-get", "update")
            needed.run("apt-get", "satisfy", "-y", "--no-install-recommends", depends.stdout.strip())
            cls.files_before = needed.files()
        finally:
            needed.close()
        cls.layers = (needed.changes, DEBIAN)

    def setUp(self):
        self.machine = Machine(self.scratch, *self.layers)
        self.addCleanup(self.machine.close)
        self.machine.install(PACKAGE)

    def desk(self, user="ann"):
        desk = Desk(self.machine, user)
        self.addCleanup(desk.close)
        desk.fill()
        desk.install_browser()
        return desk

    def enabled(self):
        desk = self.desk()
        desk.tidewell("notifications", "on")
        desk.tidewell("enable", "firefox", "--yes")
        return desk

    def test_works_for_an_ordinary_user(self):
        desk = self.desk()
        self.assertFalse(desk.state()[0]["workerRunning"])
        desk.tidewell("notifications", "on")
        desk.tidewell("enable", "firefox", "--yes")
        state, firefox = desk.state()
        self.assertTrue(state["workerRunning"])
        self.assertTrue(firefox["installed"] and firefox["enabled"] and firefox["allowed"], firefox)
        desk.clean()
        self.assertEqual(desk.left(), ["places.sqlite"])
        body = desk.notifications.posted[0]["body"]
        self.assertEqual(body, "Cookies, Databases, Flash, Silverlight, and Cache removed from Firefox")

    def test_has_one_worker_in_a_session(self):
        desk = self.enabled()
        status, _, errors = desk.call("tidewell-worker")
        self.assertEqual((status, errors), (1, "tidewell-worker: not started: a worker runs already\n"))
        self.assertEqual(len(self.machine.running()), 1)

    def test_upgrade_keeps_settings_and_grants(self):
        desk = self.enabled()
        before = desk.tidewell("status"), desk.tidewell("grants")
        self.assertNotEqual(before[1], "")
        self.machine.install(NEXT_PACKAGE)
        self.assertIn("+next", self.machine.run("dpkg-query", "-W", "tidewell"))
        self.assertEqual((desk.tidewell("status"), desk.tidewell("grants")), before)

        # The next session, with the new worker, in which no folder is asked for again.
        for worker in self.machine.running():
            os.kill(worker, 15)
        desk.wait(lambda: not self.machine.running(), what="the old worker's end")
        worker = desk.popen("tidewell-worker", stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        desk.wait(lambda: desk.connection.name_has_owner(session.WORKER_NAME), what="the new worker")
        desk.clean()
        self.assertEqual(desk.left(), ["places.sqlite"])
        worker.terminate()
        self.assertEqual(worker.wait(20), 0)
        self.assertEqual(desk.tidewell("grants"), before[1])

    def linux_desk(self, caches=3):
        """A desk on a home without a Library, with Firefox enabled and its folders allowed."""
        desk = Desk(self.machine, "ann")
        self.addCleanup(desk.close)
        desk.fill_without_library(caches)
        desk.install_browser()
        desk.tidewell("notifications", "on")
        desk.tidewell("enable", "firefox", "--yes")
        desk.panel = session.OpenPanel(desk.connection)  # from now on a question would be seen
        desk.fill_again(caches)
        return desk

    def test_upgrade_while_the_browser_runs_loses_nothing_and_asks_for_nothing(self):
        desk = self.linux_desk()
        browser = desk.start_browser()
        worker = desk.upgrade()
        desk.settle(1)  # it has seen that the browser runs
        self.assertFalse(desk.is_clean())
        desk.quit_browser(browser)
        desk.wait(lambda: desk.notifications.posted, what="the notification")
        self.assertTrue(desk.is_clean())
        self.assertNotIn("is owed", desk.tidewell("status"))
        self.assertEqual((desk.panel.asked, len(desk.notifications.posted)), ([], 1))
        worker.terminate()
        self.assertEqual(worker.wait(20), 0)

    def test_upgrade_while_a_run_is_under_way_is_made_good(self):
        many = 3000
        desk = self.linux_desk(many)
        desk.tidewell("overwrite", "on")
        entries = os.path.join(desk.home, LINUX_CACHE)
        browser = desk.start_browser()
        desk.quit_browser(browser)
        desk.wait(lambda: not os.path.exists(entries) or len(os.listdir(entries)) < many, what="the run")
        worker, = self.machine.running("tidewell-worker")
        os.kill(worker, signal.SIGSTOP)  # the run stays where it is while the package is exchanged
        self.machine.install(NEXT_PACKAGE)
        self.assertFalse(desk.is_clean())
        os.kill(worker, signal.SIGTERM)
        os.kill(worker, signal.SIGCONT)
        desk.wait(lambda: not self.machine.running(), what="the old worker's end")
        new = desk.popen("tidewell-worker", stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        desk.wait(lambda: desk.is_clean() and "is owed" not in desk.tidewell("status"), what="the cleaning")
        self.assertEqual(desk.panel.asked, [])
        new.terminate()
        self.assertEqual(new.wait(20), 0)

    def test_upgrade_while_a_panel_is_open_asks_again_only_with_the_next_quit(self):
        desk = self.linux_desk()
        caches = "/home/ann/.cache/mozilla/firefox"
        desk.tidewell("grants", "revoke", caches)
        desk.panel.answer = lambda panel: None  # it stays open
        desk.quit_browser(desk.start_browser())
        desk.wait(lambda: desk.panel.asked, what="the panel")
        worker = desk.upgrade()
        desk.settle(2)
        self.assertEqual(desk.panel.asked, [caches])
        desk.panel.answer = lambda panel: (1, panel["enabled"][0])
        desk.quit_browser(desk.start_browser())
        desk.wait(desk.is_clean, what="the cleaning")
        self.assertEqual(desk.panel.asked, [caches] * 2)
        worker.terminate()
        self.assertEqual(worker.wait(20), 0)

    def test_removal_leaves_nothing_running(self):
        ann = self.enabled()
        browser = ann.start_browser()
        ben = self.desk("ben")
        started_by_autostart = ben.popen("tidewell-worker", stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        ben.wait(lambda: ben.connection.name_has_owner(session.WORKER_NAME), what="the worker")
        self.assertEqual(len(self.machine.running()), 2)
        self.machine.run("apt-get", "remove", "-y", "tidewell")
        self.assertEqual(self.machine.running(), [])
        self.assertEqual(started_by_autostart.wait(1), 0)
        self.assertIsNone(browser.poll())
        self.assertTrue(ann.exists(SETTINGS))

    def test_purge_leaves_the_persons_settings_only(self):
        desk = self.enabled()
        settings = sorted(os.listdir(os.path.join(desk.home, SETTINGS)))
        self.machine.run("apt-get", "purge", "-y", "tidewell")
        os.remove(desk.bin + "/firefox-esr")
        self.assertEqual(self.machine.running(), [])
        self.assertEqual(sorted(self.machine.files() - self.files_before - {"etc/passwd-", "etc/shadow-", "etc/group-",
                         "etc/gshadow-", "etc/subuid-", "etc/subgid-", "etc/.pwd.lock"}), [])
        left = subprocess.run(["find", desk.home, "-iname", "*tidewell*", "-prune"], text=True, stdout=subprocess.PIPE)
        self.assertEqual(left.stdout.split(), [os.path.join(desk.home, SETTINGS)])
        self.assertTrue(set(settings) & set(os.listdir(os.path.join(desk.home, SETTINGS))))

    def test_installs_what_desktops_and_shells_look_for(self):
        files = self.machine.files() - self.files_before
        for path in ("usr/bin/tidewell", "usr/bin/tidewell-worker", "usr/bin/tidewell-open-panel",
                     "usr/libexec/tidewell/tidewell-cell", "usr/bin/tidewell-settings",
                     "usr/share/applications/com.emberlinestudio.Tidewell.desktop",
                     "etc/xdg/autostart/tidewell-worker.desktop", "usr/lib/systemd/user/tidewell-worker.service",
                     "usr/share/dbus-1/services/" + session.WORKER_NAME + ".service",
                     "usr/share/dbus-1/services/" + session.PANEL + ".service",
                     "usr/share/dbus-1/services/" + session.WINDOW + ".service",
                     "usr/share/tidewell/clearCookies.sh", "usr/share/bash-completion/completions/tidewell",
                     "usr/share/zsh/vendor-completions/_tidewell", "usr/share/fish/vendor_completions.d/tidewell.fish",
                     "etc/systemd/user/graphical-session.target.wants/tidewell-worker.service"):
            self.assertIn(path, files)


if __name__ == "__main__":
    unittest.main(verbosity=2)
