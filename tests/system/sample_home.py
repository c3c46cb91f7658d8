"""A home folder that holds data of all five browsers, for the system tests and the demo: what a browser's quit removes,
what stays, and the rows of the databases that stay."""

import os
import sqlite3

SUPPORT = "Library/Application Support/"
CACHES = "Library/Caches/"
FLASH = "Library/Preferences/Macromedia/Flash Player"

LOCAL_STATE = '{"profile": {"info_cache": {"Default": {"name": "Ann"}, "Profile 1": {"name": "Work"}}}}\n'

# What every browser's quit removes: each item, with a file in it.
COMMON = {
    SUPPORT + "Microsoft/Silverlight": "is/store/video.example.dat",
    CACHES + "Adobe/Flash Player/AssetCache": "1.swz",
    CACHES + "QuickTime/downloads": "film.mov",
    FLASH: "#SharedObjects/7QX2/tracker.example/id.sol",
}
UNTOUCHED = ["Documents/letter.txt", SUPPORT + "Microsoft/Office/letters", CACHES + "com.example.mail/1",
             "Library/Preferences/com.apple.Safari.plist"]


class Browser:
    """`program` is the name of the browser's process; without one its quit is announced."""

    def __init__(self, name, identifier, program):
        self.name = name
        self.identifier = identifier
        self.program = program
        self.goes = {}  # each item with a file in it, or with "" when it is a file itself
        self.stays = []
        self.groups = []  # (folder, items in it that are removed, paths in it that stay)
        self.tables = []

    def add(self, folder, goes, stays):
        self.groups.append((folder, list(goes), stays))
        self.goes.update({folder + item: inside for item, inside in goes.items()})
        self.stays += [folder + item for item in stays]

    @property
    def notification(self):
        return f"Cookies, Databases, Flash, Silverlight, and Cache removed from {self.name}"


class Table:
    """A table with a row for each of `goes` and `stays` in its first column."""

    def __init__(self, path, name, columns, goes, stays):
        self.path, self.name, self.columns = path, name, columns
        self.goes, self.stays = goes, stays

    def make(self, home):
        path = os.path.join(home, self.path)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        connection = sqlite3.connect(path)
        try:
            with connection:
                connection.execute(f"CREATE TABLE {self.name} ({self.columns})")
                connection.executemany(f"INSERT INTO {self.name} VALUES (?, ?)",
                                       [(value, value.encode()) for value in self.goes + self.stays])
        finally:
            connection.close()

    def rows(self, home):
        """The first column of the rows that are in the table now."""
        connection = sqlite3.connect(f"file:{os.path.join(home, self.path)}?mode=ro", uri=True)
        try:
            return [row[0] for row in connection.execute(f"SELECT * FROM {self.name} ORDER BY rowid")]
        finally:
            connection.close()


SITES = ["http_a.example_0", "https_b.example_0"]
EXTENSIONS = ["chrome-extension_notes_0", "safari-extension_notes_0"]


def safari():
    browser = Browser("Safari", "com.apple.Safari", None)
    browser.add("Library/Safari/", {
        "Databases/http_a.example_0": "1.db", "Databases/https_b.example_0": "1.db",
        "Databases/___IndexedDB": "https_b.example_0/store.sqlite3",
        "LocalStorage/http_a.example_0.localstorage": "", "LocalStorage/https_b.example_0.localstorage": "",
    }, ["Databases/safari-extension_notes_0/1.db", "LocalStorage/safari-extension_notes_0.localstorage",
        "Bookmarks.plist", "History.db"])
    browser.add("Library/Cookies/", {"Cookies.binarycookies": "", "Cookies.plist": "", "HSTS.plist": ""},
                ["com.example.mail.binarycookies"])
    browser.add(CACHES, {"com.apple.Safari/Cache.db": "", "com.apple.Safari/fsCachedData": "1",
                         "CloudKit/com.apple.Safari": "db"}, ["com.apple.Safari/Webpage Previews/1.jpeg"])
    databases = "Library/Safari/Databases/Databases.db"
    browser.tables = [
        Table(databases, "Databases", "origin TEXT, name TEXT", SITES, EXTENSIONS),
        Table(databases, "Origins", "origin TEXT, quota INTEGER", SITES, EXTENSIONS),
        Table("Library/Safari/LocalStorage/StorageTracker.db", "Origins", "origin TEXT, path TEXT", SITES,
              ["safari-extension_notes_0"])]
    return browser


