#include "MainApplication/settings/Changes.h"

#include <algorithm>
#include <utility>

#include "MainApplication/settings/Texts.h"
#include "Platform/FileURL.h"
#include "Platform/Path.h"
#include "Platform/PrintableText.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

using platform::printable;

/// Writes back what was taken from a file of settings.
bool putBack(platform::linux_::DefaultsFile& file, const platform::Value::Dictionary& values) {
  bool isWritten = true;
  for (const auto& [key, value] : values) isWritten = file.write(key, value) && isWritten;
  return file.checkpoint() && isWritten;
}

constexpr unsigned kSecondsToUndo = 10;  // by the button; the key works until the next change

}  // namespace

Changes::Changes(platform::linux_::SqliteUserDefaults& domains, AdwToastOverlay* toasts, Action changed)
    : domains_(domains), toasts_(toasts), changed_(std::move(changed)) {}

bool Changes::enable(const Browser& browser, bool on) {
  const std::string text = on ? localized("%@ is cleaned when it quits", {browser.name})
                              : localized("%@ is no longer cleaned", {browser.name});
  return told(settings_.setEnabled(browser, on), text, [this, &browser, on] {
    static_cast<void>(settings_.setEnabled(browser, !on));  // the window shows whether it is so
  });
}

bool Changes::setFlag(const std::string& key, const std::string& name, bool on) {
  const std::string text = on ? localized("%@: on", {name}) : localized("%@: off", {name});
  return told(settings_.setFlag(key, on), text, [this, key, on] {
    static_cast<void>(settings_.setFlag(key, !on));  // as above
  });
}

bool Changes::keep(const std::string& site) {
  auto entries = settings_.keptSites();
  if (!entries || std::find(entries->begin(), entries->end(), site) != entries->end()) return entries.has_value();
  entries->push_back(site);
  return setKeptSites(std::move(*entries), localized("%@ is kept", {printable(site)}));
}

bool Changes::unkeep(const std::string& entry) {
  auto entries = settings_.keptSites();
  if (!entries) return false;
  std::erase(*entries, entry);
  return setKeptSites(std::move(*entries), localized("%@ is no longer kept", {printable(entry)}));
}

bool Changes::setKeptSites(std::vector<std::string> entries, const std::string& text) {
  const auto before = settings_.keptSites().value_or(std::vector<std::string>());
  return told(settings_.setKeptSites(entries), text, [this, before] {
    static_cast<void>(settings_.setKeptSites(before));  // as above
  });
}

void Changes::takeBack(const std::string& folder) {
  const auto file = domains_.fileOfDomain(kBundleIdentifier);
  const auto before = file->readAll();
  const bool isTaken = settings_.revoke(folder) != 0;
  platform::Value::Dictionary taken;
  const auto after = file->readAll();
  for (const auto& [key, value] : before) {
    if (!after.contains(key)) taken.emplace(key, value);
  }
  told(isTaken, localized("Permission for %@ taken back", {printable(folder)}), [file, taken] {
    static_cast<void>(putBack(*file, taken));  // as above
  });
}

void Changes::clearHistory() {
  const auto file = domains_.fileOfDomain(kBundleIdentifier);
  const auto before = file->read(kHistoryKey);
  told(settings_.clearHistory(), localized("The history is cleared"), [file, before] {
    if (before) static_cast<void>(putBack(*file, {{kHistoryKey, *before}}));  // as above
  });
}

bool Changes::told(bool isSaved, const std::string& text, const Action& undo) {
  if (isSaved) {
    undo_ = undo;
    say(text, undo);
  } else {
    say(localized("The settings could not be saved."));
  }
  changed_();
  return isSaved;
}

void Changes::undo() {
  const Action latest = std::exchange(undo_, nullptr);
  if (!latest) return;
  if (shown_ != nullptr) adw_toast_dismiss(shown_);
  latest();
  changed_();
}

void Changes::say(const std::string& text, const Action& undo) {
  // One at a time: the newest counts, and what is older can't be taken back behind its back.
  if (shown_ != nullptr) adw_toast_dismiss(shown_);
  char* escaped = g_markup_escape_text(text.c_str(), -1);
  AdwToast* toast = adw_toast_new(escaped);
  g_free(escaped);
  shown_ = toast;
  on(toast, "dismissed", [this, toast] {
    if (shown_ == toast) shown_ = nullptr;
  });
  if (undo) {
    adw_toast_set_button_label(toast, localized("Undo").c_str());
    adw_toast_set_timeout(toast, kSecondsToUndo);
    on(toast, "button-clicked", [this] { this->undo(); });
  }
  adw_toast_overlay_add_toast(toasts_, toast);
}

}  // namespace tidewell
