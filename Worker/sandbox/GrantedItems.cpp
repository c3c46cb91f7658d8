#include "Worker/sandbox/GrantedItems.h"

#include <algorithm>

#include "Platform/Platform.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

using platform::Overwriting;
using platform::Value;

constexpr unsigned kOwnerOnly = 0600;
constexpr std::uint64_t kLargestCopy = std::uint64_t{128} << 20;  // bytes

template <typename T>
std::optional<T> valueOf(const Value::Dictionary& attributes, const char* key) {
  const auto found = attributes.find(key);
  const T* value = found != attributes.end() ? found->second.template as<T>() : nullptr;
  return value != nullptr ? std::optional(*value) : std::nullopt;
}

template <typename T>
std::optional<T> attributeOf(const std::string& path, const char* key) {
  const auto attributes = grantedItems().attributesOfItem(path);
  return attributes ? valueOf<T>(*attributes, key) : std::nullopt;
}

/// Removes what an exchange or a move has taken from a file's place to `aside`, or has not: then it is a file of ours.
Outcome eraseWhenTaken(const std::string& aside, const platform::Result<bool>& isTaken, Overwriting overwriting) {
  // After other failures something may be there that the browser has just saved.
  if (!isTaken && isTaken.error() != std::errc::not_supported) return {Left::kFailed, 0, 0, isTaken.error().value()};
  Outcome outcome = eraseInsideGrant(aside, overwriting);
  if (isTaken && *isTaken) return outcome;
  outcome.removed = outcome.bytes = 0;
  return outcome += isTaken ? Outcome{Left::kInUse} : Outcome{Left::kFailed, 0, 0, isTaken.error().value()};
}

}  // namespace

platform::FileManager& grantedItems() {
  return platform::Platform::current().fileManagerOnOneMount;
}

bool isFileOfType(const std::string& path, const char* type) {
  return attributeOf<std::string>(path, platform::kFileType) == type;
}

ReadInsideGrant::ReadInsideGrant(const std::string& path, std::uint64_t largest,
                                 const std::optional<std::string>& ifLarger) {
  auto file = grantedItems().readableFile(path);
  if (!file) {
    outcome = outcomeOf(file.error());
    return;
  }
  file_ = std::move(*file);
  const auto before = file_->version();
  bytes = file_->size() > largest ? ifLarger : file_->read(0, static_cast<std::size_t>(file_->size())).value();
  const auto after = file_->version();
  outcome = {Left::kNotReadable};
  if (!before || !after || *before != *after) bytes.reset();
  if (bytes) version = *after;
}

Outcome eraseInsideGrant(const std::string& path, Overwriting overwriting) {
  return outcomeOf(grantedItems().eraseItem(path, overwriting));
}

Outcome eraseUnchangedInsideGrant(const std::string& path, const platform::FileVersion& read, Overwriting overwriting) {
  const std::string aside = path + kAsideSuffix;
  return eraseWhenTaken(aside, grantedItems().moveUnlessChanged(path, aside, read), overwriting);
}

Outcome replaceInsideGrant(const std::string& path, const platform::FileVersion& read, const std::string& contents,
                           Overwriting overwriting) {
  platform::FileManager& files = grantedItems();
  const std::string aside = path + kAsideSuffix;
  const auto permissions = attributeOf<std::int64_t>(path, platform::kFilePosixPermissions);
  const unsigned mode = static_cast<unsigned>(permissions.value_or(kOwnerOnly)) & 0777U;
  if (const auto error = files.createFile(aside, contents, mode)) return {Left::kFailed, 0, 0, error.value()};
  Outcome outcome = eraseWhenTaken(aside, files.exchangeUnlessChanged(path, aside, read), overwriting);
  outcome.bytes -= std::min<std::uint64_t>(outcome.bytes, contents.size());
  return outcome;
}

Outcome makeOwnInsideGrant(const std::string& path) {
  const auto attributes = grantedItems().attributesOfItem(path);
  if (!attributes) return outcomeOf(attributes.error());
  if (valueOf<std::string>(*attributes, platform::kFileType) != platform::kFileTypeRegular) return {Left::kFailed};
  if (valueOf<std::int64_t>(*attributes, platform::kFileReferenceCount) == 1) return {};
  if (!grantedItems().lockFile(path)) return {Left::kInUse};
  const ReadInsideGrant read(path, kLargestCopy);
  if (!read.bytes) return read.outcome;
  Outcome outcome = replaceInsideGrant(path, read.version, *read.bytes, Overwriting::kNone);
  outcome.removed = outcome.bytes = 0;  // nothing is gone
  return outcome;
}

}  // namespace tidewell
