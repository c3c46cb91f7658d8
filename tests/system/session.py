"""A private desktop session for the system tests and the demo: a bus with a notification service and an open panel, a
home folder, the worker, and programs with the names of browsers."""

import contextlib
import os
import pwd
import re
import shutil
import signal
import subprocess
import tempfile
import time

import dbus
import dbus.bus
import dbus.mainloop.glib
import dbus.lowlevel
import dbus.service
from gi.repository import GLib

WORKER = "7QX2LM9PDA.com.emberlinestudio.Tidewell.TidewellWorker"
WORKER_NAME = "_" + WORKER
WORKER_OBJECT = "/com/emberlinestudio/Tidewell/TidewellWorker"
AGENT = "com.emberlinestudio.Tidewell.Agent"
SHARED = "7QX2LM9PDA.com.emberlinestudio.Tidewell"
PANEL = "com.emberlinestudio.Tidewell.OpenPanel"
WINDOW = "com.emberlinestudio.Tidewell"
PANEL_OBJECT = "/com/emberlinestudio/Tidewell/OpenPanel"
NOTIFICATIONS = "org.freedesktop.Notifications"
NOTIFICATIONS_OBJECT = "/org/freedesktop/Notifications"
WORKSPACE = "com.emberlinestudio.Tidewell.Workspace"
BUS_CONFIGURATION = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../support/session-bus.conf")

# Time limit in seconds for anything that must happen. It is generous: that costs nothing when all is well, and a busy
# machine must not fail a test.
BOUND = 60
# Time limit in seconds for the first run: what happens so soon after a quit is not the second run's work.
FIRST_RUN = 7.5

dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)


def tells_of_removal(body, name):
    """Whether a notification's body says that something was removed from that browser, and that nothing was left."""
    return re.fullmatch(rf"{re.escape(name)}: [1-9]\d* items? removed, \d+(\.\d)? [kMGT]B", body) is not None


class NotificationService(dbus.service.Object):
    """The desktop's notifications; `shown` maps each number to (summary, body)."""

    def __init__(self, connection, on_notify=None):
        self.shown = {}
        self.closed = []
        self.posted = []
        self.on_notify = on_notify
        self.name = dbus.service.BusName(NOTIFICATIONS, connection)
        super().__init__(connection, NOTIFICATIONS_OBJECT)

    @dbus.service.method(NOTIFICATIONS, in_signature="", out_signature="as")
    def GetCapabilities(self):
        return ["body", "actions"]

    @dbus.service.method(NOTIFICATIONS, in_signature="", out_signature="ssss")
    def GetServerInformation(self):
        return ("session", "tidewell tests", "1", "1.2")

    @dbus.service.method(NOTIFICATIONS, in_signature="susssasa{sv}i", out_signature="u")
    def Notify(self, application, replaces, icon, summary, body, actions, hints, timeout):
        number = len(self.posted) + 1
        self.posted.append({"application": str(application), "summary": str(summary), "body": str(body),
                            "actions": [str(action) for action in actions], "hints": dict(hints)})
        self.shown[number] = (str(summary), str(body))
        if self.on_notify:
            self.on_notify(str(summary), str(body))
        return number

    @dbus.service.method(NOTIFICATIONS, in_signature="u", out_signature="")
    def CloseNotification(self, number):
        self.shown.pop(int(number), None)
        self.closed.append(int(number))
        self.NotificationClosed(number, 3)

    @dbus.service.signal(NOTIFICATIONS, signature="uu")
    def NotificationClosed(self, number, reason):
        pass

    @dbus.service.signal(NOTIFICATIONS, signature="us")
    def ActionInvoked(self, number, action):
        pass


class OpenPanel(dbus.service.Object):
    """The panel program. `answer(panel)` returns (response, url), or None to leave the panel open."""

    def __init__(self, connection, answer=None):
        self.answer = answer or OpenPanel.agree
        self.asked = []
        self.waiting = []
        self.name = dbus.service.BusName(PANEL, connection)
        super().__init__(connection, PANEL_OBJECT)

    @staticmethod
    def agree(panel):
        """Chooses what a user would: the folder that is asked for, or the nearest existing one above it."""
        for url in panel["enabled"]:
            if os.path.isdir(path_of(url)):
                return (1, url)
        return (0, "")

    @dbus.service.method(PANEL, in_signature="a{sv}", out_signature="us", async_callbacks=("reply", "fail"))
    def RunModal(self, panel, reply, fail):
        panel = {str(key): value for key, value in panel.items()}
        panel["enabled"] = [str(url) for url in panel["enabled"]]
        self.asked.append(path_of(panel["enabled"][0]))
        answer = self.answer(panel)
        if answer is None:
            self.waiting.append(reply)
        else:
            reply(*answer)


def path_of(url):
    from urllib.parse import unquote
    path = unquote(url[len("file://"):])
    return path if path == "/" else path.rstrip("/")


