// What a cell does: reads what it is given, and answers. Runs in the cell, where nothing else can be done.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Worker/cells/CellAsk.h"

namespace tidewell {

/// What libraries do once, and can't do in a cell: to be called before its door closes.
void prepareCellWork();

/// The answer to a request; absent for what is none. Throws when there is too little memory.
std::optional<std::string> cellAnswer(std::string_view request, const CellAsk& ask);

}  // namespace tidewell
