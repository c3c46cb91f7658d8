#include "Worker/sandbox/CookieScript.h"

#include <chrono>

#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/sandbox/AppSandboxFileAccessOpenSavePanelDelegate.h"

namespace tidewell {
namespace {

using platform::FileURL;
using platform::Platform;

constexpr char kScript[] = "clearCookies";
constexpr char kExtension[] = "sh";
constexpr char kLastRootDirectoryKey[] = "NSNavLastRootDirectory";

std::string localized(const char* key) {
  return Platform::current().mainBundle.localizedString(key, "");
}

void askAgain() {
  platform::Dispatch& dispatch = Platform::current().dispatch;
  dispatch.after(std::chrono::nanoseconds(0), dispatch.mainQueue(), installCookieScript);
}

/// The folder that the person confirmed; absent when the panel was cancelled.
std::optional<FileURL> confirmedFolder(const FileURL& folder) {
  AppSandboxFileAccessOpenSavePanelDelegate delegate(folder);
  platform::OpenPanelSettings panel;
  panel.directoryURL = folder;
  panel.canChooseDirectories = true;
  panel.canChooseFiles = false;
  panel.allowsMultipleSelection = false;
  panel.canCreateDirectories = false;
  panel.showsHiddenFiles = false;
  panel.extensionHidden = false;
  panel.target = folder;
  panel.delegate = &delegate;
  panel.title = localized("Save Script");
  panel.prompt = localized("Save");
  panel.message =
      localized("Tidewell needs to save a file to this path to remove Safari cookies. Click Save to continue.");

  platform::OpenPanel& openPanel = Platform::current().openPanel;
  openPanel.activateIgnoringOtherApps(true);
  const platform::OpenPanelAnswer answer = openPanel.runModal(panel);
  return answer.response == platform::ModalResponse::ok ? answer.url : std::nullopt;
}

void askAndInstall() {
  const std::optional<FileURL> folder = cookieScriptsFolder();
  if (!folder) return;  // without the folder there is nothing to confirm
  const std::optional<FileURL> chosen = confirmedFolder(*folder);
  if (!chosen) return;
  if (*chosen != *folder) return askAgain();

  const auto resource = Platform::current().mainBundle.urlForResource(kScript, kExtension);
  const std::error_code error =
      resource ? Platform::current().fileManager.copyItem(*resource, folder->appendingPathComponent(kCookieScript))
               : std::make_error_code(std::errc::no_such_file_or_directory);
  if (!error) {
    Platform::current().userDefaults.suite(kSharedSuite)->removeObjectForKey(kLastRootDirectoryKey);
  } else if (error != std::errc::file_exists) {  // an existing script counts as installed
    askAgain();
  }
}

}  // namespace

std::optional<FileURL> cookieScriptsFolder() {
  return Platform::current().fileManager.applicationScriptsDirectory(true).value();
}

void installCookieScript() {
  platform::Dispatch& dispatch = Platform::current().dispatch;
  if (dispatch.isMainThread()) {
    askAndInstall();
  } else {
    dispatch.mainQueue().sync(askAndInstall);
  }
}

}  // namespace tidewell