class Worker:
    """The worker's process; `log` holds what it has written so far."""

    def __init__(self, program, environment, on_line=None, **identity):
        self.log = []
        self.on_line = on_line
        self._rest = b""
        self.process = subprocess.Popen([program], env=environment, stdin=subprocess.DEVNULL,
                                        stderr=subprocess.PIPE, stdout=subprocess.DEVNULL, **identity)
        os.set_blocking(self.process.stderr.fileno(), False)
        self._watch = GLib.io_add_watch(self.process.stderr, GLib.PRIORITY_DEFAULT,
                                        GLib.IOCondition.IN | GLib.IOCondition.HUP, self._read)

    def _read(self, source, condition):
        try:
            data = os.read(source.fileno(), 65536)
        except BlockingIOError:
            return True
        self._rest += data
        *lines, self._rest = self._rest.split(b"\n")
        for line in lines:
            self.log.append(line.decode(errors="replace"))
            if self.on_line:
                self.on_line(self.log[-1])
        if not data:
            self._watch = None
        return bool(data)

    def stop(self):
        """Ends the worker as a session does; returns its exit status."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        try:
            return self.process.wait(timeout=BOUND)
        finally:
            if self.process.poll() is None:
                self.process.kill()
                self.process.wait()
            if self._watch:
                GLib.source_remove(self._watch)
                self._watch = None
            self.process.stderr.close()


class Session:
    """The whole session, in a scratch folder that is removed at the end of a `with`. With `user`, and if the tests run
    as root, the home folder, the bus and all programs are that ordinary user's."""

    account = None  # the user's, if not the one who runs the tests
    identity = {}   # for subprocess, to start a program as that user

    def __init__(self, programs, user=None, library=None):
        self.programs = programs
        if user and os.geteuid() == 0:
            self.account = pwd.getpwnam(user)
            self.identity = {"user": self.account.pw_uid, "group": self.account.pw_gid, "extra_groups": []}
        self.root = tempfile.mkdtemp(prefix="tidewell-", dir="/tmp")
        os.chmod(self.root, 0o755)
        self.home = os.path.join(self.root, "ann")
        self.bin = os.path.join(self.root, "bin")
        os.makedirs(self.home)
        os.makedirs(self.bin)
        if library if library is not None else not user:
            os.makedirs(os.path.join(self.home, "Library"))  # so that the home has that layout
        if self.account:
            self.take_along(programs)
            self.give(self.home)
        self.environment = {"PATH": self.bin + ":/usr/bin:/bin", "HOME": self.home, "LANG": "C.UTF-8",
                            "XDG_CONFIG_HOME": self.home + "/.config", "XDG_DATA_HOME": self.home + "/.local/share"}
        for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"):
            if name in os.environ:
                self.environment[name] = os.environ[name]
        self.worker = None
        self.browsers = []
        self.start_bus()
        self.connection = self.connect()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        for browser in self.browsers:
            if browser.poll() is None:
                browser.kill()
            browser.wait()
        if self.worker:
            self.worker.stop()
        self.connection.close()
        self.stop_bus()
        shutil.rmtree(self.root, ignore_errors=True)

    def take_along(self, programs):
        """Copies the programs to where that user can run them, who may not have access to the build folder."""
        self.programs = os.path.join(self.root, "programs/bin")
        os.makedirs(self.programs)
        for name in ("tidewell", "tidewell-worker", "tidewell-cell"):
            shutil.copy(os.path.join(programs, name), self.programs)
        shared = os.path.join(programs, "../share")
        if os.path.isdir(shared):
            shutil.copytree(shared, os.path.join(self.root, "programs/share"))

    # The bus.

    def start_bus(self):
        # A copy, since the session's user may not have access to the original.
        configuration = shutil.copy(BUS_CONFIGURATION, self.root)
        self.daemon = subprocess.Popen(["dbus-daemon", "--config-file=" + configuration, "--nofork", "--nopidfile",
                                        "--print-address=1"],
                                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                                       env=self.environment if self.account else None, **self.identity)
        self.address = self.daemon.stdout.readline().strip()
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self.address

    def let_bus_start(self, name, program):
        """Lets the bus start the program when the name is called, as when it is installed."""
        variables = " ".join(f"{key}={value}" for key, value in self.environment.items())
        folder = os.path.join(self.root, "services")
        os.makedirs(folder, exist_ok=True)
        with open(f"{folder}/{name}.service", "w") as file:
            file.write(f"[D-BUS Service]\nName={name}\nExec=/usr/bin/env -i {variables} {self.program(program)}\n")
        self.connection.call_blocking("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                      "ReloadConfig", "", ())

    def stop_bus(self):
        if self.daemon.poll() is None:
            self.daemon.terminate()
        self.daemon.wait()
        self.daemon.stdout.close()

    def connect(self):
        # The bus accepts only connections of its own user.
        os.seteuid(self.account.pw_uid if self.account else os.geteuid())
        try:
            connection = dbus.bus.BusConnection(self.address)
        finally:
            os.seteuid(os.getuid())
        connection.set_exit_on_disconnect(False)
        return connection

    def wait(self, condition, seconds=BOUND, what="what was waited for"):
        """Runs the session until the condition holds; TimeoutError when it doesn't in time."""
        context = GLib.MainContext.default()
        end = time.monotonic() + seconds
        tick = GLib.timeout_add(20, lambda: True)
        try:
            while not condition():
                if time.monotonic() > end:
                    raise TimeoutError(f"{what}\n{self.told()}")
                context.iteration(True)
        finally:
            GLib.source_remove(tick)

    def told(self):
        """How the worker is, and what it said last."""
        if not self.worker:
            return "no worker was started"
        status = self.worker.process.poll()
        state = "the worker runs" if status is None else f"the worker has ended with {status}"
        return "\n".join([state, *self.worker.log[-50:]])

    def settle(self, seconds):
        end = time.monotonic() + seconds
        self.wait(lambda: time.monotonic() > end, seconds + BOUND)

    # The worker.

    def program(self, name):
        return os.path.join(self.programs, name)

    def start_worker(self, on_line=None):
        self.worker = Worker(self.program("tidewell-worker"), self.environment, on_line, **self.identity)
        self.wait(lambda: self.connection.name_has_owner(WORKER_NAME) or self.worker.process.poll() is not None,
                  what="the worker's name on the bus")
        return self.worker

    def defaults(self, *words, check=True):
        return subprocess.run([self.program("tidewell"), "defaults", *words], env=self.environment, text=True,
                              capture_output=True, check=check, **self.identity)

    def tidewell(self, *words, seconds=BOUND):
        """Runs the command while the session continues; returns what it prints."""
        process = subprocess.Popen([self.program("tidewell"), *words], env=self.environment, text=True,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   **self.identity)
        with process, process.stdout, process.stderr:
            self.wait(lambda: process.poll() is not None, seconds, "the end of tidewell " + " ".join(words))
            output, errors = process.stdout.read(), process.stderr.read()
        if process.returncode != 0 or errors:
            raise AssertionError(f"tidewell {' '.join(words)}: {process.returncode}\n{output}{errors}")
        return output

    def configure(self, browsers=(), notifications=True, overwrite=False):
        self.defaults("write", SHARED, "userFolder", "-string", self.home)
        self.defaults("write", SHARED, "enabledBrowsers", "-array", *browsers)
        self.defaults("write", SHARED, "displayNotifications", "-bool", "YES" if notifications else "NO")
        self.defaults("write", SHARED, "notifyAlways", "-bool", "YES")  # so that each cleaning's end can be seen
        self.defaults("write", SHARED, "secureDeleteData", "-bool", "YES" if overwrite else "NO")

    def request(self, identifier, seconds=BOUND):
        """Makes the main application's request; returns the worker's answer, or None when none arrives in time."""
        answers = []
        agent = dbus.Interface(self.connection.get_object(WORKER_NAME, WORKER_OBJECT, introspect=False), AGENT)
        agent.answerFrom(identifier, reply_handler=answers.append, error_handler=answers.append, timeout=3600,
                         signature="s")
        try:
            self.wait(lambda: answers, seconds)
        except TimeoutError:
            return None
        return answers[0] if isinstance(answers[0], Exception) else str(answers[0])

    def announce_quit(self, name, identifier):
        message = dbus.lowlevel.SignalMessage("/launcher", WORKSPACE, "DidTerminateApplication")
        message.append(name, identifier)
        self.connection.send_message(message)

    # Files and programs.

    def file(self, path, content="what a site has left here\n"):
        full = os.path.join(self.home, path)
        os.makedirs(os.path.dirname(full), exist_ok=True)
        with open(full, "w") as file:
            file.write(content)
        return full

    def give(self, folder):
        """Makes the session's user the owner of everything in that folder, if it is not the user who runs the tests."""
        if self.account:
            subprocess.run(["chown", "-R", f"{self.account.pw_uid}:{self.account.pw_gid}", folder], check=True)

    def exists(self, path):
        return os.path.lexists(os.path.join(self.home, path))

    def run_browser(self, program, *arguments):
        """Runs a program of that name, a copy of one that just waits, until quit_browser(). When this returns, a
        running worker has noticed the process. The worker holds at least one process of each browser."""
        path = os.path.join(self.bin, program)
        if not os.path.exists(path):
            shutil.copy("/usr/bin/cat", path + ".new")
            os.rename(path + ".new", path)
        browser = subprocess.Popen([path, *arguments], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                                   env=self.environment, **self.identity)
        self.browsers.append(browser)
        if self.worker and self.worker.process.poll() is None:
            self.wait(lambda: self.is_noticed(browser), what="the worker's notice of " + program)
        return browser

    def is_noticed(self, browser):
        """Whether the worker holds a descriptor of that process, by which it learns of its end."""
        folder = f"/proc/{self.worker.process.pid}/fdinfo/"
        for name in os.listdir(folder):
            with contextlib.suppress(FileNotFoundError), open(folder + name) as lines:
                if f"Pid:\t{browser.pid}\n" in lines:
                    return True
        return False

    def quit_browser(self, browser):
        browser.stdin.close()
        browser.wait()
