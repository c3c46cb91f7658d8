#include "MainApplication/preview/Preview.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "MainApplication/preview/PreviewFiles.h"
#include "MainApplication/preview/PreviewSettings.h"
#include "MainApplication/preview/QueuedDispatch.h"
#include "MainApplication/preview/TreeSize.h"
#include "Platform/Linux/cells/LinuxCells.h"
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
  std::unique_ptr<platform::ProcessWatch> watchProcess(int, platform::Task) override { return nullptr; }
  void openApplication(const std::string&, const std::string&, const std::string&) override {}
};

/// The rows that stay in each table of the databases that were opened, by their paths.
using RowsLeft = std::map<std::string, std::map<std::string, std::uint64_t>>;

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

/// Whether a path lies in one of the items.
bool isInside(std::string path, const std::set<std::string>& items) {
  while (path.size() > 1) {
    path = platform::deletingLastPathComponent(path);
    if (items.contains(path)) return true;
  }
  return false;
}

/// What is removed; a folder in which other files are written meanwhile counts as one that is rewritten.
void appendItems(const PreviewFiles& files, Preview& preview) {
  const std::vector<std::string>& removals = files.removals();
  const std::set<std::string> all(removals.begin(), removals.end());
  const auto refilled = files.refilledFolders();
  std::map<std::string, std::uint64_t> freed;  // in refilled folders
  for (const std::string& path : removals) {
    if (isInside(path, all)) continue;  // counted with that one
    const auto size = sizeOfTree(path);
    if (!size) continue;
    const std::string folder = platform::deletingLastPathComponent(path);
    if (refilled.contains(folder)) {
      freed[folder] += size->bytes;
    } else {
      preview.items.push_back({path, size->files, size->bytes});
    }
  }
  for (const auto& [folder, bytes] : refilled) {
    preview.rewritings.push_back({folder, freed[folder] - std::min(freed[folder], bytes)});
  }
}

void appendRewritings(const PreviewFiles& files, Preview& preview) {
  for (const auto& [path, size] : files.replacements()) {
    const auto before = sizeOfTree(path);
    preview.rewritings.push_back({path, before && before->bytes > size ? before->bytes - size : 0});
  }
}

void appendRows(const PreviewFiles& files, Preview& preview, RowsLeft& left) {
  for (const auto& [original, copy] : files.copies()) {
    const auto after = rowCounts(copy);
    left.emplace(original, after);
    // The original is read through a copy too: opening a database can create files beside it.
    const std::string untouched = copy + ".before";
    if (!PreviewFiles::copy(original, untouched)) continue;
    for (const auto& [table, count] : rowCounts(untouched)) {
      const auto found = after.find(table);
      const std::uint64_t rest = found != after.end() ? found->second : 0;
      if (rest < count) preview.rows.push_back({original, table, count - rest});
    }
  }
}

/// A run that changes nothing. The hidden settings look absent to it.
Preview previewed(const Browser& browser, platform::UserDefaultsDomains& settings, const std::set<std::string>& hidden,
                  RowsLeft& left) {
  NoTexts texts;
  NoLog log;
  QueuedDispatch dispatch;
  platform::linux_::SecurityScopes scopes;
  scopes.openForProcess(FileURL("/", true));
  PreviewFiles files(scopes, platform::linux_::LinuxFileManager::scriptsFolderFromEnvironment(kBundleIdentifier));
  LookingSystem system(scopes);
  AgreeingPanel panel;
  PreviewSettings previewSettings(settings, hidden);
  NoNotifications notifications;
  NoScripts scripts;
  NoQuits quits;
  platform::linux_::LinuxCells cells(platform::linux_::LinuxCells::programOfExecutable(), log);
  platform::NoConfinement confinement;  // nothing is changed
  platform::Platform platform{texts,  dispatch,        files,         files,   log,   panel, scopes,
                              system, previewSettings, notifications, scripts, quits, cells, confinement};
  platform::Platform* const before = platform::Platform::install(&platform);

  Preview preview;
  FolderQuestions questions;
  const Home home = Home::current();
  preview.kept.listIsUnknown = home.keptWithSites(*previewSettings.suite(kSharedSuite)).sites.isUnknown();
  questions.ask(*home.layout, browser, {questions.newOccasion(), true});
  auto worker = WorkerAppDelegate::create();
  worker->clearData_andNotify(std::string(browser.name), false);
  dispatch.runUntilIdle();
  worker.reset();
  const StorePlaces places(browser, *home.layout, home.folder.path);
  platform::Platform::install(before);

  appendItems(files, preview);
  appendRows(files, preview, left);
  appendRewritings(files, preview);
  for (PreviewedItem& item : preview.items) item.group = places.groupOf(item.path);
  for (PreviewedRows& table : preview.rows) table.group = places.groupOf(table.database);
  for (PreviewedRewriting& file : preview.rewritings) file.group = places.groupOf(file.path);
  return preview;
}

