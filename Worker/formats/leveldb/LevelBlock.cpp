#include "Worker/formats/leveldb/LevelBlock.h"

#include <utility>

namespace tidewell {

LevelCondition LevelBlock::assign(std::string bytes) {
  *this = {};
  bytes_ = std::move(bytes);
  // Behind the entries: the offsets of those with whole keys, and the number of these offsets.
  if (bytes_.size() < 8) return LevelCondition::kDamaged;
  const std::uint64_t places = *ByteReader(std::string_view(bytes_).substr(bytes_.size() - 4)).fixedNumber(4);
  if (places == 0 || places > (bytes_.size() - 4) / 4) return LevelCondition::kDamaged;
  end_ = bytes_.size() - 4 - static_cast<std::size_t>(places) * 4;
  return LevelCondition::kSound;
}

LevelCondition LevelBlock::next() {
  atEnd_ = position_ >= end_;
  if (atEnd_) return LevelCondition::kSound;
  const std::string_view rest = std::string_view(bytes_).substr(position_, end_ - position_);
  ByteReader bytes(rest);
  const auto shared = bytes.number();
  const auto keySize = bytes.number();
  const auto valueSize = bytes.number();
  const auto key = keySize && valueSize ? bytes.bytes(*keySize) : std::nullopt;
  const auto value = key ? bytes.bytes(*valueSize) : std::nullopt;
  if (!value || *shared > key_.size()) {
    position_ = end_;
    return LevelCondition::kDamaged;
  }
  key_.resize(static_cast<std::size_t>(*shared));
  key_.append(*key);
  value_ = *value;
  position_ = static_cast<std::size_t>(value->data() + value->size() - bytes_.data());
  return LevelCondition::kSound;
}

}  // namespace tidewell
