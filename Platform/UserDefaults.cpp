#include "Platform/UserDefaults.h"

namespace platform {
namespace {

template <typename T>
std::optional<T> typedValue(const std::optional<Value>& value) {
  if (!value) return std::nullopt;
  const T* typed = value->as<T>();
  return typed != nullptr ? std::optional<T>(*typed) : std::nullopt;
}

}  // namespace

bool UserDefaults::boolForKey(const std::string& key) const {
  return typedValue<bool>(objectForKey(key)).value_or(false);
}

std::optional<std::string> UserDefaults::stringForKey(const std::string& key) const {
  return typedValue<std::string>(objectForKey(key));
}

std::optional<Value::Array> UserDefaults::arrayForKey(const std::string& key) const {
  return typedValue<Value::Array>(objectForKey(key));
}

std::optional<Data> UserDefaults::dataForKey(const std::string& key) const {
  return typedValue<Data>(objectForKey(key));
}

}  // namespace platform
