// The log on standard error; in the journal, with fields, when standard error is connected to it.
#pragma once

#include "Platform/Log.h"

namespace platform::linux_ {

class LineLog : public Log {
 public:
  LineLog();

  using Log::log;
  void log(std::string_view text, const std::vector<LogField>& fields) override;
  void record(std::string_view text, const std::vector<LogField>& fields) override;

 private:
  const bool toJournal_;
};

}  // namespace platform::linux_
