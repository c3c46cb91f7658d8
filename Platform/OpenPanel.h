// The panel in which the person picks a folder, and so grants it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/FileURL.h"

namespace platform {

struct OpenPanelSettings;

/// Decides what can be picked. Lives as long as the panel runs.
class OpenPanelDelegate {
 public:
  virtual ~OpenPanelDelegate() = default;

  virtual bool panel_shouldEnableURL(const OpenPanelSettings& panel, const std::optional<FileURL>& url) = 0;
};

struct OpenPanelSettings {
  std::string title;
  std::string message;
  std::string prompt;  // the confirm button's label
  FileURL directoryURL{"/"};
  bool canChooseFiles = true;
  bool canChooseDirectories = false;
  bool canCreateDirectories = false;
  bool allowsMultipleSelection = false;
  bool showsHiddenFiles = false;
  bool extensionHidden = false;

  /// The folder that is being asked for. It and the folders above it are offered to the person as far as the delegate
  /// enables them.
  FileURL target{"/"};
  OpenPanelDelegate* delegate = nullptr;

  /// Folders that are never granted: they are not offered, and choosing one counts as cancelling. May be empty.
  std::function<bool(const FileURL& url)> isTooWide;

  /// Whether the person may also answer ModalResponse::never: not now, and not to be asked again.
  bool offersNever = false;
};

enum class ModalResponse : unsigned { cancel = 0, ok = 1, never = 2 };

struct OpenPanelAnswer {
  ModalResponse response = ModalResponse::cancel;
  std::optional<FileURL> url;  // present with ModalResponse::ok
};

/// On the main thread only.
class OpenPanel {
 public:
  virtual ~OpenPanel() = default;

  /// Asks for the next panel to come to the front of the person's other windows.
  virtual void activateIgnoringOtherApps(bool ignoringOtherApps) = 0;

  /// Shows the panel and returns when the person has answered it. Meanwhile the run loop goes on. A choice that the
  /// delegate does not enable is rejected: the panel is shown again. When no panel can be shown, the response is
  /// ModalResponse::cancel. The chosen folder is granted for the life of the process.
  virtual OpenPanelAnswer runModal(const OpenPanelSettings& panel) = 0;
};

}  // namespace platform
