#include "MainApplication/command/ReportText.h"

#include <ostream>

#include "MainApplication/command/ReadableText.h"
#include "Platform/PrintableText.h"
#include "Worker/browsers/Browsers.h"

namespace tidewell {
namespace {

using nlohmann::ordered_json;
using platform::printable;

const char* textFor(Left left) {
  switch (left) {
    case Left::kNothing:
      return "all gone";
    case Left::kNotAllowed:
      return "not allowed";
    case Left::kOnOtherMount:
      return "in part on another mount";
    case Left::kInUse:
      return "in use";
    case Left::kNotOverwritten:
      return "could not be overwritten";
    case Left::kNotReadable:
      return "could not be read";
    case Left::kListNotReadable:
      return "the list of kept sites could not be read";
    case Left::kFailed:
      return "could not be removed";
  }
  return "";
}

const char* textFor(Cause cause) {
  switch (cause) {
    case Cause::kQuit:
      return "";
    case Cause::kAnnounced:
      return ", on demand";
    case Cause::kOwed:
      return ", which was owed";
    case Cause::kLogOut:
      return ", at the end of the session";
    case Cause::kPermission:
      return ", when a folder was allowed";
  }
  return "";
}

std::string nameOf(const Report& report) {
  const Browser* browser = browserWithIdentifier(report.browser);
  return browser != nullptr ? std::string(browser->name) : report.browser;
}

std::string figuresOf(const Outcome& outcome) {
  return counted(outcome.removed, "item", "items") + ", " + readable(outcome.bytes);
}

std::string placeOf(const StoreReport& store) {
  if (store.folder.empty()) return std::string(wordFor(store.group));
  return printable(store.store.empty() ? store.folder : store.store + " in " + store.folder);
}

ordered_json stateOf(const Outcome& outcome) {
  return {{"items", outcome.removed}, {"bytes", outcome.bytes}};
}

}  // namespace

ordered_json stateOf(const Report& report) {
  ordered_json state = {{"browser", report.browser},      {"cause", wordFor(report.cause)},
                        {"done", report.isDone()},        {"spared", report.isSpared},
                        {"runs", ordered_json::array()},  {"removed", ordered_json::object()},
                        {"stores", ordered_json::array()}};
  for (const Report::Run& run : report.runs) {
    state["runs"].push_back({{"begun", timeForPrograms(run.begun)}, {"ended", nullptr}});
    if (run.ended != Report::Run::kCutOff) state["runs"].back()["ended"] = timeForPrograms(run.ended);
  }
  for (const StoreGroup group : {StoreGroup::kCookies, StoreGroup::kSiteStorage, StoreGroup::kCaches}) {
    state["removed"][std::string(wordFor(group))] = stateOf(report.sum(group));
  }
  for (const StoreReport& store : report.stores) {
    ordered_json row = {{"folder", store.folder}, {"store", store.store}, {"kind", wordFor(store.group)}};
    row.update(stateOf(store.outcome));
    row["left"] = wordFor(store.outcome.left);
    row["error"] = store.outcome.error;
    state["stores"].push_back(std::move(row));
  }
  return state;
}

void print(const Report& report, bool isVerbose, std::ostream& output) {
  constexpr char kIndent[] = "                  ";
  output << (report.runs.empty() ? "" : localTime(report.runs.front().begun)) << "  " << printable(nameOf(report))
         << ": " << figuresOf(report.sum()) << textFor(report.cause) << '\n';
  for (const Report::Run& run : report.runs) {
    if (run.ended != Report::Run::kCutOff) continue;
    output << kIndent << "a run of " << localTime(run.begun) << " was cut off: it took one more\n";
  }
  if (report.isSpared) output << kIndent << "the browser was back: the rest is left until it quits\n";
  for (const StoreReport& store : report.stores) {
    if (!isVerbose && store.outcome.left == Left::kNothing) continue;
    output << kIndent << placeOf(store) << ": ";
    if (isVerbose) output << figuresOf(store.outcome) << ", ";
    output << textFor(store.outcome.left);
    if (store.outcome.error != 0) output << " (error " << store.outcome.error << ")";
    output << '\n';
  }
}

}  // namespace tidewell
