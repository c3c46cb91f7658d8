// The window's texts in the person's language; the English text is the key.
#pragma once

#include <glib.h>
#include <libintl.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Format.h"

namespace tidewell {

inline std::string localized(const char* key) {
  return ::dgettext("tidewell", key);
}

inline std::string localized(const char* key, std::initializer_list<std::optional<std::string_view>> arguments) {
  return platform::formatted(::dgettext("tidewell", key), arguments);
}

/// The text for so many of something.
inline std::string localizedPlural(const char* one, const char* many, std::uint64_t count) {
  return ::dngettext("tidewell", one, many, static_cast<unsigned long>(count));
}

/// A size as the person's language writes it: "19.0 MB".
inline std::string sizeText(std::uint64_t bytes) {
  char* text = g_format_size(bytes);
  std::string copy = text;
  g_free(text);
  return copy;
}

}  // namespace tidewell
