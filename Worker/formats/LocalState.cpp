#include "Worker/formats/LocalState.h"

#include <nlohmann/json.hpp>

#include "Worker/formats/JsonBounds.h"

namespace tidewell {
namespace {

using nlohmann::json;

constexpr std::size_t kMostValues = 1 << 20;  // each takes about 100 bytes of memory

/// The object member of that name; null when `object` is no object or has no such member.
const json* member(const json* object, const char* name) {
  if (object == nullptr || !object->is_object()) return nullptr;
  const auto found = object->find(name);
  return found != object->end() ? &*found : nullptr;
}

}  // namespace

ProfileMap profilesOfLocalState(std::string_view text) {
  ProfileMap profiles;
  if (!isBoundedJson(text, kMostValues)) return profiles;
  const json localState = json::parse(text);
  const json* infoCache = member(member(&localState, "profile"), "info_cache");
  if (infoCache == nullptr || !infoCache->is_object()) return profiles;
  for (const auto& [folder, profile] : infoCache->items()) {
    const json* name = member(&profile, "name");
    if (name != nullptr && name->is_string()) profiles[folder] = name->get<std::string>();
  }
  return profiles;
}

}  // namespace tidewell
