"""A home of an ordinary Linux desktop, with what Firefox and browsers of Chromium's family keep after some days of use.
Each entry of `contents` can be counted on the disk, before and after a cleaning."""

import os
import random

import sample_files as files

NEWS = ("www.morning-post.example", "weather.example", "video.example", "maps.example", "shop.example",
        "tickets.example", "recipes.example", "forum.example")
TRACKERS = ("ads.counter.example", "pixel.follow.example", "cdn.audience.example")
SITES = NEWS + TRACKERS
CHROME_EXTENSION = "abcdefghijklmnopabcdefghijklmnop"
FIREFOX_EXTENSION = "0d4f7ba1-65d4-4a2c-8e2e-d3dcd5bb7e0c"


class Content:
    """One kind of data in one place: `goes` says whether a cleaning removes it; `count()` counts it on the disk."""

    def __init__(self, what, place, goes, count):
        self.what, self.place, self.goes, self.count = what, place, goes, count


class Browser:
    """`program` is the name of the browser's process, `word` its name for the command."""

    def __init__(self, name, word, program, home, folders):
        self.name, self.word, self.program, self.home = name, word, program, home
        self.folders = folders  # for data and for caches, in the order in which they are asked for
        self.contents = []
        self.late = None  # the file that it writes again while it shuts down

    def goes(self, what, place, count):
        self.contents.append(Content(what, place, True, count))

    def stays(self, what, place, count):
        self.contents.append(Content(what, place, False, count))

    def size(self):
        """The number of the browser's files, and their size in bytes."""
        found = [size for folder in self.folders for _, size in files.list_files(os.path.join(self.home, folder))]
        return len(found), sum(found)


def pages(folder, count, seed, name):
    """Fills a cache with that many pages and pictures."""
    chance = random.Random(seed)
    for number in range(count):
        files.write(os.path.join(folder, name(chance)), chance.randbytes(chance.randrange(2_000, 90_000)))


def cookies():
    return [(site, name) for site in SITES for name in ("session", "visitor", "consent", "ab_test")[:2 + len(site) % 3]]


def firefox(home):
    data, cache = ".mozilla/firefox", ".cache/mozilla/firefox"
    browser = Browser("Firefox", "firefox", "firefox-esr", home, (data, cache))
    name = "k3v9x2ab.default-release"
    profile = os.path.join(home, data, name)
    caches = os.path.join(home, cache, name)
    files.write(os.path.join(home, data, "profiles.ini"),
                f"[Profile0]\nName=default-release\nIsRelative=1\nPath={name}\nDefault=1\n".encode())
    fill_firefox_storage(profile)
    fill_firefox_databases(profile)
    pages(caches + "/cache2/entries", 160, 1, lambda chance: f"{chance.getrandbits(160):040X}")
    pages(caches + "/startupCache", 3, 2, lambda chance: f"scriptCache-{chance.getrandbits(16)}.bin")
    count = files.count_rows
    store = profile + "/storage/default"
    browser.goes("cookies", "cookies.sqlite", lambda: count(profile + "/cookies.sqlite", "moz_cookies"))
    browser.goes("sites with local storage and databases", "storage/default/https+++…",
                 lambda: len(files.list_names(store, "http")))
    browser.stays("extension with a database", "storage/default/moz-extension+++…",
                  lambda: len(files.list_names(store, "moz-extension")))
    browser.goes("sites in the list of storages", "storage.sqlite",
                 lambda: count(profile + "/storage.sqlite", "origin", "origin LIKE 'http%'"))
    browser.goes("permissions of sites", "permissions.sqlite",
                 lambda: count(profile + "/permissions.sqlite", "moz_perms"))
    browser.goes("sites with a zoom of their own", "content-prefs.sqlite",
                 lambda: count(profile + "/content-prefs.sqlite", "groups"))
    browser.goes("pages and pictures in the cache", "~/.cache/…/cache2",
                 lambda: len(files.list_files(caches + "/cache2")))
    session = profile + "/sessionstore.jsonlz4"
    browser.goes("cookies noted with the open tabs", "sessionstore.jsonlz4",
                 lambda: len(files.read_packed(session).get("cookies", [])))
    browser.stays("open tabs", "sessionstore.jsonlz4", lambda: len(files.read_packed(session)["windows"][0]["tabs"]))
    browser.stays("pages in the history", "places.sqlite", lambda: count(profile + "/places.sqlite", "moz_places"))
    browser.stays("bookmarks", "places.sqlite", lambda: count(profile + "/places.sqlite", "moz_bookmarks"))
    browser.stays("passwords", "logins.json", lambda: len(files.read_json(profile + "/logins.json")["logins"]))
    browser.late = data + "/" + name + "/cookies.sqlite"
    return browser


