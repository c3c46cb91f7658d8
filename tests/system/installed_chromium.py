"""Chromium, as an ordinary user has it."""

import contextlib
import hashlib
import json
import os
import shutil
import sqlite3
import subprocess

from installed_browser import TITLES, Browser


class Chromium(Browser):
    name = "Chromium"
    identifier = "org.chromium.Chromium"
    command = "chromium"
    data = ".config/chromium"
    cache = ".cache/chromium"
    other_places = {
        "Flatpak": (".var/app/org.chromium.Chromium/config/chromium", ".var/app/org.chromium.Chromium/cache/chromium"),
        "Snap": ("snap/chromium/common/chromium", "snap/chromium/common/.cache/chromium"),
    }
    # By itself it would try a secure connection first, and take dictionaries from sites of known authorities only.
    arguments = ["--no-first-run", "--disable-features=HttpsUpgrades,HttpsFirstBalancedModeAutoEnable,"
                                   "CompressionDictionaryTransportRequireKnownRootCert"]
    first_profile = ["--profile-directory=Default"]
    quit_keys = ["alt+f", "x"]
    manifest = {"manifest_version": 3, "name": "Keeper", "version": "1.0",
                "permissions": ["storage", "unlimitedStorage"], "host_permissions": ["http://127.0.0.1/*"],
                "background": {"service_worker": "background.js"}}
    spared = {
        r"[^/]+/(History|Favicons|Top Sites|Shortcuts|Visited Links|Network Action Predictor)": TITLES,
        r"[^/]+/(Bookmarks|Login Data)": TITLES,
        r"[^/]+/Sessions/": TITLES,
    }
    stores = {
        r"[^/]+/Cookies": "cookies",
        r"[^/]+/Local Storage/": "local storage",
        r"[^/]+/Session Storage/": "storage of tabs",
        r"[^/]+/IndexedDB/http": "IndexedDB",
        r"[^/]+/Service Worker/CacheStorage/": "CacheStorage",
        r"[^/]+/Service Worker/": "service workers",
        r"[^/]+/File System/": "private and sandboxed file systems",
        r"[^/]+/WebStorage/QuotaManager": "list of storage buckets",
        r"[^/]+/WebStorage/": "storage buckets, and all storage of framed sites",
        r"[^/]+/Cache/": "HTTP cache",
        r"[^/]+/Code Cache/": "compiled scripts",
        r"[^/]+/Shared Dictionary/": "compression dictionaries",
        r"[^/]+/Preferences": "permissions, client hints, zoom, engagement",
        r"[^/]+/MediaDeviceSalts": "salts of media devices",
        r"[^/]+/DIPS": "bounce tracking",
        r"[^/]+/Network Persistent State": "alternative services",
        r"[^/]+/TransportSecurity": "secure connections",
        r"[^/]+/Reporting and NEL": "report endpoints",
        r"[^/]+/(History|Favicons|Top Sites|Shortcuts)": "history and icons",
        r"[^/]+/(Bookmarks|Login Data)": "bookmarks and passwords",
        r"[^/]+/Sessions/": "open tabs",
        r"segmentation_platform/": "usage statistics",
        r"Crash Reports/": "crash reports",
        r"([^/]+/)?\.org\.chromium\.Chromium\.": "files that were just being replaced",
    }
    fills_at_once = ("cookies", "local storage", "IndexedDB", "CacheStorage", "service workers", "HTTP cache",
                     "private and sandboxed file systems", "list of storage buckets", "compiled scripts",
                     "storage buckets, and all storage of framed sites", "compression dictionaries",
                     "salts of media devices", "permissions, client hints, zoom, engagement",
                     "history and icons")
    reopens_tabs_after = ("closing the last window", "quitting by the menu or its key", "SIGTERM")
    read_back = {"first: historyState", "first: formText", "first: httpOnlyCookie", "first: partitionedHttpOnlyCookie",
                 "first: permission", "first: clientHints", "first: secureOnly", "first: dictionary", "first: zoom", "first: cached /cached", "third: cached /large.js",
                 "secure: cached /cached", "secure: partitionedHttpOnlyCookie", "third: partitionedHttpOnlyCookie"}

    def __init__(self, desk, screen, site):
        super().__init__(desk, screen, site)
        self.arguments = [*self.arguments, f"--host-resolver-rules=MAP *.test:443 127.0.0.1:{site.secure_port},"
                                           f"MAP *.test:80 127.0.0.1:{site.port}"]

    def prepare(self):
        self.site.authority.trust_in(self.path(".pki/nssdb"))
        self.desk.give(self.desk.home)
        self.install_extension()
        self.start("about:blank")
        keeper = self.path(self.data, "Default/Local Extension Settings")
        self.desk.wait(lambda: self.site.extension_told and os.path.isdir(keeper), what="the extension's page")
        self.end("quitting by the menu or its key")
        self.bookmark()
        self.save_password()
        self.allow_what_asks()
        self.desk.give(self.desk.home)

    def install_extension(self):
        """Installs the extension as a system package does: a file in "External Extensions" names its path."""
        folder = os.path.join(self.desk.root, "extension")
        self.site.extension(folder, self.manifest)
        self.desk.give(self.site.folder)
        shutil.copytree(folder, self.path("extension"))
        self.desk.give(self.path("extension"))
        packing = self.run("--pack-extension=" + self.path("extension"))
        self.desk.wait(lambda: packing.poll() is not None, what="the packed extension")
        key = self.path("extension.pem")
        public = subprocess.run(["openssl", "pkey", "-in", key, "-pubout", "-outform", "DER"], check=True,
                                capture_output=True).stdout
        letters = str.maketrans("0123456789abcdef", "abcdefghijklmnop")
        identifier = hashlib.sha256(public).hexdigest()[:32].translate(letters)
        notes = self.path(self.data, "External Extensions")
        os.makedirs(notes)
        with open(f"{notes}/{identifier}.json", "w") as file:
            json.dump({"external_crx": self.path("extension.crx"), "external_version": "1.0"}, file)
        self.desk.give(self.path(self.data))

    def bookmark(self):
        children = [{"date_added": "13400000000000000", "guid": "5e2cb9c0-91a1-4f9c-8b4f-5d5a2b6c7d8e", "id": "4",
                     "name": "Quokkas", "type": "url", "url": self.site.address("first")}]
        folder = {"date_added": "13400000000000000", "type": "folder"}
        with open(self.path(self.data, "Default/Bookmarks"), "w") as file:
            json.dump({"version": 1, "roots": {
                "bookmark_bar": {**folder, "children": children, "id": "1", "name": "Bookmarks bar"},
                "other": {**folder, "children": [], "id": "2", "name": "Other bookmarks"},
                "synced": {**folder, "children": [], "id": "3", "name": "Mobile bookmarks"}}}, file)

    def save_password(self):
        # Without a keyring in the session the browser encrypts with a fixed key.
        key = hashlib.pbkdf2_hmac("sha1", b"peanuts", b"saltysalt", 1, 16)
        secret = subprocess.run(["openssl", "enc", "-aes-128-cbc", "-K", key.hex(), "-iv", (b" " * 16).hex()],
                                input=b"a password", check=True, capture_output=True).stdout
        address = self.site.address("first")
        with contextlib.closing(sqlite3.connect(self.path(self.data, "Default/Login Data"))) as database, database:
            database.execute(
                "INSERT INTO logins (origin_url, action_url, username_element, username_value, password_element,"
                " password_value, submit_element, signon_realm, date_created, blacklisted_by_user, scheme)"
                " VALUES (?, ?, '', 'ann', '', ?, '', ?, 13400000000000000, 0, 0)",
                (address, address, b"v10" + secret, address))

    def allow_what_asks(self):
        path = self.path(self.data, "Default/Preferences")
        with open(path) as file:
            preferences = json.load(file)
        exceptions = preferences["profile"].setdefault("content_settings", {}).setdefault("exceptions", {})
        exceptions.setdefault("notifications", {})[self.site.address("first")[:-1] + ",*"] = {
            "last_modified": "13400000000000000", "setting": 1}
        third, secure = (self.site.address(place)[:-1] for place in ("third", "secure"))
        exceptions.setdefault("storage_access", {})[f"{secure},{third}"] = {
            "last_modified": "13400000000000000", "setting": 1}
        preferences.setdefault("custom_handlers", {})["registered_protocol_handlers"] = [
            {"default": True, "protocol": "mailto", "url": self.site.address("first") + "?handles=%s"}]
        preferences.setdefault("session", {})["restore_on_startup"] = 1  # the tabs of the last time
        with open(path, "w") as file:
            json.dump(preferences, file)

    def owned(self, data=None):
        folder = self.path(data or self.data, "Default/")
        with open(folder + "Bookmarks") as file:
            bookmarks = json.load(file)["roots"]["bookmark_bar"]["children"]
        return {"bookmarks": [(bookmark["name"], bookmark["url"]) for bookmark in bookmarks],
                "passwords": self.rows(folder + "Login Data", "SELECT origin_url, username_value, password_value "
                                                              "FROM logins"),
                "history": self.rows(folder + "History", "SELECT url, title, visit_count FROM urls"),
                "visits": self.rows(folder + "History", "SELECT url, visit_time FROM visits"),
                "icons": self.rows(folder + "Favicons", "SELECT page_url FROM icon_mapping"),
                "extensions": self.extensions_files(folder, "* Extension Settings", "Extension *", "Extensions", "Sync Data",
                                                    "* App Settings", "IndexedDB/chrome-extension_*")}

    def start_second_profile(self, address):
        self.run("--profile-directory=Profile 1", address)
