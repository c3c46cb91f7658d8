#include "MainApplication/client/WorkerConnection.h"

#include <chrono>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "Platform/Linux/bus/BusListener.h"
#include "Platform/Linux/bus/OpenPanelNames.h"
#include "Platform/Linux/bus/ValueMessage.h"
#include "Worker/Agent.h"
#include "Worker/Cleanings.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

using platform::linux_::BusMessage;
using platform::linux_::BusServiceNames;
using platform::linux_::BusSlot;
using platform::linux_::SessionBus;

constexpr char kWorkspace[] = "com.emberlinestudio.Tidewell.Workspace";
constexpr std::uint64_t kNoTimeout = UINT64_MAX;
constexpr std::chrono::microseconds kHeartbeat{10'000'000};

BusServiceNames worker() {
  return BusServiceNames::forIdentifier(kBundleIdentifier, kAgentInterface, kAgentMethod, "");
}

BusMessage newCall(const SessionBus& bus, const char* interface, const char* method) {
  const BusServiceNames names = worker();
  sd_bus_message* message = nullptr;
  if (sd_bus_message_new_method_call(bus.get(), &message, names.name.c_str(), names.object.c_str(), interface, method) <
      0) {
    return nullptr;
  }
  return BusMessage(message);
}

/// Pings the worker until two pings in a row go unanswered. A single one proves nothing: its answer may have waited
/// while the user was asked in the terminal.
class Heartbeat : public std::enable_shared_from_this<Heartbeat> {
 public:
  explicit Heartbeat(SessionBus& bus) : bus_(bus) {}

  void begin() { ask(); }
  bool hasStopped() const { return silences_ >= 2; }
  void end() { slot_.reset(); }

 private:
  void ask() {
    const BusMessage call = newCall(bus_, "org.freedesktop.DBus.Peer", "Ping");
    sd_bus_slot* slot = nullptr;
    if (sd_bus_call_async(bus_.get(), &slot, call.get(), &Heartbeat::answered, this, kHeartbeat.count()) < 0) return;
    slot_.reset(slot);
  }

  static int answered(sd_bus_message* reply, void* data, sd_bus_error*) {
    auto* self = static_cast<Heartbeat*>(data);
    const bool isThere = sd_bus_message_is_method_error(reply, nullptr) == 0;
    self->silences_ = isThere ? 0 : self->silences_ + 1;
    const auto again = [weak = self->weak_from_this()] {
      const auto heartbeat = weak.lock();
      if (heartbeat && heartbeat->slot_) heartbeat->ask();
    };
    self->bus_.loop().after(isThere ? kHeartbeat : std::chrono::microseconds(0), again);
    return 0;
  }

  SessionBus& bus_;
  BusSlot slot_;
  int silences_ = 0;
};

WorkerConnection::PanelQuestion questionFrom(sd_bus_message* call) {
  WorkerConnection::PanelQuestion question;
  sd_bus_message_enter_container(call, 'a', "{sv}");
  while (sd_bus_message_enter_container(call, 'e', "sv") > 0) {
    const char* key = nullptr;
    const char* contents = nullptr;
    const char* text = nullptr;
    int flag = 0;
    sd_bus_message_read(call, "s", &key);
    sd_bus_message_peek_type(call, nullptr, &contents);
    if (contents != nullptr && std::strcmp(contents, "s") == 0) {
      sd_bus_message_read(call, "v", "s", &text);
      if (std::strcmp(key, "title") == 0) question.title = text;
      if (std::strcmp(key, "message") == 0) question.message = text;
    } else if (std::strcmp(key, "never") == 0 && contents != nullptr && std::strcmp(contents, "b") == 0) {
      sd_bus_message_read(call, "v", "b", &flag);
      question.offersNever = flag != 0;
    } else if (std::strcmp(key, "enabled") == 0 && sd_bus_message_enter_container(call, 'v', "as") > 0) {
      sd_bus_message_enter_container(call, 'a', "s");
      while (sd_bus_message_read(call, "s", &text) > 0) question.enabled.emplace_back(text);
      sd_bus_message_exit_container(call);
      sd_bus_message_exit_container(call);
    } else {
      sd_bus_message_skip(call, "v");
    }
    sd_bus_message_exit_container(call);
  }
  return question;
}

}  // namespace

platform::Result<std::unique_ptr<WorkerConnection>> WorkerConnection::open(platform::linux_::RunLoop& loop) {
  auto bus = SessionBus::open(loop);
  if (!bus) return bus.error();
  return std::unique_ptr<WorkerConnection>(new WorkerConnection(std::move(*bus)));
}

bool WorkerConnection::isRunning() {
  int owned = 0;
  sd_bus_message* reply = nullptr;
  if (sd_bus_call_method(bus_->get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                         "NameHasOwner", nullptr, &reply, "s", worker().name.c_str()) >= 0) {
    sd_bus_message_read(reply, "b", &owned);
  }
  sd_bus_message_unref(reply);
  return owned != 0;
}

