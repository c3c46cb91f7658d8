// A preview as a person reads it.
#pragma once

#include <string>

namespace tidewell {

/// Turns JSON into lines "name: value", what lies deeper further to the right; any other text stays as it is.
std::string readablePreview(const std::string& output);

}  // namespace tidewell
