// The worker's process: puts the Linux platform and the worker's logic together, and runs.

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "Platform/Linux/LinuxPlatform.h"
#include "Platform/Linux/bus/BusListener.h"
#include "Platform/Linux/bus/BusService.h"
#include "Platform/Linux/bus/SessionEnd.h"
#include "Platform/Linux/bus/ShutdownDelay.h"
#include "Platform/Linux/cells/CellLoop.h"
#include "Worker/Cleanings.h"
#include "Worker/Identity.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/cells/CellWork.h"

namespace linux_ = platform::linux_;

static int fail(const char* what, const std::string& why) {
  std::fprintf(stderr, "tidewell-worker: %s: %s\n", what, why.c_str());
  return EXIT_FAILURE;
}

/// Whether the first argument asked for a text, which was printed. All other arguments are passed over.
static bool hasToldAboutItself(int count, char** arguments) {
  const std::string_view first = count > 1 ? arguments[1] : "";
  if (first == "--version") return std::puts("tidewell-worker " TIDEWELL_VERSION) >= 0;
  if (first != "--help") return false;
  return std::puts(
             "Usage: tidewell-worker\n"
             "Waits in the background of a session until a browser quits, and cleans it then. The session starts it;\n"
             "\"tidewell\" says what is to be cleaned. See tidewell-worker(1).") >= 0;
}

int main(int count, char** arguments) {
  // Where the cell's program is missing, this one stands in for it.
  if (count > 0 && arguments[0] == linux_::kCellName) {
    linux_::CellLoop{tidewell::prepareCellWork, tidewell::cellAnswer}.run();
  }
  if (hasToldAboutItself(count, arguments)) return EXIT_SUCCESS;

  linux_::RunLoop loop;
  loop.stopOnSignals();
  linux_::GettextBundle::useLanguageOfEnvironment();

  const auto bus = linux_::SessionBus::open(loop);
  if (!bus) return fail("no session bus", bus.error().message());
  const linux_::BundleInfo info{tidewell::kBundleIdentifier,
                                {{"CFBundleDisplayName", tidewell::kDisplayName}, {"CFBundleName", "TidewellWorker"}}};
  linux_::LinuxPlatform platform(loop, **bus, info, tidewell::watchedBrowsers());
  // The name is taken once quits can be received: a program that sees it may announce one at once.
  const auto names =
      linux_::BusServiceNames::forIdentifier(tidewell::kBundleIdentifier, tidewell::kAgentInterface,
                                             tidewell::kAgentMethod, std::string(tidewell::kAgentArgumentNames));
  linux_::BusListener listener(**bus, names);
  if (const auto error = listener.requestName()) {
    return fail("not started", error == std::errc::file_exists ? "a worker runs already" : error.message());
  }
  auto delegate = tidewell::WorkerAppDelegate::create();
  linux_::BusService cleanings(**bus, names.object, tidewell::cleaningsInterface(*delegate));
  tidewell::announceRuns(*delegate, cleanings);
  linux_::ShutdownDelay delay(loop, tidewell::kDisplayName, "Cleaning a browser that has quit");
  delegate->setUnderWayHandler([&](bool isUnderWay) { isUnderWay ? delay.begin() : delay.end(); });
  const linux_::SessionEnd end(**bus, [&](platform::Task done) { delegate->sessionEnds(std::move(done)); });
  listener.setDelegate(delegate.get());
  listener.resume();
  platform.startWorkspace([&](const auto& app) { return delegate->checkIfBrowserEnabled(app.applicationName); },
                          tidewell::kSharedSuite);
  delegate->cleanWhatIsOwed();
  const int status = loop.run();
  if (!platform.finish()) std::_Exit(status);  // a thread waits for an answer that will never come
  return status;
}
