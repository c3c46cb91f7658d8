#include "MainApplication/command/Texts.h"

#include <libintl.h>

#include "Platform/Format.h"

namespace tidewell {
namespace {

constexpr char kTextDomain[] = "tidewell";

}  // namespace

std::string localized(const char* key, TextArguments arguments) {
  return platform::formatted(::dgettext(kTextDomain, key), arguments);
}

std::string localizedPlural(const char* one, const char* many, std::uint64_t count, std::string_view second) {
  return platform::formatted(::dngettext(kTextDomain, one, many, count), {std::to_string(count), second});
}

}  // namespace tidewell
