// Values in a row as Chromium's own files store them ("pickles"): the size of all as 4 bytes, then little-endian
// numbers and texts, each at a multiple of 4 bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Worker/formats/ByteReader.h"

namespace tidewell {

/// Reads values in sequence. After the first that is absent (the bytes end too early), all are.
class PickleReader {
 public:
  /// Bytes that are no pickle hold no value.
  explicit PickleReader(std::string_view pickle);

  std::optional<std::uint32_t> number();
  std::optional<std::uint64_t> longNumber();
  /// The bytes of a text; of one in UTF-16, two for each unit.
  std::optional<std::string_view> text() { return sized(1); }
  std::optional<std::string_view> wideText() { return sized(2); }

 private:
  std::optional<std::string_view> sized(std::uint64_t unit);

  ByteReader rest_;
};

class PickleWriter {
 public:
  void number(std::uint32_t number);
  void longNumber(std::uint64_t number);
  void text(std::string_view text);
  /// The bytes of a text in UTF-16: an even number of them.
  void wideText(std::string_view text);

  std::string pickle() const;

 private:
  void aligned(std::string_view bytes);

  std::string values_;
};

}  // namespace tidewell
