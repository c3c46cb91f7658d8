"""Measures a whole run on a large home, beside a script of "rm -rf" and the sqlite3 shell that removes the same things
with the same statements. Prints the times, their ratio, how they grow, and the memory."""

import os
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "system"))
import session  # noqa: E402
from figures import PROGRAMS, private_kilobytes  # noqa: E402

SUPPORT = "Library/Application Support/"
CHROME = SUPPORT + "Google/Chrome/"
CACHES = "Library/Caches/Google/Chrome/"
FIREFOX = SUPPORT + "Firefox/Profiles/p.default/"
PROFILES = 10


class LargeHome:
    """A home with ten profiles, and that many origins and cached files spread over them; the rows are in Firefox's."""

    def __init__(self, home, origins=0, files=0, rows=0):
        self.home, self.rows = home, rows
        self.names = [f"https_site{number}.example_0" for number in range(origins // PROFILES)]
        self.profiles = [f"P{number}" for number in range(PROFILES)] if origins else []
        for profile in self.profiles:
            self.make_profile(profile, files // PROFILES)
        listed = ", ".join(f'"{profile}": {{"name": "{profile}"}}' for profile in self.profiles)
        os.makedirs(home + "/" + CHROME, exist_ok=True)
        os.makedirs(home + "/Library/Caches", exist_ok=True)
        with open(home + "/" + CHROME + "Local State", "w") as file:
            file.write('{"profile": {"info_cache": {%s}}}' % listed)
        if rows:
            os.makedirs(home + "/" + FIREFOX)
            with sqlite3.connect(home + "/" + FIREFOX + "webappsstore.sqlite") as table:
                table.execute("CREATE TABLE webappsstore2 (originKey TEXT, scope TEXT, key TEXT, value TEXT)")
                table.executemany("INSERT INTO webappsstore2 VALUES ('o', ?, 'k', 'v')",
                                  ((f"elpmaxe.{number}etis.:https:443",) for number in range(rows)))
            table.close()

    def make_profile(self, profile, files):
        folder = f"{self.home}/{CHROME}{profile}"
        os.makedirs(folder + "/databases")
        os.makedirs(folder + "/Local Storage")
        with sqlite3.connect(folder + "/databases/Databases.db") as index:
            index.execute("CREATE TABLE Databases (origin TEXT, name TEXT)")
            index.executemany("INSERT INTO Databases VALUES (?, 'db')", ((name,) for name in self.names))
        index.close()
        for name in self.names:
            os.mkdir(f"{folder}/databases/{name}")
            self.touch(f"{folder}/databases/{name}/1")
            self.touch(f"{folder}/Local Storage/{name}.localstorage")
        caches = f"{self.home}/{CACHES}{profile}/Cache"
        os.makedirs(caches)
        for number in range(files):
            self.touch(f"{caches}/f_{number:06x}")

    @staticmethod
    def touch(path):
        with open(path, "w") as file:
            file.write("x")

    def is_clean(self):
        for profile in self.profiles:
            folder = f"{self.home}/{CHROME}{profile}"
            if os.path.exists(f"{self.home}/{CACHES}{profile}") or os.listdir(folder + "/Local Storage"):
                return False
            if [name for name in os.listdir(folder + "/databases") if not name.startswith("Databases.db")]:
                return False
            if self.count(folder + "/databases/Databases.db", "Databases"):
                return False
        return not self.rows or not self.count(self.home + "/" + FIREFOX + "webappsstore.sqlite", "webappsstore2")

    @staticmethod
    def count(path, table):
        try:
            connection = sqlite3.connect(f"file:{path}?mode=ro", uri=True)
            with connection:
                count = connection.execute(f"SELECT count(*) FROM (SELECT 1 FROM {table} LIMIT 1)").fetchone()[0]
            connection.close()
            return count
        except sqlite3.OperationalError:
            return 1  # busy: the worker has it open

    def script(self):
        """The shell script that removes what the worker removes."""
        lines = []
        for profile in self.profiles:
            folder = f"{self.home}/{CHROME}{profile}"
            index = f'"{folder}/databases/Databases.db"'
            lines += [f"origins=$(sqlite3 {index} 'SELECT origin FROM Databases;')",
                      "list=$(printf '%s\\n' \"$origins\" | sed \"s/.*/'&'/\" | paste -sd,)",
                      f'echo "DELETE FROM Databases WHERE origin IN ($list);" | sqlite3 {index}',
                      f"cd \"{folder}/databases\" && printf '%s\\n' \"$origins\" | xargs rm -rf",
                      f"cd \"{folder}/Local Storage\" && find . -name '*.localstorage' -print0 | xargs -0 rm -rf",
                      f'rm -rf "{self.home}/{CACHES}{profile}"']
        if self.rows:
            table = f'"{self.home}/{FIREFOX}webappsstore.sqlite"'
            lines += [f"scopes=$(mktemp); sqlite3 {table} 'SELECT scope FROM webappsstore2;' > $scopes",
                      "{ printf 'DELETE FROM webappsstore2 WHERE scope IN ('; sed \"s/.*/'&'/\" $scopes | paste -sd, | "
                      "tr -d '\\n'; echo ');'; } > $scopes.sql",
                      f"sqlite3 {table} < $scopes.sql; rm -f $scopes $scopes.sql"]
        return "\n".join(lines)


def by_script(**size):
    folder = tempfile.mkdtemp(prefix="tidewell-bench-", dir="/tmp")
    try:
        home = LargeHome(folder, **size)
        os.sync()
        begun = time.monotonic()
        subprocess.run(["sh", "-c", home.script()], check=True)
        took = time.monotonic() - begun
        if not home.is_clean():
            raise RuntimeError("the script left something")
        return took
    finally:
        shutil.rmtree(folder)


def by_worker(**size):
    """Returns seconds, peak memory in MB, and private memory in MB when idle again."""
    with session.Session(PROGRAMS) as desk:
        home = LargeHome(desk.home, **size)
        desk.configure(["com.google.Chrome", "org.mozilla.firefox"], notifications=False)
        session.OpenPanel(desk.connection)
        desk.start_worker()
        for identifier in ("com.google.Chrome", "org.mozilla.firefox"):
            desk.request(identifier)
        os.sync()
        pid = desk.worker.process.pid
        begun = time.monotonic()
        if size.get("origins"):
            desk.announce_quit("Google Chrome", "com.google.Chrome")
        if size.get("rows"):
            desk.announce_quit("Firefox", "org.mozilla.firefox")
        desk.wait(home.is_clean, 300)
        took = time.monotonic() - begun
        desk.settle(20)  # past the second run
        with open(f"/proc/{pid}/status") as status:
            peak = next(int(line.split()[1]) for line in status if line.startswith("VmHWM")) / 1000
        return took, peak, private_kilobytes(pid) / 1000


def main():
    whole = {"origins": 20_000, "files": 100_000, "rows": 100_000}
    tenth = {key: value // 10 for key, value in whole.items()}
    script = by_script(**whole)
    took, peak, idle = by_worker(**whole)
    print(f"large home: {took:.2f} s, the script {script:.2f} s, ratio {took / script:.2f} (wanted: at most 1.5); "
          f"peak {peak:.0f} MB (wanted: under 150), idle again {idle:.1f} MB (wanted: under 3)", flush=True)
    small, _, _ = by_worker(**tenth)
    print(f"a tenth of it: {small:.2f} s; all of it takes {took / small:.1f} times as long (wanted: at most 10)", flush=True)
    rows, peak, idle = by_worker(rows=1_000_000)
    print(f"a million rows: {rows:.2f} s, the script {by_script(rows=1_000_000):.2f} s; peak {peak:.0f} MB "
          f"(wanted: under 700), idle again {idle:.1f} MB (wanted: under 3)", flush=True)


if __name__ == "__main__":
    main()
