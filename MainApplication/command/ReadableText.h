// Times, sizes and counts as the command prints them.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace tidewell {

/// "19.0 MB", in the person's language: in powers of 1000.
std::string readable(std::uint64_t bytes);

/// "1 item", "2 items"; and so on.
std::string countedItems(std::uint64_t items);
std::string countedFiles(std::uint64_t files);
std::string countedRows(std::uint64_t rows);

/// "2026-11-22 09:41".
std::string localTime(std::chrono::system_clock::time_point time);

/// In UTC, as ISO 8601 has it: "2026-11-22T08:41:07Z".
std::string timeForPrograms(std::chrono::system_clock::time_point time);

}  // namespace tidewell
