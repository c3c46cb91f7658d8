#include "Worker/formats/Pickle.h"

namespace tidewell {
namespace {

constexpr std::size_t kHeader = 4;  // bytes
constexpr std::size_t kAlignment = 4;

std::uint64_t paddingAfter(std::uint64_t size) {
  return (kAlignment - size % kAlignment) % kAlignment;
}

std::string_view valuesOf(std::string_view pickle) {
  if (pickle.size() < kHeader) return {};
  const std::string_view values = pickle.substr(kHeader);
  return littleEndian(pickle.substr(0, kHeader)) == values.size() ? values : std::string_view();
}

}  // namespace

PickleReader::PickleReader(std::string_view pickle) : rest_(valuesOf(pickle)) {}

std::optional<std::uint32_t> PickleReader::number() {
  const auto number = rest_.fixedNumber(4);
  return number ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
}

std::optional<std::uint64_t> PickleReader::longNumber() {
  return rest_.fixedNumber(8);
}

std::optional<std::string_view> PickleReader::sized(std::uint64_t unit) {
  const auto count = number();
  if (!count) return std::nullopt;
  const auto bytes = rest_.bytes(*count * unit);
  // The padding may be missing: a value that can't be read then follows.
  if (bytes) rest_.bytes(paddingAfter(bytes->size()));
  return bytes;
}

void PickleWriter::number(std::uint32_t number) {
  appendFixedNumber(values_, number, 4);
}

void PickleWriter::longNumber(std::uint64_t number) {
  appendFixedNumber(values_, number, 8);
}

void PickleWriter::text(std::string_view text) {
  number(static_cast<std::uint32_t>(text.size()));
  aligned(text);
}

void PickleWriter::wideText(std::string_view text) {
  number(static_cast<std::uint32_t>(text.size() / 2));
  aligned(text);
}

void PickleWriter::aligned(std::string_view bytes) {
  values_ += bytes;
  values_.append(paddingAfter(bytes.size()), '\0');
}

std::string PickleWriter::pickle() const {
  std::string result;
  appendFixedNumber(result, values_.size(), kHeader);
  return result + values_;
}

}  // namespace tidewell
