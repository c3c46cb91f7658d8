// Names of hosts, in one form of all that stand for the same: "a.test" for "A.Test.", "xn--bcher-kva.test" for
// "bücher.test", "[::1]" for "::1" and "[0:0::1]".
//
// Pure functions of any text, UTF-8 or not. Any thread; nothing is thrown but for want of memory.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tidewell {

/// The host's one form. Absent when the text is no host.
std::optional<std::string> canonicalHost(std::string_view text);

/// Whether a host, in that form, is an address of the Internet Protocol, and so has no domain around it.
bool isAddress(std::string_view host);

/// Whether sites of different owners lie below a host, in that form ("com", "co.uk"). A name of one label counts only
/// when it is in the list of such suffixes. Also true when there is no list.
bool isPublicSuffix(const std::string& host);

/// The name without its first label: "a.test" for "www.a.test". Empty when there is none.
std::string_view parentOf(std::string_view host);

/// The host of an address: "a.test" of "https://a.test:81/page". In its one form; absent when there is none, or when
/// the scheme is not that of sites.
std::optional<std::string> hostOfAddress(std::string_view address);

}  // namespace tidewell
