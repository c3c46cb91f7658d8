#include "tests/support/LinuxSampleHome.h"

#include <sqlite3.h>

#include <filesystem>
#include <stdexcept>

#include "tests/support/Databases.h"
#include "tests/support/SampleWriter.h"

namespace testing_support {
namespace {

using Stage = SampleWriter::Stage;
using Texts = std::vector<std::string>;

constexpr char kLocalState[] = R"({"profile": {"info_cache": {"Default": {"name": "Ann"}, "P 1": {"name": "Wörk"}}}})";

struct ChromeInstallation {
  std::string browser;
  std::string data;
  std::string caches;
  Texts profiles;  // "" for the data folder itself
};

const std::vector<ChromeInstallation> kChromeInstallations = {
    {"Chromium", ".config/chromium/", ".cache/chromium/", {"Default/", "P 1/", "Not listed/"}},
    {"Chromium",
     ".var/app/org.chromium.Chromium/config/chromium/",
     ".var/app/org.chromium.Chromium/cache/chromium/",
     {"Default/"}},
    {"Chromium", "snap/chromium/common/chromium/", "snap/chromium/common/.cache/chromium/", {"Default/"}},
    {"Google Chrome", ".config/google-chrome/", ".cache/google-chrome/", {"Default/", "P 1/"}},
    {"Google Chrome", ".config/google-chrome-beta/", ".cache/google-chrome-beta/", {"Default/"}},
    {"Google Chrome",
     ".var/app/com.google.Chrome/config/google-chrome/",
     ".var/app/com.google.Chrome/cache/google-chrome/",
     {"Default/"}},
    {"Opera", ".config/opera/", ".cache/opera/", {""}},
    {"Opera", ".var/app/com.opera.Opera/config/opera/", ".var/app/com.opera.Opera/cache/opera/", {"Default/"}},
};

struct FirefoxInstallation {
  std::string data;
  std::string caches;
  Texts profiles;
};

constexpr char kApart[] = "Disk/ann.apart/";  // in the first installation's list; its caches are inside

const std::vector<FirefoxInstallation> kFirefoxInstallations = {
    {".mozilla/firefox/", ".cache/mozilla/firefox/", {"ann.default/", "ann.work/"}},
    {".config/mozilla/firefox/", ".cache/mozilla/firefox/", {"new.default/"}},
    {".var/app/org.mozilla.firefox/.mozilla/firefox/",
     ".var/app/org.mozilla.firefox/cache/mozilla/firefox/",
     {"flatpak.default/"}},
    {"snap/firefox/common/.mozilla/firefox/", "snap/firefox/common/.cache/mozilla/firefox/", {"snap.default/"}},
};

SampleWriter writerFor(const ScratchFolder& home, const std::string& browser, const std::optional<Cleaned>& cleaned) {
  if (!cleaned || cleaned->browser != browser) return {home, Stage::kBefore};
  return {home, cleaned->ofCurrentStores ? Stage::kCleaned : Stage::kCleanedOfOldStores};
}

void fillChrome(const ScratchFolder& home, const SampleWriter& writer, const ChromeInstallation& installation) {
  const bool hasFlashOfItsOwn = installation.browser != "Opera";
  for (const std::string& profile : installation.profiles) {
    writeChromeProfile(writer, installation.data + profile, installation.caches + profile, hasFlashOfItsOwn);
  }
  writeChromeData(writer, installation.data);
  home.file(installation.data + "Local State", kLocalState);
  // Looks like a store, but isn't in a profile.
  writer.files(Owner::kPerson, installation.data + "Notes/", {"Cookies", "IndexedDB/https_a_0.indexeddb.leveldb/LOG"});
}

void fillFirefox(const ScratchFolder& home, const SampleWriter& writer) {
  for (const FirefoxInstallation& installation : kFirefoxInstallations) {
    for (const std::string& profile : installation.profiles) {
      writeFirefoxProfile(writer, installation.data + profile, installation.caches + profile);
      writeFirefoxPermissions(writer, installation.data + profile);
    }
    writer.files(Owner::kPerson, installation.data, {"installs.ini", "notes.txt"});
    writer.files(Owner::kSiteInCurrentStore, installation.data, {"Crash Reports/pending/1.dmp"});
  }
  const std::string apart = home.path(kApart);
  home.file(
      kFirefoxInstallations[0].data + "profiles.ini",
      "[Profile0]\r\nName=default\r\nIsRelative=1\r\nPath=ann.default\r\n\r\n[Profile1]\r\nIsRelative=0\r\nPath=" +
          apart.substr(0, apart.size() - 1) + "\r\n");
  writeFirefoxProfile(writer, kApart, kApart);
  writeFirefoxPermissions(writer, kApart);
}

void fillOthers(const ScratchFolder& home, const SampleWriter& writer) {
  writer.files(Owner::kPerson, "",
               {"notes.txt", "Documents/Cookies", ".config/other/Default/Cookies", ".cache/other/Cache/data_0",
                ".config/Local State"});
  home.folder("Documents/empty");
  home.link("Desktop/documents", "../Documents");
}

}  // namespace

void SampleWriter::file(Owner owner, const std::string& path, const std::string& content) const {
  if (has(owner)) home_.file(path, content);
}

void SampleWriter::files(Owner owner, const std::string& folder, const std::vector<std::string>& names) const {
  const bool isSites = owner == Owner::kSite || owner == Owner::kSiteInCurrentStore;
  for (const std::string& name : names) {
    file(owner, folder + name, "content of " + folder + name + (isSites ? std::string(" ") + kVisitedSite : "") + "\n");
  }
}

void SampleWriter::level(Owner owner, const std::string& folder, const LevelEntries& entries) const {
  if (has(owner)) putInLevelDatabase(home_.path(folder), entries);
}

void SampleWriter::statements(Owner owner, const std::string& database, const std::string& statements) const {
  if (has(owner)) runStatements(home_.path(database), "BEGIN;" + statements + "COMMIT;");
}

void SampleWriter::databaseWithLog(Owner owner, const std::string& database) const {
  if (!has(owner)) return;
  const std::string path = home_.path(database);
  runStatements(path, "PRAGMA journal_mode = WAL; CREATE TABLE entries (text TEXT);");
  sqlite3* handle = nullptr;
  const bool isOpen = sqlite3_open(path.c_str(), &handle) == SQLITE_OK;
  sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  const std::string insertion = std::string("INSERT INTO entries VALUES ('") +
                                (owner == Owner::kPerson ? "https://bookmarked.example" : kVisitedSite) + "');";
  const bool isWritten = isOpen && sqlite3_exec(handle, insertion.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
  sqlite3_close(handle);
  if (!isWritten || !std::filesystem::exists(path + "-wal")) throw std::runtime_error("no log of " + path);
}

void fillLinuxSampleHome(const ScratchFolder& home, const std::optional<Cleaned>& cleaned) {
  for (const ChromeInstallation& installation : kChromeInstallations) {
    fillChrome(home, writerFor(home, installation.browser, cleaned), installation);
  }
  fillFirefox(home, writerFor(home, "Firefox", cleaned));
  const SampleWriter others(home, Stage::kBefore);
  fillOthers(home, others);
  // Shared by all browsers except those with a Flash Player of their own, whose cleaning removes only its caches.
  const bool takesFlash = cleaned && (cleaned->browser == "Firefox" || cleaned->browser == "Opera");
  const SampleWriter flash(home, takesFlash ? Stage::kCleaned : Stage::kBefore);
  flash.files(Owner::kSite, ".macromedia/", {"Flash_Player/#SharedObjects/x/visited.example/a.sol"});
  flash.files(Owner::kSite, ".adobe/", {"Flash_Player/NativeCache/x"});
  const SampleWriter flashCaches(home, cleaned ? Stage::kCleaned : Stage::kBefore);
  flashCaches.files(Owner::kSite, ".adobe/", {"Flash_Player/AssetCache/x"});
  others.files(Owner::kPerson, ".adobe/", {"Acrobat/settings"});
}

void fillLibraryWithCurrentStores(const ScratchFolder& home, const std::optional<Cleaned>& cleaned) {
  const std::string support = "Library/Application Support/";
  const std::string caches = "Library/Caches/";
  fillChrome(home, writerFor(home, "Chromium", cleaned),
             {"Chromium", support + "Chromium/", caches + "Chromium/", {"Default/", "P 1/"}});
  fillChrome(home, writerFor(home, "Google Chrome", cleaned),
             {"Google Chrome", support + "Google/Chrome/", caches + "Google/Chrome/", {"Default/"}});
  fillChrome(home, writerFor(home, "Opera", cleaned),
             {"Opera", support + "com.operasoftware.Opera/", caches + "com.operasoftware.Opera/", {""}});
  const SampleWriter firefox = writerFor(home, "Firefox", cleaned);
  for (const char* profile : {"ann.default/", "ann.work/"}) {
    writeFirefoxProfile(firefox, support + "Firefox/Profiles/" + profile, caches + "Firefox/Profiles/" + profile);
    firefox.files(Owner::kSite, support + "Firefox/Profiles/" + profile, {"permissions.sqlite"});
  }
  firefox.files(Owner::kPerson, support, {"Firefox/profiles.ini", "Firefox/Profiles/notes.txt"});
  fillOthers(home, SampleWriter(home, Stage::kBefore));
}

void fillInstallation(const ScratchFolder& home, const tidewell::Browser& browser, const std::string& dataFolder,
                      const std::string& cacheFolder, bool isCleaned) {
  const SampleWriter writer(home, isCleaned ? Stage::kCleaned : Stage::kBefore);
  const std::string data = dataFolder + "/";
  const std::string caches = cacheFolder + "/";
  if (browser.family == tidewell::Family::kFirefox) {
    writeFirefoxProfile(writer, data + "ann.default/", caches + "ann.default/");
    writeFirefoxPermissions(writer, data + "ann.default/");
    home.file(data + "profiles.ini", "[Profile0]\nName=default\nIsRelative=1\nPath=ann.default\n");
  } else {
    const std::string profile = browser.hasProfileInDataFolder ? "" : "Default/";
    writeChromeProfile(writer, data + profile, caches + profile, browser.hasFlashOfItsOwn);
    writeChromeData(writer, data);
    home.file(data + "Local State", kLocalState);
  }
}

std::vector<std::string> foldersOfLinuxSampleHome(const std::string& browser) {
  Texts folders;
  const auto append = [&folders](std::string folder) {
    folder.pop_back();
    folders.push_back(folder);
  };
  for (const ChromeInstallation& installation : kChromeInstallations) {
    if (installation.browser != browser) continue;
    append(installation.data);
    append(installation.caches);
  }
  if (browser == "Firefox") {
    for (const FirefoxInstallation& installation : kFirefoxInstallations) {
      append(installation.data);
      append(installation.caches);
    }
    append(kApart);
  }
  folders.insert(folders.end(), {".macromedia", ".adobe"});
  return folders;
}

}  // namespace testing_support
