"""Starts the worker and browsers at the same moment, again and again, and tells which quits were missed and why.

Run by hand, since it takes long:

    TIDEWELL_PROGRAMS=build/release/bin /usr/bin/python3 tests/system/starts_at_once.py [--rounds 500] [--install]
                                        [--slow MILLISECONDS] [--busy 2]

Each round starts a worker and four browsers, somewhere between 5 ms before and 40 ms after each other, and ends all
browsers a moment later. With --install the programs are installed in that moment, and started at once or up to half a
second later. With --slow the worker is delayed before each watch that it sets, and before each reading of the process
table. With --busy as many endless loops keep the processors busy meanwhile. When a quit was missed, the worker's
watches and process descriptors are printed.
"""

import argparse
import os
import random
import shutil
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import session  # noqa: E402

PROGRAMS = os.environ["TIDEWELL_PROGRAMS"]
BROWSERS = {"firefox": ("org.mozilla.firefox", ".mozilla/firefox/p/cookies.sqlite"),
            "chrome": ("com.google.Chrome", ".config/google-chrome/Default/Cookies"),
            "chromium": ("org.chromium.Chromium", ".config/chromium/Default/Cookies"),
            "opera": ("com.operasoftware.Opera", ".config/opera/Cookies")}
FILES = {"firefox": [".mozilla/firefox/p/prefs.js"],
         "chrome": [".config/google-chrome/Default/Preferences", ".config/google-chrome/Local State"],
         "chromium": [".config/chromium/Default/Preferences", ".config/chromium/Local State"],
         "opera": [".config/opera/Preferences", ".config/opera/Local State"]}


def what_it_sees(pid):
    """The inodes that the worker watches and the processes that it holds, from /proc."""
    watched, held = set(), set()
    folder = f"/proc/{pid}/fdinfo"
    for descriptor in os.listdir(folder):
        with open(f"{folder}/{descriptor}") as info:
            for line in info:
                if line.startswith("inotify "):
                    watched.add(int(line.split("ino:")[1].split()[0], 16))
                if line.startswith("Pid:"):
                    held.add(int(line.split()[1]))
    return watched, held


class Round:
    def __init__(self, arguments):
        self.arguments = arguments
        self.desk = session.Session(PROGRAMS, library=False)
        for name, (_, store) in BROWSERS.items():
            for path in [store, *FILES[name]]:
                self.desk.file(path, "{}")
        self.desk.configure([identifier for identifier, _ in BROWSERS.values()], notifications=False)
        if arguments.slow:
            self.desk.environment.update(LD_PRELOAD=arguments.library, TIDEWELL_SLOW=str(arguments.slow))
        self.panel = session.OpenPanel(self.desk.connection)
        self.install_decoys()

    def install_decoys(self):
        """Installs each browser a second time: if one were missing, the worker would ask the kernel for all starts."""
        folder = os.path.join(self.desk.root, "decoys")
        os.makedirs(folder)
        for name in BROWSERS:
            shutil.copy("/usr/bin/cat", os.path.join(folder, name))
        self.desk.environment["PATH"] += ":" + folder

    def put_in_place(self, name):
        path = os.path.join(self.desk.bin, name)
        shutil.copy("/usr/bin/cat", path + ".new")
        os.rename(path + ".new", path)

    def start(self, name):
        environment = {key: value for key, value in self.desk.environment.items() if key != "LD_PRELOAD"}
        return subprocess.Popen([os.path.join(self.desk.bin, name)], stdin=subprocess.PIPE,
                                stdout=subprocess.DEVNULL, env=environment)

    def run(self):
        if not self.arguments.install:
            for name in BROWSERS:
                self.put_in_place(name)
        early = []
        if not self.arguments.install:
            early = [name for name in BROWSERS if random.random() < 0.2]
        running = {name: self.start(name) for name in early}
        time.sleep(random.uniform(0, 0.005))
        self.desk.worker = session.Worker(self.desk.program("tidewell-worker"), self.desk.environment)
        late = [name for name in random.sample(list(BROWSERS), len(BROWSERS)) if name not in running]
        if self.arguments.install:
            for name in late:
                time.sleep(random.uniform(0, 0.01))
                self.put_in_place(name)
            time.sleep(random.choice((0, 0, 0.2, 0.5)))
        for name in late:
            time.sleep(random.uniform(0, 0.01))
            running[name] = self.start(name)
        self.desk.wait(lambda: self.desk.connection.name_has_owner(session.WORKER_NAME))
        self.desk.settle(1 + self.arguments.slow / 50)
        seen = what_it_sees(self.desk.worker.process.pid)
        for process in running.values():
            process.stdin.close()
            process.wait()
        try:
            self.desk.wait(lambda: not self.left(), 10)
        except TimeoutError:
            pass
        missed = self.left()
        for name in missed:
            inode = os.stat(os.path.join(self.desk.bin, name)).st_ino
            print(f"missed: {name}{' (started before)' if name in early else ''}; its program was "
                  f"{'watched' if inode in seen[0] else 'not watched'}, its process was "
                  f"{'held' if running[name].pid in seen[1] else 'not held'}", flush=True)
        return len(running), len(missed)

    def left(self):
        return [name for name, (_, store) in BROWSERS.items() if self.desk.exists(store)]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--rounds", type=int, default=500)
    parser.add_argument("--install", action="store_true")
    parser.add_argument("--slow", type=int, default=0, help="milliseconds")
    parser.add_argument("--library", default=os.path.join(PROGRAMS, "../lib/libslow_watch.so"), help=argparse.SUPPRESS)
    parser.add_argument("--busy", type=int, default=0)
    arguments = parser.parse_args()
    loops = [subprocess.Popen([sys.executable, "-c", "while True: pass"]) for _ in range(arguments.busy)]
    starts = missed = 0
    try:
        for number in range(arguments.rounds):
            one = Round(arguments)
            try:
                counts = one.run()
            finally:
                one.desk.close()
            starts, missed = starts + counts[0], missed + counts[1]
            if (number + 1) % 50 == 0:
                print(f"{starts} starts, {missed} missed", flush=True)
    finally:
        for loop in loops:
            loop.kill()
            loop.wait()
    print(f"{starts} starts, {missed} missed")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
