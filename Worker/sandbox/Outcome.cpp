#include "Worker/sandbox/Outcome.h"

#include "Platform/FileManager.h"

namespace tidewell {

Outcome outcomeOf(std::error_code error) {
  if (!error || error == std::errc::no_such_file_or_directory) return {};
  if (error == std::errc::operation_not_permitted) return {Left::kNotAllowed};
  return {error == std::errc::cross_device_link ? Left::kOnOtherMount : Left::kFailed, 0, 0, error.value()};
}

Outcome outcomeOf(const platform::Erasure& erasure) {
  Outcome outcome;
  if (erasure.failed > 0) {
    outcome = outcomeOf(erasure.error);
  } else if (!erasure.leftNothing()) {
    outcome.left = erasure.notOverwritten > 0 ? Left::kNotOverwritten : Left::kOnOtherMount;
    outcome.error = erasure.error.value();
  }
  outcome.removed = erasure.removed;
  outcome.bytes = erasure.removedBytes;
  return outcome;
}

}  // namespace tidewell
