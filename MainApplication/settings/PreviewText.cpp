#include "MainApplication/settings/PreviewText.h"

#include <nlohmann/json.hpp>

namespace tidewell {
namespace {

using Json = nlohmann::ordered_json;

std::string plain(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void append(std::string& lines, const Json& value, const std::string& indent) {
  for (const auto& [name, item] : value.items()) {
    const std::string label = value.is_object() ? name + ":" : "•";
    if (item.is_structured() && value.is_array()) {
      std::string block;
      append(block, item, indent + "  ");
      // The first line of an item stands beside its mark.
      if (block.size() > indent.size() + 2) lines += indent + label + " " + block.substr(indent.size() + 2);
    } else if (item.is_structured()) {
      lines.append(indent).append(label).append("\n");
      append(lines, item, indent + "  ");
    } else {
      lines.append(indent).append(label).append(" ").append(plain(item)).append("\n");
    }
  }
}

}  // namespace

std::string readablePreview(const std::string& output) {
  const Json parsed = Json::parse(output, nullptr, false);
  if (!parsed.is_structured()) return output;
  std::string lines;
  append(lines, parsed, "");
  return lines;
}

}  // namespace tidewell
