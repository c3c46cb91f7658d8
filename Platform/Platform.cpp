#include "Platform/Platform.h"

#include <cassert>

namespace platform {
namespace {

Platform* installed = nullptr;

}  // namespace

Platform& Platform::current() {
  assert(installed != nullptr);
  return *installed;
}

void Platform::install(Platform* platform) {
  installed = platform;
}

}  // namespace platform
