// "tidewell preview BROWSER".

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "MainApplication/command/Commands.h"
#include "MainApplication/command/ReadableText.h"
#include "MainApplication/command/Texts.h"
#include "MainApplication/preview/PreviewSums.h"
#include "Platform/PrintableText.h"

namespace tidewell {
namespace {

using nlohmann::ordered_json;
using platform::printable;

std::string titleOf(PreviewGroup group) {
  switch (group) {
    case PreviewGroup::kCookies:
      return localized("Cookies");
    case PreviewGroup::kSiteData:
      return localized("Site data");
    case PreviewGroup::kCaches:
      return localized("Caches");
    case PreviewGroup::kOther:
      return localized("Other");
  }
  return "";
}

GroupSum totalOf(const Preview& preview) {
  GroupSum total;
  for (const GroupSum& sum : sumsOf(preview)) {
    total.files += sum.files;
    total.bytes += sum.bytes;
    total.rows += sum.rows;
  }
  return total;
}

ordered_json stateOf(const PreviewedItem& item) {
  return {{"path", item.path}, {"files", item.files}, {"bytes", item.bytes}, {"group", wordFor(item.group)}};
}

ordered_json stateOf(const PreviewedRows& table) {
  return {{"database", table.database}, {"table", table.table}, {"rows", table.rows}, {"group", wordFor(table.group)}};
}

ordered_json stateOf(const PreviewedRewriting& file) {
  return {{"path", file.path}, {"bytes", file.bytes}, {"group", wordFor(file.group)}};
}

template <typename Lines>
ordered_json statesOf(const Lines& lines) {
  ordered_json states = ordered_json::array();
  for (const auto& line : lines) states.push_back(stateOf(line));
  return states;
}

/// The same, with whether each may be cleaned.
template <typename Lines>
ordered_json statesOf(const Lines& lines, const SettingsStore& settings) {
  ordered_json states = ordered_json::array();
  for (const auto& line : lines) {
    states.push_back(stateOf(line));
    states.back()["allowed"] = settings.isGranted(line.path);
  }
  return states;
}

ordered_json stateOf(const Preview& preview, const Browser& browser, const SettingsStore& settings) {
  const GroupSum total = totalOf(preview);
  return {{"browser", browser.name},
          {"items", statesOf(preview.items, settings)},
          {"rows", statesOf(preview.rows)},
          {"rewritten", statesOf(preview.rewritings, settings)},
          {"total", {{"files", total.files}, {"bytes", total.bytes}, {"rows", total.rows}}},
          {"kept",
           {{"items", statesOf(preview.kept.items)},
            {"rows", statesOf(preview.kept.rows)},
            {"rewritten", statesOf(preview.kept.rewritings)},
            {"listIsReadable", !preview.kept.listIsUnknown}}}};
}

std::string textOf(const PreviewedItem& item) {
  return printable(item.path) + ": " + countedFiles(item.files) + ", " + readable(item.bytes);
}

std::string textOf(const PreviewedRows& table) {
  return printable(table.database) + ": " + localized("%@ of %@", {countedRows(table.rows), printable(table.table)});
}

std::string textOf(const PreviewedRewriting& file) {
  return printable(file.path) + ": " + localized("%@ of what sites have left in it", {readable(file.bytes)});
}

/// A line for each path of a group, and for each that stays because its site is kept.
class Paths {
 public:
  Paths(const Preview& preview, const SettingsStore& settings, std::ostream& output)
      : preview_(preview), settings_(settings), output_(output) {}

  void print(PreviewGroup group) {
    printEach(preview_.items, group, [this](const auto& item) { return noteOn(item.path); });
    printEach(preview_.rows, group, [](const auto&) { return std::string(); });
    printEach(preview_.rewritings, group, [this](const auto& file) { return noteOn(file.path); });
    const auto stays = [](const auto&) { return " (" + localized("of kept sites, stays") + ")"; };
    printEach(preview_.kept.items, group, stays);
    printEach(preview_.kept.rows, group, stays);
    printEach(preview_.kept.rewritings, group, stays);
  }

 private:
  template <typename Lines, typename Note>
  void printEach(const Lines& lines, PreviewGroup group, const Note& note) {
    for (const auto& line : lines) {
      if (line.group == group) output_ << "    " << textOf(line) << note(line) << '\n';
    }
  }

  std::string noteOn(const std::string& path) const {
    return settings_.isGranted(path) ? "" : " (" + localized("not allowed yet") + ")";
  }

  const Preview& preview_;
  const SettingsStore& settings_;
  std::ostream& output_;
};

std::vector<Table::Cell> rowOf(const std::string& title, const GroupSum& sum) {
  return {{title}, {std::to_string(sum.files)}, {readable(sum.bytes)}, {std::to_string(sum.rows)}};
}

bool isWhollyAllowed(const Preview& preview, const SettingsStore& settings) {
  const auto isAllowed = [&settings](const auto& line) { return settings.isGranted(line.path); };
  return std::all_of(preview.items.begin(), preview.items.end(), isAllowed) &&
         std::all_of(preview.rewritings.begin(), preview.rewritings.end(), isAllowed);
}

bool isEmpty(const Preview::Kept& kept) {
  return kept.items.empty() && kept.rows.empty() && kept.rewritings.empty();
}

}  // namespace

int Commands::preview(const std::string& name) {
  const auto found = browsersFor({name});
  if (found.empty()) return kMisused;
  const Browser& browser = *found[0];
  const Preview preview = Preview::of(browser, domains_);
  if (options_.json) {
    output_ << stateOf(preview, browser, settings_).dump(2, ' ', true, ordered_json::error_handler_t::replace) << '\n';
    return kDone;
  }
  printPreview(preview, browser);
  return kDone;
}

void Commands::printPreview(const Preview& preview, const Browser& browser) {
  const Screen& screen = options_.screen;
  const GroupSum total = totalOf(preview);
  if (options_.verbose) {
    for (const PreviewGroup group : kPreviewGroups) {
      output_ << screen.coloured(titleOf(group), Screen::Colour::kHeading) << '\n';
      Paths(preview, settings_, output_).print(group);
    }
    output_ << '\n';
  }
  Table table({localized("Kind"), localized("Files"), localized("Size"), localized("Rows of databases")});
  for (const GroupSum& sum : sumsOf(preview)) table.addRow(rowOf(titleOf(sum.group), sum));
  if (!table.isEmpty()) {
    table.addRow(rowOf(localized("Total"), total));
    table.print(screen, output_);
    output_ << '\n';
  }
  screen.print(localized("A cleaning of %@ would remove %@ (%@) and %@.",
                         {browser.name, countedFiles(total.files), readable(total.bytes), countedRows(total.rows)}),
               output_);
  if (preview.kept.listIsUnknown) {
    screen.print(localized("The list of kept sites can't be read: all stays that may be theirs."), output_, 0,
                 Screen::Colour::kBad);
  } else if (!isEmpty(preview.kept)) {
    screen.print(localized("What kept sites have stored stays."), output_);
  }
  const std::string word(*browser.words.begin());
  if (!isWhollyAllowed(preview, settings_)) {
    screen.print(localized("Not all of it is allowed yet: \"tidewell allow %@\" asks for its folders.", {word}),
                 output_, 0, Screen::Colour::kDoubtful);
  }
  if (!options_.verbose && !table.isEmpty()) {
    screen.print(localized("\"tidewell preview -v %@\" lists the paths.", {word}), output_, 0, Screen::Colour::kQuiet);
  }
}

}  // namespace tidewell
