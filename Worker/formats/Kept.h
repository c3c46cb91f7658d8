// What stays of a browser's data about sites because the person wants it to.
#pragma once

#include "Worker/keeping/KeptSites.h"

namespace tidewell {

struct Kept {
  /// The sites whose cookies the person has allowed or blocked by hand.
  bool cookieRules = false;
  /// Permissions, zoom, handlers of protocols, decisions about certificates. What a browser notes about a site by
  /// itself goes all the same.
  bool siteSettings = false;
  /// The sites of which all stays that they need to know the person again.
  KeptSites sites = {};
};

}  // namespace tidewell
