"""The demo on a home with a folder "Library" in which five browsers quit. See scripts/demo."""

import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "system"))
import sample_home  # noqa: E402
import session  # noqa: E402
from demo_show import BOLD, CYAN, DIM, GREEN, RED, listing, say, show, table  # noqa: E402


class Person:
    """The user at the panel: reads it, and clicks the confirm button or cancels."""

    def __init__(self, home):
        self.home = home
        self.declines = False
        self.has_read = set()

    def short(self, text):
        return str(text).replace(self.home, "~")

    def __call__(self, panel):
        title = panel["title"]
        if title not in self.has_read:
            self.has_read.add(title)
            say(f"panel “{title}”: “{self.short(panel['message'])}”", CYAN)
        if self.declines:
            say(f"panel “{title}”: the person cancels", CYAN)
            return (0, "")
        response, url = session.OpenPanel.agree(panel)
        folder = self.short(session.path_of(url))
        say(f"panel “{title}”: the person chooses {folder} and clicks “{panel['prompt']}”", CYAN)
        return response, url


def what_became_of(desk, browser):
    """Shows what was removed from a browser's folders and what stays. Profiles with the same outcome are joined."""
    fates = {}
    for folder, goes, stays in browser.groups:
        there = [item for item in goes + stays if desk.exists(folder + item)]
        gone = [item + "/" * bool(browser.goes.get(folder + item)) for item in goes + stays if item not in there]
        parent, name = os.path.split(folder.rstrip("/"))
        fates.setdefault((parent, tuple(gone), tuple(there)), []).append(name)
    show(browser.name, BOLD)
    for (parent, gone, there), (first, *others) in fates.items():
        show(f"  ~/{parent}/{first}/" + "".join(f", and the same in {other}/" for other in others), DIM)
        listing("✗", RED, gone)
        listing("✓", GREEN, there)


def ask_for_grants(desk, browsers, person):
    """Asks for each browser's grants as the main application would; the user declines the third browser once."""
    for browser in browsers:
        if browser is browsers[2]:
            person.declines = True
            say(f"The main application asks for the grants of {browser.name}, and the person hesitates…", BOLD)
            desk.request(browser.identifier)
            person.declines = False
            say("…and agrees when it asks once more.", BOLD)
        else:
            say(f"The main application asks for the grants of {browser.name}.", BOLD)
        say(f"      the worker answers “{desk.request(browser.identifier)}”")


def run_and_quit(desk, browsers):
    running = [desk.run_browser(browser.program) for browser in browsers if browser.program]
    say("All five are running… and now they quit.", BOLD)
    for process in running:
        desk.quit_browser(process)
    for browser in browsers:
        if not browser.program:
            desk.announce_quit(browser.name, browser.identifier)
    desk.settle(2)
    say("The first runs are over. A second one of each, which also says so, follows eight seconds after the quit.")


def show_rows(desk, browsers, rows_before):
    """Shows the databases' rows before and after; returns whether only those of sites are gone."""
    rows = []
    right = True
    for browser in browsers:
        root = os.path.commonpath([os.path.dirname(each.path) for each in browser.tables])
        for each in browser.tables:
            left = each.rows(desk.home)
            right = right and left == each.stays
            rows.append(["" if each is not browser.tables[0] else browser.name,
                         os.path.relpath(each.path, root), each.name, len(rows_before[each.path, each.name]),
                         len(left), ", ".join(left) or "nothing"])
    table(["", "database", "table", "before", "after", "rows that are left"], rows)
    return right


def peak_memory(pid):
    with open(f"/proc/{pid}/status") as status:
        return next(int(line.split()[1]) / 1024 for line in status if line.startswith("VmHWM"))


def main():
    with session.Session(sys.argv[1]) as desk:
        browsers = sample_home.fill(desk)
        before = sample_home.contents(desk.home)
        files_before = [path for path, content in before.items() if content is not None]
        rows_before = {(table.path, table.name): table.rows(desk.home)
                       for browser in browsers for table in browser.tables}
        say(f"A home folder with what five browsers keep: {len(files_before)} files.", BOLD)
        show()
        table(["", "left by sites", "the person's own", "rows of sites", "rows of extensions"],
              [[browser.name, len(browser.goes), len(browser.stays), sum(len(each.goes) for each in browser.tables),
                sum(len(each.stays) for each in browser.tables)] for browser in browsers]
              + [["plug-ins and others", len(sample_home.COMMON), len(sample_home.UNTOUCHED), 0, 0]])

        desk.configure([browser.identifier for browser in browsers], overwrite=True)
        person = Person(desk.home)
        session.OpenPanel(desk.connection, person)
        notified = []

        def notify(summary, body):
            notified.append(body)
            say(f"notification “{summary}”: {body}", GREEN)

        session.NotificationService(desk.connection, notify)
        worker = desk.start_worker(lambda line: say(f"log: {line.replace(desk.home, '~')}", CYAN))
        say("The worker runs. All five browsers are enabled; files are overwritten before they go.", BOLD)
        ask_for_grants(desk, browsers, person)
        run_and_quit(desk, browsers)
        desk.wait(lambda: len(notified) == len(browsers), 15)
        desk.settle(1.3)  # the last step of Safari's run comes a second later
        memory = peak_memory(worker.process.pid)

        show()
        say("The same home folder (✗ gone, ✓ spared):", BOLD)
        for browser in browsers:
            what_became_of(desk, browser)
        show("Plug-ins, and whatever else is in the home", BOLD)
        listing("✗", RED, [path + "/" for path in sample_home.COMMON if not desk.exists(path)])
        listing("✓", GREEN, [path for path in [*sample_home.COMMON, *sample_home.UNTOUCHED] if desk.exists(path)])
        show()
        say("The databases stay; the rows that sites have left in them are gone:", BOLD)
        show()
        rows_are_right = show_rows(desk, browsers, rows_before)

        after = sample_home.contents(desk.home)
        files = [path for path, content in after.items() if content is not None]
        say(f"{len(files_before) - len(files)} of {len(files_before)} files are gone. "
            f"The other {len(files)} are as they were, or have lost rows of sites.", BOLD)
        say(f"The worker took {memory:.1f} MB at its peak.")
        expected = set(sample_home.COMMON).union(*(browser.goes for browser in browsers))
        return 0 if sample_home.topmost(before.keys() - after.keys()) == expected and rows_are_right else 1


if __name__ == "__main__":
    sys.exit(main())
