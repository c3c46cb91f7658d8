// A file "Local State" with any content: it lists profiles, or none.

#include <cstdint>
#include <memory>

#include "Worker/Identity.h"
#include "Worker/WorkerAppDelegate.h"
#include "tests/support/TestPlatform.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  testing_support::TestPlatform platform;
  platform.shared().insert_or_assign(tidewell::kUserFolderKey, platform.home.path());
  platform.grant(platform.home.path());
  platform.home.file("Library/Application Support/Chromium/Local State",
                     std::string(reinterpret_cast<const char*>(bytes), size));
  const auto worker = tidewell::WorkerAppDelegate::create();
  worker->userProfiles("Chromium");
  worker->removeFlash("Chromium");
  platform.dispatch.runUntilIdle();
  return 0;
}
