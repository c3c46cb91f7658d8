// A preview as a person reads it.
#pragma once

#include <string>

namespace tidewell {

/// Reads the JSON of the preview; any other text stays as it is.
std::string readablePreview(const std::string& output);

}  // namespace tidewell
