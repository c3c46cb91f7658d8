#include "MainApplication/preview/Preview.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "MainApplication/preview/PreviewFiles.h"
#include "MainApplication/preview/PreviewSettings.h"
#include "MainApplication/preview/QueuedDispatch.h"
#include "MainApplication/preview/TreeSize.h"
#include "Platform/Linux/files/LinuxSystem.h"
#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/database/Sqlite.h"
#include "Worker/homes/FolderQuestions.h"
#include "Worker/homes/Home.h"

namespace tidewell {
namespace {

using platform::FileURL;

class NoTexts : public platform::Bundle {
 public:
  std::string bundleIdentifier() const override { return kBundleIdentifier; }
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view) const override { return std::nullopt; }
  std::string localizedString(const std::string& key, const std::string&) const override { return key; }
  std::string localizedPlural(const std::string& one, const std::string&, std::uint64_t) const override { return one; }
  std::optional<FileURL> urlForResource(std::string_view, std::string_view) const override { return FileURL("/"); }
};

class NoLog : public platform::Log {
 public:
  void log(std::string_view, const std::vector<platform::LogField>&) override {}
  void record(std::string_view, const std::vector<platform::LogField>&) override {}
};

/// Agrees to every request, because a preview may read everything anyway.
class AgreeingPanel : public platform::OpenPanel {
 public:
  void activateIgnoringOtherApps(bool) override {}
  platform::OpenPanelAnswer runModal(const platform::OpenPanelSettings& panel) override {
    return {platform::ModalResponse::ok, panel.target};
  }
};

/// Opens nothing for writing.
class LookingSystem : public platform::linux_::LinuxSystem {
 public:
  using LinuxSystem::LinuxSystem;
  int openForReadingAndWriting(const std::string&) override { return -1; }
};

class NoNotifications : public platform::UserNotificationCenter {
 public:
  void setDelegate(platform::UserNotificationCenterDelegate*) override {}
  void scheduleNotification(platform::UserNotification) override {}
  void removeDeliveredNotification(const platform::UserNotification&) override {}
};

class NoScripts : public platform::UserScripts {
 public:
  platform::Result<std::unique_ptr<platform::UserUnixTask>> taskWithURL(const FileURL&) override {
    return std::errc::operation_not_permitted;
  }
};

class NoQuits : public platform::Workspace {
 public:
  ObserverToken addDidTerminateApplicationObserver(Observer) override { return 0; }
  ObserverToken addApplicationRunsObserver(RunsObserver) override { return 0; }
  void removeObserver(ObserverToken) override {}
  bool isRunning(const std::string&) const override { return false; }
  void openApplication(const std::string&, const std::string&, const std::string&) override {}
};

/// How many rows each table of a database has.
std::map<std::string, std::uint64_t> rowCounts(const std::string& path) {
  std::map<std::string, std::uint64_t> counts;
  Sqlite database;
  if (!database.open(path)) return counts;
  const auto tables = database.executeQuery("SELECT name FROM sqlite_master WHERE type = 'table';");
  if (!tables) return counts;
  for (const Row table : *tables) {
    const auto name = table.stringForKey("name");
    if (!name) continue;
    std::string quoted;
    for (const char character : *name) quoted += character == '"' ? std::string("\"\"") : std::string(1, character);
    const auto rows = database.executeQuery("SELECT count(*) AS rows FROM \"" + quoted + "\";");
    if (rows && !rows->empty()) {
      counts.emplace(*name, std::stoull(std::string((*rows)[0].stringForKey("rows").value_or("0"))));
    }
  }
  return counts;
}

void appendItems(const PreviewFiles& files, Preview& preview) {
  const std::vector<std::string>& removals = files.removals();
  const std::set<std::string> all(removals.begin(), removals.end());
  const auto isInsideAnother = [&all](std::string path) {
    while (path.size() > 1) {
      path = platform::deletingLastPathComponent(path);
      if (all.contains(path)) return true;
    }
    return false;
  };
  for (const std::string& path : removals) {
    if (isInsideAnother(path)) continue;  // counted with that one
    if (const auto size = sizeOfTree(path)) preview.items.push_back({path, size->files, size->bytes});
  }
}

void appendRewritings(const PreviewFiles& files, Preview& preview) {
  for (const auto& [path, size] : files.replacements()) {
    const auto before = sizeOfTree(path);
    preview.rewritings.push_back({path, before && before->bytes > size ? before->bytes - size : 0});
  }
}

void appendRows(const PreviewFiles& files, Preview& preview) {
  for (const auto& [original, copy] : files.copies()) {
    const auto after = rowCounts(copy);
    // The original is read through a copy too: opening a database can create files beside it.
    const std::string untouched = copy + ".before";
    if (!PreviewFiles::copy(original, untouched)) continue;
    for (const auto& [table, count] : rowCounts(untouched)) {
      const auto left = after.find(table);
      const std::uint64_t rest = left != after.end() ? left->second : 0;
      if (rest < count) preview.rows.push_back({original, table, count - rest});
    }
  }
}

}  // namespace

Preview Preview::of(const Browser& browser, platform::UserDefaultsDomains& settings) {
  NoTexts texts;
  NoLog log;
  QueuedDispatch dispatch;
  platform::linux_::SecurityScopes scopes;
  scopes.openForProcess(FileURL("/", true));
  PreviewFiles files(scopes, platform::linux_::LinuxFileManager::scriptsFolderFromEnvironment(kBundleIdentifier));
  LookingSystem system(scopes);
  AgreeingPanel panel;
  PreviewSettings previewSettings(settings, {kSecureDeleteDataKey, kDisplayNotificationsKey});
  NoNotifications notifications;
  NoScripts scripts;
  NoQuits quits;
  platform::Platform platform{texts,  dispatch, files,           files,         log,     panel,
                              scopes, system,   previewSettings, notifications, scripts, quits};
  platform::Platform* const before = platform::Platform::install(&platform);

  FolderQuestions questions;
  questions.ask(*Home::current().layout, browser, {questions.newOccasion(), true});
  auto worker = WorkerAppDelegate::create();
  worker->clearData_andNotify(std::string(browser.name), false);
  dispatch.runUntilIdle();
  worker.reset();
  platform::Platform::install(before);

  Preview preview;
  appendItems(files, preview);
  appendRows(files, preview);
  appendRewritings(files, preview);
  return preview;
}

}  // namespace tidewell
