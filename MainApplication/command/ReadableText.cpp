#include "MainApplication/command/ReadableText.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace tidewell {
namespace {

std::string formatted(const char* format, const std::tm& time) {
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), format, &time)};
}

}  // namespace

std::string readable(std::uint64_t bytes) {
  constexpr std::array kUnits = {"bytes", "kB", "MB", "GB", "TB"};
  auto size = static_cast<double>(bytes);
  std::size_t unit = 0;
  while (size >= 999.5 && unit + 1 < kUnits.size()) {
    size /= 1000;
    ++unit;
  }
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), unit == 0 || size >= 99.5 ? "%.0f %s" : "%.1f %s", size, kUnits[unit]);
  return text.data();
}

std::string counted(std::uint64_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
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
