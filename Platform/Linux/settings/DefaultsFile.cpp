#include "Platform/Linux/settings/DefaultsFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

#include "Platform/Linux/settings/ValueCodec.h"
#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

constexpr int kApplicationId = 0x54574453;  // marks the file as a settings file
constexpr int kSchemaVersion = 1;
// How long a lock is waited for. Once nobody let go of it for that long, its holder has stopped: from then on it is
// waited for only briefly, until it can be had again, since what reads many keys would wait for each.
constexpr int kBusyTimeoutMilliseconds = 10'000;
constexpr int kBriefTimeoutMilliseconds = 10;
constexpr std::chrono::milliseconds kLockPatience{2000};
constexpr std::chrono::milliseconds kBriefLockPatience{0};
constexpr std::chrono::milliseconds kLockPause{2};
constexpr std::chrono::seconds kCheckpointPatience{5};
constexpr std::chrono::milliseconds kCheckpointPause{5};
constexpr mode_t kFolderMode = 0700;
constexpr mode_t kFileMode = 0600;

// A small cache: the store is read key by key, and an idle process should hold next to nothing.
constexpr char kSettings[] =
    "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; PRAGMA cache_size = -256; PRAGMA temp_store = MEMORY;";
// Keys are in an index of their own: beside the values, the search for a key would read all of a large value on its
// way.
constexpr char kSchema[] =
    "BEGIN IMMEDIATE;"
    "CREATE TABLE IF NOT EXISTS defaults (key TEXT NOT NULL PRIMARY KEY, value BLOB NOT NULL);"
    "PRAGMA application_id = %d; PRAGMA user_version = %d;"
    "COMMIT;";
// Files of version 0.1.0 have no such index.
constexpr char kHasIndex[] = "SELECT count(*) FROM sqlite_master WHERE type = 'index'";
constexpr char kMakeIndex[] =
    "BEGIN IMMEDIATE;"
    "ALTER TABLE defaults RENAME TO earlier;"
    "CREATE TABLE defaults (key TEXT NOT NULL PRIMARY KEY, value BLOB NOT NULL);"
    "INSERT INTO defaults SELECT key, value FROM earlier;"
    "DROP TABLE earlier;"
    "COMMIT;";
constexpr char kSelect[] = "SELECT value FROM defaults WHERE key = ?1";
constexpr char kSelectAll[] = "SELECT key, value FROM defaults";
constexpr char kReplace[] =
    "INSERT INTO defaults VALUES (?1, ?2) ON CONFLICT (key) DO UPDATE SET value = excluded.value";
constexpr char kDeleteAll[] = "DELETE FROM defaults";
constexpr char kDelete[] = "DELETE FROM defaults WHERE key = ?1";

bool isDamage(int result) {
  const int primary = result & 0xff;
  return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

void bindText(sqlite3_stmt* statement, int index, std::string_view text) {
  sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
}

std::string_view columnBytes(sqlite3_stmt* statement, int column) {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, column));
  return {bytes != nullptr ? bytes : "", static_cast<std::size_t>(sqlite3_column_bytes(statement, column))};
}

/// The integer that a statement without parameters returns; absent when it fails.
std::optional<int> queriedInteger(sqlite3* database, const char* sql, int& result) {
  sqlite3_stmt* statement = nullptr;
  std::optional<int> integer;
  result = sqlite3_prepare_v2(database, sql, -1, &statement, nullptr);
  if (result == SQLITE_OK) {
    result = sqlite3_step(statement);
    if (result == SQLITE_ROW) integer = sqlite3_column_int(statement, 0);
  }
  sqlite3_finalize(statement);
  return integer;
}

/// Creates the folder and those above it, for the owner alone.
bool makeFolders(const std::string& folder) {
  if (::mkdir(folder.c_str(), kFolderMode) == 0 || errno == EEXIST) return true;
  if (errno != ENOENT || folder.size() < 2) return false;
  return makeFolders(deletingLastPathComponent(folder)) &&
         (::mkdir(folder.c_str(), kFolderMode) == 0 || errno == EEXIST);
}

