// Folders of which some entries stay, by their names. Internal to the treatments.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell::treatments {

/// How Firefox's stores name an extension in names of items.
inline constexpr std::string_view kFirefoxExtension = "moz-extension+++";

template <typename Predicate>
Outcome removeEntriesUnless(const std::string& folder, Predicate isKept) {
  if (!GrantedFiles::isDirectory(folder)) return {};
  std::vector<std::string> names = GrantedFiles::entriesOf(folder);
  std::erase_if(names, isKept);
  return GrantedFiles::remove(folder, names);
}

}  // namespace tidewell::treatments