def firefox():
    browser = Browser("Firefox", "org.mozilla.firefox", "firefox-esr")
    root = SUPPORT + "Firefox/Profiles/"
    for profile in ("ann.default/", "ann.work/"):
        browser.add(root + profile, {
            "cookies.sqlite": "", "permissions.sqlite": "", "SiteSecurityServiceState.txt": "",
            "storage/default": "https+++b.example/ls/data.sqlite", "storage/temporary": "https+++b.example/1.sqlite",
        }, ["storage/permanent/chrome/1.sqlite", "places.sqlite", "logins.json", "key4.db"])
        browser.add(CACHES + "Firefox/Profiles/" + profile,
                    {"Cache": "_CACHE_MAP_", "OfflineCache": "index.sqlite", "startupCache": "startupCache.8.little"},
                    ["cache2/entries/1"])
        browser.tables.append(Table(root + profile + "webappsstore.sqlite", "webappsstore2", "scope TEXT, value TEXT",
                                    ["elpmaxe.a.:http:80", "elpmaxe.b.:https:443"], ["notes-extension"]))
    browser.add(root, {}, ["notes.txt"])
    return browser


def of_chrome_family(name, identifier, program, folder, profiles, own_flash):
    """Opera's data folder is its one profile, and its whole cache goes."""
    browser = Browser(name, identifier, program)
    root = SUPPORT + folder
    for profile in profiles:
        goes = {
            "Cookies": "", "TransportSecurity": "", "IndexedDB": "https_b.example_0.indexeddb.leveldb/LOG",
            "databases/http_a.example_0": "1", "databases/https_b.example_0": "1",
            "Local Storage/http_a.example_0.localstorage": "",
            "Local Storage/http_a.example_0.localstorage-journal": "",
            "Application Cache": "Index", "GPUCache": "data_0",
        }
        if own_flash:
            goes["Pepper Data"] = "Shockwave Flash/tracker.sol"
        browser.add(root + profile, goes,
                    ["Local Storage/chrome-extension_notes_0.localstorage", "databases/chrome-extension_notes_0/1",
                     "Bookmarks", "History", "Login Data", "Preferences"])
        browser.tables += [
            Table(root + profile + "databases/Databases.db", "Databases", "origin TEXT, name TEXT", SITES, EXTENSIONS),
            Table(root + profile + "Origin Bound Certs", "origin_bound_certs", "origin TEXT, private_key BLOB",
                  ["https://a.example", "https://b.example"], [])]
    browser.add(CACHES, {(folder + profile).rstrip("/"): "Cache/data_0" for profile in profiles}, [])
    return browser


def chrome(name, identifier, program, folder):
    browser = of_chrome_family(name, identifier, program, folder, ("Default/", "Profile 1/"), own_flash=True)
    # A folder that "Local State" does not list is no profile.
    browser.add(SUPPORT + folder, {}, ["Unlisted/Cookies"])
    browser.add(CACHES + folder, {}, ["Unlisted/Cache/data_0"])
    return browser


def browsers():
    return [safari(), firefox(),
            chrome("Google Chrome", "com.google.Chrome", "chrome", "Google/Chrome/"),
            chrome("Chromium", "org.chromium.Chromium", "chromium", "Chromium/"),
            of_chrome_family("Opera", "com.operasoftware.Opera", "opera", "com.operasoftware.Opera/", ("",),
                             own_flash=False)]


def fill(desk):
    """Fills the session's home folder; returns the browsers whose data it holds."""
    found = browsers()
    for browser in found:
        for item, inside in browser.goes.items():
            desk.file(os.path.join(item, inside) if inside else item)
        for path in browser.stays:
            desk.file(path)
        for table in browser.tables:
            table.make(desk.home)
    for folder in ("Google/Chrome", "Chromium"):
        desk.file(f"{SUPPORT}{folder}/Local State", LOCAL_STATE)
    for item, inside in COMMON.items():
        desk.file(os.path.join(item, inside))
    for path in UNTOUCHED:
        desk.file(path)
    return found


def contents(home):
    """Every file below the home folder with its bytes, and every folder; hidden folders are the session's own."""
    found = {}
    for folder, folders, files in os.walk(home):
        folders[:] = [name for name in folders if not name.startswith(".")]
        for name in folders:
            found[os.path.relpath(os.path.join(folder, name), home)] = None
        for name in files:
            with open(os.path.join(folder, name), "rb") as file:
                found[os.path.relpath(os.path.join(folder, name), home)] = file.read()
    return found


def topmost(paths):
    """The paths that are not inside another of them."""
    paths = set(paths)
    return {path for path in paths
            if not any(path[:at] in paths for at, character in enumerate(path) if character == "/")}
