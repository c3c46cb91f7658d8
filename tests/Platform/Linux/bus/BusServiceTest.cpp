// A service with methods and signals on the session bus, and the values that they carry.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "Platform/Linux/bus/BusService.h"
#include "Platform/Linux/bus/ValueMessage.h"
#include "tests/support/PrivateBus.h"

namespace {

using namespace std::chrono_literals;
using platform::Date;
using platform::RemoteAnswer;
using platform::RemoteReply;
using platform::RemoteType;
using platform::Value;
using platform::linux_::BusMessage;
using platform::linux_::BusService;
using platform::linux_::BusSlot;
using platform::linux_::RunLoop;
using platform::linux_::SessionBus;
using testing_support::BusProgram;
using testing_support::runUntil;

constexpr char kName[] = "com.example.Service";
constexpr char kObject[] = "/com/example/Service";
constexpr char kInterface[] = "com.example.Reports";

class RemoteServiceOnTheBus : public ::testing::Test {
 protected:
  RemoteServiceOnTheBus() { EXPECT_FALSE(bus->requestName(kName)); }

  platform::RemoteInterface interface() {
    return {kInterface,
            {{"Ask",
              {{"text", RemoteType::kText}, {"flag", RemoteType::kFlag}},
              "answer",
              [this](const std::vector<Value>& arguments, RemoteReply reply) { asked(arguments, std::move(reply)); }}},
            {{"Told", {{"text", RemoteType::kText}, {"values", RemoteType::kDictionary}}}}};
  }

  /// Calls as another program does; the answer is appended to `answers`, or the error's name to `errors`.
  template <typename... Arguments>
  void ask(const char* member, const char* signature, Arguments... arguments) {
    const auto answered = [](sd_bus_message* reply, void* data, sd_bus_error*) {
      auto* self = static_cast<RemoteServiceOnTheBus*>(data);
      if (const sd_bus_error* error = sd_bus_message_get_error(reply)) {
        self->errors.emplace_back(error->name);
      } else {
        self->answers.push_back(platform::linux_::readDictionary(reply));
      }
      return 0;
    };
    sd_bus_call_method_async(caller.bus(), nullptr, kName, kObject, kInterface, member, answered, this, signature,
                             arguments...);
  }
  bool arrives(std::size_t count) {
    return runUntil(loop, [this, count] { return answers.size() + errors.size() >= count; });
  }

