// Which folders can be a browser's, on a home without a Library: a list of profiles, an argument or a link may name any
// folder at all.
//
// Never the person's own: the home, what lies above it, its standard folders, and those in which all programs keep
// their files, whatever they hold and however a path leads to them. Any other by the files that browsers of the family
// put there themselves.
#pragma once

#include <string>

#include "Worker/browsers/Browser.h"
#include "Worker/homes/HomeFolder.h"
#include "Worker/homes/Installation.h"

namespace tidewell {

/// Whether the folder is the person's own, or lies above the home.
bool isPersonal(const HomeFolder& home, const std::string& folder);

/// Whether the folder is one with all profiles, or a single profile. A place in the table of browsers counts by its
/// name where the family puts no file of its own there.
bool isOfKind(Installation::Kind kind, const HomeFolder& home, Family family, const std::string& folder);

/// Whether the folder is a profile.
bool isProfile(const HomeFolder& home, Family family, const std::string& folder);

/// What the arguments of the family's browsers name.
Installation::Kind kindOfStartedWith(Family family);

}  // namespace tidewell
