#include "Platform/Linux/settings/SqliteUserDefaults.h"

#include <utility>

#include "Platform/Linux/host/UserFolders.h"
#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

constexpr char kFolder[] = "tidewell";
constexpr char kExtension[] = ".defaults";

class Domain : public UserDefaults {
 public:
  explicit Domain(std::shared_ptr<DefaultsFile> file) : file_(std::move(file)) {}

  std::optional<Value> objectForKey(const std::string& key) const override {
    return file_ ? file_->read(key) : std::nullopt;
  }
  Result<std::optional<Value>> checkedObjectForKey(const std::string& key) const override {
    if (!file_) return std::errc::invalid_argument;
    return file_->readChecked(key);
  }
  // A write that fails is logged by the file; callers go on.
  void setObject(const Value& value, const std::string& key) override {
    if (file_) file_->write(key, value);
  }
  void removeObjectForKey(const std::string& key) override {
    if (file_) file_->erase(key);
  }
  Value::Dictionary dictionaryRepresentation() const override { return file_ ? file_->readAll() : Value::Dictionary(); }
  bool synchronize() override { return file_ && file_->checkpoint(); }

 private:
  const std::shared_ptr<DefaultsFile> file_;
};

}  // namespace

SqliteUserDefaults::SqliteUserDefaults(std::string folder, std::string ownDomain, Log& log)
    : folder_(std::move(folder)), ownDomain_(std::move(ownDomain)), log_(log) {}

std::string SqliteUserDefaults::folderFromEnvironment() {
  return appendingPathComponent(configurationFolder(), kFolder);
}

std::unique_ptr<UserDefaults> SqliteUserDefaults::suite(const std::string& name) {
  return std::make_unique<Domain>(fileOfDomain(name));
}

std::unique_ptr<UserDefaults> SqliteUserDefaults::standardUserDefaults() {
  return suite(ownDomain_);
}

std::shared_ptr<DefaultsFile> SqliteUserDefaults::fileOfDomain(const std::string& name) {
  if (name.empty() || name.front() == '.' || name.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
    return nullptr;
  }
  const std::lock_guard lock(mutex_);
  std::shared_ptr<DefaultsFile>& file = files_[name];
  if (!file) file = std::make_shared<DefaultsFile>(appendingPathComponent(folder_, name + kExtension), log_);
  return file;
}

}  // namespace platform::linux_