/// Held while a file is opened, or checked and set aside, so that no process removes another's fresh file. It is only
/// held briefly: when it can't be obtained with that patience, its holder was stopped, and is not waited for.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder, std::chrono::milliseconds patience = kLockPatience)
      : descriptor_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (descriptor_ >= 0 && !isHeld_) {
      isHeld_ = ::flock(descriptor_, LOCK_EX | LOCK_NB) == 0;
      if (isHeld_ || (errno != EWOULDBLOCK && errno != EINTR) || std::chrono::steady_clock::now() > end) return;
      std::this_thread::sleep_for(kLockPause);
    }
  }
  ~FolderLock() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  bool isHeld() const { return isHeld_; }

 private:
  const int descriptor_;
  bool isHeld_ = false;
};

}  // namespace

DefaultsFile::DefaultsFile(std::string path, Log& log) : path_(std::move(path)), log_(log) {}

DefaultsFile::~DefaultsFile() {
  close();
}

bool DefaultsFile::exists() const {
  return ::access(path_.c_str(), F_OK) == 0;
}

std::optional<Value> DefaultsFile::read(const std::string& key) {
  return readChecked(key).value().value_or(std::nullopt);
}

Result<std::optional<Value>> DefaultsFile::readChecked(const std::string& key) {
  const std::lock_guard lock(mutex_);
  std::optional<Value> value;
  bool isThere = false;
  const Outcome outcome = attempt(Creation::existing, [&] {
    sqlite3_stmt* select = statement(select_, kSelect);
    if (select == nullptr) return sqlite3_errcode(database_);
    bindText(select, 1, key);
    const int result = sqlite3_step(select);
    isThere = result == SQLITE_ROW;
    value = isThere ? decodedValue(columnBytes(select, 0)) : std::nullopt;
    sqlite3_reset(select);
    return result;
  });
  if (!value && (outcome == Outcome::failed || isThere || wasDamaged_)) return std::errc::io_error;
  return value;
}

Value::Dictionary DefaultsFile::readAll() {
  const std::lock_guard lock(mutex_);
  Value::Dictionary all;
  attempt(Creation::existing, [&] {
    all.clear();
    sqlite3_stmt* select = nullptr;
    int result = sqlite3_prepare_v2(database_, kSelectAll, -1, &select, nullptr);
    while (result == SQLITE_OK && (result = sqlite3_step(select)) == SQLITE_ROW) {
      if (auto value = decodedValue(columnBytes(select, 1)))
        all.insert_or_assign(std::string(columnBytes(select, 0)), *value);
      result = SQLITE_OK;
    }
    sqlite3_finalize(select);
    return result;
  });
  return all;
}

