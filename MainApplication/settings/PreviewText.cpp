#include "MainApplication/settings/PreviewText.h"

#include <glib.h>
#include <libintl.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "Platform/Format.h"

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

std::string readable(const Json& preview) {
  std::string lines;
  for (const Json& item : preview.at("items")) {
    lines += item.at("path").get<std::string>() + '\n' + kIndent;
    lines += formatted(::dgettext("tidewell", "Files: %@ (%@)"), {counted(item.at("files")), sized(item.at("bytes"))});
    if (!item.at("allowed").get<bool>()) lines += std::string(" — ") + ::dgettext("tidewell", "not allowed yet");
    lines += '\n';
  }
  for (const Json& table : preview.at("rows")) {
    lines += table.at("database").get<std::string>() + '\n' + kIndent;
    lines += formatted(::dgettext("tidewell", "Rows of %@: %@"),
                       {table.at("table").get<std::string>(), counted(table.at("rows"))}) +
             '\n';
  }
  if (lines.empty()) return ::dgettext("tidewell", "There is nothing to remove.");
  const Json& total = preview.at("total");
  return lines + '\n' +
         formatted(::dgettext("tidewell", "In total: %@ files (%@), %@ rows"),
                   {counted(total.at("files")), sized(total.at("bytes")), counted(total.at("rows"))}) +
         '\n';
}

}  // namespace

std::string readablePreview(const std::string& output) {
  try {
    return readable(Json::parse(output));
  } catch (const Json::exception&) {
    return output;
  }
}

}  // namespace tidewell
