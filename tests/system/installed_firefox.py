"""Firefox, as an ordinary user has it."""

import configparser
import json
import os

import marionette
from installed_browser import TITLES, Browser


class Firefox(Browser):
    name = "Firefox"
    identifier = "org.mozilla.firefox"
    command = "firefox-esr"
    data = ".config/mozilla/firefox"
    cache = ".cache/mozilla/firefox"
    other_places = {
        "an earlier version": (".mozilla/firefox", ".cache/mozilla/firefox"),
        "Flatpak": (".var/app/org.mozilla.firefox/.mozilla/firefox",
                    ".var/app/org.mozilla.firefox/cache/mozilla/firefox"),
        "Snap": ("snap/firefox/common/.mozilla/firefox", "snap/firefox/common/.cache/mozilla/firefox"),
    }
    quit_keys = ["ctrl+q"]
    manifest = {"manifest_version": 2, "name": "Keeper", "version": "1.0",
                "permissions": ["storage", "unlimitedStorage", "http://127.0.0.1/*"],
                "background": {"scripts": ["background.js"]},
                "browser_specific_settings": {"gecko": {"id": "keeper@example.org"}}}
    spared = {
        r"[^/]+/(places|favicons)\.sqlite": TITLES,
        r"[^/]+/(logins|key4|bookmarkbackups)": TITLES,
        r"[^/]+/sessionstore": TITLES,
    }
    stores = {
        r"[^/]+/cookies\.sqlite": "cookies",
        r"[^/]+/storage/default/http[^/]*(/(\.metadata.*))?$": "folders of sites",
        r"[^/]+/storage/default/http[^/]*/ls/": "local storage",
        r"[^/]+/storage/default/http[^/]*/idb/": "IndexedDB",
        r"[^/]+/storage/default/http[^/]*/cache/": "CacheStorage and service workers' scripts",
        r"[^/]+/storage/default/http[^/]*/fs/": "private file systems",
        r"[^/]+/storage/": "other storage",
        r"[^/]+/storage\.sqlite": "list of storages",
        r"[^/]+/serviceworker\.txt": "service workers",
        r"[^/]+/cache2/": "HTTP cache, with compiled scripts",
        r"[^/]+/permissions\.sqlite": "permissions",
        r"[^/]+/gmp/": "licences of protected media",
        r"[^/]+/content-prefs\.sqlite": "zoom",
        r"[^/]+/bounce-tracking-protection\.sqlite": "bounce tracking",
        r"[^/]+/AlternateServices\.": "alternative services",
        r"[^/]+/SiteSecurityServiceState\.": "secure connections",
        r"[^/]+/(places|favicons)\.sqlite": "history, bookmarks and icons",
        r"[^/]+/(logins|key4)": "passwords",
        r"[^/]+/sessionstore": "open tabs",
        r"(Crash Reports|[^/]+/(crashes|minidumps))/": "crash reports",
    }
    fills_at_once = ("cookies", "folders of sites", "local storage", "IndexedDB", "private file systems", "zoom",
                     "CacheStorage and service workers' scripts", "service workers",
                     "HTTP cache, with compiled scripts", "history, bookmarks and icons")
    read_back = {"first: httpOnlyCookie", "first: partitionedHttpOnlyCookie", "first: permission", "first: zoom",
                 "first: secureOnly",
                 "first: cached /cached", "third: cached /large.js", "third: httpOnlyCookie", "secure: httpOnlyCookie",
                 "secure: cached /cached", "secure: partitionedHttpOnlyCookie", "third: partitionedHttpOnlyCookie"}

    def profile(self, name="default-esr", data=None):
        profiles = configparser.ConfigParser()
        profiles.read(self.path(data or self.data, "profiles.ini"))
        return next(self.path(data or self.data, section["Path"]) for section in profiles.values()
                    if section.get("Name") == name)

    def preferences(self):
        """Where the sites' domains lead, without naming them. By itself the browser would try a secure connection first."""
        return {"network.dns.forceResolve": "127.0.0.1",
                "network.socket.forcePort": f"443={self.site.secure_port};80={self.site.port}",
                "dom.security.https_first": False, "dom.security.https_first_schemeless": False,
                "dom.security.https_first_for_unknown_suffixes": False}

    def prepare(self):
        """Trusts a certificate authority, installs an unsigned extension, stores a bookmark and a password, lets a site
        notify, and one see its storage in another."""
        self.site.extension(os.path.join(self.desk.root, "extension"), self.manifest)
        with marionette.turn():
            self.start(*marionette.Marionette.arguments)
            firefox = marionette.Marionette()
            try:
                firefox.run("""
                    const modules = "resource://gre/modules/";
                    const {AddonManager} = ChromeUtils.importESModule(modules + "AddonManager.sys.mjs");
                    const {FileUtils} = ChromeUtils.importESModule(modules + "FileUtils.sys.mjs");
                    const {PlacesUtils} = ChromeUtils.importESModule(modules + "PlacesUtils.sys.mjs");
                    const [authority, extension, preferences, address, third, secure] = given;
                    for (const [name, value] of Object.entries(preferences)) {
                        if (typeof value === "boolean") Services.prefs.setBoolPref(name, value);
                        else Services.prefs.setStringPref(name, value);
                    }
                    Cc["@mozilla.org/security/x509certdb;1"].getService(Ci.nsIX509CertDB)
                        .addCertFromBase64(authority, "C,,");
                    Services.prefs.setBoolPref("xpinstall.signatures.required", false);
                    await (await AddonManager.getInstallForFile(new FileUtils.File(extension))).install();
                    await PlacesUtils.bookmarks.insert(
                        {parentGuid: PlacesUtils.bookmarks.toolbarGuid, url: address, title: "Quokkas"});
                    const login = Cc["@mozilla.org/login-manager/loginInfo;1"].createInstance(Ci.nsILoginInfo);
                    login.init(new URL(address).origin, address, null, "ann", "a password", "", "");
                    await Services.logins.addLoginAsync(login);
                    Services.perms.addFromPrincipal(
                        Services.scriptSecurityManager.createContentPrincipalFromOrigin(new URL(address).origin),
                        "desktop-notification", Services.perms.ALLOW_ACTION);
                    Services.perms.addFromPrincipal(
                        Services.scriptSecurityManager.createContentPrincipalFromOrigin(new URL(third).origin),
                        "3rdPartyStorage^" + new URL(secure).origin, Services.perms.ALLOW_ACTION);
                    """, self.site.authority.base64(), os.path.join(self.desk.root, "extension.xpi"),
                            self.preferences(), *(self.site.address(place) for place in ("first", "third", "secure")))
            finally:
                firefox.close()
            self.desk.wait(lambda: self.site.extension_told, what="the extension's page")
            self.end("quitting by the menu or its key")

    def see_to_what_it_asks(self):
        """After a crash another program asks in a window for a report: clicks its button to quit."""
        for number in self.screen.windows("Crash Reporter"):
            self.screen.click(number, 340, 372)
            self.desk.wait(lambda: not self.screen.windows("Crash Reporter"),
                           what="the end of the crash reporter")

    def owned(self, data=None):
        folder = self.profile(data=data)
        with open(folder + "/logins.json") as file:
            passwords = json.load(file)["logins"]
        places = folder + "/places.sqlite"
        return {"bookmarks": self.rows(places, "SELECT moz_bookmarks.title, url FROM moz_bookmarks "
                                               "JOIN moz_places ON fk = moz_places.id"),
                "passwords": passwords,
                "history": self.rows(places, "SELECT url, title, visit_count FROM moz_places"),
                "visits": self.rows(places, "SELECT place_id, visit_date FROM moz_historyvisits"),
                "icons": self.rows(folder + "/favicons.sqlite", "SELECT page_url FROM moz_pages_w_icons"),
                "extensions": self.extensions_files(folder, "storage/default/moz-extension+++*", "storage-sync*",
                                                    "browser-extension-data", "extension*")}

    def start_second_profile(self, address):
        making = self.run("-CreateProfile", "second")
        self.desk.wait(lambda: making.poll() is not None, what="the second profile")
        self.site.authority.trust_in(self.profile("second"))
        with open(self.profile("second") + "/user.js", "w") as file:
            file.writelines(f"user_pref({json.dumps(name)}, {json.dumps(value)});\n"
                            for name, value in self.preferences().items())
        self.desk.give(self.profile("second"))
        self.processes.append(self.run("-P", "second", "-new-instance", address))
