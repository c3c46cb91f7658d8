// Settings that outlive the process: typed values under keys, in domains.
//
// Several processes and threads read and write the same domain; every read sees the last write by any of them.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Result.h"
#include "Platform/Value.h"

namespace platform {

/// One domain, opened. Cheap to make and to drop; may be used from any thread.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  virtual std::optional<Value> objectForKey(const std::string& key) const = 0;

  /// The same, for callers to whom a value that can't be read is not like none: an error then, also for an absent key
  /// when what the settings held has been lost meanwhile.
  virtual Result<std::optional<Value>> checkedObjectForKey(const std::string& key) const = 0;

  virtual void setObject(const Value& value, const std::string& key) = 0;
  virtual void removeObjectForKey(const std::string& key) = 0;

  /// Every key and value of the domain.
  virtual Value::Dictionary dictionaryRepresentation() const = 0;

  /// Makes sure that what was written has reached the disk. False on failure.
  virtual bool synchronize() = 0;

  // Typed reads: a value of another type counts as none.

  bool boolForKey(const std::string& key) const;  // absent means false
  std::optional<std::string> stringForKey(const std::string& key) const;
  std::optional<Value::Array> arrayForKey(const std::string& key) const;
  std::optional<Data> dataForKey(const std::string& key) const;
};

class UserDefaultsDomains {
 public:
  virtual ~UserDefaultsDomains() = default;

  /// The domain that several programs share under a name.
  virtual std::unique_ptr<UserDefaults> suite(const std::string& name) = 0;

  /// This program's own domain.
  virtual std::unique_ptr<UserDefaults> standardUserDefaults() = 0;
};

}  // namespace platform
