// The real settings, with changes that are kept in memory only.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "Platform/UserDefaults.h"

namespace tidewell {

class PreviewSettings : public platform::UserDefaultsDomains {
 public:
  /// `real` is read and never written. `hidden` keys look absent.
  PreviewSettings(platform::UserDefaultsDomains& real, std::set<std::string> hidden)
      : real_(real), hidden_(std::move(hidden)) {}

  std::unique_ptr<platform::UserDefaults> suite(const std::string& name) override;
  /// Empty at first, so that real grants play no part.
  std::unique_ptr<platform::UserDefaults> standardUserDefaults() override;

 private:
  using Changes = std::map<std::string, std::optional<platform::Value>>;
  class Domain;

  platform::UserDefaultsDomains& real_;
  const std::set<std::string> hidden_;
  std::map<std::string, Changes> changes_;
};

}  // namespace tidewell
