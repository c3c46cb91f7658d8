// An object of this program that other programs of the person's session call, and whose signals they receive.
//
// A method takes texts and flags, and answers with a dictionary through a callback.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Value.h"

namespace platform {

enum class RemoteType { kText, kFlag, kDictionary };

struct RemoteArgument {
  std::string name;
  RemoteType type = RemoteType::kText;
};

/// What a call is answered with: a value, or an error with a name such as "com.example.Error.Unknown" and a sentence.
struct RemoteAnswer {
  Value::Dictionary value = {};
  std::string errorName = {};  // "" for none
  std::string errorText = {};
};

/// Sends the answer. May be kept, and called once, later and from any thread. When it is dropped uncalled, the caller
/// never gets an answer, and nothing of the call is kept.
using RemoteReply = std::function<void(const RemoteAnswer& answer)>;

struct RemoteMethod {
  std::string name;
  std::vector<RemoteArgument> takes;  // texts and flags
  std::string returns;                // the name of the dictionary
  /// Called on the main thread, with as many values of these types.
  std::function<void(const std::vector<Value>& arguments, RemoteReply reply)> call;
};

struct RemoteSignal {
  std::string name;
  std::vector<RemoteArgument> carries;
};

struct RemoteInterface {
  std::string name;
  std::vector<RemoteMethod> methods;
  std::vector<RemoteSignal> signals;
};

class RemoteService {
 public:
  virtual ~RemoteService() = default;

  /// Sends a signal of the interface. Any thread.
  virtual void emit(const std::string& signal, std::vector<Value> values) = 0;
};

}  // namespace platform
