#include "Worker/sandbox/GrantedItems.h"

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

Left leftBy(const platform::Erasure& erasure) {
  if (erasure.leftNothing()) return Left::kNothing;
  if (erasure.failed > 0) return reasonOf(erasure.error);
  return erasure.notOverwritten > 0 ? Left::kNotOverwritten : Left::kOnOtherMount;
}

}  // namespace

platform::FileManager& grantedItems() {
  return platform::Platform::current().fileManagerOnOneMount;
}

Left reasonOf(std::error_code error) {
  if (!error || error == std::errc::no_such_file_or_directory) return Left::kNothing;
  if (error == std::errc::operation_not_permitted) return Left::kNotAllowed;
  return error == std::errc::cross_device_link ? Left::kOnOtherMount : Left::kFailed;
}

bool isFileOfType(const std::string& path, const char* type) {
  return attributeOf<std::string>(path, platform::kFileType) == type;
}

std::optional<std::string> bytesInsideGrant(const std::string& path, std::uint64_t largest,
                                            const std::optional<std::string>& ifLarger) {
  const auto file = grantedItems().readableFile(path);
  if (!file) return std::nullopt;
  if ((*file)->size() > largest) return ifLarger;
  auto bytes = (*file)->read(0, static_cast<std::size_t>((*file)->size()));
  return bytes ? std::optional(std::move(*bytes)) : std::nullopt;
}

Outcome eraseInsideGrant(const std::string& path, Overwriting overwriting) {
  const platform::Erasure erasure = grantedItems().eraseItem(path, overwriting);
  return {leftBy(erasure), erasure.removed};
}

Outcome replaceInsideGrant(const std::string& path, const std::string& contents, Overwriting overwriting) {
  platform::FileManager& files = grantedItems();
  const std::string other = path + kAsideSuffix;
  const auto permissions = attributeOf<std::int64_t>(path, platform::kFilePosixPermissions);
  if (files.createFile(other, contents, static_cast<unsigned>(permissions.value_or(kOwnerOnly)) & 0777U)) {
    return {Left::kFailed};
  }
  const std::error_code error = files.exchangeItems(path, other);
  if (!error) return eraseInsideGrant(other, overwriting);  // the old contents
  // Replacing drops the old contents without overwriting them: when the person wants overwriting, the file stays.
  const bool overwrites = overwriting != Overwriting::kNone;
  if (error == std::errc::not_supported && !overwrites && !files.replaceItem(path, other)) return {};
  files.removeItem(other);
  return {overwrites ? Left::kNotOverwritten : Left::kFailed};
}

Left makeOwnInsideGrant(const std::string& path) {
  const auto attributes = grantedItems().attributesOfItem(path);
  if (!attributes) return reasonOf(attributes.error());
  if (valueOf<std::string>(*attributes, platform::kFileType) != platform::kFileTypeRegular) return Left::kFailed;
  if (valueOf<std::int64_t>(*attributes, platform::kFileReferenceCount) == 1) return Left::kNothing;
  if (!grantedItems().lockFile(path)) return Left::kInUse;
  const auto bytes = bytesInsideGrant(path, kLargestCopy);
  return bytes ? replaceInsideGrant(path, *bytes, Overwriting::kNone).left : Left::kFailed;
}

}  // namespace tidewell
