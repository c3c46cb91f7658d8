#include "Worker/cleaning/Notice.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "Platform/Format.h"
#include "Platform/Platform.h"
#include "Worker/homes/FolderQuestions.h"

namespace tidewell {
namespace {

using platform::formatted;

std::string localized(const char* key) {
  return platform::Platform::current().mainBundle.localizedString(key, "");
}

std::string localizedPlural(const char* one, const char* many, std::uint64_t count) {
  return platform::Platform::current().mainBundle.localizedPlural(one, many, count);
}

/// "4.2 MB", "19 MB": in powers of 1000.
std::string readableSize(std::uint64_t bytes) {
  const std::array units = {localized("%@ kB"), localized("%@ MB"), localized("%@ GB"), localized("%@ TB")};
  double size = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  while (size >= 999.5 && unit + 1 < units.size()) {
    size /= 1000;
    ++unit;
  }
  std::array<char, 32> number{};
  std::snprintf(number.data(), number.size(), unit == 0 || size >= 9.95 ? "%.0f" : "%.1f", size);
  return formatted(units[unit], {number.data()});
}

std::string removedText(const Outcome& sum) {
  const std::string format = localizedPlural("%@ item removed, %@", "%@ items removed, %@", sum.removed);
  return formatted(format, {std::to_string(sum.removed), readableSize(sum.bytes)});
}

std::string ofBrowser(std::string_view browserName, const std::string& text) {
  return formatted(localized("%@: %@"), {browserName, text});
}

}  // namespace

std::vector<std::string> linesOnLeft(const Report& report, const LocalizedPlural& localizedPlural,
                                     const std::function<bool(const std::string& folder)>& isPassedOver) {
  std::uint64_t notAllowed = 0, inUse = 0, notOverwritten = 0, others = 0;
  for (const StoreReport& store : report.stores) {
    switch (store.outcome.left) {
      case Left::kNothing:
        break;
      case Left::kNotAllowed:
        notAllowed += isPassedOver(store.folder) ? 0 : 1;
        break;
      case Left::kInUse:
        ++inUse;
        break;
      case Left::kNotOverwritten:
        ++notOverwritten;
        break;
      case Left::kOnOtherMount:
      case Left::kNotReadable:
      case Left::kListNotReadable:
      case Left::kFailed:
        ++others;
        break;
    }
  }
  std::vector<std::string> lines;
  const auto add = [&lines](std::uint64_t count, const std::string& format) {
    if (count > 0) lines.push_back(formatted(format, {std::to_string(count)}));
  };
  add(notAllowed, localizedPlural("%@ folder was not allowed, and was not cleaned",
                                  "%@ folders were not allowed, and were not cleaned", notAllowed));
  add(inUse, localizedPlural("%@ item was in use, and was left", "%@ items were in use, and were left", inUse));
  add(notOverwritten, localizedPlural("%@ item could not be overwritten, and was left",
                                      "%@ items could not be overwritten, and were left", notOverwritten));
  add(others, localizedPlural("%@ item could not be cleaned", "%@ items could not be cleaned", others));
  return lines;
}

std::optional<Notice> noticeOf(const Report& report, std::string_view browserName) {
  std::vector<std::string> lines = linesOnLeft(report, localizedPlural, FolderQuestions::isNeverAsked);
  const Outcome sum = report.sum();
  if (sum.removed > 0) lines.insert(lines.begin(), removedText(sum));
  if (lines.empty()) return std::nullopt;
  Notice notice{ofBrowser(browserName, lines.front()), {}};
  for (std::size_t index = 1; index < lines.size(); ++index) {
    notice.more = notice.more ? *notice.more + "\n" + lines[index] : lines[index];
  }
  return notice;
}

Notice noticeOfNothing(std::string_view browserName) {
  return {ofBrowser(browserName, localized("nothing was there to remove")), {}};
}

}  // namespace tidewell
