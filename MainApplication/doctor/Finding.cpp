#include "MainApplication/doctor/Finding.h"

#include <optional>

#include "Platform/Format.h"

namespace tidewell {

std::string Phrase::inEnglish() const {
  const auto argument = [this](std::size_t index) {
    return index < arguments.size() ? std::optional<std::string_view>(arguments[index]) : std::nullopt;
  };
  return platform::formatted(key, {argument(0), argument(1), argument(2)});
}

std::string_view wordFor(Finding::Grade grade) {
  switch (grade) {
    case Finding::Grade::kGood:
      return "good";
    case Finding::Grade::kRemark:
      return "remark";
    case Finding::Grade::kWrong:
      return "wrong";
  }
  return "";
}

}  // namespace tidewell
