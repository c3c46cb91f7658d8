#include "Platform/Linux/bus/ValueMessage.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <string_view>

#include "Platform/PrintableText.h"
#include "Platform/UTF8.h"

namespace platform::linux_ {
namespace {

using std::chrono::duration_cast;
using std::chrono::microseconds;

constexpr int kDeepest = 32;
constexpr std::uint64_t kLatest = 9'000'000'000'000'000;  // microseconds; what the clock can hold

std::string textFor(const std::string& text) {
  return isValidUTF8(text) && text.find('\0') == std::string::npos ? text : printable(text);
}

bool append(sd_bus_message* message, const Value& value);

bool append(sd_bus_message* message, bool value) {
  return sd_bus_message_append(message, "v", "b", int{value}) >= 0;
}
bool append(sd_bus_message* message, std::int64_t value) {
  return sd_bus_message_append(message, "v", "x", value) >= 0;
}
bool append(sd_bus_message* message, double value) {
  return sd_bus_message_append(message, "v", "d", value) >= 0;
}
bool append(sd_bus_message* message, const std::string& value) {
  return sd_bus_message_append(message, "v", "s", textFor(value).c_str()) >= 0;
}
bool append(sd_bus_message* message, const Date& value) {
  const auto time = duration_cast<microseconds>(value.time_since_epoch()).count();
  return sd_bus_message_append(message, "v", "t", static_cast<std::uint64_t>(std::max<std::int64_t>(time, 0))) >= 0;
}
bool append(sd_bus_message* message, const Data& value) {
  return sd_bus_message_open_container(message, 'v', "ay") >= 0 &&
         sd_bus_message_append_array(message, 'y', value.data(), value.size()) >= 0 &&
         sd_bus_message_close_container(message) >= 0;
}
bool append(sd_bus_message* message, const Value::Array& values) {
  bool done =
      sd_bus_message_open_container(message, 'v', "av") >= 0 && sd_bus_message_open_container(message, 'a', "v") >= 0;
  for (const Value& value : values) done = done && append(message, value);
  return done && sd_bus_message_close_container(message) >= 0 && sd_bus_message_close_container(message) >= 0;
}
bool append(sd_bus_message* message, const Value::Dictionary& values) {
  return sd_bus_message_open_container(message, 'v', "a{sv}") >= 0 && appendDictionary(message, values) &&
         sd_bus_message_close_container(message) >= 0;
}

template <typename T>
bool appendIf(sd_bus_message* message, const Value& value, bool& done) {
  const T* held = value.as<T>();
  if (held == nullptr) return false;
  done = append(message, *held);
  return true;
}

/// As a variant.
bool append(sd_bus_message* message, const Value& value) {
  bool done = false;
  static_cast<void>(appendIf<bool>(message, value, done) || appendIf<std::int64_t>(message, value, done) ||
                    appendIf<double>(message, value, done) || appendIf<std::string>(message, value, done) ||
                    appendIf<Data>(message, value, done) || appendIf<Date>(message, value, done) ||
                    appendIf<Value::Array>(message, value, done) || appendIf<Value::Dictionary>(message, value, done));
  return done;
}

/// Reads the variant that comes next; `value` stays absent when it is passed over. False when the message is broken.
bool readVariant(sd_bus_message* message, int depth, std::optional<Value>& value);

template <typename T, typename Made>
bool readBasic(sd_bus_message* message, char type, std::optional<Value>& value, Made made) {
  T basic{};
  if (sd_bus_message_read_basic(message, type, &basic) <= 0) return false;
  value = made(basic);
  return true;
}

bool readDictionary(sd_bus_message* message, int depth, Value::Dictionary& dictionary) {
  if (sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) return false;
  while (sd_bus_message_at_end(message, 0) == 0) {
    const char* key = nullptr;
    std::optional<Value> value;
    if (sd_bus_message_enter_container(message, 'e', "sv") <= 0 || sd_bus_message_read(message, "s", &key) <= 0 ||
        !readVariant(message, depth, value) || sd_bus_message_exit_container(message) < 0) {
      return false;
    }
    if (value) dictionary.insert_or_assign(key, std::move(*value));
  }
  return sd_bus_message_exit_container(message) >= 0;
}

bool readArray(sd_bus_message* message, int depth, Value::Array& array) {
  if (sd_bus_message_enter_container(message, 'a', "v") <= 0) return false;
  while (sd_bus_message_at_end(message, 0) == 0) {
    std::optional<Value> value;
    if (!readVariant(message, depth, value)) return false;
    if (value) array.push_back(std::move(*value));
  }
  return sd_bus_message_exit_container(message) >= 0;
}

bool readBytes(sd_bus_message* message, std::optional<Value>& value) {
  const void* bytes = nullptr;
  std::size_t size = 0;
  if (sd_bus_message_read_array(message, 'y', &bytes, &size) < 0) return false;
  value = dataFromBytes({static_cast<const char*>(bytes), size});
  return true;
}

bool readContents(sd_bus_message* message, std::string_view type, int depth, std::optional<Value>& value) {
  if (type == "b") return readBasic<int>(message, 'b', value, [](int flag) { return flag != 0; });
  if (type == "x") return readBasic<std::int64_t>(message, 'x', value, [](std::int64_t number) { return number; });
  if (type == "d") return readBasic<double>(message, 'd', value, [](double number) { return number; });
  if (type == "s") return readBasic<const char*>(message, 's', value, [](const char* text) { return text; });
  if (type == "t") {
    return readBasic<std::uint64_t>(message, 't', value, [](std::uint64_t time) {
      return Date(microseconds(static_cast<std::int64_t>(std::min<std::uint64_t>(time, kLatest))));
    });
  }
  if (type == "ay") return readBytes(message, value);
  if (type == "av") {
    Value::Array array;
    const bool done = readArray(message, depth + 1, array);
    value = std::move(array);
    return done;
  }
  Value::Dictionary dictionary;
  const bool done = readDictionary(message, depth + 1, dictionary);
  value = std::move(dictionary);
  return done;
}

bool readVariant(sd_bus_message* message, int depth, std::optional<Value>& value) {
  static constexpr std::string_view kTypes[] = {"b", "x", "d", "s", "t", "ay", "av", "a{sv}"};
  const char* contents = nullptr;
  char type = 0;
  if (sd_bus_message_peek_type(message, &type, &contents) <= 0 || type != 'v') return false;
  const auto* known = std::find(std::begin(kTypes), std::end(kTypes), contents);
  if (known == std::end(kTypes) || depth >= kDeepest) return sd_bus_message_skip(message, "v") >= 0;
  return sd_bus_message_enter_container(message, 'v', contents) > 0 && readContents(message, *known, depth, value) &&
         sd_bus_message_exit_container(message) >= 0;
}

}  // namespace

bool appendDictionary(sd_bus_message* message, const Value::Dictionary& dictionary) {
  bool done = sd_bus_message_open_container(message, 'a', "{sv}") >= 0;
  for (const auto& [key, value] : dictionary) {
    done = done && sd_bus_message_open_container(message, 'e', "sv") >= 0 &&
           sd_bus_message_append(message, "s", textFor(key).c_str()) >= 0 && append(message, value) &&
           sd_bus_message_close_container(message) >= 0;
  }
  return done && sd_bus_message_close_container(message) >= 0;
}

std::optional<Value::Dictionary> readDictionary(sd_bus_message* message) {
  Value::Dictionary dictionary;
  if (!readDictionary(message, 0, dictionary)) return std::nullopt;
  return dictionary;
}

}  // namespace platform::linux_
