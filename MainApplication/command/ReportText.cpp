#include "MainApplication/command/ReportText.h"

#include <ostream>

#include "MainApplication/command/ReadableText.h"
#include "MainApplication/command/Texts.h"
#include "Platform/PrintableText.h"
#include "Worker/browsers/Browsers.h"

namespace tidewell {
namespace {

using nlohmann::ordered_json;
using platform::printable;

std::string textFor(Left left) {
  switch (left) {
    case Left::kNothing:
      return localized("all gone");
    case Left::kNotAllowed:
      return localized("not allowed");
    case Left::kOnOtherMount:
      return localized("in part on another mount");
    case Left::kInUse:
      return localized("in use");
    case Left::kNotOverwritten:
      return localized("could not be overwritten");
    case Left::kNotReadable:
      return localized("could not be read");
    case Left::kListNotReadable:
      return localized("the list of kept sites could not be read");
    case Left::kFailed:
      return localized("could not be removed");
  }
  return "";
}

std::string textFor(Cause cause) {
  switch (cause) {
    case Cause::kQuit:
      return "";
    case Cause::kAnnounced:
      return ", " + localized("on demand");
    case Cause::kOwed:
      return ", " + localized("which was owed");
    case Cause::kLogOut:
      return ", " + localized("at the end of the session");
    case Cause::kPermission:
      return ", " + localized("when a folder was allowed");
  }
  return "";
}

/// What lies where, for people.
std::string textFor(StoreGroup group) {
  switch (group) {
    case StoreGroup::kCookies:
      return localized("Cookies");
    case StoreGroup::kSiteStorage:
      return localized("Site data");
    case StoreGroup::kCaches:
      return localized("Caches");
  }
  return "";
}

std::string nameOf(const Report& report) {
  const Browser* browser = browserWithIdentifier(report.browser);
  return browser != nullptr ? std::string(browser->name) : report.browser;
}

std::string figuresOf(const Outcome& outcome) {
  return countedItems(outcome.removed) + ", " + readable(outcome.bytes);
}

std::string placeOf(const StoreReport& store) {
  if (store.folder.empty()) return textFor(store.group);
  return printable(store.store.empty() ? store.folder : localized("%@ in %@", {store.store, store.folder}));
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
    output << kIndent << localized("a run of %@ was cut off: it took one more", {localTime(run.begun)}) << '\n';
  }
  if (report.isSpared) output << kIndent << localized("the browser was back: the rest is left until it quits") << '\n';
  for (const StoreReport& store : report.stores) {
    if (!isVerbose && store.outcome.left == Left::kNothing) continue;
    output << kIndent << placeOf(store) << ": ";
    if (isVerbose) output << figuresOf(store.outcome) << ", ";
    output << textFor(store.outcome.left);
    if (store.outcome.error != 0) output << " " << localized("(error %@)", {std::to_string(store.outcome.error)});
    output << '\n';
  }
}

}  // namespace tidewell
