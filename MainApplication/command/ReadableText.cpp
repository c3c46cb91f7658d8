#include "MainApplication/command/ReadableText.h"

#include <array>
#include <cstdio>
#include <ctime>

#include "MainApplication/command/Texts.h"

namespace tidewell {
namespace {

std::string formatted(const char* format, const std::tm& time) {
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), format, &time)};
}

}  // namespace

std::string readable(std::uint64_t bytes) {
  constexpr std::array kUnits = {"%@ kB", "%@ MB", "%@ GB", "%@ TB"};
  if (bytes < 1000) return localizedPlural("%@ byte", "%@ bytes", bytes);
  double size = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  while (size >= 999.5 && unit + 1 < kUnits.size()) {
    size /= 1000;
    ++unit;
  }
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), size >= 99.5 ? "%.0f" : "%.1f", size);
  const char* const key = kUnits.at(unit);
  return localized(key, {text.data()});
}

std::string countedItems(std::uint64_t items) {
  return localizedPlural("%@ item", "%@ items", items);
}

std::string countedFiles(std::uint64_t files) {
  return localizedPlural("%@ file", "%@ files", files);
}

std::string countedRows(std::uint64_t rows) {
  return localizedPlural("%@ row", "%@ rows", rows);
}

std::string localTime(std::chrono::system_clock::time_point time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm parts{};
  ::localtime_r(&seconds, &parts);
  return formatted("%Y-%m-%d %H:%M", parts);
}

std::string timeForPrograms(std::chrono::system_clock::time_point time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm parts{};
  ::gmtime_r(&seconds, &parts);
  return formatted("%Y-%m-%dT%H:%M:%SZ", parts);
}

}  // namespace tidewell