bool DefaultsFile::write(const std::string& key, const Value& value) {
  const std::string bytes = encodedValue(value);
  const std::lock_guard lock(mutex_);
  const Outcome outcome = attempt(Creation::createIfMissing, [&] {
    sqlite3_stmt* select = statement(select_, kSelect);
    sqlite3_stmt* replace = statement(replace_, kReplace);
    if (select == nullptr || replace == nullptr) return sqlite3_errcode(database_);
    // An unchanged value is not written again: the same bookmarks are recorded at every run.
    bindText(select, 1, key);
    int result = sqlite3_step(select);
    const bool isStored = result == SQLITE_ROW && columnBytes(select, 0) == bytes;
    sqlite3_reset(select);
    if (isStored || isDamage(result)) return result;
    bindText(replace, 1, key);
    sqlite3_bind_blob(replace, 2, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
    return run(replace);
  });
  if (outcome != Outcome::done) logOnce("Settings in " + path_ + " could not be written");
  return outcome == Outcome::done;
}

bool DefaultsFile::erase(const std::string& key) {
  const std::lock_guard lock(mutex_);
  const Outcome outcome = attempt(Creation::existing, [&] {
    sqlite3_stmt* remove = statement(delete_, kDelete);
    if (remove == nullptr) return sqlite3_errcode(database_);
    bindText(remove, 1, key);
    return run(remove);
  });
  if (outcome == Outcome::failed) logOnce("Settings in " + path_ + " could not be written");
  return outcome != Outcome::failed;
}

bool DefaultsFile::checkpoint() {
  const std::lock_guard lock(mutex_);
  const Outcome outcome = attempt(Creation::existing, [&] {
    int result = SQLITE_BUSY;
    // While another process does the same, this returns SQLITE_BUSY at once, whatever the timeout.
    const auto end = std::chrono::steady_clock::now() + kCheckpointPatience;
    do {
      result = sqlite3_wal_checkpoint_v2(database_, nullptr, SQLITE_CHECKPOINT_FULL, nullptr, nullptr);
      if (result == SQLITE_BUSY) std::this_thread::sleep_for(kCheckpointPause);
    } while (result == SQLITE_BUSY && std::chrono::steady_clock::now() < end);
    return result;
  });
  return outcome == Outcome::done || outcome == Outcome::absent;
}

bool DefaultsFile::eraseAll() {
  const std::lock_guard lock(mutex_);
  const Outcome outcome =
      attempt(Creation::existing, [&] { return sqlite3_exec(database_, kDeleteAll, nullptr, nullptr, nullptr); });
  return outcome != Outcome::failed;
}

/// Runs `work` on the open database, once more after a damaged file was set aside.
DefaultsFile::Outcome DefaultsFile::attempt(Creation creation, const std::function<int()>& work) {
  Outcome outcome = attemptOnce(creation, work);
  if (outcome == Outcome::damaged) {
    wasDamaged_ = true;
    setAside();
    outcome = attemptOnce(creation, work);
  }
  return outcome == Outcome::damaged ? Outcome::failed : outcome;
}

DefaultsFile::Outcome DefaultsFile::attemptOnce(Creation creation, const std::function<int()>& work) {
  if (database_ != nullptr && !isStillTheSameFile()) close();
  if (database_ == nullptr) {
    const Outcome opened = open(creation);
    if (opened != Outcome::done) return opened;
  }
  const int result = work();
  setHeldUp((result & 0xff) == SQLITE_BUSY);
  if (isDamage(result)) return Outcome::damaged;
  return result == SQLITE_OK || result == SQLITE_ROW || result == SQLITE_DONE ? Outcome::done : Outcome::failed;
}

DefaultsFile::Outcome DefaultsFile::open(Creation creation) {
  int flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW;
  if (creation == Creation::createIfMissing) {
    flags |= O_CREAT;
    if (!makeFolders(deletingLastPathComponent(path_))) return Outcome::failed;
  }
  // One process at a time: another one may be in the middle of creating the file or setting it aside.
  const FolderLock folderLock(deletingLastPathComponent(path_), isHeldUp_ ? kBriefLockPatience : kLockPatience);
  // Created here, so that it is private to its owner from the start; the write-ahead log's files take over its mode.
  const int descriptor = ::open(path_.c_str(), flags, kFileMode);
  if (descriptor < 0) return errno == ENOENT ? Outcome::absent : Outcome::failed;
  struct stat status {};
  const bool isFile = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
  ::close(descriptor);
  if (!isFile) return Outcome::failed;
  device_ = status.st_dev;
  inode_ = status.st_ino;

  int result = sqlite3_open_v2(path_.c_str(), &database_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  if (result == SQLITE_OK) {
    sqlite3_busy_timeout(database_, isHeldUp_ ? kBriefTimeoutMilliseconds : kBusyTimeoutMilliseconds);
    result = prepareSchema();
    setHeldUp((result & 0xff) == SQLITE_BUSY);
  }
  if (result == SQLITE_OK) return Outcome::done;
  close();
  return isDamage(result) ? Outcome::damaged : Outcome::failed;
}

int DefaultsFile::prepareSchema() {
  int result = sqlite3_exec(database_, kSettings, nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) return result;
  const std::optional<int> version = queriedInteger(database_, "PRAGMA user_version", result);
  if (!version) return result;
  if (*version == kSchemaVersion) {
    const std::optional<int> id = queriedInteger(database_, "PRAGMA application_id", result);
    if (!id) return result;
    if (*id != kApplicationId) return SQLITE_NOTADB;
    makeIndex();
    return SQLITE_OK;
  }
  // An empty file is a new one; any other content is not a settings file of ours.
  const std::optional<int> tables = queriedInteger(database_, "SELECT count(*) FROM sqlite_master", result);
  if (!tables) return result;
  if (*version != 0 || (*tables != 0 && queriedInteger(database_, "PRAGMA application_id", result) != kApplicationId)) {
    return SQLITE_NOTADB;
  }
  char* sql = sqlite3_mprintf(kSchema, kApplicationId, kSchemaVersion);
  result = sqlite3_exec(database_, sql, nullptr, nullptr, nullptr);
  sqlite3_free(sql);
  return result;
}

/// Brings a file of an earlier version into today's form. Where that fails it serves as it is.
void DefaultsFile::makeIndex() {
  int result = SQLITE_OK;
  if (queriedInteger(database_, kHasIndex, result).value_or(1) != 0) return;
  sqlite3_busy_timeout(database_, kBriefTimeoutMilliseconds);
  if (sqlite3_exec(database_, kMakeIndex, nullptr, nullptr, nullptr) != SQLITE_OK) {
    sqlite3_exec(database_, "ROLLBACK", nullptr, nullptr, nullptr);  // does nothing when nothing has begun
  }
  sqlite3_busy_timeout(database_, isHeldUp_ ? kBriefTimeoutMilliseconds : kBusyTimeoutMilliseconds);
}

/// Whether the last attempt has waited in vain for a lock.
void DefaultsFile::setHeldUp(bool isHeldUp) {
  if (isHeldUp == isHeldUp_) return;
  isHeldUp_ = isHeldUp;
  sqlite3_busy_timeout(database_, isHeldUp_ ? kBriefTimeoutMilliseconds : kBusyTimeoutMilliseconds);
}

bool DefaultsFile::isStillTheSameFile() const {
  struct stat status {};
  return ::stat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_;
}

void DefaultsFile::close() {
  for (sqlite3_stmt** statement : {&select_, &replace_, &delete_}) {
    sqlite3_finalize(*statement);
    *statement = nullptr;
  }
  sqlite3_close(database_);
  database_ = nullptr;
}

/// Checked before a file is set aside: another process may have put a fresh one in its place meanwhile.
bool DefaultsFile::isSound() {
  sqlite3* database = nullptr;
  int result = sqlite3_open_v2(path_.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  bool sound = false;
  if (result == SQLITE_OK) {
    sqlite3_busy_timeout(database, kBusyTimeoutMilliseconds);
    sqlite3_stmt* check = nullptr;
    result = sqlite3_prepare_v2(database, "PRAGMA quick_check(1)", -1, &check, nullptr);
    sound = result == SQLITE_OK && sqlite3_step(check) == SQLITE_ROW && columnBytes(check, 0) == "ok";
    sqlite3_finalize(check);
    const std::optional<int> id = sound ? queriedInteger(database, "PRAGMA application_id", result) : std::nullopt;
    const std::optional<int> tables =
        sound ? queriedInteger(database, "SELECT count(*) FROM sqlite_master", result) : std::nullopt;
    sound = sound && (id == kApplicationId || tables == 0);
  }
  sqlite3_close(database);
  return sound;
}

void DefaultsFile::setAside() {
  close();
  const FolderLock folderLock(deletingLastPathComponent(path_));
  if (!folderLock.isHeld() || !exists() || isSound()) return;
  for (int number = 1; number < 1000; ++number) {
    const std::string aside = path_ + ".damaged-" + std::to_string(number);
    if (::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) != 0) {
      if (errno == EEXIST) continue;
      return;
    }
    ::rename((path_ + "-wal").c_str(), (aside + "-wal").c_str());  // often missing
    ::unlink((path_ + "-shm").c_str());                            // only an index of the log
    log_.log("Settings file " + path_ + " is damaged; it was set aside as " + aside);
    return;
  }
}

int DefaultsFile::run(sqlite3_stmt* statement) {
  const int result = sqlite3_step(statement);
  sqlite3_reset(statement);
  sqlite3_clear_bindings(statement);
  return result;
}

sqlite3_stmt* DefaultsFile::statement(sqlite3_stmt*& cached, const char* sql) {
  if (cached == nullptr) sqlite3_prepare_v3(database_, sql, -1, SQLITE_PREPARE_PERSISTENT, &cached, nullptr);
  return cached;
}

void DefaultsFile::logOnce(const std::string& text) {
  if (!std::exchange(loggedFailure_, true)) log_.log(text);
}

}  // namespace platform::linux_
