// The worker, as a window reaches it: nothing here ever waits.
//
// A request for folders lasts as long as a person takes at the panels, so it has no time limit of its own. While it
// lasts, the worker is asked now and then whether it is still there; that question has one.
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

  /// Called with whether the worker runs: soon, and then whenever that changes. Starts the worker where the bus can.
  using Running = std::function<void(bool isRunning)>;
  explicit WorkerClient(const Running& running);

  /// Nothing is called any more.
  ~WorkerClient();
  WorkerClient(const WorkerClient&) = delete;
  WorkerClient& operator=(const WorkerClient&) = delete;

  /// Has the worker obtain a browser's grants. Calls `done` once, later.
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
