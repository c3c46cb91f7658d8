#include "Platform/Linux/settings/ValueCodec.h"

#include <bit>
#include <cstdint>

namespace platform::linux_ {
namespace {

constexpr char kVersion = 1;
constexpr int kDeepestNesting = 64;

enum class Type : char { boolean = 1, integer, real, string, data, date, array, dictionary };

class Encoder {
 public:
  std::string bytes{kVersion};

  void operator()(const Value& value) {
    if (const auto* boolean = value.as<bool>()) {
      type(Type::boolean);
      bytes += *boolean ? '\1' : '\0';
    } else if (const auto* integer = value.as<std::int64_t>()) {
      type(Type::integer);
      number(static_cast<std::uint64_t>(*integer));
    } else if (const auto* real = value.as<double>()) {
      type(Type::real);
      number(std::bit_cast<std::uint64_t>(*real));
    } else if (const auto* text = value.as<std::string>()) {
      type(Type::string);
      run(*text);
    } else if (const auto* data = value.as<Data>()) {
      type(Type::data);
      run(bytesOf(*data));
    } else if (const auto* date = value.as<Date>()) {
      type(Type::date);
      number(static_cast<std::uint64_t>(date->time_since_epoch().count()));
    } else if (const auto* array = value.as<Value::Array>()) {
      type(Type::array);
      number(array->size());
      for (const Value& element : *array) (*this)(element);
    } else if (const auto* dictionary = value.as<Value::Dictionary>()) {
      type(Type::dictionary);
      number(dictionary->size());
      for (const auto& [key, element] : *dictionary) {
        run(key);
        (*this)(element);
      }
    }
  }

 private:
  void type(Type type) { bytes += static_cast<char>(type); }
  void number(std::uint64_t number) {
    for (int shift = 0; shift < 64; shift += 8) bytes += static_cast<char>(number >> shift);
  }
  void run(std::string_view run) {
    number(run.size());
    bytes += run;
  }
};

class Decoder {
 public:
  explicit Decoder(std::string_view bytes) : rest_(bytes) {}

  bool atEnd() const { return rest_.empty(); }

  std::optional<char> byte() {
    if (rest_.empty()) return std::nullopt;
    const char byte = rest_.front();
    rest_.remove_prefix(1);
    return byte;
  }

  std::optional<Value> value(int depth = 0) {
    const std::optional<char> type = byte();
    if (!type || depth > kDeepestNesting) return std::nullopt;
    switch (static_cast<Type>(*type)) {
      case Type::boolean:
        return boolean();
      case Type::integer:
        return numberAs([](std::uint64_t bits) { return Value(static_cast<std::int64_t>(bits)); });
      case Type::real:
        return numberAs([](std::uint64_t bits) { return Value(std::bit_cast<double>(bits)); });
      case Type::date:
        return numberAs(
            [](std::uint64_t bits) { return Value(Date(Date::duration(static_cast<std::int64_t>(bits)))); });
      case Type::string:
        return runAs([](std::string_view text) { return Value(text); });
      case Type::data:
        return runAs([](std::string_view bytes) { return Value(dataFromBytes(bytes)); });
      case Type::array:
        return array(depth);
      case Type::dictionary:
        return dictionary(depth);
    }
    return std::nullopt;
  }

 private:
  std::optional<std::uint64_t> number() {
    if (rest_.size() < 8) return std::nullopt;
    std::uint64_t number = 0;
    for (std::size_t index = 0; index < 8; ++index) {
      number |= std::uint64_t{static_cast<unsigned char>(rest_[index])} << (8 * index);
    }
    rest_.remove_prefix(8);
    return number;
  }

  std::optional<std::string_view> run() {
    const std::optional<std::uint64_t> length = number();
    if (!length || *length > rest_.size()) return std::nullopt;
    const std::string_view run = rest_.substr(0, *length);
    rest_.remove_prefix(*length);
    return run;
  }

  template <typename Make>
  std::optional<Value> numberAs(Make make) {
    const auto bits = number();
    return bits ? std::optional<Value>(make(*bits)) : std::nullopt;
  }

  template <typename Make>
  std::optional<Value> runAs(Make make) {
    const auto bytes = run();
    return bytes ? std::optional<Value>(make(*bytes)) : std::nullopt;
  }

  std::optional<Value> boolean() {
    const auto bit = byte();
    if (!bit || (*bit != 0 && *bit != 1)) return std::nullopt;
    return Value(*bit == 1);
  }

  std::optional<Value> array(int depth) {
    const auto count = number();
    if (!count || *count > rest_.size()) return std::nullopt;  // an element takes a byte at least
    Value::Array elements;
    for (std::uint64_t index = 0; index < *count; ++index) {
      auto element = value(depth + 1);
      if (!element) return std::nullopt;
      elements.push_back(std::move(*element));
    }
    return std::optional<Value>(std::in_place, std::move(elements));
  }

  std::optional<Value> dictionary(int depth) {
    const auto count = number();
    if (!count || *count > rest_.size()) return std::nullopt;
    Value::Dictionary entries;
    for (std::uint64_t index = 0; index < *count; ++index) {
      const auto key = run();
      auto element = key ? value(depth + 1) : std::nullopt;
      if (!element) return std::nullopt;
      entries.insert_or_assign(std::string(*key), std::move(*element));
    }
    return std::optional<Value>(std::in_place, std::move(entries));
  }

  std::string_view rest_;
};

}  // namespace

std::string encodedValue(const Value& value) {
  Encoder encoder;
  encoder(value);
  return std::move(encoder.bytes);
}

std::optional<Value> decodedValue(std::string_view bytes) {
  Decoder decoder(bytes);
  if (decoder.byte() != kVersion) return std::nullopt;
  std::optional<Value> value = decoder.value();
  return decoder.atEnd() ? value : std::nullopt;
}

}  // namespace platform::linux_
