#include "Worker/database/DefaultEncoding.h"

#include <iconv.h>
#include <langinfo.h>

#include <array>
#include <cerrno>
#include <optional>

namespace tidewell {
namespace {

const std::string kUTF8 = "UTF-8";
const std::string kASCII = "ANSI_X3.4-1968";  // the set of the locale "C"

class Converter {
 public:
  Converter(const std::string& from, const std::string& to)
      : from_(from), to_(to), handle_(::iconv_open(to.c_str(), from.c_str())) {}
  ~Converter() {
    if (isKnown()) ::iconv_close(handle_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool converts(const std::string& from, const std::string& to) const { return from == from_ && to == to_; }

  /// Absent when the text is not valid, or has no counterpart in the other encoding.
  std::optional<std::string> convert(std::string_view text) {
    if (!isKnown()) return std::nullopt;
    ::iconv(handle_, nullptr, nullptr, nullptr, nullptr);  // resets the shift state
    std::string converted;
    char* in = const_cast<char*>(text.data());  // iconv() does not write to it
    std::size_t left = text.size();
    if (!run(&in, &left, converted) || !run(nullptr, nullptr, converted)) return std::nullopt;
    return converted;
  }

 private:
  bool isKnown() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

  bool run(char** in, std::size_t* left, std::string& converted) {
    std::array<char, 1024> piece;
    for (;;) {
      char* out = piece.data();
      std::size_t space = piece.size();
      const std::size_t replaced = ::iconv(handle_, in, left, &out, &space);
      const int error = errno;
      converted.append(piece.data(), out);
      if (replaced == 0) return true;
      if (replaced != static_cast<std::size_t>(-1) || error != E2BIG) return false;  // a replacement is a loss, too
    }
  }

  std::string from_;
  std::string to_;
  iconv_t handle_;
};

std::string converted(std::string_view text, const std::string& from, const std::string& to) {
  // ASCII is the same in UTF-8, and other bytes stay as they are.
  if (from == to || from == kASCII || to == kASCII) return std::string(text);
  // Opening a converter takes longer than converting a cell: the last one is kept.
  thread_local std::optional<Converter> converter;
  if (!converter || !converter->converts(from, to)) converter.emplace(from, to);
  return converter->convert(text).value_or(std::string(text));
}

}  // namespace

std::string defaultCStringEncoding() {
  return ::nl_langinfo(CODESET);
}

std::string textFromEncoding(std::string_view bytes, const std::string& encoding) {
  return converted(bytes, encoding, kUTF8);
}

std::string textInEncoding(std::string_view text, const std::string& encoding) {
  return converted(text, kUTF8, encoding);
}

}  // namespace tidewell
