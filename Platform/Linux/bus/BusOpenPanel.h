// Panels that another program shows, over the session bus.
//
// That program replies to RunModal(panel) with the response and a file URL. No such program on the bus, one that exits
// before it replies, an error, a reply without a file URL or with one longer than any path: all of these count as
// cancelled. The response 2 says "Never", if the panel was asked with the key "never".
#pragma once

#include <functional>

#include "Platform/FileManager.h"
#include "Platform/Linux/bus/SessionBus.h"
#include "Platform/OpenPanel.h"

namespace platform::linux_ {

class BusOpenPanel : public OpenPanel {
 public:
  using Grant = std::function<void(const FileURL& url)>;

  /// `grant` is called for every folder that the person chose. Bus and file manager must outlive the object.
  BusOpenPanel(SessionBus& bus, const FileManager& fileManager, Grant grant);

  /// Passed on with the next panel, since the windows belong to the other program.
  void activateIgnoringOtherApps(bool ignoringOtherApps) override { activates_ = ignoringOtherApps; }

  OpenPanelAnswer runModal(const OpenPanelSettings& panel) override;

 private:
  OpenPanelAnswer ask(const OpenPanelSettings& panel, bool activates);

  SessionBus& bus_;
  const FileManager& fileManager_;
  const Grant grant_;
  bool activates_ = false;
};

}  // namespace platform::linux_
