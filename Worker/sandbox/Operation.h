// What every operation of the sandbox does before and around its action. Internal to sandbox/.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "Platform/Dispatch.h"
#include "Platform/FileManager.h"
#include "Worker/database/Rows.h"
#include "Worker/sandbox/AppSandboxFileAccess.h"
#include "Worker/sandbox/OutcomeRecorder.h"

namespace tidewell {

/// The path with a leading "~" replaced by the setting "userFolder", the only source for the home folder.
std::string fullPathOf(const std::string& path);

/// Whether a grant of that folder would be too wide outside of the operations of WorkerAppDelegate: that of "/", and of
/// any folder that the home folder lies in, by its name or where its links lead.
bool isTooWide(const platform::FileURL& folder);

/// The same for the home folder of any path. `withoutLinks` says where a path leads.
bool isTooWideFor(const std::string& home, const std::string& folder,
                  const std::function<std::string(const std::string& path)>& withoutLinks);

/// One operation on one path.
class Operation {
 public:
  /// Resolves the path and records a bookmark for it, on every call and before any access is requested.
  explicit Operation(const std::string& path) : Operation(path, std::nullopt) {}

  /// For an operation whose grant is not that of the parent folder.
  Operation(const std::string& path, const std::optional<std::string>& grantFolder);

  /// For an operation that records nothing: names of sites would stay among the grants.
  static Operation unrecorded(const std::string& path);

  /// Likewise, for an operation on a folder under that folder's own grant.
  static Operation onFolder(const std::string& path);

  const std::string& fullPath() const { return fullPath_; }
  void setGrantFolder(std::string folder) { grantFolder_ = std::move(folder); }

  /// Lets the person answer "Never" as well, if asked: then `never` is called on the main thread.
  void offerNever(platform::Task never) { fileAccess_->offerNever(std::move(never)); }

  /// Tells the run that the operation belongs to what became of the item.
  void tell(const Outcome& outcome) const {
    if (recorder_) recorder_->note(fullPath_, outcome);
  }

  /// Runs the action under the grant, or logs one line when access is refused. Returns whether the action ran.
  bool run(const platform::Task& action) const;

 private:
  Operation() = default;

  std::unique_ptr<AppSandboxFileAccess> fileAccess_;
  std::string fullPath_;
  std::optional<std::string> grantFolder_;  // where it is not the parent folder
  std::shared_ptr<OutcomeRecorder> recorder_;
};

/// A queue for one call.
std::unique_ptr<platform::DispatchQueue> makeTaskQueue();

/// Performs a reading operation: the action's outcome, or `empty` when access is refused.
template <typename T>
T perform(const Operation& operation, T empty, const std::function<T(const std::string& fullPath)>& action) {
  T result = std::move(empty);
  makeTaskQueue()->sync([&] { operation.run([&] { result = action(operation.fullPath()); }); });
  return result;
}

/// As above, under the grant of the parent folder; `empty` also when the path is absent.
template <typename T>
T read(const std::optional<std::string>& path, T empty, const std::function<T(const std::string& fullPath)>& action) {
  if (!path) return empty;
  return perform<T>(Operation(*path), std::move(empty), action);
}

/// Whether the person wants files to be overwritten before they are removed, at this moment.
bool overwritesFirst();

/// Removes an item inside a held grant, as described at Sandbox::remove(). `unflushed` is for an overwritten file.
Outcome removeInsideGrant(const std::string& path, bool overwrites, platform::UnflushedFile unflushed);

/// Runs the statements in order up to the first that fails, and returns the rows of the last one. Returns none after a
/// failure, or when the database is missing, can't be opened or lies outside the grant. Adds to `outcome` what became
/// of the database.
Rows executeInsideGrant(const std::vector<std::string>& statements, const std::string& path, Outcome& outcome);

/// The lock for work on a file; files may share one. Without it, an operation that finds a database busy would be lost.
std::mutex& turnOf(const std::string& path);

}  // namespace tidewell
