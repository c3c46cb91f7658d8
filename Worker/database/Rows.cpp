#include "Worker/database/Rows.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tidewell {
namespace {

constexpr std::size_t kSmallestChunk = 1024;        // bytes
constexpr std::size_t kLargestChunk = 1024 * 1024;  // unless a row is larger

// A cell is its kind, the length of its bytes, and the bytes.
enum class Kind : char { kAbsent, kString, kNumber, kData, kNull };
using Length = std::uint32_t;  // the largest value that SQLite takes has 2^31 - 1 bytes
constexpr std::size_t kHeader = sizeof(Kind) + sizeof(Length);

struct Cell {
  Kind kind;
  std::string_view bytes;
};

Cell cellAt(const char* place) {
  Length length = 0;
  std::memcpy(&length, place + sizeof(Kind), sizeof(length));
  return {static_cast<Kind>(*place), {place + kHeader, length}};
}

/// The cell of a value. The bytes are those of the value, or for a number those of `real`, which receives it.
Cell cellFor(const std::optional<SqliteValue>& value, double& real) {
  if (!value) return {Kind::kAbsent, {}};
  if (const auto* text = std::get_if<std::string>(&*value)) return {Kind::kString, *text};
  if (const auto* data = std::get_if<platform::Data>(&*value)) return {Kind::kData, platform::bytesOf(*data)};
  if (const auto* number = std::get_if<SqliteNumber>(&*value)) {
    real = number->doubleValue();
    return {Kind::kNumber, {reinterpret_cast<const char*>(&real), sizeof(real)}};
  }
  return {std::holds_alternative<SqliteNull>(*value) ? Kind::kNull : Kind::kAbsent, {}};
}

/// Writes the cell, and returns the place behind it.
char* write(const Cell& cell, char* place) {
  const auto length = static_cast<Length>(cell.bytes.size());
  *place = static_cast<char>(cell.kind);
  std::memcpy(place + sizeof(Kind), &length, sizeof(length));
  return std::copy(cell.bytes.begin(), cell.bytes.end(), place + kHeader);
}

std::optional<SqliteValue> valueOf(const Cell& cell) {
  switch (cell.kind) {
    case Kind::kString:
      return std::string(cell.bytes);
    case Kind::kNumber: {
      double real = 0;
      std::memcpy(&real, cell.bytes.data(), sizeof(real));
      return SqliteNumber(real);
    }
    case Kind::kData:
      return platform::dataFromBytes(cell.bytes);
    case Kind::kNull:
      return SqliteNull();
    case Kind::kAbsent:
      break;
  }
  return std::nullopt;
}

}  // namespace

const char* Row::cellOf(std::string_view column) const {
  const char* place = cells_;
  for (const std::string& name : *columns_) {
    if (name == column) return place;
    place += kHeader + cellAt(place).bytes.size();
  }
  return nullptr;
}

std::optional<SqliteValue> Row::find(std::string_view column) const {
  const char* place = cellOf(column);
  return place ? valueOf(cellAt(place)) : std::nullopt;
}

std::optional<std::string_view> Row::stringForKey(std::string_view column) const {
  const char* place = cellOf(column);
  if (!place) return std::nullopt;
  const Cell cell = cellAt(place);
  return cell.kind == Kind::kString ? std::optional(cell.bytes) : std::nullopt;
}

Rows::Rows(const std::vector<std::string>& columns) {
  std::vector<std::string> names;
  for (std::size_t index = 0; index < columns.size(); ++index) {
    const auto known = std::find(names.begin(), names.end(), columns[index]);
    if (known == names.end()) {
      names.push_back(columns[index]);
      sources_.push_back(index);
    } else {
      sources_[static_cast<std::size_t>(known - names.begin())] = index;
    }
  }
  columns_ = std::make_shared<const std::vector<std::string>>(std::move(names));
}

void Rows::append(std::span<const std::optional<SqliteValue>> cells) {
  static const std::optional<SqliteValue> kAbsent;
  const auto cellOf = [&](std::size_t source, double& real) {
    return cellFor(source < cells.size() ? cells[source] : kAbsent, real);
  };
  double real = 0;
  std::size_t size = 0;
  for (const std::size_t source : sources_) size += kHeader + cellOf(source, real).bytes.size();
  char* place = placeFor(size);
  rows_.push_back(place);
  for (const std::size_t source : sources_) place = write(cellOf(source, real), place);
}

char* Rows::placeFor(std::size_t size) {
  if (chunks_.empty() || chunks_.back().size - chunks_.back().used < size) {
    const std::size_t next = chunks_.empty() ? kSmallestChunk : std::min(chunks_.back().size * 2, kLargestChunk);
    const std::size_t chunkSize = std::max(next, size);
    chunks_.push_back({std::unique_ptr<char[]>(new char[chunkSize]), chunkSize, 0});
  }
  Chunk& chunk = chunks_.back();
  char* place = chunk.bytes.get() + chunk.used;
  chunk.used += size;
  return place;
}

}  // namespace tidewell
