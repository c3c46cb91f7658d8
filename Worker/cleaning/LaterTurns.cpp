#include "Worker/cleaning/LaterTurns.h"

#include <utility>

#include "Platform/Platform.h"

namespace tidewell {

void LaterTurns::ask(const std::string& name, platform::Task work) {
  const auto [waiting, isFirst] = toCome_.emplace(name, false);
  if (!isFirst) {
    waiting->second = true;
    return;
  }
  platform::Dispatch& dispatch = platform::Platform::current().dispatch;
  dispatch.after(delay_, dispatch.mainQueue(),
                 [self = shared_from_this(), name, work = std::move(work)] { self->come(name, work); });
}

void LaterTurns::come(const std::string& name, const platform::Task& work) {
  const bool wasAskedAgain = toCome_.extract(name).mapped();
  work();
  if (wasAskedAgain) ask(name, work);
}

}  // namespace tidewell
