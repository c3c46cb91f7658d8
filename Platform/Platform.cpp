#include "Platform/Platform.h"

#include <cassert>
#include <utility>

namespace platform {
namespace {

Platform* installed = nullptr;

}  // namespace

Platform& Platform::current() {
  assert(installed != nullptr);
  return *installed;
}

Platform* Platform::install(Platform* platform) {
  return std::exchange(installed, platform);
}

}  // namespace platform
