#include "MainApplication/settings/PreviewList.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "MainApplication/settings/Texts.h"
#include "Platform/PrintableText.h"

namespace tidewell {
namespace {

using Json = nlohmann::json;
using platform::printable;

/// Gathers the lines of one kind of a preview.
class Reader {
 public:
  explicit Reader(const std::string& home) : home_(home) {}

  void addAll(const Json& preview, const std::string& group = {}) {
    for (const Json& item : preview.at("items")) addItem(item, group);
    for (const Json& table : preview.at("rows")) addRows(table, group);
    for (const Json& file : preview.at("rewritten")) addRewriting(file, group);
  }

  /// The groups that have lines, in the order in which people read them; the largest lines come first.
  std::vector<PreviewList::Group> groups() && {
    std::vector<PreviewList::Group> found;
    for (Sum& sum : sums_) {
      if (sum.group.lines.empty()) continue;
      sum.group.details = localized("Files: %@ (%@)", {std::to_string(sum.files), sizeText(sum.group.bytes)});
      std::stable_sort(sum.group.lines.begin(), sum.group.lines.end(),
                       [](const auto& one, const auto& other) { return one.bytes > other.bytes; });
      found.push_back(std::move(sum.group));
    }
    return found;
  }

  static constexpr char kKept[] = "kept";

 private:
  struct Sum {
    std::string word;  // in the preview
    PreviewList::Group group;
    std::uint64_t files = 0;
  };

  void addItem(const Json& item, const std::string& group) {
    const auto files = item.at("files").get<std::uint64_t>();
    const auto bytes = item.at("bytes").get<std::uint64_t>();
    std::string details = localized("Files: %@ (%@)", {std::to_string(files), sizeText(bytes)});
    if (!item.value("allowed", true)) details += " — " + localized("not allowed yet");
    add(item, group, item.at("path"), details, bytes).files += files;
  }

  void addRows(const Json& table, const std::string& group) {
    const std::string rows = std::to_string(table.at("rows").get<std::uint64_t>());
    add(table, group, table.at("database"),
        localized("Rows of %@: %@", {printable(table.at("table").get<std::string>()), rows}), 0);
  }

  void addRewriting(const Json& file, const std::string& group) {
    const auto bytes = file.at("bytes").get<std::uint64_t>();
    std::string details = localized("What sites have left in it: %@", {sizeText(bytes)});
    if (!file.value("allowed", true)) details += " — " + localized("not allowed yet");
    add(file, group, file.at("path"), details, bytes);
  }

  Sum& add(const Json& line, const std::string& group, const Json& path, const std::string& details,
           std::uint64_t bytes) {
    const std::string word = group.empty() ? line.value("group", "other") : group;
    auto sum = std::find_if(sums_.begin(), sums_.end(), [&word](const Sum& known) { return known.word == word; });
    if (sum == sums_.end()) sum = sums_.begin() + kOther;
    sum->group.lines.push_back({shortened(path.get<std::string>()), details, bytes});
    sum->group.bytes += bytes;
    return *sum;
  }

  std::string shortened(const std::string& path) const {
    return printable(path.starts_with(home_ + "/") ? "~" + path.substr(home_.size()) : path);
  }

  static constexpr int kOther = 3;
  const std::string& home_;
  std::vector<Sum> sums_ = {{"cookies", {localized("Cookies")}},
                            {"site-data", {localized("Site data")}},
                            {"caches", {localized("Caches")}},
                            {"other", {localized("Other")}},
                            {kKept, {localized("Stays, of kept sites")}}};
};

}  // namespace

std::optional<PreviewList> PreviewList::from(const std::string& output, const std::string& home) {
  try {
    const Json preview = Json::parse(output);
    Reader reader(home);
    reader.addAll(preview);
    if (preview.contains("kept")) reader.addAll(preview["kept"], Reader::kKept);
    PreviewList list;
    list.groups = std::move(reader).groups();
    const Json& total = preview.at("total");
    const auto text = [&total](const char* key) { return std::to_string(total.at(key).get<std::uint64_t>()); };
    if (total.at("files") == 0 && total.at("rows") == 0 && total.at("bytes") == 0) return list;
    list.total = localized("In total: %@ files (%@), %@ rows",
                           {text("files"), sizeText(total.at("bytes").get<std::uint64_t>()), text("rows")});
    return list;
  } catch (const Json::exception&) {
    return std::nullopt;
  }
}

}  // namespace tidewell
