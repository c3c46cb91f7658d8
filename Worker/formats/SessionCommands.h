// The files in which a Chromium keeps its tabs: in a profile's folder "Sessions" and, of earlier versions, beside it.
//
// A file is a sequence of commands, by which the browser builds its windows and tabs anew. A command for each page of a
// tab's history holds its address and title, and what the page has stored with them: the state of its scripts
// (history.state), the text in its forms, the name of its window, the same of its frames, and the page that led to it.
// The latter goes, addresses and titles stay; so do all other commands: windows, order, groups, pins.
#pragma once

#include <string_view>

#include "Worker/formats/Rewriting.h"

namespace tidewell {

/// What a file is about: the commands have other numbers.
enum class TabFile { kOpen, kClosed };  // "Session_…", "Apps_…"; "Tabs_…"

/// The same tabs, without what sites have stored with their pages. What is stored with pages of extensions and of the
/// browser itself stays when no site is mentioned in it. What follows after damage, which the browser does not read
/// either, goes. A file of another version, or an encrypted one, is left as unread; one that is no file of tabs, or is
/// damaged before the first page, is removed. A second pass changes nothing. Any thread.
Rewriting withoutPageStates(std::string_view file, TabFile kind);

/// Whether withoutPageStates() can read the file.
bool isReadableTabFile(std::string_view file);

}  // namespace tidewell
