#include "MainApplication/settings/WorkerClient.h"

#include <limits>
#include <utility>

#include "Platform/Linux/bus/BusListener.h"
#include "Worker/Agent.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

constexpr char kPeerInterface[] = "org.freedesktop.DBus.Peer";
constexpr int kPatienceMilliseconds = 10'000;  // a running worker answers at once, even while a panel is open
constexpr int kPauseMilliseconds = 10'000;
constexpr int kNoTimeout = std::numeric_limits<int>::max();

const platform::linux_::BusServiceNames& worker() {
  static const auto names =
      platform::linux_::BusServiceNames::forIdentifier(kBundleIdentifier, kAgentInterface, kAgentMethod, "");
  return names;
}

WorkerClient::Outcome outcomeOf(const Glib::Error& error) {
  const bool isAbsent = error.matches(G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN) ||
                        error.matches(G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER) ||
                        error.matches(G_DBUS_ERROR, G_DBUS_ERROR_SPAWN_CHILD_EXITED);
  return isAbsent ? WorkerClient::Outcome::kNotRunning : WorkerClient::Outcome::kNoAnswer;
}

}  // namespace

WorkerClient::WorkerClient(const Running& running) {
  try {
    connection_ = Gio::DBus::Connection::get_sync(Gio::DBus::BusType::SESSION);  // the application has it already
  } catch (const Glib::Error&) {
    Glib::signal_idle().connect_once([running] { running(false); });
    return;
  }
  watch_ = Gio::DBus::watch_name(
      connection_, worker().name,
      [running](const Glib::RefPtr<Gio::DBus::Connection>&, const Glib::ustring&, const Glib::ustring&) {
        running(true);
      },
      [running](const Glib::RefPtr<Gio::DBus::Connection>&, const Glib::ustring&) { running(false); },
      Gio::DBus::BusNameWatcherFlags::AUTO_START);
}

WorkerClient::~WorkerClient() {
  if (watch_ != 0) Gio::DBus::unwatch_name(watch_);
  for (const RequestPointer& request : std::exchange(requests_, {})) {
    request->done = nullptr;
    request->nextQuestion.disconnect();
    request->cancellable->cancel();
  }
}

void WorkerClient::requestAccess(const std::string& bundleIdentifier, Done done) {
  const auto request = std::make_shared<Request>(Request{std::move(done), Gio::Cancellable::create(), {}});
  requests_.insert(request);
  if (!connection_) {
    request->nextQuestion = Glib::signal_timeout().connect(
        [this, request] {
          finish(request, Outcome::kNotRunning);
          return false;
        },
        0);
    return;
  }
  call(request, bundleIdentifier);
  askWhetherItIsThere(request);
}

void WorkerClient::call(const RequestPointer& request, const std::string& bundleIdentifier) {
  const auto parameters =
      Glib::VariantContainerBase::create_tuple(Glib::Variant<Glib::ustring>::create(bundleIdentifier));
  connection_->call(
      worker().object, kAgentInterface, kAgentMethod, parameters,
      [this, request, connection = connection_](const Glib::RefPtr<Gio::AsyncResult>& result) {
        Outcome outcome = Outcome::kAnswered;
        try {
          connection->call_finish(result);
        } catch (const Glib::Error& error) {
          outcome = outcomeOf(error);
        }
        if (request->done) finish(request, outcome);
      },
      request->cancellable, worker().name, kNoTimeout);
}

void WorkerClient::askWhetherItIsThere(const RequestPointer& request) {
  connection_->call(
      worker().object, kPeerInterface, "Ping", {},
      [this, request, connection = connection_](const Glib::RefPtr<Gio::AsyncResult>& result) {
        std::optional<Outcome> failure;
        try {
          connection->call_finish(result);
        } catch (const Glib::Error& error) {
          failure = outcomeOf(error);
        }
        if (!request->done) return;  // cancelled, and `this` may be gone
        if (failure) return finish(request, *failure);
        request->nextQuestion = Glib::signal_timeout().connect(
            [this, request] {
              askWhetherItIsThere(request);
              return false;
            },
            kPauseMilliseconds);
      },
      request->cancellable, worker().name, kPatienceMilliseconds);
}

void WorkerClient::finish(const RequestPointer& request, Outcome outcome) {
  const Done done = std::exchange(request->done, nullptr);
  request->nextQuestion.disconnect();
  request->cancellable->cancel();
  requests_.erase(RequestPointer(request));
  done(outcome);
}

}  // namespace tidewell
