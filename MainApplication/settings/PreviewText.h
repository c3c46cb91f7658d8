// Turns a preview into text for people.
#pragma once

#include <string>

namespace tidewell {

/// Reads the JSON of the preview; any other text stays as it is. Paths in the home folder begin with "~".
std::string readablePreview(const std::string& output, const std::string& home);

}  // namespace tidewell
