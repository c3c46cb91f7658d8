// How Chromium and its relatives write down whose data is.
//
// All of these are absent for what has no owner that could be kept: an opaque origin, a nonce, no site at all, or a
// text that is none of this. Pure functions of any bytes; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Worker/keeping/Owner.h"

namespace tidewell {

/// A storage key: "https://a.test", "https://a.test/", of a frame in another site "https://a.test/^0https://b.test", of
/// one with such a frame around it "https://a.test/^31".
std::optional<Owner> ownerByStorageKey(std::string_view key);

/// An origin as a part of a file's name: "https_a.test_0", "http_[__1]_8080".
std::optional<Owner> ownerByIdentifier(std::string_view identifier);

}  // namespace tidewell