def fill_firefox_storage(profile):
    for site in SITES:
        origin = f"{profile}/storage/default/https+++{site}"
        files.write(origin + "/.metadata-v2", b"\0" * 60)
        files.write_database(origin + "/ls/data.sqlite", "CREATE TABLE data (key TEXT, value BLOB);",
                             data=[("visitor", b"7f3a"), ("seen", b"12")])
    files.write(f"{profile}/storage/default/https+++{TRACKERS[0]}^partitionKey=%28https%2C{NEWS[0]}%29/.metadata-v2",
                b"\0" * 60)
    extension = f"{profile}/storage/default/moz-extension+++{FIREFOX_EXTENSION}^userContextId=4294967295"
    files.write(extension + "/.metadata-v2", b"\0" * 60)
    files.write_database(extension + "/idb/1.sqlite", "CREATE TABLE object_data (key TEXT);", object_data=[("notes",)])
    files.write_database(profile + "/storage.sqlite", "CREATE TABLE database (cache_version INTEGER);"
                         "CREATE TABLE origin (repository_id INTEGER, origin TEXT);",
                         origin=[(1, "https://" + site) for site in SITES]
                         + [(1, "moz-extension://" + FIREFOX_EXTENSION)])


def fill_firefox_databases(profile):
    files.write_database(profile + "/cookies.sqlite", "CREATE TABLE moz_cookies (host TEXT, name TEXT);",
                         moz_cookies=cookies())
    files.write_database(profile + "/permissions.sqlite", "CREATE TABLE moz_perms (origin TEXT, type TEXT);",
                         moz_perms=[("https://" + site, "geo") for site in NEWS[:3]])
    files.write_database(profile + "/content-prefs.sqlite", "CREATE TABLE groups (id INTEGER PRIMARY KEY, name TEXT);"
                         "CREATE TABLE settings (id INTEGER PRIMARY KEY, name TEXT);"
                         "CREATE TABLE prefs (id INTEGER PRIMARY KEY, groupID INTEGER, settingID INTEGER, value);",
                         groups=[(1, NEWS[0]), (2, NEWS[3])], settings=[(1, "browser.content.full-zoom")],
                         prefs=[(1, 1, 1, 1.5), (2, 2, 1, 0.8)])
    history = [(f"https://{site}/{page}", f"Page {page}") for site in NEWS for page in range(5)]
    files.write_database(profile + "/places.sqlite", "CREATE TABLE moz_places (url TEXT, title TEXT);"
                         "CREATE TABLE moz_bookmarks (url TEXT, title TEXT);", moz_places=history,
                         moz_bookmarks=history[::7])
    files.write_json(profile + "/logins.json", {"logins": [{"hostname": "https://" + site} for site in NEWS[4:6]]})
    files.write(profile + "/key4.db", b"\0" * 4096)
    files.write(profile + "/prefs.js", b'user_pref("browser.startup.page", 3);\n')
    files.write_packed(profile + "/sessionstore.jsonlz4", {
        "version": ["sessionrestore", 1],
        "windows": [{"tabs": [{"entries": [{"url": f"https://{site}/", "title": site}]} for site in NEWS[:3]]}],
        "cookies": [{"host": site, "name": "session", "value": "7f3a"} for site in SITES[:5]]})


