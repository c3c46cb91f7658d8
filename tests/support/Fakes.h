// Small doubles of the platform: settings in memory, and panels and notifications that are recorded.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "Platform/Platform.h"
#include "tests/support/Journal.h"

namespace testing_support {

class FakeBundle : public platform::Bundle {
 public:
  std::map<std::string, std::string> resources;  // "name.extension" to path
  std::map<std::string, std::string, std::less<>> information = {{"CFBundleDisplayName", "Tidewell"}};
  std::map<std::string, std::string> translations;

  std::string bundleIdentifier() const override { return "com.example.Test"; }
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override;
  std::string localizedString(const std::string& key, const std::string& value) const override;
  std::string localizedPlural(const std::string& one, const std::string& many, std::uint64_t count) const override {
    return localizedString(count == 1 ? one : many, "");
  }
  std::optional<platform::FileURL> urlForResource(std::string_view name, std::string_view extension) const override;
};

class FakeLog : public platform::Log {
 public:
  using platform::Log::log;
  void log(std::string_view text, const std::vector<platform::LogField>& fields) override {
    addFields(fields);
    const std::lock_guard lock(mutex_);
    lines_.emplace_back(text);
  }
  void record(std::string_view text, const std::vector<platform::LogField>& fields) override {
    addFields(fields);
    const std::lock_guard lock(mutex_);
    records_.emplace_back(text);
  }

  std::vector<std::string> lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
  }
  /// What only logs with fields get.
  const std::vector<std::string>& records() const { return records_; }
  /// "NAME=value", of all entries.
  const std::vector<std::string>& fields() const { return fields_; }

 private:
  void addFields(const std::vector<platform::LogField>& fields) {
    const std::lock_guard lock(mutex_);
    for (const platform::LogField& field : fields) fields_.push_back(field.name + "=" + field.value);
  }

  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
  std::vector<std::string> records_;
  std::vector<std::string> fields_;
};

/// Journal: "activate" when the next panel is to come to the front, "panel PATH" for each panel that is shown.
class FakeOpenPanel : public platform::OpenPanel {
 public:
  using Grant = std::function<void(const platform::FileURL&)>;

  FakeOpenPanel(const platform::Dispatch& dispatch, Journal& journal, Grant grant)
      : dispatch_(dispatch), journal_(journal), grant_(std::move(grant)) {}

  /// What the user does, panel by panel; by default the user cancels.
  void willChoose(const std::string& path) {
    answers_.push_back({platform::ModalResponse::ok, platform::FileURL(path, true)});
  }
  void willCancel() { answers_.push_back({}); }
  void willSayNever() { answers_.push_back({platform::ModalResponse::never, std::nullopt}); }
  /// Cancels with a folder selected.
  void willCancelAt(const std::string& path) {
    answers_.push_back({platform::ModalResponse::cancel, platform::FileURL(path, true)});
  }
  /// The user always agrees to the folder that is asked for.
  bool agreesToAll = false;
  /// Called while a panel is up.
  std::function<void()> whileShown;

  const std::vector<platform::OpenPanelSettings>& shown() const { return shown_; }
  unsigned activations() const { return activations_; }

  void activateIgnoringOtherApps(bool ignoringOtherApps) override;
  platform::OpenPanelAnswer runModal(const platform::OpenPanelSettings& panel) override;

 private:
  static constexpr std::size_t kPatience = 1000;  // panels; more are taken for an endless loop

  platform::OpenPanelAnswer nextAnswer(const platform::OpenPanelSettings& panel);

  const platform::Dispatch& dispatch_;
  Journal& journal_;
  const Grant grant_;
  std::deque<platform::OpenPanelAnswer> answers_;
  std::vector<platform::OpenPanelSettings> shown_;
  unsigned activations_ = 0;
};

/// Journal: "notify TITLE: SUBTITLE".
class FakeNotificationCenter : public platform::UserNotificationCenter {
 public:
  explicit FakeNotificationCenter(Journal& journal) : journal_(journal) {}

  platform::UserNotificationCenterDelegate* delegate() const { return delegate_; }
  const std::vector<platform::UserNotification>& scheduled() const { return scheduled_; }
  std::vector<std::string> delivered() const;  // identifiers
  void click(const std::string& identifier, platform::UserNotification::ActivationType activation =
                                                platform::UserNotification::ActivationType::kContentsClicked);

  void setDelegate(platform::UserNotificationCenterDelegate* delegate) override { delegate_ = delegate; }
  void scheduleNotification(platform::UserNotification notification) override;
  void removeDeliveredNotification(const platform::UserNotification& notification) override;

 private:
  Journal& journal_;
  platform::UserNotificationCenterDelegate* delegate_ = nullptr;
  std::vector<platform::UserNotification> scheduled_;
  std::map<std::string, platform::UserNotification> delivered_;
};

/// Journal: "script PATH" when one is started.
class FakeUserScripts : public platform::UserScripts {
 public:
  explicit FakeUserScripts(Journal& journal) : journal_(journal) {}
  platform::Result<std::unique_ptr<platform::UserUnixTask>> taskWithURL(const platform::FileURL& url) override;

 private:
  Journal& journal_;
};

class FakeWorkspace : public platform::Workspace {
 public:
  void quit(std::optional<std::string> name, std::optional<std::string> identifier,
            std::vector<platform::Arguments> processes = {});
  void tell(const platform::ApplicationNotification& notification);
  /// Also adds it to those that run.
  void start(const std::string& identifier);
  /// Tells of those that run as when settings have changed.
  void settingsChanged();
  std::size_t observers() const { return observers_.size(); }

  ObserverToken addDidTerminateApplicationObserver(Observer observer) override;
  ObserverToken addApplicationRunsObserver(RunsObserver observer) override;
  void removeObserver(ObserverToken token) override {
    observers_.erase(token);
    runsObservers_.erase(token);
  }
  bool isRunning(const std::string& bundleIdentifier) const override { return running.contains(bundleIdentifier); }

  std::unique_ptr<platform::ProcessWatch> watchProcess(int process, platform::Task ended) override;
  /// Tells all who watch the process that it has ended.
  void end(int process);
  std::vector<int> watched() const;
  void openApplication(const std::string& bundleIdentifier, const std::string& item,
                       const std::string& activationToken) override {
    opened.push_back(bundleIdentifier + " " + item + " " + activationToken);
  }

  std::set<std::string> running;
  std::vector<std::string> opened;  // identifier, item, token

 private:
  using Watches = std::map<const void*, std::pair<int, platform::Task>>;

  std::map<ObserverToken, Observer> observers_;
  std::map<ObserverToken, RunsObserver> runsObservers_;
  ObserverToken last_ = 0;
  Watches watches_;
};

/// Journal: "suite NAME", "set KEY", "synchronize".
class MemoryUserDefaults : public platform::UserDefaultsDomains {
 public:
  explicit MemoryUserDefaults(Journal& journal) : journal_(journal) {}

  /// The contents of a domain; "" is the program's own.
  platform::Value::Dictionary& domain(const std::string& name) { return domains_[name]; }
  std::vector<std::string> keys(const std::string& name);

  std::set<std::string> unreadable;  // keys, in all domains, that can't be read

  std::unique_ptr<platform::UserDefaults> suite(const std::string& name) override;
  std::unique_ptr<platform::UserDefaults> standardUserDefaults() override;

 private:
  class Domain;

  Journal& journal_;
  std::map<std::string, platform::Value::Dictionary> domains_;
};

}  // namespace testing_support
