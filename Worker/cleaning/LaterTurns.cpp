#include "Worker/cleaning/LaterTurns.h"

#include <utility>

#include "Platform/Platform.h"

namespace tidewell {

void LaterTurns::ask(const std::string& name, platform::Task work) {
  const auto [waiting, isFirst] = toCome_.try_emplace(name);
  if (!isFirst) {
    waiting->second.isAskedForAgain = true;
    return;
  }
  waiting->second = {std::move(work), false, ++turns_};
  platform::Dispatch& dispatch = platform::Platform::current().dispatch;
  dispatch.after(delay_, dispatch.mainQueue(),
                 [self = shared_from_this(), name, number = turns_] { self->come(name, number); });
}

void LaterTurns::come(const std::string& name, std::uint64_t number) {
  const auto found = toCome_.find(name);
  if (found == toCome_.end() || found->second.number != number) return;  // it has come already
  const Turn turn = std::move(toCome_.extract(found).mapped());
  turn.work();
  if (turn.isAskedForAgain) ask(name, turn.work);
}

void LaterTurns::comeNow() {
  const std::map<std::string, Turn> turns = std::exchange(toCome_, {});
  for (const auto& [name, turn] : turns) turn.work();
}

}  // namespace tidewell
