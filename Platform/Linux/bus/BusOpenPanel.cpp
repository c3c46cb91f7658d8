#include "Platform/Linux/bus/BusOpenPanel.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Linux/bus/OpenPanelNames.h"

namespace platform::linux_ {
namespace {

constexpr std::uint64_t kNoTimeout = UINT64_MAX;  // the person may take an hour

/// A faulty program may give wrong answers without end, and must not keep the main thread busy for ever.
constexpr int kMostWrongAnswers = 20;

struct Answer {
  bool arrived = false;
  std::uint32_t response = 0;
  std::string url;
};

struct PendingPanel {
  SessionBus& bus;
  Answer answer;
};

/// In bytes: "file://", and a path each of whose bytes is percent-encoded.
constexpr std::size_t kLongestURL = 7 + 3 * PATH_MAX;

int received(sd_bus_message* reply, void* data, sd_bus_error*) {
  auto* panel = static_cast<PendingPanel*>(data);
  const char* url = nullptr;
  if (sd_bus_message_is_method_error(reply, nullptr) != 0 ||
      sd_bus_message_read(reply, "us", &panel->answer.response, &url) < 0) {
    panel->answer.response = 0;
  } else if (::strnlen(url, kLongestURL + 1) > kLongestURL) {
    panel->answer.response = 0;
    panel->bus.logRefusal("A panel's answer that is longer than any path");
  } else {
    panel->answer.url = url;
  }
  panel->answer.arrived = true;
  return 0;
}

void append(sd_bus_message* message, const char* key, const std::string& text) {
  sd_bus_message_append(message, "{sv}", key, "s", text.c_str());
}

void append(sd_bus_message* message, const char* key, bool flag) {
  sd_bus_message_append(message, "{sv}", key, "b", static_cast<int>(flag));
}

/// The folders that can be picked: the one that is asked for, then each above it, as far as the delegate enables them.
std::vector<std::string> enabledURLs(const OpenPanelSettings& panel) {
  std::vector<std::string> urls;
  for (FileURL url = panel.target;; url = url.deletingLastPathComponent()) {
    const bool isTooWide = panel.isTooWide && panel.isTooWide(url);
    if (!isTooWide && (panel.delegate == nullptr || panel.delegate->panel_shouldEnableURL(panel, url))) {
      urls.push_back(url.absoluteString());
    }
    if (url.path() == "/") return urls;
  }
}

void appendEnabled(sd_bus_message* message, const std::vector<std::string>& urls) {
  sd_bus_message_open_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv");
  sd_bus_message_append(message, "s", "enabled");
  sd_bus_message_open_container(message, SD_BUS_TYPE_VARIANT, "as");
  sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "s");
  for (const std::string& url : urls) sd_bus_message_append(message, "s", url.c_str());
  for (int container = 0; container < 3; ++container) sd_bus_message_close_container(message);
}

BusMessage callFor(sd_bus* bus, const OpenPanelSettings& panel, bool activates) {
  sd_bus_message* call = nullptr;
  if (sd_bus_message_new_method_call(bus, &call, kOpenPanelName, kOpenPanelObject, kOpenPanelName, "RunModal") < 0)
    return nullptr;
  BusMessage owned(call);
  sd_bus_message_open_container(call, SD_BUS_TYPE_ARRAY, "{sv}");
  append(call, "title", panel.title);
  append(call, "message", panel.message);
  append(call, "prompt", panel.prompt);
  append(call, "directory", panel.directoryURL.absoluteString());
  append(call, "canChooseFiles", panel.canChooseFiles);
  append(call, "canChooseDirectories", panel.canChooseDirectories);
  append(call, "canCreateDirectories", panel.canCreateDirectories);
  append(call, "allowsMultipleSelection", panel.allowsMultipleSelection);
  append(call, "showsHiddenFiles", panel.showsHiddenFiles);
  append(call, "extensionHidden", panel.extensionHidden);
  append(call, "activateIgnoringOtherApps", activates);
  if (panel.offersNever) append(call, "never", true);
  appendEnabled(call, enabledURLs(panel));
  sd_bus_message_close_container(call);
  return owned;
}

}  // namespace

BusOpenPanel::BusOpenPanel(SessionBus& bus, const FileManager& fileManager, Grant grant)
    : bus_(bus), fileManager_(fileManager), grant_(std::move(grant)) {}

OpenPanelAnswer BusOpenPanel::runModal(const OpenPanelSettings& panel) {
  const bool activates = std::exchange(activates_, false);
  for (int wrongAnswers = 0; wrongAnswers < kMostWrongAnswers; ++wrongAnswers) {
    OpenPanelAnswer answer = ask(panel, activates);
    if (answer.response != ModalResponse::ok) return answer;
    if (panel.isTooWide && panel.isTooWide(*answer.url)) {
      bus_.logRefusal("A grant of " + answer.url->path() + ", which is too wide,");
      return {};
    }
    if (panel.delegate != nullptr && !panel.delegate->panel_shouldEnableURL(panel, answer.url)) continue;
    grant_(*answer.url);
    return answer;
  }
  return {};
}

/// Shows the panel once. Returns what was picked, enabled or not.
OpenPanelAnswer BusOpenPanel::ask(const OpenPanelSettings& panel, bool activates) {
  PendingPanel pending{bus_, {}};
  const BusMessage call = callFor(bus_.get(), panel, activates);
  sd_bus_slot* slot = nullptr;
  if (!call || sd_bus_call_async(bus_.get(), &slot, call.get(), received, &pending, kNoTimeout) < 0) return {};
  const BusSlot waiting(slot);
  bus_.loop().runModally([&pending] { return pending.answer.arrived; });

  if (!pending.answer.arrived) return {};
  if (panel.offersNever && pending.answer.response == static_cast<unsigned>(ModalResponse::never)) {
    return {ModalResponse::never, std::nullopt};
  }
  if (pending.answer.response != static_cast<unsigned>(ModalResponse::ok)) return {};
  const std::optional<FileURL> chosen = FileURL::fromString(pending.answer.url);
  if (!chosen) return {};
  bool isDirectory = chosen->hasDirectoryPath();
  fileManager_.fileExists(chosen->path(), isDirectory);
  return {ModalResponse::ok, FileURL(chosen->path(), isDirectory)};
}

}  // namespace platform::linux_
