// "tidewell preview BROWSER".

#include <nlohmann/json.hpp>
#include <ostream>

#include "MainApplication/command/Commands.h"
#include "MainApplication/command/ReadableText.h"
#include "MainApplication/preview/Preview.h"
#include "Platform/PrintableText.h"

namespace tidewell {
namespace {

using platform::printable;

nlohmann::ordered_json stateOf(const Preview::Kept& kept) {
  nlohmann::ordered_json state = {{"items", nlohmann::ordered_json::array()},
                                  {"rows", nlohmann::ordered_json::array()},
                                  {"rewritten", nlohmann::ordered_json::array()},
                                  {"listIsReadable", !kept.listIsUnknown}};
  for (const PreviewedItem& item : kept.items) {
    state["items"].push_back({{"path", item.path}, {"files", item.files}, {"bytes", item.bytes}});
  }
  for (const PreviewedRows& table : kept.rows) {
    state["rows"].push_back({{"database", table.database}, {"table", table.table}, {"rows", table.rows}});
  }
  for (const PreviewedRewriting& rewriting : kept.rewritings) {
    state["rewritten"].push_back({{"path", rewriting.path}, {"bytes", rewriting.bytes}});
  }
  return state;
}

void print(const Preview::Kept& kept, std::ostream& output) {
  for (const PreviewedItem& item : kept.items) {
    output << printable(item.path) << ": " << counted(item.files, "file", "files") << ", " << readable(item.bytes)
           << ", of kept sites: stays\n";
  }
  for (const PreviewedRows& table : kept.rows) {
    output << printable(table.database) << ": " << counted(table.rows, "row", "rows") << " of "
           << printable(table.table) << ", of kept sites: stays\n";
  }
  for (const PreviewedRewriting& rewriting : kept.rewritings) {
    output << printable(rewriting.path) << ": " << readable(rewriting.bytes) << ", of kept sites: stays\n";
  }
  if (kept.listIsUnknown) output << "The list of kept sites can't be read: all stays that may be theirs.\n";
}

}  // namespace

int Commands::preview(const std::string& name) {
  const auto found = browsersFor({name});
  if (found.empty()) return kMisused;
  const Preview preview = Preview::of(*found[0], domains_);

  nlohmann::ordered_json state = {{"browser", found[0]->name},
                                  {"items", nlohmann::ordered_json::array()},
                                  {"rows", nlohmann::ordered_json::array()},
                                  {"rewritten", nlohmann::ordered_json::array()}};
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
  std::uint64_t rows = 0;
  for (const PreviewedItem& item : preview.items) {
    files += item.files;
    bytes += item.bytes;
    state["items"].push_back({{"path", item.path},
                              {"files", item.files},
                              {"bytes", item.bytes},
                              {"allowed", settings_.isGranted(item.path)}});
  }
  for (const PreviewedRows& table : preview.rows) {
    rows += table.rows;
    state["rows"].push_back({{"database", table.database}, {"table", table.table}, {"rows", table.rows}});
  }
  for (const PreviewedRewriting& rewriting : preview.rewritings) {
    bytes += rewriting.bytes;
    state["rewritten"].push_back(
        {{"path", rewriting.path}, {"bytes", rewriting.bytes}, {"allowed", settings_.isGranted(rewriting.path)}});
  }
  state["total"] = {{"files", files}, {"bytes", bytes}, {"rows", rows}};
  state["kept"] = stateOf(preview.kept);
  if (options_.json) {
    output_ << state.dump(2, ' ', true, nlohmann::ordered_json::error_handler_t::replace) << '\n';
    return kDone;
  }
  for (const PreviewedItem& item : preview.items) {
    output_ << printable(item.path) << ": " << counted(item.files, "file", "files") << ", " << readable(item.bytes)
            << (settings_.isGranted(item.path) ? "" : " (not allowed yet)") << '\n';
  }
  for (const PreviewedRows& table : preview.rows) {
    output_ << printable(table.database) << ": " << counted(table.rows, "row", "rows") << " of "
            << printable(table.table) << '\n';
  }
  for (const PreviewedRewriting& rewriting : preview.rewritings) {
    output_ << printable(rewriting.path) << ": " << readable(rewriting.bytes) << " of what sites have left in it"
            << (settings_.isGranted(rewriting.path) ? "" : " (not allowed yet)") << '\n';
  }
  print(preview.kept, output_);
  output_ << "A cleaning of " << found[0]->name << " would remove " << counted(files, "file", "files") << " ("
          << readable(bytes) << ") and " << counted(rows, "row", "rows") << ".\n";
  return kDone;
}

}  // namespace tidewell
