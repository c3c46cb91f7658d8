"""An installation for one person, in the home folder, and its removal."""

import json
import os
import shutil
import signal
import subprocess
import tempfile
import unittest

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../..")
WORKER = "_7QX2LM9PDA.com.emberlinestudio.Tidewell.TidewellWorker"
BOUND = 60  # seconds


class InstallForMe(unittest.TestCase):
    def setUp(self):
        self.home = tempfile.mkdtemp(prefix="tidewell-", dir="/tmp")
        self.addCleanup(shutil.rmtree, self.home, ignore_errors=True)
        # Without a session of the person's who runs the test: that one is left alone.
        self.environment = {"PATH": "/usr/bin:/bin", "HOME": self.home, "LANG": "C.UTF-8",
                            "XDG_RUNTIME_DIR": self.home + "/runtime", "XDG_DATA_HOME": self.home + "/.local/share",
                            "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}

    def run_here(self, *words):
        return subprocess.run(words, env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              timeout=BOUND)

    def install(self):
        ended = self.run_here(ROOT + "/scripts/install-for-me", os.path.join(PROGRAMS, ".."))
        self.assertEqual((ended.returncode, ended.stderr), (0, ""), ended.stdout)

    def files(self):
        return {os.path.relpath(os.path.join(folder, name), self.home)
                for folder, _, names in os.walk(self.home) for name in names}

    def start_bus(self):
        """A bus that starts programs as that of a desktop does."""
        configuration = self.home + "/session.conf"
        with open(configuration, "w") as file:
            file.write("<!DOCTYPE busconfig PUBLIC '-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN' "
                       "'http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd'><busconfig><type>session</type>"
                       "<listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth><standard_session_servicedirs/>"
                       "<policy context='default'><allow send_destination='*' eavesdrop='true'/>"
                       "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>")
        bus = subprocess.Popen(["dbus-daemon", "--config-file=" + configuration, "--nofork", "--nopidfile",
                                "--print-address=1"], env=self.environment, stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(bus.wait)
        self.addCleanup(bus.stdout.close)
        self.addCleanup(bus.terminate)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip()

    def end_worker(self):
        reply = self.run_here("dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/",
                              "org.freedesktop.DBus.GetConnectionUnixProcessID", "string:" + WORKER).stdout.split()
        if reply:
            os.kill(int(reply[-1]), signal.SIGTERM)

    def test_has_each_file_where_the_desktop_looks_for_it(self):
        self.install()
        for file in ("bin/tidewell", "bin/tidewell-worker", "libexec/tidewell/tidewell-cell",
                     "share/systemd/user/tidewell-worker.service", "share/systemd/user/app-.scope.d/tidewell.conf",
                     f"share/dbus-1/services/{WORKER}.service", "share/locale/de/LC_MESSAGES/tidewell.mo",
                     "share/man/man1/tidewell.1", "share/bash-completion/completions/tidewell"):
            self.assertIn(".local/" + file, self.files())
        self.assertIn(".config/autostart/tidewell-worker.desktop", self.files())
        for file in (".local/share/systemd/user/tidewell-worker.service", ".config/autostart/tidewell-worker.desktop",
                     f".local/share/dbus-1/services/{WORKER}.service"):
            with open(os.path.join(self.home, file)) as text:
                self.assertIn(self.home + "/.local/bin/tidewell-worker", text.read(), file)

    def test_works(self):
        self.install()
        self.start_bus()
        self.addCleanup(self.end_worker)
        os.makedirs(self.home + "/.config/chromium/Default")
        with open(self.home + "/.config/chromium/Local State", "w") as file:
            file.write("{}")
        tidewell = self.home + "/.local/bin/tidewell"
        domain = "7QX2LM9PDA.com.emberlinestudio.Tidewell"
        self.assertEqual(self.run_here(tidewell, "defaults", "write", domain, "userFolder", "-string",
                                       self.home).returncode, 0)
        ended = self.run_here(tidewell, "enable", "chromium", "--yes")
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))
        findings = json.loads(self.run_here(tidewell, "doctor", "--json").stdout)["findings"]
        grades = {finding["look"]: finding for finding in findings}
        for look in ("bus", "worker", "session", "home", "settings"):
            self.assertEqual(grades[look]["grade"], "good", grades[look])
        self.assertNotIn("cells", grades, "the cell's program was found beside the others")

    def test_is_removed_with_all_that_it_brought(self):
        before = self.files()
        self.install()
        os.makedirs(self.home + "/.local/share/applications", exist_ok=True)
        with open(self.home + "/.local/share/applications/other.desktop", "w") as file:
            file.write("another program's")
        ended = self.run_here(ROOT + "/scripts/install-for-me", "--remove")
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))
        self.assertEqual(self.files() - before, {".local/share/applications/other.desktop"})
        self.assertEqual(self.run_here(ROOT + "/scripts/install-for-me", "--remove").returncode, 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
