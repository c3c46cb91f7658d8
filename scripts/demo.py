"""The demo: a sample home, a session of its own, two browsers that quit. See scripts/demo."""

import os
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "system"))
import session  # noqa: E402

BOLD, DIM, RED, GREEN, CYAN, END = ("\033[1m", "\033[2m", "\033[31m", "\033[32m", "\033[36m", "\033[0m")
if not sys.stdout.isatty():
    BOLD = DIM = RED = GREEN = CYAN = END = ""

LIBRARY = "Library/"
SUPPORT = LIBRARY + "Application Support/"
FLASH = LIBRARY + "Preferences/Macromedia/Flash Player/"
SILVERLIGHT = SUPPORT + "Microsoft/Silverlight/"

SAMPLE_HOME = [
    "Documents/letter.txt",
    FLASH + "#SharedObjects/7QX2/tracker.example/cookie.sol",
    FLASH + "macromedia.com/support/settings.sol",
    SILVERLIGHT + "is/store/video.example/id.dat",
    SUPPORT + "Google/Chrome/Default/Bookmarks",
    SUPPORT + "Google/Chrome/Default/Pepper Data/Shockwave Flash/tracker.sol",
    SUPPORT + "Google/Chrome/Profile 1/Bookmarks",
    SUPPORT + "Google/Chrome/Profile 1/Pepper Data/Shockwave Flash/tracker.sol",
    SUPPORT + "Firefox/Profiles/ann.default/places.sqlite",
]
LOCAL_STATE = '{"profile": {"info_cache": {"Default": {"name": "Ann"}, "Profile 1": {"name": "Work"}}}}\n'

start = time.monotonic()


def say(text="", colour=""):
    print(f"{DIM}{time.monotonic() - start:5.1f} s{END}  {colour}{text}{END}", flush=True)


def tree(root):
    """Every path below the folder, folders with a slash."""
    paths = []
    for folder, subfolders, files in os.walk(root):
        subfolders[:] = sorted(name for name in subfolders if not name.startswith("."))
        here = os.path.relpath(folder, root)
        paths += [os.path.normpath(os.path.join(here, name)) for name in files]
        paths += [os.path.normpath(os.path.join(here, name)) + "/" for name in subfolders]
    return sorted(paths)


def show(paths, gone=()):
    for path in sorted(set(paths) | set(gone)):
        depth = path.rstrip("/").count("/")
        name = os.path.basename(path.rstrip("/")) + ("/" if path.endswith("/") else "")
        mark, colour = ("✗ ", RED) if path in gone else ("  ", "")
        print(f"         {colour}{mark}{'  ' * depth}{name}{END}")
    print(flush=True)


def person(panel):
    """The person at the panel: reads it, and clicks the confirm button."""
    response, url = session.OpenPanel.agree(panel)
    say(f"panel “{panel['title']}”: {panel['message']}", CYAN)
    say(f"      the person chooses {session.path_of(url)} and clicks “{panel['prompt']}”", CYAN)
    return response, url


def main():
    with session.Session(sys.argv[1]) as desk:
        for path in SAMPLE_HOME:
            desk.file(path)
        desk.file(SUPPORT + "Google/Chrome/Local State", LOCAL_STATE)
        say("A home folder, with what plug-ins keep for sites:", BOLD)
        before = tree(desk.home)
        show(before)

        desk.configure(["org.mozilla.firefox", "com.google.Chrome"], overwrite=True)
        session.OpenPanel(desk.connection, person)
        notified = []

        def notify(summary, body):
            notified.append(body)
            say(f"notification “{summary}”: {body}", GREEN)

        session.NotificationService(desk.connection, notify)
        desk.start_worker(lambda line: say(f"log: {line}", CYAN))
        say("The worker runs. Firefox and Google Chrome are enabled; files are overwritten before they go.", BOLD)

        for identifier in ("org.mozilla.firefox", "com.google.Chrome"):
            say(f"The main application asks for the grants of {identifier}…", BOLD)
            say(f"      the worker answers “{desk.request(identifier)}”")

        firefox = desk.run_browser("firefox")
        chrome = desk.run_browser("chrome")
        desk.settle(0.5)
        say("Firefox and Google Chrome are running… and now they quit.", BOLD)
        desk.quit_browser(firefox)
        desk.quit_browser(chrome)
        desk.wait(lambda: not desk.exists(SUPPORT + "Google/Chrome/Profile 1/Pepper Data"))
        desk.settle(0.2)
        say("The first run is over; a second one, which also says so, follows eight seconds after the quit.")
        desk.wait(lambda: len(notified) == 2, 15)
        desk.settle(0.2)

        after = tree(desk.home)
        say("The same home folder (✗: gone):", BOLD)
        show(after, gone=set(before) - set(after))
        return 0 if notified and not desk.exists(FLASH) else 1


if __name__ == "__main__":
    sys.exit(main())
