#include "Platform/Linux/bus/BusNotificationCenter.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <utility>

namespace platform::linux_ {
namespace {

using Activation = UserNotification::ActivationType;

constexpr char kName[] = "org.freedesktop.Notifications";
constexpr char kObject[] = "/org/freedesktop/Notifications";
constexpr char kDefaultAction[] = "default";  // the click on the notification itself
constexpr char kButton[] = "button";
constexpr int kMostCapabilities = 256;        // that are looked at
constexpr std::int32_t kServiceDecides = -1;  // how long it stays

std::string escapedMarkup(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    switch (character) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

BusNotificationCenter::Capabilities capabilitiesIn(sd_bus_message* reply) {
  BusNotificationCenter::Capabilities found;
  if (sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "s") < 0) return found;
  const char* capability = nullptr;
  for (int count = 0; count < kMostCapabilities && sd_bus_message_read(reply, "s", &capability) > 0; ++count) {
    found.markup |= std::strcmp(capability, "body-markup") == 0;
    found.actions |= std::strcmp(capability, "actions") == 0;
  }
  return found;
}

/// What the person has done by an action of the service; kNone for an unknown one.
Activation activationBy(const char* action) {
  if (std::strcmp(action, kDefaultAction) == 0) return Activation::kContentsClicked;
  return std::strcmp(action, kButton) == 0 ? Activation::kActionButtonClicked : Activation::kNone;
}

std::string nextIdentifier() {
  static std::atomic<unsigned> count{0};
  return std::to_string(++count);
}

}  // namespace

/// A notification on its way to the service: first the service's capabilities are requested, then the notification is
/// posted.
struct BusNotificationCenter::Delivery {
  BusNotificationCenter* center;
  UserNotification notification;
  BusSlot call;
};

BusNotificationCenter::BusNotificationCenter(SessionBus& bus, std::string applicationName, std::string desktopEntry)
    : bus_(bus), applicationName_(std::move(applicationName)), desktopEntry_(std::move(desktopEntry)) {}

BusNotificationCenter::~BusNotificationCenter() = default;

void BusNotificationCenter::scheduleNotification(UserNotification notification) {
  notification.identifier = nextIdentifier();
  const auto wait = std::max<Date::duration>(notification.deliveryDate - std::chrono::system_clock::now(), {});
  Task task = [this, notification = std::move(notification)] { deliver(notification); };
  if (wait > Date::duration::zero()) {
    bus_.loop().after(wait, std::move(task));
  } else {
    bus_.loop().async(std::move(task));
  }
}

void BusNotificationCenter::deliver(UserNotification notification) {
  if (delegate_ != nullptr && !delegate_->userNotificationCenter_shouldPresentNotification(notification)) return;
  auto owned = std::make_unique<Delivery>(Delivery{this, std::move(notification), nullptr});
  Delivery& delivery = *owned;
  deliveries_.emplace(&delivery, std::move(owned));
  const auto answered = [](sd_bus_message* reply, void* data, sd_bus_error*) {
    auto* self = static_cast<Delivery*>(data);
    const bool failed = sd_bus_message_is_method_error(reply, nullptr) != 0;
    const Capabilities capabilities = failed ? Capabilities() : capabilitiesIn(reply);
    self->center->bus_.loop().async([self, failed, capabilities] {
      if (failed) {
        self->center->end(*self);
      } else {
        self->center->post(*self, capabilities);
      }
    });
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_method_async(bus_.get(), &slot, kName, kObject, kName, "GetCapabilities", answered, &delivery, "") <
      0) {
    end(delivery);
    return;
  }
  delivery.call.reset(slot);
}

void BusNotificationCenter::post(Delivery& delivery, Capabilities service) {
  const UserNotification& notification = delivery.notification;
  std::string body = notification.subtitle;
  if (notification.informativeText) body += "\n" + *notification.informativeText;
  if (service.markup) body = escapedMarkup(body);
  listen();

  sd_bus_message* message = nullptr;
  if (sd_bus_message_new_method_call(bus_.get(), &message, kName, kObject, kName, "Notify") < 0) return end(delivery);
  const BusMessage call(message);
  sd_bus_message_append(message, "susss", applicationName_.c_str(), 0U, desktopEntry_.c_str(),
                        notification.title.c_str(), body.c_str());
  if (service.actions && notification.hasActionButton && !notification.actionButtonTitle.empty()) {
    sd_bus_message_append(message, "as", 4, kDefaultAction, "", kButton, notification.actionButtonTitle.c_str());
  } else {
    sd_bus_message_append(message, "as", 2, kDefaultAction, "");
  }
  sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
  sd_bus_message_append(message, "{sv}", "desktop-entry", "s", desktopEntry_.c_str());
  if (notification.soundName) {
    sd_bus_message_append(message, "{sv}", "sound-name", "s", notification.soundName->c_str());
  } else {
    sd_bus_message_append(message, "{sv}", "suppress-sound", "b", 1);
  }
  sd_bus_message_close_container(message);
  sd_bus_message_append(message, "i", kServiceDecides);

  const auto answered = [](sd_bus_message* reply, void* data, sd_bus_error*) {
    auto* self = static_cast<Delivery*>(data);
    std::uint32_t id = 0;
    if (sd_bus_message_is_method_error(reply, nullptr) != 0 || sd_bus_message_read(reply, "u", &id) < 0) id = 0;
    self->center->bus_.loop().async([self, id] { self->center->posted(*self, id); });
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_async(bus_.get(), &slot, message, answered, &delivery, 0) < 0) return end(delivery);
  delivery.call.reset(slot);
}

void BusNotificationCenter::posted(Delivery& delivery, std::uint32_t id) {
  if (id != 0) shown_.insert_or_assign(id, delivery.notification);
  end(delivery);
}

void BusNotificationCenter::end(Delivery& delivery) {
  deliveries_.erase(&delivery);
  stopListeningWhenIdle();
}

void BusNotificationCenter::removeDeliveredNotification(const UserNotification& notification) {
  const auto found = std::find_if(shown_.begin(), shown_.end(), [&](const auto& shown) {
    return shown.second.identifier == notification.identifier;
  });
  if (found == shown_.end()) return;
  sd_bus_call_method_async(bus_.get(), nullptr, kName, kObject, kName, "CloseNotification", nullptr, nullptr, "u",
                           found->first);
  shown_.erase(found);
  stopListeningWhenIdle();
}

void BusNotificationCenter::listen() {
  if (activatedSlot_) return;
  const auto wasActivated = [](sd_bus_message* signal, void* data, sd_bus_error*) {
    auto* self = static_cast<BusNotificationCenter*>(data);
    std::uint32_t id = 0;
    const char* action = nullptr;
    if (sd_bus_message_read(signal, "us", &id, &action) < 0) return 0;
    const Activation activation = activationBy(action);
    if (activation == Activation::kNone) return 0;
    self->bus_.loop().async([self, id, activation] { self->activated(id, activation); });
    return 0;
  };
  const auto gotToken = [](sd_bus_message* signal, void* data, sd_bus_error*) {
    auto* self = static_cast<BusNotificationCenter*>(data);
    std::uint32_t id = 0;
    const char* token = nullptr;
    if (sd_bus_message_read(signal, "us", &id, &token) < 0 || std::strlen(token) > kLongestName) return 0;
    self->bus_.loop().async([self, id, token = std::string(token)] {
      const auto shown = self->shown_.find(id);
      if (shown != self->shown_.end()) shown->second.activationToken = token;
    });
    return 0;
  };
  const auto wasClosed = [](sd_bus_message* signal, void* data, sd_bus_error*) {
    auto* self = static_cast<BusNotificationCenter*>(data);
    std::uint32_t id = 0;
    std::uint32_t reason = 0;
    if (sd_bus_message_read(signal, "uu", &id, &reason) >= 0) self->bus_.loop().async([self, id] { self->closed(id); });
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  sd_bus_match_signal_async(bus_.get(), &slot, kName, kObject, kName, "ActionInvoked", wasActivated, nullptr, this);
  activatedSlot_.reset(slot);
  slot = nullptr;
  sd_bus_match_signal_async(bus_.get(), &slot, kName, kObject, kName, "ActivationToken", gotToken, nullptr, this);
  tokenSlot_.reset(slot);
  slot = nullptr;
  sd_bus_match_signal_async(bus_.get(), &slot, kName, kObject, kName, "NotificationClosed", wasClosed, nullptr, this);
  closedSlot_.reset(slot);
}

void BusNotificationCenter::activated(std::uint32_t id, Activation activation) {
  const auto found = shown_.find(id);
  if (found == shown_.end() || delegate_ == nullptr) return;
  UserNotification notification = found->second;  // the delegate removes the shown one
  notification.activationType = activation;
  delegate_->userNotificationCenter_didActivateNotification(notification);
}

void BusNotificationCenter::closed(std::uint32_t id) {
  shown_.erase(id);
  stopListeningWhenIdle();
}

void BusNotificationCenter::stopListeningWhenIdle() {
  if (!shown_.empty() || !deliveries_.empty()) return;
  activatedSlot_.reset();
  tokenSlot_.reset();
  closedSlot_.reset();
}

}  // namespace platform::linux_
