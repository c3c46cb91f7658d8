#include "Worker/keeping/Host.h"

#include <arpa/inet.h>
#include <idn2.h>
#include <libpsl.h>

#include <algorithm>
#include <array>
#include <memory>

namespace tidewell {
namespace {

constexpr std::size_t kLongestName = 253;
constexpr std::size_t kLongestLabel = 63;
constexpr std::size_t kLongestText = 1024;  // of a name in any form; in Unicode it is longer

/// The text as bytes of an address, written anew; absent when it is none.
template <int family, std::size_t size, std::size_t length>
std::optional<std::string> address(const std::string& text) {
  std::array<unsigned char, size> bytes{};
  std::array<char, length> written{};
  if (::inet_pton(family, text.c_str(), bytes.data()) != 1) return std::nullopt;
  if (::inet_ntop(family, bytes.data(), written.data(), written.size()) == nullptr) return std::nullopt;
  return std::string(written.data());
}

std::optional<std::string> addressOfVersion6(std::string_view text) {
  if (text.starts_with('[') && text.ends_with(']')) text = text.substr(1, text.size() - 2);
  const auto found = address<AF_INET6, 16, INET6_ADDRSTRLEN>(std::string(text));
  return found ? std::optional("[" + *found + "]") : std::nullopt;
}

bool isOfName(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

bool isLabel(std::string_view label) {
  return !label.empty() && label.size() <= kLongestLabel && std::all_of(label.begin(), label.end(), isOfName);
}

/// Browsers take a name that ends so for an address, or for nothing.
bool isNumber(std::string_view label) {
  const bool isHexadecimal = label.starts_with("0x");
  if (isHexadecimal) label.remove_prefix(2);
  return std::all_of(label.begin(), label.end(),
                     [=](char c) { return (c >= '0' && c <= '9') || (isHexadecimal && c >= 'a' && c <= 'f'); });
}

bool isName(std::string_view text) {
  if (text.empty() || text.size() > kLongestName) return false;
  while (true) {
    const std::size_t dot = text.find('.');
    if (!isLabel(text.substr(0, dot))) return false;
    if (dot == std::string_view::npos) return !isNumber(text);
    text.remove_prefix(dot + 1);
  }
}

/// The name in the letters that the network knows; absent when that is not possible.
std::optional<std::string> inAscii(const std::string& text) {
  char* converted = nullptr;
  const int result = idn2_to_ascii_8z(text.c_str(), &converted, IDN2_NONTRANSITIONAL | IDN2_NFC_INPUT);
  const std::unique_ptr<char, void (*)(void*)> owned(converted, idn2_free);
  return result == IDN2_OK && converted != nullptr ? std::optional<std::string>(converted) : std::nullopt;
}

}  // namespace

std::optional<std::string> canonicalHost(std::string_view text) {
  if (text.empty() || text.size() > kLongestText || text.find('\0') != std::string_view::npos) return std::nullopt;
  if (text.find(':') != std::string_view::npos) return addressOfVersion6(text);
  std::string name(text);
  if (std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; })) {
    auto ascii = inAscii(name);
    if (!ascii) return std::nullopt;
    name = std::move(*ascii);
  }
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  if (name.ends_with('.')) name.pop_back();
  const bool endsInDigit = !name.empty() && name.back() >= '0' && name.back() <= '9';
  if (endsInDigit) {
    if (auto found = address<AF_INET, 4, INET_ADDRSTRLEN>(name)) return found;
  }
  return isName(name) ? std::optional(std::move(name)) : std::nullopt;
}

bool isAddress(std::string_view host) {
  // The last label of a name is never a number.
  return host.starts_with('[') || isNumber(host.substr(host.rfind('.') + 1));
}

bool isPublicSuffix(const std::string& host) {
  const psl_ctx_t* list = psl_builtin();
  if (list == nullptr) return true;
  // By the list's last rule every name of one label is a suffix, also that of a machine in the person's own network.
  const int kinds = parentOf(host).empty() ? PSL_TYPE_ANY | PSL_TYPE_NO_STAR_RULE : PSL_TYPE_ANY;
  return psl_is_public_suffix2(list, host.c_str(), kinds) == 1;
}

std::string_view parentOf(std::string_view host) {
  const std::size_t dot = host.find('.');
  return dot == std::string_view::npos ? std::string_view() : host.substr(dot + 1);
}

std::optional<std::string> hostOfAddress(std::string_view address) {
  const std::size_t end = address.find("://");
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view scheme = address.substr(0, end);
  if (scheme != "https" && scheme != "http") return std::nullopt;
  address.remove_prefix(end + 3);
  address = address.substr(0, address.find_first_of("/?#\\"));
  if (address.find('@') != std::string_view::npos) return std::nullopt;
  const std::size_t bracket = address.rfind(']');
  const std::size_t port = address.rfind(':');
  if (port != std::string_view::npos && (bracket == std::string_view::npos || bracket < port)) {
    if (address.substr(port + 1).find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
    address = address.substr(0, port);
  }
  return canonicalHost(address);
}

}  // namespace tidewell
