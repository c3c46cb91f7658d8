// The program's own identity, texts and resources.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/FileURL.h"

namespace platform {

/// All operations may be called from any thread.
class Bundle {
 public:
  virtual ~Bundle() = default;

  virtual std::string bundleIdentifier() const = 0;

  /// A value of the bundle's information, such as "CFBundleDisplayName".
  virtual std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const = 0;

  /// The text of the default localisation table under `key`; without a translation `value`, or `key` where that is
  /// empty.
  virtual std::string localizedString(const std::string& key, const std::string& value) const = 0;

  /// The text for so many of something, as the language has it; without a translation `one` for 1, `many` for any other
  /// number.
  virtual std::string localizedPlural(const std::string& one, const std::string& many, std::uint64_t count) const = 0;

  /// Where the resource "name.extension" lies; absent when there is none.
  virtual std::optional<FileURL> urlForResource(std::string_view name, std::string_view extension) const = 0;
};

}  // namespace platform
