#include "Worker/keeping/OriginAttributes.h"

#include <algorithm>

#include "Worker/keeping/Host.h"

namespace tidewell {
namespace {

int hexadecimal(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const int high = text[at] == '%' && at + 2 < text.size() ? hexadecimal(text[at + 1]) : -1;
    const int low = high >= 0 ? hexadecimal(text[at + 2]) : -1;
    plain += low >= 0 ? static_cast<char>(high * 16 + low) : text[at];
    if (low >= 0) at += 2;
  }
  return plain;
}

/// The host in "(https,b.test)", "(https,b.test,8443,f)", or alone, as earlier versions have it.
std::optional<std::string> hostInPartition(std::string_view partition) {
  if (!partition.starts_with('(')) return canonicalHost(partition);
  if (!partition.ends_with(')')) return std::nullopt;
  partition = partition.substr(1, partition.size() - 2);
  const std::size_t scheme = partition.find(',');
  if (scheme == std::string_view::npos) return std::nullopt;
  partition.remove_prefix(scheme + 1);
  return canonicalHost(partition.substr(0, partition.find(',')));
}

std::optional<Owner> owner(std::optional<std::string> host, std::string_view suffix) {
  const auto attributes = originAttributes(suffix);
  if (!host || !attributes || attributes->isPrivate) return std::nullopt;
  return Owner{std::move(*host), attributes->topLevelSite};
}

}  // namespace

std::optional<OriginAttributes> originAttributes(std::string_view suffix) {
  OriginAttributes attributes;
  if (suffix.starts_with('^')) suffix.remove_prefix(1);
  while (!suffix.empty()) {
    const std::string_view attribute = suffix.substr(0, suffix.find('&'));
    suffix.remove_prefix(std::min(attribute.size() + 1, suffix.size()));
    const std::size_t sign = attribute.find('=');
    if (sign == std::string_view::npos) return std::nullopt;
    const std::string_view name = attribute.substr(0, sign);
    const std::string value = unescaped(attribute.substr(sign + 1));
    if (name == "privateBrowsingId") attributes.isPrivate = value != "0";
    if ((name != "partitionKey" && name != "firstPartyDomain") || value.empty()) continue;
    auto host = hostInPartition(value);
    if (!host || (attributes.topLevelSite && attributes.topLevelSite != host)) return std::nullopt;
    attributes.topLevelSite = std::move(host);
  }
  return attributes;
}

std::optional<Owner> ownerByOrigin(std::string_view origin) {
  const std::size_t mark = std::min(origin.find('^'), origin.size());
  return owner(hostOfAddress(origin.substr(0, mark)), origin.substr(mark));
}

std::optional<Owner> ownerByFolder(std::string_view name) {
  constexpr std::string_view kSchemeEnd = "+++";
  const std::size_t mark = std::min(name.find('^'), name.size());
  const std::string_view origin = name.substr(0, mark);
  const std::size_t end = origin.find(kSchemeEnd);
  if (end == std::string_view::npos) return std::nullopt;
  std::string host(origin.substr(end + kSchemeEnd.size()));
  std::replace(host.begin(), host.end(), '+', ':');
  return owner(hostOfAddress(std::string(origin.substr(0, end)) + "://" + host), name.substr(mark));
}

std::optional<Owner> ownerByScope(std::string_view scope) {
  const std::size_t port = scope.rfind(':');
  if (port == std::string_view::npos || port == 0) return std::nullopt;
  const std::size_t scheme = scope.rfind(':', port - 1);
  if (scheme == std::string_view::npos || scheme == 0 || scope[scheme - 1] != '.') return std::nullopt;
  const std::string_view before = scope.substr(0, scheme - 1);
  // An address of version 6 has colons in it, and begins with its last bracket.
  const std::size_t bracket = before.ends_with('[') ? before.rfind(']') : std::string_view::npos;
  const std::size_t colon = before.rfind(':');
  std::size_t begin = colon == std::string_view::npos ? 0 : colon + 1;
  if (bracket != std::string_view::npos) begin = bracket;
  std::string host(before.substr(begin));
  std::reverse(host.begin(), host.end());
  const std::string_view prefix = before.substr(0, begin);
  const std::size_t mark = std::min(prefix.find('^'), prefix.size());
  std::string_view suffix = prefix.substr(mark);
  if (suffix.ends_with(':')) suffix.remove_suffix(1);
  const std::string_view name = scope.substr(scheme + 1, port - scheme - 1);
  return owner(hostOfAddress(std::string(name) + "://" + host), suffix);
}

}  // namespace tidewell
