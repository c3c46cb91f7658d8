"""Tests of browsers in the home of an ordinary user: sites fill every store, the browser ends, the worker cleans, and
no data of sites is left, while the user's own data is unchanged. Each browser's tests derive from LinuxHome."""

import contextlib
import os
import shutil
import signal
import unittest

import local_site
import screen
import session
import stores_table
import traces
from test_worker import PROGRAMS

FORM_TEXT = "zqfirst-formText."


class Desk(session.Session):
    """The session of an ordinary user, whose worker cleans after one browser."""

    def __init__(self):
        super().__init__(PROGRAMS, user="nobody")
        self.screen = screen.Screen(self, "1280x1024")
        self.panel = session.OpenPanel(self.connection)
        self.notifications = session.NotificationService(self.connection)

    def close(self):
        for browser in self.browsers:
            with contextlib.suppress(ProcessLookupError):
                browser.kill()
            browser.wait()
        self.screen.close()
        super().close()

    def enable(self, browser):
        """Enables the browser, and sets the home folder, since the user's account names another one."""
        self.defaults("write", session.SHARED, "userFolder", "-string", self.home)
        self.start_worker()
        self.tidewell("notifications", "on")
        self.tidewell("notify-always", "on")
        self.tidewell("enable", browser.command.removesuffix("-esr"))

    @contextlib.contextmanager
    def worker_held_up(self):
        """Stops the worker meanwhile; it handles afterwards what has happened."""
        self.worker.process.send_signal(signal.SIGSTOP)
        try:
            yield
        finally:
            self.worker.process.send_signal(signal.SIGCONT)


