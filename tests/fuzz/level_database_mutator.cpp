// Changes one file, record or block of the input, whose sizes stay right: the target writes the checksums. Now and then
// a piece is given twice, left out, or moved.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/fuzz/level_input.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* bytes, std::size_t size, std::size_t most);

namespace {

using fuzz::LevelForm;
using fuzz::LevelInput;
using Random = std::minstd_rand;

constexpr std::size_t kLargestPart = 0xFFFF;

/// A piece behind its size, and what stands before that.
struct Piece {
  std::string mark;
  std::string bytes;
};
using Pieces = std::vector<Piece>;

/// `marks` is the number of bytes before each piece's size.
Pieces piecesOf(std::string_view bytes, unsigned marks) {
  Pieces pieces;
  LevelInput input(bytes);
  while (!input.atEnd()) {
    Piece piece;
    for (unsigned mark = 0; mark < marks; ++mark) piece.mark += static_cast<char>(input.byte());
    piece.bytes = input.part();
    pieces.push_back(std::move(piece));
  }
  return pieces;
}

std::string joined(const Pieces& pieces) {
  std::string bytes;
  for (const Piece& piece : pieces) {
    bytes += piece.mark;
    bytes += static_cast<char>(piece.bytes.size() & 0xFF);
    bytes += static_cast<char>(piece.bytes.size() >> 8);
    bytes += piece.bytes;
  }
  return bytes;
}

void changeBytes(std::string& bytes) {
  const std::size_t size = bytes.size();
  const std::size_t most = std::min(size + 256, kLargestPart);
  bytes.resize(most);
  bytes.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(bytes.data()), size, most));
}

/// Gives a piece twice, leaves one out, or moves it.
void rearrange(Pieces& pieces, std::size_t at, Random& random) {
  const Piece piece = pieces[at];
  const auto choice = random() % 3;
  if (choice != 0) pieces.erase(pieces.begin() + static_cast<std::ptrdiff_t>(at));
  if (choice == 1) return;
  pieces.insert(pieces.begin() + static_cast<std::ptrdiff_t>(random() % (pieces.size() + 1)), piece);
}

template <typename Change>
void changeOne(Pieces& pieces, Random& random, const Change& change) {
  if (pieces.empty()) pieces.emplace_back();
  const std::size_t at = random() % pieces.size();
  if (random() % 8 == 0) return rearrange(pieces, at, random);
  change(pieces[at]);
}

void changeFile(Piece& file, Random& random) {
  if (file.mark.empty() || random() % 8 == 0) {
    file.mark = {static_cast<char>(random()), static_cast<char>(random())};
    return;
  }
  const LevelForm form = LevelInput(std::string_view(file.mark).substr(1)).form();
  if (form == LevelForm::kRaw) return changeBytes(file.bytes);
  const unsigned marks = form == LevelForm::kTable ? 1 : 0;
  Pieces parts = piecesOf(file.bytes, marks);
  changeOne(parts, random, [marks](Piece& part) {
    part.mark.resize(marks);
    changeBytes(part.bytes);
  });
  const std::string changed = joined(parts);
  if (changed.size() <= kLargestPart) file.bytes = changed;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* bytes, std::size_t size, std::size_t most, unsigned seed) {
  Random random(seed);
  Pieces files = piecesOf({reinterpret_cast<const char*>(bytes), size}, 2);
  changeOne(files, random, [&random](Piece& file) { changeFile(file, random); });
  const std::string changed = joined(files);
  if (random() % 16 == 0 || changed.size() > most) return LLVMFuzzerMutate(bytes, size, most);
  std::memcpy(bytes, changed.data(), changed.size());
  return changed.size();
}
