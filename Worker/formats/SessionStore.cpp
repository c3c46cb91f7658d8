#include "Worker/formats/SessionStore.h"

#include <lz4.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <utility>

#include "Worker/formats/ByteReader.h"
#include "Worker/formats/JsonParts.h"
#include "Worker/keeping/OriginAttributes.h"

namespace tidewell {
namespace {

constexpr std::string_view kMagic("mozLz40\0", 8);
constexpr std::size_t kHeader = 12;          // the magic and the size of the text, little-endian
constexpr std::size_t kGreatestRatio = 255;  // LZ4 can't do better

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
  explicit SiteData(const KeptSites& sites) : sites_(sites) {}

  bool operator()(const JsonPart& part) {
    const std::vector<std::string>& path = part.path;
    const std::string& name = path.back();
    if (startsWith(part.before, "\"http") || startsWith(name, "http")) lastAddress_ = part.before.data();
    const std::string_view parent = path.size() < 2 ? std::string_view() : path[path.size() - 2];
    if (isNameOfSomeonesChoice(path)) return false;
    readCookie(part);
    if (parent == "cookies" && name.empty()) return !std::exchange(cookie_, {}).isKept(sites_);
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

  /// A cookie as far as its parts have been read.
  struct Cookie {
    std::string host = {};
    std::string topLevelSite = {};
    bool isPrivate = false;

    bool isKept(const KeptSites& sites) const {
      if (sites.isEmpty() || isPrivate) return false;
      const auto attributes = originAttributes(topLevelSite.empty() ? "" : "partitionKey=" + topLevelSite);
      return attributes && sites.keepsCookie(host, attributes->topLevelSite);
    }
  };

  void readCookie(const JsonPart& part) {
    if (sites_.isEmpty()) return;
    const std::vector<std::string>& path = part.path;
    const std::string& name = path.back();
    const auto isIn = [&path](std::size_t level) {
      return path.size() > level + 1 && path[path.size() - level - 1].empty() &&
             path[path.size() - level - 2] == "cookies";
    };
    if (isIn(1) && name == "host") cookie_.host = plainText(part.before);
    if (!isIn(2) || path[path.size() - 2] != "originAttributes") return;
    if (name == "privateBrowsingId") cookie_.isPrivate = part.before != "0";
    const bool isSite = name == "partitionKey" || name == "firstPartyDomain";
    if (isSite && part.before != "\"\"") cookie_.topLevelSite += plainText(part.before);
  }

  /// A text without its quotes. One with escapes is no host's, and stays one that is none.
  static std::string plainText(std::string_view json) {
    const bool isText = json.size() >= 2 && json.front() == '"' && json.find('\\') == std::string_view::npos;
    return isText ? std::string(json.substr(1, json.size() - 2)) : " ";
  }

  bool isSitesForm(std::size_t depth) {
    bool isSites = true;
    for (; !otherForms_.empty() && otherForms_.back() >= depth; otherForms_.pop_back()) {
      if (otherForms_.back() == depth) isSites = false;
    }
    return isSites;
  }

  const KeptSites& sites_;
  Cookie cookie_;
  std::vector<std::size_t> otherForms_;  // the depths of those that are being read
  const char* lastAddress_ = nullptr;    // where the last value is that is a site's address, or has one as its name
};

}  // namespace

std::optional<std::string> unpackedSession(std::string_view file) {
  if (file.size() <= kHeader || !startsWith(file, kMagic)) return std::nullopt;
  const auto size = static_cast<std::size_t>(littleEndian(file.substr(kMagic.size(), kHeader - kMagic.size())));
  const std::string_view block = file.substr(kHeader);
  if (size > kLargestSession || block.size() > kLargestSession || size > block.size() * kGreatestRatio)
    return std::nullopt;
  std::string text(size, '\0');
  const int unpackedSize =
      LZ4_decompress_safe(block.data(), text.data(), static_cast<int>(block.size()), static_cast<int>(size));
  if (unpackedSize < 0 || static_cast<std::size_t>(unpackedSize) != size) return std::nullopt;
  return text;
}

std::string packedSession(std::string_view text) {
  std::string file(kMagic);
  appendFixedNumber(file, text.size(), kHeader - kMagic.size());
  const int size = static_cast<int>(text.size());  // at most kLargestSession
  file.resize(kHeader + static_cast<std::size_t>(LZ4_compressBound(size)));
  const int packedSize =
      LZ4_compress_default(text.data(), file.data() + kHeader, size, static_cast<int>(file.size() - kHeader));
  file.resize(kHeader + static_cast<std::size_t>(packedSize));
  return file;
}

std::optional<std::string> sessionWithoutSiteData(std::string_view json, const KeptSites& sites) {
  return withoutParts(json, SiteData(sites));
}

Rewriting withoutSiteData(std::string_view jsonlz4, const KeptSites& sites) {
  const auto unread = [&sites] { return sites.isEmpty() ? Rewriting::remove() : Rewriting::leaveUnread(); };
  auto text = unpackedSession(jsonlz4);
  if (!text) return unread();
  const auto rest = sessionWithoutSiteData(*text, sites);
  if (!rest) return unread();
  if (rest->size() == text->size()) return Rewriting::leave();
  text.reset();  // up to 256 MB, as what is to be made now
  return Rewriting::replaceBy(packedSession(*rest));
}

}  // namespace tidewell
