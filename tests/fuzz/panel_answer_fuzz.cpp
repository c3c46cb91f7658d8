// A panel's answer with any text: only the folder that is asked for, or one above it, is accepted.

#include <cstdint>
#include <cstdlib>

#include "Platform/Path.h"
#include "Worker/sandbox/AppSandboxFileAccessOpenSavePanelDelegate.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using platform::FileURL;
  const FileURL target("/home/ann/.config/chromium", true);
  const auto url = FileURL::fromString({reinterpret_cast<const char*>(bytes), size});
  if (!url) return 0;
  const std::string& path = url->path();
  if (!path.starts_with('/') || path.size() > size || path.find('\0') != std::string::npos) std::abort();
  if (FileURL::fromString(url->absoluteString()) != url) std::abort();

  tidewell::AppSandboxFileAccessOpenSavePanelDelegate delegate(target);
  bool isAbove = false;
  for (const char* above : {"/", "/home", "/home/ann", "/home/ann/.config", "/home/ann/.config/chromium"}) {
    if (platform::pathComponents(path) == platform::pathComponents(above)) isAbove = true;
  }
  if (delegate.panel_shouldEnableURL({}, url) != isAbove) std::abort();
  return 0;
}
