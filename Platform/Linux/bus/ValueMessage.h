// Values of the settings in messages of the bus.
//
// On the bus a boolean is "b", an integer "x", a real "d", a string "s", data "ay", a date "t" (microseconds since the
// start of 1970, UTC; an earlier one is that start), an array "av", a dictionary "a{sv}". A string that is no UTF-8, or
// holds a NUL, is sent as printable() has it.
#pragma once

#include <systemd/sd-bus.h>

#include <optional>

#include "Platform/Value.h"

namespace platform::linux_ {

/// Appends the entries as "a{sv}". False when the message could not take them.
bool appendDictionary(sd_bus_message* message, const Value::Dictionary& dictionary);

/// Reads an "a{sv}". Entries of other types than those above, or more than 32 levels deep, are passed over. Absent when
/// there is no "a{sv}".
std::optional<Value::Dictionary> readDictionary(sd_bus_message* message);

}  // namespace platform::linux_
