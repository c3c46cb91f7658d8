// What a cell does with a LevelDB database, of which it gets the bytes that it asks for.
#pragma once

#include <optional>
#include <string>

#include "Worker/cells/CellAsk.h"
#include "Worker/cells/CellRequest.h"

namespace tidewell {

/// The last thing to say; absent when nobody listens any more, or when the request is none.
std::optional<std::string> levelAnswer(const CellRequest& request, const CellAsk& ask);

}  // namespace tidewell
