// What the doctor has seen at one place, and what to do about it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tidewell {

/// A text that is translated where it is shown: the catalogue's key, or a text without a translation, and what fills
/// its "%@". At most three of them.
struct Phrase {
  const char* key = "";
  std::vector<std::string> arguments = {};

  bool isEmpty() const { return *key == '\0'; }
  std::string inEnglish() const;
};

/// Names the key for the check of the catalogues.
inline Phrase localizable(const char* key, std::vector<std::string> arguments = {}) {
  return {key, std::move(arguments)};
}

/// A command that the person can type, which is in no language.
inline Phrase command(const char* words, std::vector<std::string> arguments = {}) {
  return {words, std::move(arguments)};
}

struct Finding {
  enum class Grade {
    kGood,
    kRemark,  // worth knowing; nothing has to be done
    kWrong,   // browsers are not cleaned as they should be
  };

  Grade grade = Grade::kGood;
  std::string_view look = {};  // where, in a word for programs: "bus", "worker" …
  Phrase what = {};
  Phrase advice = {};  // empty where there is nothing to do
};

using Findings = std::vector<Finding>;

/// The words for programs: "good", "remark", "wrong".
std::string_view wordFor(Finding::Grade grade);

}  // namespace tidewell