/// What the run of `all` removes beyond that of `preview`.
class Difference {
 public:
  Difference(const Preview& preview, const RowsLeft& left, const Preview& all)
      : preview_(preview), left_(left), all_(all) {
    for (const PreviewedItem& item : preview.items) removed_.insert(item.path);
  }

  Preview::Kept kept() const {
    Preview::Kept kept;
    kept.listIsUnknown = preview_.kept.listIsUnknown;
    for (const PreviewedItem& item : all_.items) {
      if (!removed_.contains(item.path) && !isInside(item.path, removed_)) addItem(item, kept);
    }
    for (const PreviewedRows& rows : all_.rows) {
      const std::uint64_t count = rows.rows - std::min(rows.rows, rowsRemoved(rows.database, rows.table));
      if (count != 0) kept.rows.push_back({rows.database, rows.table, count, rows.group});
    }
    for (const PreviewedRewriting& rewriting : all_.rewritings) {
      const std::uint64_t bytes = rewriting.bytes - std::min(rewriting.bytes, bytesRemoved(rewriting.path).value_or(0));
      if (bytes != 0) kept.rewritings.push_back({rewriting.path, bytes, rewriting.group});
    }
    return kept;
  }

 private:
  /// An item that goes as a whole when nothing is kept.
  void addItem(PreviewedItem item, Preview::Kept& kept) const {
    static const std::set<std::string> kOwnAffairs{"meta", "config", "sqlite_sequence"};
    if (const auto database = left_.find(item.path); database != left_.end() && !preview_.kept.listIsUnknown) {
      for (const auto& [table, rows] : database->second) {
        if (rows != 0 && !kOwnAffairs.contains(table)) kept.rows.push_back({item.path, table, rows, item.group});
      }
      return;
    }
    if (const auto bytes = bytesRemoved(item.path)) {
      kept.rewritings.push_back({item.path, item.bytes - std::min(item.bytes, *bytes), item.group});
      return;
    }
    for (const PreviewedItem& part : preview_.items) {
      if (!platform::isPathInside(part.path, item.path)) continue;
      item.files -= std::min(item.files, part.files);
      item.bytes -= std::min(item.bytes, part.bytes);
    }
    if (item.files != 0) kept.items.push_back(item);
  }

  std::uint64_t rowsRemoved(const std::string& database, const std::string& table) const {
    const auto found = std::find_if(preview_.rows.begin(), preview_.rows.end(), [&](const PreviewedRows& rows) {
      return rows.database == database && rows.table == table;
    });
    return found != preview_.rows.end() ? found->rows : 0;
  }

  std::optional<std::uint64_t> bytesRemoved(const std::string& path) const {
    const auto found = std::find_if(preview_.rewritings.begin(), preview_.rewritings.end(),
                                    [&path](const PreviewedRewriting& rewriting) { return rewriting.path == path; });
    return found != preview_.rewritings.end() ? std::optional(found->bytes) : std::nullopt;
  }

  const Preview& preview_;
  const RowsLeft& left_;
  const Preview& all_;
  std::set<std::string> removed_;
};

}  // namespace

Preview Preview::of(const Browser& browser, platform::UserDefaultsDomains& settings) {
  std::set<std::string> hidden{kSecureDeleteDataKey, kDisplayNotificationsKey};
  RowsLeft left;
  Preview preview = previewed(browser, settings, hidden, left);
  const auto list = settings.suite(kSharedSuite)->checkedObjectForKey(kKeptSitesKey);
  if (list && !*list) return preview;
  hidden.insert(kKeptSitesKey);
  RowsLeft unused;
  preview.kept = Difference(preview, left, previewed(browser, settings, hidden, unused)).kept();
  return preview;
}

}  // namespace tidewell
