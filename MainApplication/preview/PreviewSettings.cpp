#include "MainApplication/preview/PreviewSettings.h"

#include <utility>

namespace tidewell {

using platform::Value;

class PreviewSettings::Domain : public platform::UserDefaults {
 public:
  Domain(std::unique_ptr<platform::UserDefaults> real, const std::set<std::string>& hidden, Changes& changes)
      : real_(std::move(real)), hidden_(hidden), changes_(changes) {}

  std::optional<Value> objectForKey(const std::string& key) const override {
    if (hidden_.contains(key)) return std::nullopt;
    if (const auto changed = changes_.find(key); changed != changes_.end()) return changed->second;
    return real_ ? real_->objectForKey(key) : std::nullopt;
  }
  platform::Result<std::optional<Value>> checkedObjectForKey(const std::string& key) const override {
    if (hidden_.contains(key) || changes_.contains(key) || !real_) return objectForKey(key);
    return real_->checkedObjectForKey(key);
  }
  void setObject(const Value& value, const std::string& key) override { changes_.insert_or_assign(key, value); }
  void removeObjectForKey(const std::string& key) override { changes_.insert_or_assign(key, std::nullopt); }
  Value::Dictionary dictionaryRepresentation() const override {
    return real_ ? real_->dictionaryRepresentation() : Value::Dictionary();
  }
  bool synchronize() override { return true; }

 private:
  const std::unique_ptr<platform::UserDefaults> real_;
  const std::set<std::string>& hidden_;
  Changes& changes_;
};

std::unique_ptr<platform::UserDefaults> PreviewSettings::suite(const std::string& name) {
  return std::make_unique<Domain>(real_.suite(name), hidden_, changes_[name]);
}

std::unique_ptr<platform::UserDefaults> PreviewSettings::standardUserDefaults() {
  return std::make_unique<Domain>(nullptr, hidden_, changes_[""]);
}

}  // namespace tidewell
