#include "Worker/formats/SessionStore.h"

#include <lz4.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>

#include "Worker/formats/ByteReader.h"
#include "Worker/formats/JsonParts.h"

namespace tidewell {
namespace {

constexpr std::string_view kMagic("mozLz40\0", 8);
constexpr std::size_t kHeader = 12;           // the magic and the size of the text, little-endian
constexpr std::size_t kLongest = 256u << 20;  // far above any session
constexpr std::size_t kGreatestRatio = 255;   // LZ4 can't do better

/// What a site can put into an entry of the history: what its scripts store with an address, the text of a frame that
/// has none, and (in files of earlier versions) the form that led to the page.
constexpr std::array<std::string_view, 5> kOfEntries{"structuredCloneState", "structuredCloneVersion", "srcdocData",
                                                     "isSrcdocEntry", "postdata_b64"};

bool startsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

/// Whether an origin or an address is an extension's or the browser's own.
bool isNoSite(std::string_view address) {
  constexpr std::array<std::string_view, 4> kSchemes{"moz-extension:", "about:", "chrome:", "resource:"};
  return std::any_of(kSchemes.begin(), kSchemes.end(), [&](auto scheme) { return startsWith(address, scheme); });
}

/// Selects the sites' parts of a session, by names and not by paths: tabs are found in windows, among closed tabs, in
/// groups and, where a session is offered for restoring, in a form of the page that offers it.
class SiteData {
 public:
  bool operator()(const JsonPart& part) {
    const std::vector<std::string>& path = part.path;
    const std::string& name = path.back();
    if (startsWith(part.before, "\"http") || startsWith(name, "http")) lastAddress_ = part.before.data();
    const std::string_view parent = path.size() < 2 ? std::string_view() : path[path.size() - 2];
    if (isNameOfSomeonesChoice(path)) return false;
    if (parent == "cookies" && name.empty()) return true;
    if (parent == "storage") return !isNoSite(name);  // by origin
    if (name == "storage") return part.after == "{}";
    if (std::find(kOfEntries.begin(), kOfEntries.end(), name) != kOfEntries.end()) return true;
    return name == "formdata" ? isSitesForm(path.size()) : isPartOfSitesForm(part, parent);
  }

 private:
  /// Stored items and form fields can have any name, also that of one of the session's own parts.
  static bool isNameOfSomeonesChoice(const std::vector<std::string>& path) {
    if (path.size() < 3) return false;
    const std::string& parent = path[path.size() - 2];
    const std::string& grandparent = path[path.size() - 3];
    return grandparent == "storage" || (grandparent == "formdata" && (parent == "id" || parent == "xpath"));
  }

  /// Records the forms of pages that are no sites. True for the frames inside a form when any of them is a site's.
  bool isPartOfSitesForm(const JsonPart& part, std::string_view parent) {
    if (parent != "formdata") return false;
    if (part.path.back() == "url" && isNoSite(part.before.substr(1))) otherForms_.push_back(part.path.size() - 1);
    return part.path.back() == "children" && std::greater_equal<>()(lastAddress_, part.before.data());
  }

  bool isSitesForm(std::size_t depth) {
    bool isSites = true;
    for (; !otherForms_.empty() && otherForms_.back() >= depth; otherForms_.pop_back()) {
      if (otherForms_.back() == depth) isSites = false;
    }
    return isSites;
  }

  std::vector<std::size_t> otherForms_;  // the depths of those that are being read
  const char* lastAddress_ = nullptr;    // where the last value is that is a site's address, or has one as its name
};

/// The file's text; absent when it is no such file.
std::optional<std::string> unpacked(std::string_view file) {
  if (file.size() <= kHeader || !startsWith(file, kMagic)) return std::nullopt;
  const auto size = static_cast<std::size_t>(littleEndian(file.substr(kMagic.size(), kHeader - kMagic.size())));
  const std::string_view block = file.substr(kHeader);
  if (size > kLongest || block.size() > kLongest || size > block.size() * kGreatestRatio) return std::nullopt;
  std::string text(size, '\0');
  const int unpackedSize =
      LZ4_decompress_safe(block.data(), text.data(), static_cast<int>(block.size()), static_cast<int>(size));
  if (unpackedSize < 0 || static_cast<std::size_t>(unpackedSize) != size) return std::nullopt;
  return text;
}

std::string packed(std::string_view text) {
  std::string file(kMagic);
  appendFixedNumber(file, text.size(), kHeader - kMagic.size());
  const int size = static_cast<int>(text.size());  // at most kLongest
  file.resize(kHeader + static_cast<std::size_t>(LZ4_compressBound(size)));
  const int packedSize =
      LZ4_compress_default(text.data(), file.data() + kHeader, size, static_cast<int>(file.size() - kHeader));
  file.resize(kHeader + static_cast<std::size_t>(packedSize));
  return file;
}

}  // namespace

Rewriting withoutSiteData(std::string_view jsonlz4) {
  auto text = unpacked(jsonlz4);
  if (!text) return Rewriting::remove();
  const auto rest = withoutParts(*text, SiteData());
  if (!rest) return Rewriting::remove();
  if (rest->size() == text->size()) return Rewriting::leave();
  text.reset();  // up to 256 MB, as what is to be made now
  return Rewriting::replaceBy(packed(*rest));
}

}  // namespace tidewell
