// The log on standard error; in the journal, when standard error is connected to it.
#pragma once

#include "Platform/Log.h"

namespace platform::linux_ {

class LineLog : public Log {
 public:
  LineLog();

  void log(std::string_view text) override;

 private:
  const bool toJournal_;
};

}  // namespace platform::linux_
