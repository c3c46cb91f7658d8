// Serves panels on the session bus, one after the other.
#pragma once

#include <giomm.h>
#include <gtkmm.h>

#include <deque>
#include <memory>
#include <string>

#include "MainApplication/panel/PanelRequest.h"
#include "MainApplication/panel/PanelWindow.h"

namespace tidewell {

class PanelService {
 public:
  /// Windows belong to the application, which stays alive as long as panels wait and ends a little after the last.
  explicit PanelService(Gtk::Application& application);

  /// Offers the service. The connection must stay open. A call beyond 64 that wait, or of more than 1 MB, is answered
  /// with an error.
  void offer(const Glib::RefPtr<Gio::DBus::Connection>& connection);

 private:
  struct Call {
    PanelRequest request;
    Glib::RefPtr<Gio::DBus::MethodInvocation> invocation;
    guint watch = 0;  // for the caller's name
  };

  void received(const Glib::ustring& sender, const Glib::ustring& method, const Glib::VariantContainerBase& parameters,
                const Glib::RefPtr<Gio::DBus::MethodInvocation>& invocation);
  void showNext();
  void answer(platform::ModalResponse response, const std::string& url);
  void callerHasGone(const Glib::ustring& sender);

  Gtk::Application& application_;
  Gio::DBus::InterfaceVTable table_;
  std::deque<Call> calls_;  // the first is on the screen
  std::unique_ptr<PanelWindow> window_;
};

}  // namespace tidewell
