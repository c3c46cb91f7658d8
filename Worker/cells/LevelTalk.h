// What a cell and the worker say to each other about a LevelDB database, as bytes: both sides use these.
//
// The worker asks for a verdict, with a list of the files. The cell asks for bytes of them, as often as it needs some,
// and gives its verdict, with which it asks whether anything is to be built. Then it passes files on, says that it is
// done, and may be asked again.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Worker/formats/ByteReader.h"
#include "Worker/formats/ChromiumDatabases.h"
#include "Worker/formats/leveldb/LevelFolder.h"

namespace tidewell {

/// What the cell says, as the first byte of a message.
enum class LevelSaying : char {
  kRead = 'r',      // number of a file, offset, count
  kVerdict = 'v',   // the verdict, then names of folders
  kTable = 't',     // the bytes of a table
  kManifest = 'm',  // the bytes of the manifest
  kDone = 'd',
  kFailed = 'f',
};

/// A cell's message, without its first byte. Absent for an empty one.
struct LevelMessage {
  LevelSaying saying = LevelSaying::kFailed;
  std::string_view rest;  // in the message

  static std::optional<LevelMessage> from(std::string_view message);
};

struct LevelReadQuestion {
  std::uint64_t file = 0;  // its place in LevelFolder::files()
  std::uint64_t offset = 0;
  std::uint64_t count = 0;

  std::string asMessage() const;
  static std::optional<LevelReadQuestion> from(std::string_view rest);
};

struct LevelJudgement {
  LevelVerdict verdict = LevelVerdict::kLeave;
  FolderNames folders = {};

  std::string asMessage() const;
  static std::optional<LevelJudgement> from(std::string_view rest);
};

std::string levelMessage(LevelSaying saying, std::string_view bytes = {});

/// What the worker says to a question or a file: bytes, or that it failed.
std::string levelReply(const std::optional<std::string>& bytes);
/// Absent when it failed.
std::optional<std::string> bytesOfLevelReply(std::string reply);

/// The input of a request: which database, and its files.
struct LevelInput {
  ChromiumDatabase database = ChromiumDatabase::kLocalStorage;
  LevelFolder folder = {};  // of files without paths; those of manifests are their names

  static std::string of(ChromiumDatabase database, const LevelFolder& folder);

  /// `bytes` makes the source of each file's bytes, from its place in LevelFolder::files(). Absent for what is none.
  template <typename MakeBytes>
  static std::optional<LevelInput> from(std::string_view input, const MakeBytes& bytes);

 private:
  struct Entry {
    std::uint64_t kind = 0;
    std::uint64_t number = 0;
    LevelFile file = {};
  };
  static std::optional<std::vector<Entry>> entriesIn(std::string_view input, LevelInput& result);
  void put(Entry entry);
};

template <typename MakeBytes>
std::optional<LevelInput> LevelInput::from(std::string_view input, const MakeBytes& bytes) {
  LevelInput result;
  auto entries = entriesIn(input, result);
  if (!entries) return std::nullopt;
  for (std::size_t place = 0; place < entries->size(); ++place) {
    Entry& entry = (*entries)[place];
    entry.file.bytes = bytes(place);
    result.put(std::move(entry));
  }
  return result;
}

}  // namespace tidewell
