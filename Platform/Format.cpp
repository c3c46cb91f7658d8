#include "Platform/Format.h"

namespace platform {
namespace {

struct Directive {
  std::size_t length = 0;    // in bytes, 0 when the text is no directive
  std::size_t argument = 0;  // from 1; 0 for the next one in order
  bool isPercentSign = false;
};

Directive directiveAt(std::string_view text) {
  std::size_t at = 1;
  std::size_t number = 0;
  while (at < text.size() && text[at] >= '0' && text[at] <= '9' && number < 100) {
    number = number * 10 + static_cast<std::size_t>(text[at] - '0');
    ++at;
  }
  if (number > 0) {
    if (at >= text.size() || text[at] != '$') return {};
    ++at;
  }
  if (at >= text.size()) return {};
  if (text[at] == '%' && at == 1) return {2, 0, true};
  if (text[at] == '@' || text[at] == 's') return {at + 1, number, false};
  return {};
}

}  // namespace

std::string formatted(std::string_view format, std::initializer_list<std::optional<std::string_view>> arguments) {
  std::string text;
  std::size_t next = 0;
  for (std::size_t at = 0; at < format.size();) {
    const Directive directive = format[at] == '%' ? directiveAt(format.substr(at)) : Directive{};
    if (directive.isPercentSign) {
      text += '%';
      at += directive.length;
      continue;
    }
    const std::size_t index = directive.argument > 0 ? directive.argument - 1 : next;
    if (directive.length == 0 || index >= arguments.size()) {
      text += format[at++];
      continue;
    }
    if (directive.argument == 0) ++next;
    text += (arguments.begin() + index)->value_or(kAbsentObjectText);
    at += directive.length;
  }
  return text;
}

}  // namespace platform