bool WorkerConnection::start() {
  constexpr unsigned kNoFlags = 0;
  return sd_bus_call_method(bus_->get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                            "StartServiceByName", nullptr, nullptr, "su", worker().name.c_str(), kNoFlags) >= 0;
}

int WorkerConnection::panelCalled(sd_bus_message* call, void* data, sd_bus_error*) {
  const auto* self = static_cast<WorkerConnection*>(data);
  if (sd_bus_message_is_method_call(call, platform::linux_::kOpenPanelName, "RunModal") <= 0) return 0;
  const PanelAnswer answer = self->panel_(questionFrom(call));
  return sd_bus_reply_method_return(call, "us", static_cast<unsigned>(answer.response), answer.url.c_str());
}

std::optional<std::string> WorkerConnection::requestAccess(const std::string& bundleIdentifier,
                                                           std::chrono::seconds patience, const Panel& panel) {
  panel_ = panel;
  BusSlot offered;
  if (panel_) {
    sd_bus_slot* slot = nullptr;
    sd_bus_add_object(bus_->get(), &slot, platform::linux_::kOpenPanelObject, &WorkerConnection::panelCalled, this);
    offered.reset(slot);
    // If a graphical panel has the name already, that panel answers instead.
    static_cast<void>(bus_->requestName(platform::linux_::kOpenPanelName));
  }
  const auto late = std::make_shared<bool>(false);
  bus_->loop().after(patience, [late] { *late = true; });
  const BusMessage call = newCall(*bus_, kAgentInterface, kAgentMethod);
  sd_bus_message_append(call.get(), "s", bundleIdentifier.c_str());
  const BusMessage reply = replyTo(call, [late] { return *late; });
  if (panel_) sd_bus_release_name(bus_->get(), platform::linux_::kOpenPanelName);
  const char* text = nullptr;
  if (!reply || sd_bus_message_is_method_error(reply.get(), nullptr) != 0 ||
      sd_bus_message_read(reply.get(), "s", &text) < 0) {
    return std::nullopt;
  }
  return text;
}

BusMessage WorkerConnection::replyTo(const BusMessage& call, const std::function<bool()>& isLate) {
  BusMessage reply;
  const auto answered = [](sd_bus_message* message, void* data, sd_bus_error*) {
    static_cast<BusMessage*>(data)->reset(sd_bus_message_ref(message));
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_async(bus_->get(), &slot, call.get(), answered, &reply, kNoTimeout) < 0) return nullptr;
  const BusSlot waiting(slot);
  const auto heartbeat = std::make_shared<Heartbeat>(*bus_);
  heartbeat->begin();
  bus_->loop().runModally([&] { return reply != nullptr || isLate() || heartbeat->hasStopped(); });
  heartbeat->end();
  return reply;
}

WorkerConnection::Cleaned WorkerConnection::clean(const std::string& bundleIdentifier, bool evenIfRunning,
                                                  const std::function<void(const Report& soFar)>& progress) {
  struct Watch {
    const std::string& browser;
    const std::function<void(const Report& soFar)>& progress;
  } watch{bundleIdentifier, progress};
  const auto runEnded = [](sd_bus_message* signal, void* data, sd_bus_error*) {
    const auto* watched = static_cast<const Watch*>(data);
    const char* browser = nullptr;
    if (sd_bus_message_read(signal, "s", &browser) <= 0 || watched->browser != browser) return 0;
    const auto form = platform::linux_::readDictionary(signal);
    if (const auto report = form ? reportOf(*form) : std::nullopt) watched->progress(*report);
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  sd_bus_match_signal_async(bus_->get(), &slot, worker().name.c_str(), worker().object.c_str(), kCleaningsInterface,
                            kRunEndedSignal, runEnded, nullptr, &watch);
  const BusSlot match(slot);
  const BusMessage call = newCall(*bus_, kCleaningsInterface, kCleanMethod);
  sd_bus_message_append(call.get(), "sb", bundleIdentifier.c_str(), int{evenIfRunning});
  const BusMessage reply = replyTo(call, [] { return false; });
  if (!reply) return {};
  if (const sd_bus_error* error = sd_bus_message_get_error(reply.get())) {
    const bool isUnknown =
        sd_bus_error_has_names(error, SD_BUS_ERROR_UNKNOWN_METHOD, SD_BUS_ERROR_UNKNOWN_INTERFACE) != 0;
    return {std::nullopt, error->name, isUnknown};
  }
  const auto form = platform::linux_::readDictionary(reply.get());
  return {form ? reportOf(*form) : std::nullopt, "", false};
}

bool WorkerConnection::announceQuit(const std::string& applicationName, const std::string& bundleIdentifier,
                                    bool evenIfRunning) {
  const char* member = evenIfRunning ? "CleanAllTheSame" : "DidTerminateApplication";
  const bool sent = sd_bus_emit_signal(bus_->get(), "/com/emberlinestudio/Tidewell", kWorkspace, member, "ss",
                                       applicationName.c_str(), bundleIdentifier.c_str()) >= 0;
  return sent && sd_bus_flush(bus_->get()) >= 0;
}

}  // namespace tidewell
