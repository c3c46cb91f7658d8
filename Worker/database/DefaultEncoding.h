// The default C-string encoding: the character set of the process's locale. Text inside the worker is UTF-8; some text
// of databases is read and bound in this encoding instead.
//
// Stateless; any thread, as long as none changes the locale meanwhile. Nothing fails: text that can not be converted,
// because it is not valid or has no counterpart, stays as it is, byte for byte, so that a later statement can name it.
#pragma once

#include <string>
#include <string_view>

namespace tidewell {

/// The name of the character set, as the system knows it: "UTF-8", "ISO-8859-1", …
std::string defaultCStringEncoding();

/// Bytes in an encoding, as text in UTF-8.
std::string textFromEncoding(std::string_view bytes, const std::string& encoding);

/// Text in UTF-8, as bytes in an encoding.
std::string textInEncoding(std::string_view text, const std::string& encoding);

}  // namespace tidewell
