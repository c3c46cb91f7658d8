// The sites whose data stays because the person wants it to.
//
// Each entry of the list is a site: "a.test" is that host and all below it, "=a.test" that host alone. Addresses of the
// Internet Protocol and names of one label ("localhost") are that host alone in any case. Scheme, port, profile and
// container play no part. Data of a site inside another one stays when both are kept.
//
// A list that can't be told is unknown: then nothing that may be a kept site's must go. A value, cheap to copy; any
// thread.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Value.h"
#include "Worker/keeping/Owner.h"

namespace tidewell {

class KeptSites {
 public:
  /// No site is kept.
  KeptSites() = default;
  static KeptSites unknown();

  /// The sites of these entries; unknown when one of them is none.
  static KeptSites of(const std::vector<std::string>& entries);
  /// The same from a value of the settings; unknown when it is no array of texts.
  static KeptSites from(const platform::Value& setting);

  /// An entry in the one form that stands for all; absent when it is no site: also for what has sites of different
  /// owners below it, like "co.uk".
  static std::optional<std::string> canonicalEntry(std::string_view entry);

  bool isUnknown() const;
  bool isEmpty() const { return lists_ == nullptr; }

  /// What a list has been made into, for whoever passes it on: to examine 10,000 entries again would take as long as
  /// cleaning a browser. All hosts in their canonical form.
  struct Parts {
    bool isUnknown = false;
    std::vector<std::string> alone = {};
    std::vector<std::string> withAllBelow = {};
    std::vector<std::string> around = {};  // the domains that kept hosts lie in
  };
  Parts parts() const;
  static KeptSites ofParts(const Parts& parts);

  // While the list is unknown, none of these is to be asked: each would answer no.

  /// Whether data of this host stays, in any form of its name.
  bool keepsHost(std::string_view host) const;

  /// Whether a cookie stays: of a host, or with a leading dot of a host and all below it. Those that a kept host
  /// receives from the domains around it stay with it.
  bool keepsCookieOf(std::string_view domain) const;

  /// Whether a site counts as kept when another one is framed in it, or where the browser takes notes by site: when an
  /// entry is it, or lies below it.
  bool keepsSite(std::string_view host) const;

  bool keeps(const Owner& owner) const;
  /// The same for a cookie; a top-level site that is absent is none.
  bool keepsCookie(std::string_view domain, const std::optional<std::string>& topLevelSite) const;

 private:
  struct Lists;
  struct LastRead;
  static LastRead& lastRead();
  explicit KeptSites(std::shared_ptr<const Lists> lists) : lists_(std::move(lists)) {}

  std::shared_ptr<const Lists> lists_;  // null when nothing is kept
};

}  // namespace tidewell