  testing_support::PrivateBus privateBus;
  RunLoop loop;
  std::unique_ptr<SessionBus> bus = std::move(*SessionBus::open(loop));
  std::function<void(const std::vector<Value>&, RemoteReply)> asked;
  BusService service{*bus, kObject, interface()};
  BusProgram caller{loop, ""};
  std::vector<std::optional<Value::Dictionary>> answers;
  std::vector<std::string> errors;
};

TEST_F(RemoteServiceOnTheBus, deliversTheArgumentsAndTheAnswer) {
  asked = [](const std::vector<Value>& arguments, const RemoteReply& reply) {
    reply({.value = {{"text", arguments.at(0)}, {"flag", arguments.at(1)}}});
  };
  ask("Ask", "sb", "é", 1);
  ASSERT_TRUE(arrives(1));
  EXPECT_EQ(answers.at(0), (Value::Dictionary{{"text", "é"}, {"flag", true}}));
}

TEST_F(RemoteServiceOnTheBus, carriesEveryKindOfValue) {
  const Value::Dictionary values{{"flag", false},
                                 {"number", std::int64_t{-5'000'000'000}},
                                 {"real", 0.5},
                                 {"text", "€ \n"},
                                 {"data", platform::dataFromBytes(std::string("\0\xff", 2))},
                                 {"date", Date(1'700'000'000'123'456us)},
                                 {"empty", Value::Array{}},
                                 {"array", Value::Array{1, "a", Value::Array{true}, Value::Dictionary{{"k", "v"}}}},
                                 {"dictionary", Value::Dictionary{{"inner", Value::Dictionary{{"most", 1}}}}}};
  asked = [&values](const std::vector<Value>&, const RemoteReply& reply) { reply({.value = values}); };
  ask("Ask", "sb", "", 0);
  ASSERT_TRUE(arrives(1));
  EXPECT_EQ(answers.at(0), values);
}

TEST_F(RemoteServiceOnTheBus, writesTextThatTheBusCanNotCarryAsEscapes) {
  asked = [](const std::vector<Value>&, const RemoteReply& reply) {
    reply({.value = {{"bytes", "a\xff"}, {"nul", std::string("a\0b", 3)}}});
  };
  ask("Ask", "sb", "", 0);
  ASSERT_TRUE(arrives(1));
  EXPECT_EQ(answers.at(0), (Value::Dictionary{{"bytes", "a\\xff"}, {"nul", "a\\x00b"}}));
}

TEST_F(RemoteServiceOnTheBus, answersWithAnErrorThatHasANameAndASentence) {
  asked = [](const std::vector<Value>&, const RemoteReply& reply) {
    reply({.errorName = "com.example.Error.No", .errorText = "100%s no"});
  };
  ask("Ask", "sb", "", 0);
  ASSERT_TRUE(arrives(1));
  EXPECT_THAT(errors, ::testing::ElementsAre("com.example.Error.No"));
}

TEST_F(RemoteServiceOnTheBus, refusesOtherArgumentsThanItsOwn) {
  asked = [](const std::vector<Value>&, const RemoteReply&) { FAIL(); };
  ask("Ask", "s", "only one");
  ask("Ask", "sb", std::string(256, 'x').c_str(), 0);
  ask("Other", "sb", "", 0);
  ASSERT_TRUE(arrives(3));
  EXPECT_THAT(errors, ::testing::ElementsAre(SD_BUS_ERROR_INVALID_ARGS, SD_BUS_ERROR_INVALID_ARGS,
                                             SD_BUS_ERROR_UNKNOWN_METHOD));
}

TEST_F(RemoteServiceOnTheBus, takesAnAnswerLaterAndFromAnotherThread) {
  RemoteReply kept;
  asked = [&kept](const std::vector<Value>&, RemoteReply reply) { kept = std::move(reply); };
  ask("Ask", "sb", "", 0);
  ASSERT_TRUE(runUntil(loop, [&kept] { return static_cast<bool>(kept); }));
  EXPECT_TRUE(answers.empty());
  std::thread other([reply = std::exchange(kept, nullptr)] { reply({}); });
  ASSERT_TRUE(arrives(1));
  other.join();
  EXPECT_EQ(answers.at(0), Value::Dictionary{});
}

TEST_F(RemoteServiceOnTheBus, refusesCallsBeyondThoseThatWait) {
  std::vector<RemoteReply> kept;
  asked = [&kept](const std::vector<Value>&, RemoteReply reply) { kept.push_back(std::move(reply)); };
  for (unsigned call = 0; call < BusService::kMostPending + 3; ++call) ask("Ask", "sb", "", 0);
  ASSERT_TRUE(arrives(3));
  ASSERT_TRUE(runUntil(loop, [&kept] { return kept.size() == BusService::kMostPending; }));
  EXPECT_THAT(errors, ::testing::ElementsAre(SD_BUS_ERROR_LIMITS_EXCEEDED, SD_BUS_ERROR_LIMITS_EXCEEDED,
                                             SD_BUS_ERROR_LIMITS_EXCEEDED));
  kept.clear();  // never answered: they make room
  asked = [](const std::vector<Value>&, const RemoteReply& reply) { reply({}); };
  ask("Ask", "sb", "", 0);
  ASSERT_TRUE(arrives(4));
  EXPECT_EQ(answers.size(), 1U);
}

TEST_F(RemoteServiceOnTheBus, sendsItsSignalsFromAnyThread) {
  struct Heard {
    std::string text;
    std::optional<Value::Dictionary> values;
  } heard;
  const auto told = [](sd_bus_message* signal, void* data, sd_bus_error*) {
    const char* text = nullptr;
    sd_bus_message_read(signal, "s", &text);
    *static_cast<Heard*>(data) = {text, platform::linux_::readDictionary(signal)};
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  sd_bus_match_signal(caller.bus(), &slot, kName, kObject, kInterface, "Told", told, &heard);
  const BusSlot match(slot);
  std::thread([this] { service.emit("Told", {"text", Value::Dictionary{{"a", 1}}}); }).join();
  ASSERT_TRUE(runUntil(loop, [&heard] { return !heard.text.empty(); }));
  EXPECT_EQ(heard.text, "text");
  EXPECT_EQ(heard.values, (Value::Dictionary{{"a", 1}}));
}

/// A message as it arrives.
class Message {
 public:
  explicit Message(sd_bus* bus) {
    sd_bus_message* made = nullptr;
    sd_bus_message_new_method_call(bus, &made, kName, kObject, kInterface, "Any");
    message.reset(made);
  }
  std::optional<Value::Dictionary> read() {
    sd_bus_message_seal(message.get(), 1, 0);
    sd_bus_message_rewind(message.get(), 1);
    return platform::linux_::readDictionary(message.get());
  }
  BusMessage message;
};

TEST_F(RemoteServiceOnTheBus, passesOverValuesOfOtherTypes) {
  Message message(caller.bus());
  sd_bus_message_append(message.message.get(), "a{sv}", 4, "path", "o", "/a", "struct", "(si)", "a", 1, "texts", "as",
                        1, "x", "kept", "s", "text");
  EXPECT_EQ(message.read(), (Value::Dictionary{{"kept", "text"}}));
}

TEST_F(RemoteServiceOnTheBus, readsNothingWhereThereIsNoDictionary) {
  Message message(caller.bus());
  sd_bus_message_append(message.message.get(), "s", "text");
  EXPECT_EQ(message.read(), std::nullopt);
}

}  // namespace