class LinuxHome(unittest.TestCase):
    browser_class = None

    @classmethod
    def setUpClass(cls):
        """Makes a home whose browser has an extension, a bookmark, a password, and all that one visit leaves. Nothing
        in it has been cleaned."""
        cls.template = session.tempfile.mkdtemp(prefix="tidewell-", dir="/tmp")
        cls.addClassCleanup(shutil.rmtree, cls.template, ignore_errors=True)
        cls.site = local_site.Site(cls.template + "/site")
        cls.addClassCleanup(cls.site.close)
        with contextlib.closing(Desk()) as desk:
            browser = cls.browser_class(desk, desk.screen, cls.site)
            browser.prepare()
            cls.use(browser)
            browser.wait_until_filled()
            browser.end("quitting by the menu or its key")
            shutil.copytree(desk.home, cls.template + "/home", symlinks=True)

    def setUp(self):
        self.maxDiff = None
        self.desk = Desk()
        self.addCleanup(self.desk.close)
        self.browser = self.browser_class(self.desk, self.desk.screen, self.site)

    def take_over(self, *folders):
        """Copies folders of the filled home; each argument is (the folder, its place in the new home)."""
        for folder, place in folders:
            shutil.copytree(os.path.join(self.template, "home", folder), os.path.join(self.desk.home, place),
                            symlinks=True, dirs_exist_ok=True)
        self.desk.give(self.desk.home)

    @classmethod
    def use(cls, browser, *arguments):
        """Starts the browser for a visit that fills every store; returns what the pages reported."""
        address, visit = cls.site.next_visit()
        browser.start(*arguments, address)
        cls.wait_for(browser, visit)
        cls.type_and_zoom(browser, visit)
        return visit

    @classmethod
    def visit_other(cls, browser, place):
        """The same in one more tab, with another site that frames the others."""
        address, visit = cls.site.next_visit(place)
        browser.run(address)
        cls.wait_for(browser, visit, extension=False)
        return visit

    @staticmethod
    def wait_for(browser, visit, extension=True):
        try:
            browser.desk.wait(lambda: visit.complete() and (visit.extension or not extension) or browser.has_ended(),
                              2 * session.BOUND, "the report of the pages")
        except TimeoutError as error:
            there = sorted(visit.pages) + (["the extension"] if visit.extension else [])
            raise TimeoutError(f"{error}: there are {', '.join(there) or 'none'}") from error
        if browser.has_ended():
            raise AssertionError("the browser ended by itself")

    @staticmethod
    def type_and_zoom(browser, visit):
        browser.screen.xdotool("type", FORM_TEXT)
        browser.desk.wait(lambda: FORM_TEXT in visit.typed, what="the typed text")
        browser.screen.press("ctrl+plus")
        browser.desk.wait(lambda: visit.zoomed, what="the zoom")

    # Checks.

    def check_works(self, visit):
        """Checks that every store can be used, whatever was there before."""
        for place, page in visit.pages.items():
            self.assertNotIn("error", page, place)
            self.assertEqual(page["failed"], {}, place)
            self.assertEqual({name: value for name, value in page["works"].items()
                              if value not in (None, f"zq{place}-{name}.")}, {}, place)
        for name in ("localStorage", "cookie", "indexedDatabase", "serviceWorker"):
            self.assertIsNotNone(visit.pages[visit.place]["works"][name], name)

    @staticmethod
    def written(visit):
        """What the next visit must find if nothing is cleaned."""
        return {f"{place}: {name}" for place, page in visit.pages.items() for name, value in page["works"].items()
                if value is not None and name != "sessionStorage"}

    def check_extension(self, visit):
        """Checks that the extension still has everything that it has stored."""
        told = visit.extension
        self.assertEqual(told["failed"], {})
        self.assertEqual(told["found"], told["works"])
        self.assertEqual(set(told["found"].values()), {f"zqextension-{name}." for name in told["found"]})

    def traces(self):
        return traces.below(self.desk.home)

    def check_nothing_is_left(self, found):
        stores = {}
        for path, words in self.browser.must_go(found).items():
            stores.setdefault(self.browser.store_of(path), []).append(f"{path}: {' '.join(sorted(words))}")
        if stores:
            self.fail("".join(f"\n{store}, {len(lines)} times, such as\n  {lines[0]}"
                              for store, lines in stores.items()))

    def wait_for_cleaning(self, count):
        self.desk.wait(lambda: len(self.desk.notifications.posted) >= count, what="the notification")
        # The notification is posted at the end of the second run, after which there is no other.
        body = self.desk.notifications.posted[-1]["body"]
        self.assertTrue(session.tells_of_removal(body, self.browser.name), body)
        self.assertEqual(len(self.desk.notifications.posted), count)

    # Tests.

    def test_every_way_to_end(self):
        self.take_over((".", "."))
        table = stores_table.Table(self.browser)
        visit = self.use(self.browser)
        self.check_works(visit)
        self.check_extension(visit)
        found = visit.found()
        wanted = self.written(visit) | self.browser.read_back
        self.assertEqual(wanted - set(found), set(), "not found again, where nothing was cleaned")
        table.found_before(found)

        self.desk.enable(self.browser)
        for count, way in enumerate(self.browser.ways, 1):
            with self.subTest(way):
                self.browser.wait_until_filled()
                with self.desk.worker_held_up():
                    self.browser.end(way)
                    before = self.traces()
                    owned = self.browser.owned()
                self.wait_for_cleaning(count)
                self.assertEqual(self.browser.damaged_databases(), [])
                after = self.traces()
                self.browser.see_to_what_it_asks()  # this writes a crash report again, which stays until the next quit
                table.ended(way, before, after)
                self.check_nothing_is_left(after)
                self.assertEqual(self.browser.owned(), owned)
                self.assertTrue(owned["extensions"])
                self.assertEqual(self.desk.worker.log, [])
            visit = self.use(self.browser)
            with self.subTest("the visit after " + way):
                table.found_after(way, visit.found())
                self.assertEqual(visit.found(), {})
                self.check_works(visit)
            with self.subTest("what else there is after " + way):
                self.check_extension(visit)
                if way in self.browser.reopens_tabs_after:
                    self.assertEqual(set(visit.reopened), {"zqfirst-title."})
                self.assertEqual(self.browser.complaints(), [])
        self.browser.end("quitting by the menu or its key")
        table.write()

    def test_kept_sites(self):
        """A site is kept alone, then a whole one as well; each frames the other: exactly theirs is found again, in every
        kind, and what one has in the other only while both are kept."""
        self.take_over((".", "."))
        self.desk.enable(self.browser)
        visit = self.use(self.browser)
        other = self.visit_other(self.browser, "third")
        kept = []
        for count, (place, entry) in enumerate((("first", "=" + local_site.HOSTS["first"]),
                                                ("third", local_site.HOSTS["third"])), 1):
            self.desk.tidewell("keep", entry)
            kept.append(place)
            # Registrations of service workers go; the zoom is that of the page around all of them.
            wanted = self.wanted_of(kept, visit)
            wanted_in_other = self.wanted_of(kept, other) if "third" in kept else set()
            self.browser.wait_until_filled()
            self.browser.end("quitting by the menu or its key")
            self.wait_for_cleaning(count)
            self.assertEqual(self.browser.damaged_databases(), [])
            visit = self.use(self.browser)
            found = self.found_but_zoom(visit)
            self.assertEqual(wanted - found, set(), "not found again, but kept")
            self.assertEqual({line for line in found if line.split(":")[0] not in kept}, set())
            self.assertTrue({"first: httpOnlyCookie", "first: partitionedHttpOnlyCookie"} <= found, found)
            self.check_works(visit)
            other = self.visit_other(self.browser, "third")
            found = self.found_but_zoom(other)
            self.assertEqual(wanted_in_other - found, set(), "not found again in the other, but kept")
            # The visit before has brought caches and cookies, which not every browser keeps apart in frames: what else
            # pages write tells.
            theirs = {line for line in found & self.written(other) if not line.endswith(": cookie")}
            self.assertEqual({line for line in theirs if line.split(":")[0] not in kept or "third" not in kept}, set())
            self.check_works(other)
            self.check_extension(visit)
            self.assertEqual(self.browser.complaints(), [])
            self.assertEqual(self.desk.worker.log, [])

    def wanted_of(self, kept, visit):
        return {line for line in self.written(visit) if line.split(":")[0] in kept and
                line.split(": ")[1] not in ("serviceWorker", "backgroundSync")}

    @staticmethod
    def found_but_zoom(visit):
        return {line for line in visit.found() if not line.endswith("zoom")}

    def test_started_again_at_once(self):
        """The second run comes when the browser is in use again: it takes nothing from under it."""
        self.take_over((".", "."))
        self.desk.enable(self.browser)
        self.use(self.browser)
        self.browser.wait_until_filled()
        self.browser.end("quitting by the menu or its key")
        self.desk.wait(lambda: not self.browser.must_go(self.traces()), session.FIRST_RUN, "the first run")
        visit = self.use(self.browser)
        self.assertEqual(visit.found(), {})
        self.check_works(visit)
        written = self.written(visit)
        self.desk.settle(10)
        visit.pages.clear()
        self.desk.screen.press("F5")
        self.wait_for(self.browser, visit)
        self.check_works(visit)
        self.assertEqual(written - set(visit.found()), set(), "gone while the browser was in use")
        self.check_extension(visit)
        self.browser.end("quitting by the menu or its key")
        self.desk.wait(lambda: not self.browser.must_go(self.traces()), what="the cleaning after the second end")

    def test_two_profiles_killed(self):
        """With nothing that holds the worker up: it cleans while the last processes go."""
        self.take_over((".", "."))
        self.desk.enable(self.browser)
        first = self.use(self.browser)
        address, second = self.site.next_visit()
        self.browser.start_second_profile(address)
        self.wait_for(self.browser, second, extension=False)
        self.check_works(second)
        self.assertEqual(second.found(), {})
        self.browser.wait_until_filled()
        self.assertIsNotNone(first.extension)
        self.browser.end("SIGKILL")
        self.wait_for_cleaning(1)
        self.check_nothing_is_left(self.traces())
        visit = self.use(self.browser, *self.browser.first_profile)
        self.assertEqual(visit.found(), {})
        self.check_extension(visit)
        address, visit = self.site.next_visit()
        self.browser.start_second_profile(address)
        self.wait_for(self.browser, visit, extension=False)
        self.assertEqual(visit.found(), {})

    def test_where_other_installations_keep_their_data(self):
        self.take_over(*(
            (folder, place) for places in self.browser.other_places.values()
            for folder, place in zip((self.browser.data, self.browser.cache), places)))
        owned = {}
        for name, (data, cache) in self.browser.other_places.items():
            found = self.browser.stores_in(self.traces(), data, cache)
            self.assertEqual(set(self.browser.fills_at_once) - found, set(), name)
            owned[name] = self.browser.owned(data)
        self.desk.enable(self.browser)
        self.desk.tidewell("quit-of", self.browser.command.removesuffix("-esr"))
        self.wait_for_cleaning(1)
        left = self.traces()
        for data, _ in self.browser.other_places.values():
            left = self.browser.must_go(left, data)
        self.check_nothing_is_left(left)
        for name, (data, _) in self.browser.other_places.items():
            self.assertEqual(self.browser.owned(data), owned[name], name)
        self.assertEqual(self.desk.worker.log, [])
