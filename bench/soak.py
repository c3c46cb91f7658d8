"""Lets browsers start and quit for hours beside one worker, with requests, changes of settings, grants given and taken
back, and kills. Samples the worker while it is idle; writes build/soak.csv and build/soak.svg, prints a summary, and
fails when the worker has grown in one of its lives: soak.py HOURS [PROGRAMS]."""

import csv
import itertools
import os
import random
import signal
import statistics
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "system"))
import session  # noqa: E402
from figures import PROGRAMS, private_kilobytes, wake_ups  # noqa: E402

RESULTS = os.path.join(HERE, "..", "build", "soak")
FIREFOX = ("firefox", "org.mozilla.firefox", ".mozilla/firefox/p.default/", ["prefs.js"], "cookies.sqlite")
CHROMIUM = ("chromium", "org.chromium.Chromium", ".config/chromium/", ["Local State", "Default/Preferences"],
            "Default/Cookies")
BROWSERS = (FIREFOX, CHROMIUM)

QUITS = 4    # between two samples
QUIET = 12   # seconds after which second runs have passed and idle threads have ended
WATCHED = 2  # seconds over which wake-ups of an idle worker are counted
KILLS = (0.125, 0.25, 0.5)  # when the worker is killed, as parts of the whole time: the last life is half of it

# What is measured, and by how much the median of a life's last third may exceed that of its first.
MEASURES = {"private kB": 256, "Pss kB": 512, "threads": 0, "descriptors": 0, "wake-ups": 2}


def sampled(pid):
    with open(f"/proc/{pid}/smaps_rollup") as rollup:
        pss = next(int(line.split()[1]) for line in rollup if line.startswith("Pss:"))
    threads, descriptors = (len(os.listdir(f"/proc/{pid}/{kind}")) for kind in ("task", "fd"))
    before = wake_ups(pid)
    time.sleep(WATCHED)
    return dict(zip(MEASURES, (private_kilobytes(pid), pss, threads, descriptors, wake_ups(pid) - before)))


class Soak:
    def __init__(self, desk, seconds):
        self.desk, self.seconds = desk, seconds
        self.begun = time.monotonic()
        self.chance = random.Random(1)  # the same course each time
        self.kills = list(KILLS)
        self.samples, self.life, self.quits = [], 0, 0
        session.OpenPanel(desk.connection)
        desk.configure([browser[1] for browser in BROWSERS], notifications=False)
        desk.start_worker()

    def elapsed(self):
        return time.monotonic() - self.begun

    def run(self):
        while self.elapsed() < self.seconds:
            for _ in range(QUITS):
                self.let_quit(self.chance.choice(BROWSERS))
            self.chance.choice((self.change_settings, self.take_back_grants, self.crash_a_browser, lambda: None))()
            self.desk.settle(QUIET)
            self.samples.append({"seconds": round(self.elapsed()), "life": self.life, "quits": self.quits,
                                 **sampled(self.desk.worker.process.pid)})
            if self.kills and self.elapsed() > self.kills[0] * self.seconds:
                self.kills.pop(0)
                self.kill_worker()

    def fill(self, browser):
        _, _, folder, marks, store = browser
        for file in (*marks, store):
            self.desk.file(folder + file, "{}")

    def let_quit(self, browser):
        program, identifier, folder, _, store = browser
        self.fill(browser)
        self.desk.request(identifier)
        self.desk.quit_browser(self.desk.run_browser(program))
        self.desk.browsers.clear()
        self.quits += 1
        self.desk.wait(lambda: not self.desk.exists(folder + store), what="the cleaning of " + program)

    def crash_a_browser(self):
        browser = self.desk.run_browser(self.chance.choice(BROWSERS)[0])
        browser.kill()
        browser.wait()
        browser.stdin.close()
        self.desk.browsers.clear()

    def change_settings(self):
        for key in ("overwrite", "notifications"):
            self.desk.tidewell(key, self.chance.choice(("on", "off")))

    def take_back_grants(self):
        folder = self.chance.choice(self.desk.tidewell("grants").splitlines())
        self.desk.tidewell("grants", "revoke", folder)

    def kill_worker(self):
        self.desk.worker.process.send_signal(signal.SIGKILL)
        self.desk.worker.process.wait()
        self.desk.worker.stop()
        self.desk.start_worker()
        self.life += 1


def growth(samples):
    """Yields (life, measure, first, last) for each life that is long enough to be judged; its first sample is warm-up."""
    for life, group in itertools.groupby(samples, key=lambda sample: sample["life"]):
        group = list(group)[1:]
        third = len(group) // 3
        if third == 0:
            continue
        for measure in MEASURES:
            first, last = (statistics.median(sample[measure] for sample in part)
                           for part in (group[:third], group[-third:]))
            yield life, measure, first, last


def write_table(samples):
    with open(RESULTS + ".csv", "w", newline="") as file:
        table = csv.DictWriter(file, samples[0].keys())
        table.writeheader()
        table.writerows(samples)


def write_plot(samples):
    """One strip for each measure, over the time of the run."""
    width, height, left = 900, 120, 110
    end = max(sample["seconds"] for sample in samples) or 1
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width + left + 20}" '
             f'height="{height * len(MEASURES) + 20}" font-family="sans-serif" font-size="12">']
    for row, measure in enumerate(MEASURES):
        top, most = row * height + 20, max(sample[measure] for sample in samples) or 1
        lines.append(f'<text x="4" y="{top + 12}">{measure}</text><text x="4" y="{top + 28}">0 to {most}</text>'
                     f'<rect x="{left}" y="{top}" width="{width}" height="{height - 30}" fill="none" stroke="#ccc"/>')
        for _, life in itertools.groupby(samples, key=lambda sample: sample["life"]):
            points = " ".join(f'{left + width * sample["seconds"] / end:.1f},'
                              f'{top + (height - 30) * (1 - sample[measure] / most):.1f}' for sample in life)
            lines.append(f'<polyline points="{points}" fill="none" stroke="#1a5fb4" stroke-width="1.5"/>')
    with open(RESULTS + ".svg", "w") as file:
        file.write("\n".join([*lines, "</svg>\n"]))


def main():
    hours = float(sys.argv[1])
    programs = sys.argv[2] if len(sys.argv) > 2 else PROGRAMS
    with session.Session(os.path.abspath(programs), library=False) as desk:
        soak = Soak(desk, 3600 * hours)
        try:
            soak.run()
        finally:
            if soak.samples:
                write_table(soak.samples)
                write_plot(soak.samples)
    failed = False
    judged = list(growth(soak.samples))
    if not judged:
        print("no life was long enough to be judged")
    for life, measure, first, last in judged:
        grows = last - first > MEASURES[measure]
        failed |= grows
        print(f"life {life + 1}, {measure}: {first:g} to {last:g}" + (" GROWS" if grows else ""))
    print(f"{soak.quits} quits, {soak.life + 1} lives, {len(soak.samples)} samples in {soak.elapsed():.0f} s: "
          f"{os.path.normpath(RESULTS)}.csv, .svg")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
