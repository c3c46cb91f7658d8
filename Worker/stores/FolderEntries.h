// Folders of which some entries stay, by their names. Internal to the treatments.
#pragma once

#include <string>
#include <string_view>

#include "Platform/Path.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell::treatments {

/// How Firefox's stores name an extension in names of items.
inline constexpr std::string_view kFirefoxExtension = "moz-extension+++";

template <typename Predicate>
Outcome removeEntriesUnless(const std::string& folder, Predicate isKept) {
  Outcome outcome;
  if (!GrantedFiles::isDirectory(folder)) return outcome;
  for (const std::string& name : GrantedFiles::entriesOf(folder)) {
    if (!isKept(name)) outcome += GrantedFiles::remove(platform::appendingPathComponent(folder, name));
  }
  return outcome;
}

}  // namespace tidewell::treatments
