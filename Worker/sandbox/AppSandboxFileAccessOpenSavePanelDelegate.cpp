#include "Worker/sandbox/AppSandboxFileAccessOpenSavePanelDelegate.h"

#include <algorithm>

#include "Platform/Assertion.h"

namespace tidewell {
namespace {

constexpr char kSourceFile[] = "Worker/sandbox/AppSandboxFileAccessOpenSavePanelDelegate";

}  // namespace

AppSandboxFileAccessOpenSavePanelDelegate::AppSandboxFileAccessOpenSavePanelDelegate(
    const std::optional<platform::FileURL>& fileURL) {
  platform::assertParameter(fileURL.has_value(), "fileURL", kSourceFile, 54);
  pathComponents_ = fileURL->pathComponents();
}

bool AppSandboxFileAccessOpenSavePanelDelegate::panel_shouldEnableURL(const platform::OpenPanelSettings&,
                                                                      const std::optional<platform::FileURL>& url) {
  platform::assertParameter(url.has_value(), "url", kSourceFile, 63);
  const std::vector<std::string> candidate = url->pathComponents();
  return candidate.size() <= pathComponents_.size() &&
         std::equal(candidate.begin(), candidate.end(), pathComponents_.begin());
}

}  // namespace tidewell