def of_chrome_family(name, word, program, folder, home):
    data, cache = ".config/" + folder, ".cache/" + folder
    browser = Browser(name, word, program, home, (data, cache))
    profile, caches = os.path.join(home, data, "Default"), os.path.join(home, cache, "Default")
    files.write_json(os.path.join(home, data, "Local State"), {"profile": {"info_cache": {"Default": {"name": "Ann"}}}})
    fill_chrome_storage(profile)
    fill_chrome_databases(profile)
    pages(caches + "/Cache/Cache_Data", 150, 3, lambda chance: f"{chance.getrandbits(64):016x}_0")
    pages(caches + "/Code Cache/js", 30, 4, lambda chance: f"{chance.getrandbits(64):016x}_0")
    count = files.count_rows

    def exceptions(*starts):
        found = files.read_json(profile + "/Preferences")["profile"]["content_settings"]["exceptions"]
        return sum(name.startswith(starts) for pattern in found.values() for name in pattern)

    local, indexed = profile + "/Local Storage/leveldb", profile + "/IndexedDB"
    browser.goes("cookies", "Network/Cookies", lambda: count(profile + "/Network/Cookies", "cookies"))
    browser.goes("sites with local storage", "Local Storage/leveldb",
                 lambda: len(files.find_in_level(local, rb"_(https://[^\0/]+)\0")))
    browser.stays("extension with local storage", "Local Storage/leveldb",
                  lambda: len(files.find_in_level(local, rb"_(chrome-extension://[^\0/]+)\0")))
    browser.goes("databases of sites", "IndexedDB/https_…", lambda: len(files.list_names(indexed, "http")))
    browser.stays("database of an extension", "IndexedDB/chrome-extension_…",
                  lambda: len(files.list_names(indexed, "chrome-extension")))
    browser.goes("scripts that run in the background", "Service Worker",
                 lambda: len(files.list_files(profile + "/Service Worker")))
    browser.goes("permissions of sites", "Preferences", lambda: exceptions("http"))
    browser.stays("permission of an extension", "Preferences", lambda: exceptions("chrome-extension"))
    browser.goes("pages and pictures in the cache", "~/.cache/…/Cache", lambda: len(files.list_files(caches)))
    browser.stays("pages in the history", "History", lambda: count(profile + "/History", "urls"))
    browser.stays("bookmarks", "Bookmarks", lambda: len(
        files.read_json(profile + "/Bookmarks")["roots"]["bookmark_bar"]["children"]))
    browser.stays("passwords", "Login Data", lambda: count(profile + "/Login Data", "logins"))
    browser.stays("saved session", "Sessions", lambda: len(files.list_names(profile + "/Sessions")))
    browser.late = data + "/Default/Network/Cookies"
    return browser


def fill_chrome_storage(profile):
    entries = {b"VERSION": b"1"}
    for origin in [f"https://{site}" for site in SITES[:9]] + ["chrome-extension://" + CHROME_EXTENSION]:
        entries[f"META:{origin}".encode()] = b"\x08\x01"
        for key in ("visitor", "seen"):
            entries[f"_{origin}\0\1{key}".encode()] = b"\x01of " + origin.encode()
    files.write_level(profile + "/Local Storage/leveldb", entries)
    for site in NEWS[2:6]:
        files.write_level(f"{profile}/IndexedDB/https_{site}_0.indexeddb.leveldb", {b"things": b"kept"})
    files.write_level(f"{profile}/IndexedDB/chrome-extension_{CHROME_EXTENSION}_0.indexeddb.leveldb", {b"notes": b"1"})
    files.write_level(f"{profile}/Local Extension Settings/{CHROME_EXTENSION}", {b"notes": b"kept"})
    for number, site in enumerate(NEWS[:4]):
        files.write(f"{profile}/Service Worker/ScriptCache/{number:016x}_0", f"// of {site}\n".encode() * 200)


def fill_chrome_databases(profile):
    files.write_database(profile + "/Network/Cookies", "CREATE TABLE cookies (host_key TEXT, name TEXT);",
                         cookies=cookies())
    history = [(f"https://{site}/{page}", f"Page {page}") for site in NEWS for page in range(4)]
    files.write_database(profile + "/History", "CREATE TABLE urls (url TEXT, title TEXT);", urls=history)
    files.write_database(profile + "/Login Data", "CREATE TABLE logins (origin_url TEXT, username_value TEXT);",
                         logins=[("https://" + site, "ann") for site in NEWS[4:7]])
    allowed = {f"https://{site}:443,*": {"setting": 1} for site in NEWS[:2]}
    files.write_json(profile + "/Preferences", {
        "homepage": "https://" + NEWS[0], "profile": {"name": "Ann", "content_settings": {"exceptions": {
            "geolocation": allowed,
            "notifications": {**allowed, f"chrome-extension://{CHROME_EXTENSION}/,*": {"setting": 1}}}}}})
    files.write_json(profile + "/Bookmarks", {"version": 1, "roots": {"bookmark_bar": {"children": [
        {"name": title, "type": "url", "url": address} for address, title in history[::6]]}}})
    files.write(profile + "/Sessions/Session_13400000000000000", b"SNSS\3\0\0\0" + b"\5\0\x14\1\0\0\0")


def google_chrome(home):
    return of_chrome_family("Google Chrome", "chrome", "chrome", "google-chrome", home)


def chromium(home):
    return of_chrome_family("Chromium", "chromium", "chromium", "chromium", home)
