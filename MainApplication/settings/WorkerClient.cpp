#include "MainApplication/settings/WorkerClient.h"

#include <limits>
#include <utility>
#include <vector>

#include "MainApplication/settings/ProgramBeside.h"
#include "Platform/Linux/bus/BusListener.h"
#include "Worker/Agent.h"
#include "Worker/Cleanings.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

constexpr char kPeerInterface[] = "org.freedesktop.DBus.Peer";
constexpr char kBus[] = "org.freedesktop.DBus";
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

std::string remoteNameOf(const Glib::Error& error) {
  char* name = g_dbus_error_get_remote_error(error.gobj());
  std::string copy = name != nullptr ? name : "";
  g_free(name);
  return copy;
}

/// What a report's public form says (Worker/Cleanings.h).
WorkerClient::Cleaned cleanedFrom(GVariant* reply) {
  WorkerClient::Cleaned cleaned;
  GVariant* report = g_variant_get_child_value(reply, 0);
  gint64 items = 0;
  gint64 bytes = 0;
  gboolean isDone = FALSE;
  g_variant_lookup(report, "items", "x", &items);
  g_variant_lookup(report, "bytes", "x", &bytes);
  g_variant_lookup(report, "done", "b", &isDone);
  g_variant_unref(report);
  cleaned.items = static_cast<std::uint64_t>(items);
  cleaned.bytes = static_cast<std::uint64_t>(bytes);
  cleaned.isDone = isDone != FALSE;
  return cleaned;
}

/// Starts the program of that name in the folder of the running one.
bool startProgramBeside(const char* name) {
  try {
    Glib::spawn_async("", std::vector<std::string>{programBeside(name)},
                      Glib::SpawnFlags::STDOUT_TO_DEV_NULL | Glib::SpawnFlags::STDERR_TO_DEV_NULL);
  } catch (const Glib::Error&) {
    return false;
  }
  return true;
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
  ended_->cancel();
  for (const RequestPointer& request : std::exchange(requests_, {})) {
    request->done = nullptr;
    request->nextQuestion.disconnect();
    request->cancellable->cancel();
  }
}

void WorkerClient::requestAccess(const std::string& bundleIdentifier, const Done& done) {
  ask(kAgentInterface, kAgentMethod,
      Glib::VariantContainerBase::create_tuple(Glib::Variant<Glib::ustring>::create(bundleIdentifier)),
      [done](const Answer& answer) { done(answer.outcome); });
}

void WorkerClient::clean(const std::string& bundleIdentifier, bool evenIfRunning,
                         const std::function<void(const Cleaned&)>& done) {
  ask(kCleaningsInterface, kCleanMethod,
      Glib::VariantContainerBase::create_tuple(
          {Glib::Variant<Glib::ustring>::create(bundleIdentifier), Glib::Variant<bool>::create(evenIfRunning)}),
      [done](const Answer& answer) {
        if (answer.outcome == Outcome::kAnswered) return done(cleanedFrom(const_cast<GVariant*>(answer.reply.gobj())));
        done({answer.outcome, answer.error});
      });
}

void WorkerClient::start(const std::function<void()>& failed) {
  if (!connection_) return failed();
  const auto parameters = Glib::VariantContainerBase::create_tuple(
      {Glib::Variant<Glib::ustring>::create(worker().name), Glib::Variant<guint32>::create(0)});
  connection_->call(
      "/org/freedesktop/DBus", kBus, "StartServiceByName", parameters,
      [failed, connection = connection_, ended = ended_](const Glib::RefPtr<Gio::AsyncResult>& result) {
        try {
          connection->call_finish(result);
        } catch (const Glib::Error&) {
          if (!ended->is_cancelled() && !startProgramBeside("tidewell-worker")) failed();
        }
      },
      ended_, kBus, kNoTimeout);
}

void WorkerClient::ask(const char* interface, const char* method, const Glib::VariantContainerBase& parameters,
                       std::function<void(const Answer& answer)> done) {
  const auto request = std::make_shared<Request>(Request{std::move(done), Gio::Cancellable::create(), {}});
  requests_.insert(request);
  if (!connection_) {
    request->nextQuestion = Glib::signal_timeout().connect(
        [this, request] {
          finish(request, {Outcome::kNotRunning});
          return false;
        },
        0);
    return;
  }
  connection_->call(
      worker().object, interface, method, parameters,
      [this, request, connection = connection_](const Glib::RefPtr<Gio::AsyncResult>& result) {
        Answer answer;
        try {
          answer.reply = connection->call_finish(result);
        } catch (const Glib::Error& error) {
          answer.outcome = outcomeOf(error);
          answer.error = remoteNameOf(error);
        }
        if (request->done) finish(request, answer);
      },
      request->cancellable, worker().name, kNoTimeout);
  askWhetherItIsThere(request);
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
        if (failure) return finish(request, {*failure});
        request->nextQuestion = Glib::signal_timeout().connect(
            [this, request] {
              askWhetherItIsThere(request);
              return false;
            },
            kPauseMilliseconds);
      },
      request->cancellable, worker().name, kPatienceMilliseconds);
}

void WorkerClient::finish(const RequestPointer& request, const Answer& answer) {
  const auto done = std::exchange(request->done, nullptr);
  request->nextQuestion.disconnect();
  request->cancellable->cancel();
  requests_.erase(RequestPointer(request));
  done(answer);
}

}  // namespace tidewell
