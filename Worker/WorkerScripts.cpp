// Safari's cookie script: installed with the person's consent, and started after each cleaning of Safari.

#include "Platform/Format.h"
#include "Platform/Platform.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/sandbox/CookieScript.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {
namespace {

using platform::FileURL;
using platform::Platform;

constexpr char kScriptTask[] = "-[WorkerAppDelegate(WorkerScripts) scriptTask]";
constexpr char kNoScriptTask[] = "%s no Script task error = %@";

}  // namespace

void WorkerAppDelegate::checkCookieScript() {
  installCookieScript();
}

std::unique_ptr<platform::UserUnixTask> WorkerAppDelegate::scriptTask() {
  const std::optional<FileURL> folder = cookieScriptsFolder();
  if (!folder) return nullptr;
  auto task = Platform::current().userScripts.taskWithURL(folder->appendingPathComponent(kCookieScript));
  if (task) return std::move(*task);
  Platform::current().log.log(platform::formatted(kNoScriptTask, {kScriptTask, task.error().message()}));
  return nullptr;
}

void WorkerAppDelegate::executeScript() {
  Sandbox::checkForScriptInFolder();
  if (const auto task = scriptTask()) task->execute();
}

}  // namespace tidewell
