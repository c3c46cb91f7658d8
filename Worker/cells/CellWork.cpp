#include "Worker/cells/CellWork.h"

#include "Worker/cells/CellRequest.h"
#include "Worker/cells/LevelWork.h"
#include "Worker/formats/CacheStorageIndex.h"
#include "Worker/formats/LocalState.h"
#include "Worker/formats/Pickle.h"
#include "Worker/formats/Preferences.h"
#include "Worker/formats/ProfilesIni.h"
#include "Worker/formats/SessionCommands.h"
#include "Worker/formats/SessionStore.h"
#include "Worker/formats/leveldb/LevelWriter.h"

namespace tidewell {
namespace {

std::optional<std::string> pickledText(std::string_view bytes) {
  const auto text = PickleReader(bytes).text();
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

using Owner = std::optional<std::string>;

std::optional<std::string> eachOf(std::string_view input, Owner (*read)(std::string_view bytes)) {
  std::string answers;
  for (ByteReader reader(input); !reader.atEnd();) {
    const auto bytes = reader.text();
    if (!bytes) return std::nullopt;
    appendText(answers, answerOf(read(*bytes)));
  }
  return answers;
}

std::vector<std::string> profilesIn(std::string_view localState) {
  std::vector<std::string> pairs;
  for (const auto& [folder, name] : profilesOfLocalState(localState)) pairs.insert(pairs.end(), {folder, name});
  return pairs;
}

}  // namespace

void prepareCellWork() {
  LevelWriter::prepare();
}

std::optional<std::string> cellAnswer(std::string_view message, const CellAsk& ask) {
  const auto request = CellRequest::from(message);
  if (!request) return std::nullopt;
  const std::string_view input = request->input;
  switch (request->task) {
    case CellTask::kPreferences:
      return answerOf(withoutSites(input, request->kept));
    case CellTask::kUnpackedSession:
      return answerOf(unpackedSession(input));
    case CellTask::kSession:
      return answerOf(sessionWithoutSiteData(input, request->kept.sites));
    case CellTask::kOpenTabs:
      return answerOf(withoutPageStates(input, TabFile::kOpen));
    case CellTask::kClosedTabs:
      return answerOf(withoutPageStates(input, TabFile::kClosed));
    case CellTask::kIsTabFile:
      return answerOf(isReadableTabFile(input) ? std::optional<std::string>("") : std::nullopt);
    case CellTask::kOriginsOfCaches:
      return eachOf(input, originOfCacheStorage);
    case CellTask::kStorageKeysOfCaches:
      return eachOf(input, storageKeyOfCacheStorage);
    case CellTask::kPickledTexts:
      return eachOf(input, pickledText);
    case CellTask::kListInLocalState:
      return answerOf(profilesIn(input));
    case CellTask::kListInProfilesIni:
      return answerOf(listedProfiles(input));
    case CellTask::kLevelDatabase:
      return levelAnswer(*request, ask);
  }
  return std::nullopt;
}

}  // namespace tidewell
