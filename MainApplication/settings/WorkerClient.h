// Calls the worker for a window: asynchronously, so that the window never blocks.
//
// A request for folders takes as long as the user takes at the panels, so it has no time limit. Meanwhile the worker is
// pinged from time to time; a ping that isn't answered within its time limit ends the request.
#pragma once

#include <giomm.h>

#include <functional>
#include <memory>
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
  void requestAccess(const std::string& bundleIdentifier, Done done);

 private:
  struct Request {
    Done done;
    Glib::RefPtr<Gio::Cancellable> cancellable;
    sigc::connection nextQuestion;
  };
  using RequestPointer = std::shared_ptr<Request>;

  void call(const RequestPointer& request, const std::string& bundleIdentifier);
  void askWhetherItIsThere(const RequestPointer& request);
  void finish(const RequestPointer& request, Outcome outcome);

  Glib::RefPtr<Gio::DBus::Connection> connection_;  // null without a session bus
  guint watch_ = 0;
  std::set<RequestPointer> requests_;
};

}  // namespace tidewell
