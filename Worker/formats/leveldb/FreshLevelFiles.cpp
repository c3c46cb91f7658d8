#include "Worker/formats/leveldb/FreshLevelFiles.h"

#include <cinttypes>
#include <cstdio>
#include <utility>

#include "Platform/Path.h"
#include "Platform/Platform.h"

namespace tidewell {
namespace {

using platform::Platform;

constexpr unsigned kPermissions = 0600;
constexpr char kCurrent[] = "CURRENT";

/// "000007" and the like. Six digits at least.
std::string inName(std::uint64_t number) {
  char text[24];
  std::snprintf(text, sizeof text, "%06" PRIu64, number);
  return text;
}

}  // namespace

FreshLevelFiles::FreshLevelFiles(std::string folder, std::uint64_t firstNumber)
    : folder_(std::move(folder)), firstNumber_(firstNumber), current_("MANIFEST-" + inName(firstNumber) + "\n") {}

std::error_code FreshLevelFiles::addTable(std::string_view contents) {
  const std::uint64_t number = firstNumber_ + 1 + fresh_.tables.size();
  const std::error_code error = create(inName(number) + ".ldb", contents);
  if (!error) fresh_.tables[number] = {created_.back(), contents.size(), &LevelBytes::ofFiles()};
  return error;
}

std::error_code FreshLevelFiles::addManifest(std::string_view contents) {
  const std::error_code error = create("MANIFEST-" + inName(firstNumber_), contents);
  if (!error) fresh_.manifests[firstNumber_] = {created_.back(), contents.size(), &LevelBytes::ofFiles()};
  return error;
}

LevelFolder FreshLevelFiles::asFolder() const {
  LevelFolder folder = fresh_;
  folder.path = folder_;
  folder.current = {platform::appendingPathComponent(folder_, kCurrent), current_.line().size(), &current_};
  return folder;
}

std::error_code FreshLevelFiles::makeCurrent() {
  return create(kCurrent, current_.line());
}

platform::Result<std::string> FreshLevelFiles::exchangeCurrent() {
  const std::string name = inName(firstNumber_) + ".dbtmp";  // LevelDB's own name for such a file; it removes it
  if (const std::error_code error = create(name, current_.line())) return error;
  const std::string path = platform::appendingPathComponent(folder_, name);
  const std::error_code error = Platform::current().fileManagerOnOneMount.exchangeItems(
      platform::appendingPathComponent(folder_, kCurrent), path);
  if (!error) return path;
  Platform::current().fileManagerOnOneMount.removeItem(path);
  return error;
}

std::error_code FreshLevelFiles::makeLock() {
  return create("LOCK", "");
}

std::error_code FreshLevelFiles::create(const std::string& name, std::string_view contents) {
  const std::string path = platform::appendingPathComponent(folder_, name);
  const std::error_code error = Platform::current().fileManagerOnOneMount.createFile(path, contents, kPermissions);
  if (!error) created_.push_back(path);
  return error;
}

void FreshLevelFiles::takeBack() {
  for (const std::string& path : created_) Platform::current().fileManagerOnOneMount.removeItem(path);
  created_.clear();
}

}  // namespace tidewell
