// "tidewell doctor".

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "MainApplication/command/Commands.h"
#include "MainApplication/command/Texts.h"
#include "MainApplication/doctor/Doctor.h"
#include "Platform/PrintableText.h"

namespace tidewell {
namespace {

using nlohmann::ordered_json;
using Grade = Finding::Grade;
using Colour = Screen::Colour;

std::string textOf(const Phrase& phrase) {
  const auto argument = [&phrase](std::size_t index) {
    return index < phrase.arguments.size() ? phrase.arguments[index] : std::string();
  };
  const char* const key = phrase.key;
  return platform::printable(localized(key, {argument(0), argument(1), argument(2)}));
}

std::string titleOf(Grade grade) {
  switch (grade) {
    case Grade::kGood:
      return localized("Good");
    case Grade::kRemark:
      return localized("Note");
    case Grade::kWrong:
      return localized("Wrong");
  }
  return "";
}

Colour colourOf(Grade grade) {
  return grade == Grade::kGood ? Colour::kGood : grade == Grade::kRemark ? Colour::kDoubtful : Colour::kBad;
}

ordered_json stateOf(const Findings& findings, std::size_t wrong) {
  ordered_json state = {{"wrong", wrong}, {"findings", ordered_json::array()}};
  for (const Finding& finding : findings) {
    state["findings"].push_back({{"look", finding.look},
                                 {"grade", wordFor(finding.grade)},
                                 {"what", finding.what.inEnglish()},
                                 {"advice", finding.advice.inEnglish()}});
  }
  return state;
}

}  // namespace

int Commands::doctor() {
  constexpr std::size_t kIndent = 4;
  const Findings findings = examine(domains_);
  const auto wrong = static_cast<std::size_t>(
      std::count_if(findings.begin(), findings.end(), [](const Finding& each) { return each.grade == Grade::kWrong; }));
  const int status = wrong == 0 ? kDone : kFailed;
  if (options_.json) {
    output_ << stateOf(findings, wrong).dump(2, ' ', true, ordered_json::error_handler_t::replace) << '\n';
    return status;
  }
  for (const Finding& finding : findings) {
    options_.screen.print(titleOf(finding.grade) + ": " + textOf(finding.what), output_, 0, colourOf(finding.grade));
    if (finding.grade != Grade::kGood && !finding.advice.isEmpty()) {
      options_.screen.print(textOf(finding.advice), output_, kIndent);
    }
  }
  output_ << '\n';
  options_.screen.print(wrong == 0 ? localized("Nothing is wrong.")
                                   : localizedPlural("%@ thing is wrong.", "%@ things are wrong.", wrong),
                        output_, 0, wrong == 0 ? Colour::kGood : Colour::kBad);
  return status;
}

}  // namespace tidewell
