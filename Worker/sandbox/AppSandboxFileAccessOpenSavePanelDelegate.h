// Limits what a panel lets the person pick: the folder that is asked for, or one of the folders above it, so that the
// grant covers what it was asked for. Paths are compared component by component, exactly.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/FileURL.h"
#include "Platform/OpenPanel.h"

namespace tidewell {

class AppSandboxFileAccessOpenSavePanelDelegate : public platform::OpenPanelDelegate {
 public:
  /// initWithFileURL: takes the folder that is asked for; an absent one raises platform::AssertionFailure.
  explicit AppSandboxFileAccessOpenSavePanelDelegate(const std::optional<platform::FileURL>& fileURL);

  const std::vector<std::string>& pathComponents() const { return pathComponents_; }
  void setPathComponents(std::vector<std::string> components) { pathComponents_ = std::move(components); }

  /// An absent URL raises platform::AssertionFailure.
  bool panel_shouldEnableURL(const platform::OpenPanelSettings& panel,
                             const std::optional<platform::FileURL>& url) override;

 private:
  std::vector<std::string> pathComponents_;
};

}  // namespace tidewell
