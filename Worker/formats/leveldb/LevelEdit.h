// One record of a manifest, with long keys cut: sites choose keys, and a record names two for each table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Worker/formats/leveldb/LevelFormat.h"

namespace tidewell {

/// The fields of a manifest's records.
enum LevelEditTag : std::uint8_t {
  kComparator = 1,
  kLogNumber = 2,
  kNextNumber = 3,
  kLastSequence = 4,
  kCompactPointer = 5,
  kDeletedTable = 6,
  kNewTable = 7,
  kPreviousLog = 9,
};

class LevelEdit {
 public:
  /// Texts that are kept whole, in bytes.
  static constexpr std::size_t kLongestText = 1024;

  /// Adds the next bytes of the record, in pieces of any size.
  void add(std::string_view bytes);

  /// Whether the bytes so far are a whole number of known fields.
  bool isWhole() const { return !isBroken_ && rest_.empty() && number_.empty(); }

  /// The record, with the beginning of a longer text in its place, which as a key comes before it.
  const std::string& bytes() const { return bytes_; }

 private:
  void addToNumber(char byte);
  void endNumber(std::uint64_t number);
  void addToText(std::string_view& bytes);
  void endText();

  std::string bytes_;
  std::string_view rest_;  // of the field that is being read: "n" for each number to come, "t" for each text
  std::string number_;     // what there is of a number
  std::string text_;       // what is kept of a text
  std::uint64_t textLeft_ = 0;
  bool isCut_ = false;
  bool isBroken_ = false;
};

}  // namespace tidewell
