"""A private X server for programs with windows, driven by keyboard and pointer from outside, and what the programs
report to assistive technologies."""

import os
import subprocess

import dbus
import dbus.bus

ACCESSIBLE = "org.a11y.atspi.Accessible"
REGISTRY = "org.a11y.atspi.Registry"
ROOT = "/org/a11y/atspi/accessible/root"
LAUNCHER = "/usr/libexec/at-spi-bus-launcher"
COMPONENT = "org.a11y.atspi.Component"
VISIBLE, FOCUSED = 30, 12  # the numbers of these states
IN_WINDOW = 1  # kind of coordinates


class Screen:
    # "-noreset": a server that resets when its last client leaves would reject the next one for a moment.

    def __init__(self, desk, size="1024x768", keeps_file=False):
        """Changes the environment of the session's programs; close() ends all that was started here. With
        `keeps_file` the screen can be read from the file of that name (picture.py)."""
        self.desk = desk
        self.processes = []
        read, write = os.pipe()
        self.file = desk.root + "/Xvfb_screen0"
        self.start(["Xvfb", "-displayfd", str(write), "-screen", "0", size + "x24", "-nolisten", "tcp", "-noreset",
                    *(["-fbdir", desk.root] if keeps_file else [])], pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as display:
            desk.environment["DISPLAY"] = ":" + display.readline().strip()
        desk.environment.update(GDK_BACKEND="x11", GSK_RENDERER="cairo", LIBGL_ALWAYS_SOFTWARE="1")

    def start(self, command, **options):
        process = subprocess.Popen(command, env=self.desk.environment, stderr=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, **options)
        self.processes.append(process)
        return process

    def close(self):
        for process in reversed(self.processes):
            if process.poll() is None:
                process.terminate()
            process.wait()

    def xdotool(self, *words):
        return subprocess.run(["xdotool", *words], env=self.desk.environment, capture_output=True, text=True).stdout

    def windows(self, title):
        return self.xdotool("search", "--onlyvisible", "--name", title).split()

    def focus(self, title):
        """Waits for the window of that title; returns its number."""
        self.desk.wait(lambda: self.windows(title), what=f"the window {title}")
        number = self.windows(title)[0]
        self.xdotool("windowfocus", "--sync", number)
        self.desk.settle(0.3)
        return number

    def press(self, *keys):
        for key in keys:
            self.xdotool("key", key)
            self.desk.settle(0.1)

    def click(self, number, x, y):
        """Clicks a point, which is relative to the window."""
        self.xdotool("mousemove", "--window", number, str(x), str(y), "click", "1")
        self.desk.settle(0.2)


class Accessibility:
    """What the windows of the session's programs report, role by role. Start it before them."""

    def __init__(self, screen):
        self.screen = screen
        screen.start([LAUNCHER])
        bus = screen.desk.connection
        screen.desk.wait(lambda: bus.name_has_owner("org.a11y.Bus"), what="the accessibility bus")
        address = bus.call_blocking("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", "", ())
        self.connection = dbus.bus.BusConnection(str(address))
        self.connection.set_exit_on_disconnect(False)

    def close(self):
        self.connection.close()

    def _call(self, item, interface, method, signature="", *arguments):
        name, path = item
        return self.connection.call_blocking(name, path, interface, method, signature, arguments, timeout=5)

    def _property(self, item, name):
        return self._call(item, "org.freedesktop.DBus.Properties", "Get", "ss", ACCESSIBLE, name)

    def _walk(self, item):
        """(role, name, has the focus, the item itself) of it and of all below it that is on the screen."""
        states = int(self._call(item, ACCESSIBLE, "GetState")[0])
        if item[1] != ROOT and not states >> VISIBLE & 1:
            return
        yield (str(self._call(item, ACCESSIBLE, "GetRoleName")), str(self._property(item, "Name")),
               bool(states >> FOCUSED & 1), item)
        for name, path in self._call(item, ACCESSIBLE, "GetChildren"):
            yield from self._walk((str(name), str(path)))

    def _all(self):
        """What _walk finds of every program; empty while the screen changes."""
        found = []
        try:
            for name, path in self._call((REGISTRY, ROOT), ACCESSIBLE, "GetChildren"):
                found += self._walk((str(name), str(path)))
        except dbus.DBusException:
            return []
        return found

    def items(self):
        """(role, name, has the focus) of everything on the screen; empty while the screen changes."""
        return [item[:3] for item in self._all()]

    def place_of(self, role, name):
        """(x, y, width, height) in its window, of the first of that role and name; None when there is none."""
        for place in self.places({role}):
            if place[1] == name:
                return place[2:]
        return None

    def places(self, roles):
        """(role, name, x, y, width, height) of all of these roles; empty while the screen changes."""
        try:
            return [(role, name, *map(int, self._call(item, COMPONENT, "GetExtents", "u", IN_WINDOW)))
                    for role, name, _, item in self._all() if role in roles]
        except dbus.DBusException:
            return []

    def values(self):
        """The contents of all text fields."""
        found = []
        pending = [(REGISTRY, ROOT)]
        try:
            while pending:
                item = pending.pop()
                if "org.a11y.atspi.EditableText" in self._call(item, ACCESSIBLE, "GetInterfaces"):
                    found.append(str(self._call(item, "org.a11y.atspi.Text", "GetText", "ii", 0, -1)))
                pending += [(str(name), str(path)) for name, path in self._call(item, ACCESSIBLE, "GetChildren")]
        except dbus.DBusException:
            pass
        return found

    def says(self, text):
        return any(text in name for _, name, _ in self.items())

    def tab_to(self, name):
        """Moves the focus from control to control to the one of that name; False when there is none."""
        for _ in range(40):
            if any(item[1] == name and item[2] for item in self.items()):
                return True
            self.screen.press("Tab")
        return False
