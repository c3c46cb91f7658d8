#include "Worker/formats/JsonParts.h"

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>

#include "Worker/formats/JsonBounds.h"

namespace tidewell {
namespace {

using nlohmann::json;

/// The same text, with the escape of a blank in place of each escape of half a character. The length stays the same.
std::string withoutSurrogates(std::string_view text) {
  std::string result(text);
  for (std::size_t at = result.find('\\'); at < result.size(); at = result.find('\\', at + 2)) {
    if (result.compare(at, 3, "\\ud") != 0 && result.compare(at, 3, "\\uD") != 0) continue;
    if (at + 6 <= result.size() && std::string_view("89abcdefABCDEF").find(result[at + 3]) != std::string_view::npos &&
        std::isxdigit(static_cast<unsigned char>(result[at + 4])) != 0 &&
        std::isxdigit(static_cast<unsigned char>(result[at + 5])) != 0) {
      result.replace(at + 2, 4, "0020");
    }
  }
  return result;
}

/// Walks over a text that is known to be JSON, and copies it.
class Copy {
 public:
  Copy(std::string_view text, const std::function<bool(const JsonPart&)>& goes) : text_(text), goes_(goes) {
    result_.reserve(text.size());
  }

  std::string run() {
    while (at_ < text_.size()) step(text_[at_]);
    return std::move(result_);
  }

 private:
  struct Container {
    bool isObject;
    bool hasName = false;    // of the member that is being read
    bool isEmpty = true;     // so far, in the copy
    std::size_t part = 0;    // where the part that is being read starts in the copy, with the comma before it
    std::size_t before = 0;  // where its value starts in the text
    std::size_t after = 0;   // and in the copy
  };

  void step(char next) {
    switch (next) {
      case '{':
      case '[':
        startValue();
        copyUntil(at_ + 1);
        open_.push_back({next == '{'});
        open_.back().part = result_.size();
        break;
      case '}':
      case ']':
        copyUntil(at_ + 1);
        open_.pop_back();
        endValue();
        break;
      case ',':
        open_.back().part = result_.size();
        // The first part that stays has no comma before it.
        if (!open_.back().isEmpty) result_ += ',';
        ++at_;
        break;
      case '"':
        string();
        break;
      case ':':
      case ' ':
      case '\t':
      case '\n':
      case '\r':
        copyUntil(at_ + 1);
        break;
      default:  // a number, true, false, null
        startValue();
        copyUntil(std::min(text_.find_first_of(",]} \t\n\r", at_), text_.size()));
        endValue();
    }
  }

  void string() {
    std::size_t end = at_ + 1;
    while (text_[end] != '"') end += text_[end] == '\\' ? 2 : 1;
    ++end;
    if (open_.empty() || !open_.back().isObject || open_.back().hasName) {
      startValue();
      copyUntil(end);
      endValue();
      return;
    }
    path_.push_back(decoded(text_.substr(at_, end - at_)));
    open_.back().hasName = true;
    copyUntil(end);
  }

  static std::string decoded(std::string_view literal) {
    if (literal.find('\\') == std::string_view::npos) return std::string(literal.substr(1, literal.size() - 2));
    return json::parse(withoutSurrogates(literal)).get<std::string>();
  }

  void copyUntil(std::size_t end) {
    result_.append(text_, at_, end - at_);
    at_ = end;
  }

  void startValue() {
    if (open_.empty()) return;
    if (!open_.back().isObject) path_.emplace_back();
    open_.back().before = at_;
    open_.back().after = result_.size();
  }

  void endValue() {
    if (open_.empty()) return;
    Container& container = open_.back();
    const JsonPart part{path_, text_.substr(container.before, at_ - container.before),
                        std::string_view(result_).substr(container.after)};
    if (goes_(part)) {
      result_.resize(container.part);
    } else {
      container.isEmpty = false;
    }
    container.hasName = false;
    path_.pop_back();
  }

  const std::string_view text_;
  const std::function<bool(const JsonPart&)>& goes_;
  std::size_t at_ = 0;
  std::string result_;
  std::vector<std::string> path_;
  std::vector<Container> open_;
};

}  // namespace

std::optional<std::string> withoutParts(std::string_view document, const std::function<bool(const JsonPart&)>& goes) {
  constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
  if (!isBoundedJson(withoutSurrogates(document))) return std::nullopt;
  const std::size_t mark = document.substr(0, kByteOrderMark.size()) == kByteOrderMark ? kByteOrderMark.size() : 0;
  const std::string_view text = document.substr(mark);
  return std::string(document.substr(0, mark)) + Copy(text, goes).run();
}

}  // namespace tidewell
