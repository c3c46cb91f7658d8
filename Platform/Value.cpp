#include "Platform/Value.h"

#include <array>
#include <charconv>
#include <cstring>
#include <ctime>

#include "Platform/Format.h"

namespace platform {
namespace {

std::string describe(bool boolean) {
  return boolean ? "1" : "0";
}
std::string describe(std::int64_t integer) {
  return std::to_string(integer);
}
std::string describe(const std::string& text) {
  return text;
}

std::string describe(double real) {
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), real).ptr};
}

std::string describe(const Data& data) {
  constexpr char kHexDigits[] = "0123456789abcdef";
  std::string text = "<";
  for (const std::byte byte : data) {
    text += kHexDigits[std::to_integer<unsigned>(byte) >> 4];
    text += kHexDigits[std::to_integer<unsigned>(byte) & 15];
  }
  return text + ">";
}

std::string describe(Date date) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(date);
  std::tm parts{};
  std::array<char, 40> text{};
  if (::gmtime_r(&seconds, &parts) == nullptr) return "";
  std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S +0000", &parts);
  return text.data();
}

std::string describe(const Value::Array& array) {
  std::string text = "(";
  for (const Value& element : array) {
    if (text.size() > 1) text += ", ";
    text += element.description();
  }
  return text + ")";
}

std::string describe(const Value::Dictionary& dictionary) {
  std::string text = "{";
  for (const auto& [key, value] : dictionary) {
    if (text.size() > 1) text += "; ";
    text += key + " = " + value.description();
  }
  return text + "}";
}

}  // namespace

Data dataFromBytes(std::string_view bytes) {
  Data data(bytes.size());
  if (!bytes.empty()) std::memcpy(data.data(), bytes.data(), bytes.size());
  return data;
}

std::string_view bytesOf(const Data& data) {
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

std::string Value::description() const {
  return std::visit([](const auto& value) { return describe(value); }, value_);
}

std::string descriptionOf(const std::optional<Value>& value) {
  return value ? value->description() : std::string(kAbsentObjectText);
}

}  // namespace platform
