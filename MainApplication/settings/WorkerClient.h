// Calls the worker for a window: asynchronously, so that the window never blocks.
//
// A request for folders takes as long as the person takes at the panels, and a cleaning as long as the disk, so they
// have no time limit. Meanwhile the worker is pinged from time to time; a ping that isn't answered within its time
// limit ends the request.
#pragma once

#include <giomm.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace tidewell {

class WorkerClient {
 public:
  enum class Outcome { kAnswered, kNotRunning, kNoAnswer };

  /// Called with whether the worker runs: soon after construction, then at every change. The bus is asked to start it.
  using Running = std::function<void(bool isRunning)>;
  explicit WorkerClient(const Running& running);

  /// Ends all requests; no callback is called after this.
  ~WorkerClient();
  WorkerClient(const WorkerClient&) = delete;
  WorkerClient& operator=(const WorkerClient&) = delete;

  /// Asks the worker to obtain a browser's grants. Calls `done` once, after this function has returned.
  using Done = std::function<void(Outcome outcome)>;
  void requestAccess(const std::string& bundleIdentifier, const Done& done);

  struct Cleaned {
    Outcome outcome = Outcome::kAnswered;
    std::string error = {};  // what the worker refused with; see Worker/Cleanings.h
    std::uint64_t items = 0;
    std::uint64_t bytes = 0;
    bool isDone = false;  // nothing was left
  };
  /// Has a browser cleaned. Calls `done` once, when the last run is over, after this function has returned.
  void clean(const std::string& bundleIdentifier, bool evenIfRunning, const std::function<void(const Cleaned&)>& done);

  /// Starts the worker: by the bus, or else the program beside this one. Calls `failed` if neither could be done.
  void start(const std::function<void()>& failed);

 private:
  struct Answer {
    Outcome outcome = Outcome::kAnswered;
    std::string error = {};
    Glib::VariantContainerBase reply = {};
  };
  struct Request {
    std::function<void(const Answer& answer)> done;
    Glib::RefPtr<Gio::Cancellable> cancellable;
    sigc::connection nextQuestion;
  };
  using RequestPointer = std::shared_ptr<Request>;

  /// Calls the worker without a time limit.
  void ask(const char* interface, const char* method, const Glib::VariantContainerBase& parameters,
           std::function<void(const Answer& answer)> done);
  void askWhetherItIsThere(const RequestPointer& request);
  void finish(const RequestPointer& request, const Answer& answer);

  Glib::RefPtr<Gio::DBus::Connection> connection_;  // null without a session bus
  guint watch_ = 0;
  const Glib::RefPtr<Gio::Cancellable> ended_ = Gio::Cancellable::create();
  std::set<RequestPointer> requests_;
};

}  // namespace tidewell
