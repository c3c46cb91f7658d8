#include "MainApplication/settings/PreviewText.h"

#include <glib.h>
#include <libintl.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "Platform/Format.h"
#include "Platform/PrintableText.h"

namespace tidewell {
namespace {

using Json = nlohmann::json;
using platform::formatted;

constexpr char kIndent[] = "    ";

/// A size as the person's language writes it.
std::string sized(const Json& bytes) {
  const std::unique_ptr<char, decltype(&g_free)> text(g_format_size(bytes.get<std::uint64_t>()), &g_free);
  return text.get();
}

std::string counted(const Json& count) {
  return std::to_string(count.get<std::uint64_t>());
}

std::string shortened(const Json& path, const std::string& home) {
  const auto whole = path.get<std::string>();
  return platform::printable(whole.starts_with(home + "/") ? "~" + whole.substr(home.size()) : whole);
}

std::string readable(const Json& preview, const std::string& home) {
  std::string lines;
  for (const Json& item : preview.at("items")) {
    lines += shortened(item.at("path"), home) + '\n' + kIndent;
    lines += formatted(::dgettext("tidewell", "Files: %@ (%@)"), {counted(item.at("files")), sized(item.at("bytes"))});
    if (!item.at("allowed").get<bool>()) lines += std::string(" — ") + ::dgettext("tidewell", "not allowed yet");
    lines += '\n';
  }
  for (const Json& table : preview.at("rows")) {
    lines += shortened(table.at("database"), home) + '\n' + kIndent;
    lines += formatted(::dgettext("tidewell", "Rows of %@: %@"),
                       {platform::printable(table.at("table").get<std::string>()), counted(table.at("rows"))}) +
             '\n';
  }
  for (const Json& rewriting : preview.at("rewritten")) {
    lines += shortened(rewriting.at("path"), home) + '\n' + kIndent;
    lines += formatted(::dgettext("tidewell", "What sites have left in it: %@"), {sized(rewriting.at("bytes"))}) + '\n';
  }
  if (lines.empty()) return ::dgettext("tidewell", "There is nothing to remove.");
  const Json& total = preview.at("total");
  return lines + '\n' +
         formatted(::dgettext("tidewell", "In total: %@ files (%@), %@ rows"),
                   {counted(total.at("files")), sized(total.at("bytes")), counted(total.at("rows"))}) +
         '\n';
}

}  // namespace

std::string readablePreview(const std::string& output, const std::string& home) {
  try {
    return readable(Json::parse(output), home);
  } catch (const Json::exception&) {
    return output;
  }
}

}  // namespace tidewell
