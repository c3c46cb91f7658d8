// What a cell is asked, and what it answers, as bytes: both sides of the conversation use these.
//
// A request is the task, what the person keeps where that matters, and the bytes that are to be read. Answers are of
// the forms below.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Worker/formats/ByteReader.h"
#include "Worker/formats/Kept.h"
#include "Worker/formats/Rewriting.h"

namespace tidewell {

/// Which reader is wanted, and the form of its answer.
enum class CellTask : std::uint64_t {
  kPreferences,          // Kept, document: a Rewriting
  kUnpackedSession,      // file: a text, if it is such a file
  kSession,              // Kept, the text of a session: a text, if it is one
  kOpenTabs,             // file: a Rewriting
  kClosedTabs,           // likewise
  kIsTabFile,            // file: a text, which is empty, if it is one
  kOriginsOfCaches,      // indexes, as texts: for each a text, if it names an origin, as texts
  kStorageKeysOfCaches,  // likewise
  kPickledTexts,         // likewise, the bytes of texts
  kListInLocalState,     // document: texts, in pairs
  kListInProfilesIni,    // list: texts
  kLevelDatabase,        // Kept, a list of files: see LevelTalk.h
};

std::string cellRequest(CellTask task, std::string_view input);
std::string cellRequest(CellTask task, const Kept& kept, std::string_view input);

/// A request as it arrives. All requests are our own, so that damage ends the reading and is no more than that.
struct CellRequest {
  CellTask task = CellTask::kPreferences;
  Kept kept = {};
  std::string_view input;  // in the message

  static std::optional<CellRequest> from(std::string_view message);
};

// Answers. Each function that reads returns nothing for bytes that are no such answer: a cell may say anything.

std::string answerOf(const Rewriting& rewriting);
std::optional<Rewriting> rewritingFrom(std::string_view answer);

std::string answerOf(const std::optional<std::string>& text);
/// Absent for no such answer; holds nothing when the answer is that there is none.
std::optional<std::optional<std::string>> textFrom(std::string_view answer);

std::string answerOf(const std::vector<std::string>& texts);
std::optional<std::vector<std::string>> textsFrom(std::string_view answer);

}  // namespace tidewell
