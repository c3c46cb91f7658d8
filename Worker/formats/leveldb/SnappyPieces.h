// Decompresses Snappy's form in pieces, for what may be larger than memory: the library needs the whole of both.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace tidewell {

class SnappyPieces {
 public:
  using Sink = std::function<void(std::string_view piece)>;

  explicit SnappyPieces(Sink sink) : sink_(std::move(sink)) {}

  /// Takes the next bytes, in pieces of any size. False when they are not in Snappy's form, or refer farther back than
  /// Snappy ever does; what was passed on before may have been from a damaged text, as well.
  bool add(std::string_view bytes);

  /// Passes on the rest. Whether the bytes were a whole text.
  bool end();

 private:
  bool addToSize();
  bool addToTag();
  bool addCopy(std::size_t size, std::uint64_t distance);
  void passOn();

  Sink sink_;
  bool hasSize_ = false;
  std::uint64_t left_ = 0;         // bytes of the text that are still to come
  std::uint64_t literalLeft_ = 0;  // of these, so many follow as they are
  std::string begun_;              // of the size, or of a tag
  std::string text_;               // the end of what there is of the text
  std::size_t passedOn_ = 0;       // of it
};

}  // namespace tidewell
