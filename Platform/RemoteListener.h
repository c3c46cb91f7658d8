// A service that other programs of the person's session call.
//
// One service carries one interface with one method: a text in, a text out through a callback.
#pragma once

#include <functional>
#include <string>

namespace platform {

/// Sends the reply. May be kept, and called once, later and from any thread. When it is dropped uncalled, the caller
/// never gets a reply, and nothing of the call is kept.
using Reply = std::function<void(const std::string& text)>;

/// What a connection offers: the interface's name, its one method's name, and what is called for it.
struct ExportedInterface {
  std::string interface;
  std::string method;
  std::function<void(const std::string& argument, Reply reply)> call;
};

/// One caller. Nothing is delivered before resume().
class RemoteConnection {
 public:
  virtual ~RemoteConnection() = default;

  virtual void setExportedInterface(ExportedInterface exported) = 0;
  virtual void resume() = 0;
};

class RemoteListenerDelegate {
 public:
  virtual ~RemoteListenerDelegate() = default;

  /// Called for every incoming connection; a refused one is dropped.
  virtual bool listener_shouldAcceptNewConnection(RemoteConnection& connection) = 0;
};

/// On the main thread. The delegate must outlive the listener.
class RemoteListener {
 public:
  virtual ~RemoteListener() = default;

  virtual void setDelegate(RemoteListenerDelegate* delegate) = 0;

  /// Starts serving: calls are delivered from the next turn of the run loop on.
  virtual void resume() = 0;
};

}  // namespace platform
