#include "MainApplication/panel/PanelService.h"

#include <algorithm>
#include <utility>

#include "Platform/Linux/bus/OpenPanelNames.h"

namespace tidewell {
namespace {

constexpr std::size_t kMostCalls = 64;         // that wait for the person
constexpr gsize kLongestCall = 1024UL * 1024;  // bytes: dozens of times what the folders above a long path take

constexpr char kMethods[] = R"(
  <method name="RunModal">
    <arg name="panel" type="a{sv}" direction="in"/>
    <arg name="response" type="u" direction="out"/>
    <arg name="url" type="s" direction="out"/>
  </method>
)";

}  // namespace

PanelService::PanelService(Gtk::Application& application)
    : application_(application),
      table_([this](const Glib::RefPtr<Gio::DBus::Connection>&, const Glib::ustring& sender, const Glib::ustring&,
                    const Glib::ustring&, const Glib::ustring& method, const Glib::VariantContainerBase& parameters,
                    const Glib::RefPtr<Gio::DBus::MethodInvocation>& invocation) {
        received(sender, method, parameters, invocation);
      }) {}

void PanelService::offer(const Glib::RefPtr<Gio::DBus::Connection>& connection) {
  const auto node =
      Gio::DBus::NodeInfo::create_for_xml(std::string("<node><interface name=\"") + platform::linux_::kOpenPanelName +
                                          "\">" + kMethods + "</interface></node>");
  connection->register_object(platform::linux_::kOpenPanelObject, node->lookup_interface(), table_);
}

void PanelService::received(const Glib::ustring& sender, const Glib::ustring&,
                            const Glib::VariantContainerBase& parameters,
                            const Glib::RefPtr<Gio::DBus::MethodInvocation>& invocation) {
  if (calls_.size() >= kMostCalls || parameters.get_size() > kLongestCall) {
    invocation->return_error(
        Gio::DBus::Error(Gio::DBus::Error::LIMITS_EXCEEDED, "too many panels, or too large a one"));
    return;
  }
  Glib::VariantBase panel;
  parameters.get_child(panel, 0);
  application_.hold();
  Call call{PanelRequest::fromVariant(panel), invocation, 0};
  // When the caller leaves the bus, its panel is closed.
  call.watch = Gio::DBus::watch_name(
      Gio::DBus::BusType::SESSION, sender, {},
      [this](const Glib::RefPtr<Gio::DBus::Connection>&, const Glib::ustring& name) { callerHasGone(name); });
  calls_.push_back(std::move(call));
  if (calls_.size() == 1) showNext();
}

void PanelService::showNext() {
  window_.reset();
  if (calls_.empty()) return;
  window_ = std::make_unique<PanelWindow>(calls_.front().request,
                                          [this](auto response, const auto& url) { answer(response, url); });
  application_.add_window(*window_);
  if (calls_.front().request.comesToTheFront) {
    window_->presentInFront();
  } else {
    window_->set_visible(true);
  }
}

void PanelService::answer(platform::ModalResponse response, const std::string& url) {
  const Call call = std::move(calls_.front());
  calls_.pop_front();
  Gio::DBus::unwatch_name(call.watch);
  const auto number = Glib::Variant<guint32>::create(static_cast<guint32>(response));
  call.invocation->return_value(
      Glib::VariantContainerBase::create_tuple({number, Glib::Variant<Glib::ustring>::create(url)}));
  application_.release();
  // Later, since this destroys the window, which is still handling the event that led to the answer.
  Glib::signal_idle().connect_once([this] { showNext(); });
}

void PanelService::callerHasGone(const Glib::ustring& sender) {
  const bool wasShown = !calls_.empty() && calls_.front().invocation->get_sender().raw() == sender.raw();
  const auto gone = std::remove_if(calls_.begin(), calls_.end(), [&](const Call& call) {
    if (call.invocation->get_sender().raw() != sender.raw()) return false;
    Gio::DBus::unwatch_name(call.watch);
    application_.release();
    return true;
  });
  calls_.erase(gone, calls_.end());
  if (wasShown) Glib::signal_idle().connect_once([this] { showNext(); });
}

}  // namespace tidewell
