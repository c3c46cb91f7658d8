#include "tests/support/Fakes.h"

#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace testing_support {

using platform::FileURL;
using platform::Value;

std::optional<std::string> FakeBundle::objectForInfoDictionaryKey(std::string_view key) const {
  const auto found = information.find(key);
  return found != information.end() ? std::optional(found->second) : std::nullopt;
}

std::string FakeBundle::localizedString(const std::string& key, const std::string& value) const {
  const auto found = translations.find(key);
  if (found != translations.end()) return found->second;
  return value.empty() ? key : value;
}

std::optional<FileURL> FakeBundle::urlForResource(std::string_view name, std::string_view extension) const {
  const auto found = resources.find(std::string(name) + "." + std::string(extension));
  return found != resources.end() ? std::optional(FileURL(found->second)) : std::nullopt;
}

platform::Result<std::unique_ptr<platform::UserUnixTask>> FakeUserScripts::taskWithURL(const FileURL& url) {
  class Task : public platform::UserUnixTask {
   public:
    Task(Journal& journal, std::string path) : journal_(journal), path_(std::move(path)) {}
    void execute() override { journal_.add("script " + path_); }

   private:
    Journal& journal_;
    const std::string path_;
  };
  if (::access(url.path().c_str(), F_OK) != 0) return std::errc::no_such_file_or_directory;
  if (::access(url.path().c_str(), X_OK) != 0) return std::errc::permission_denied;
  return std::unique_ptr<platform::UserUnixTask>(std::make_unique<Task>(journal_, url.path()));
}

void FakeOpenPanel::activateIgnoringOtherApps(bool ignoringOtherApps) {
  if (!ignoringOtherApps) return;
  journal_.add("activate");
  ++activations_;
}

platform::OpenPanelAnswer FakeOpenPanel::nextAnswer(const platform::OpenPanelSettings& panel) {
  if (answers_.empty()) {
    return agreesToAll ? platform::OpenPanelAnswer{platform::ModalResponse::ok, panel.target}
                       : platform::OpenPanelAnswer();
  }
  const platform::OpenPanelAnswer answer = answers_.front();
  answers_.pop_front();
  return answer;
}

platform::OpenPanelAnswer FakeOpenPanel::runModal(const platform::OpenPanelSettings& panel) {
  if (!dispatch_.isMainThread()) throw std::logic_error("a panel belongs on the main thread");
  for (;;) {
    if (shown_.size() == kPatience) throw std::logic_error("nobody answers panels for ever");
    journal_.add("panel " + panel.target.path());
    shown_.push_back(panel);
    if (whileShown) whileShown();
    const platform::OpenPanelAnswer answer = nextAnswer(panel);
    if (answer.response != platform::ModalResponse::ok) return answer;
    if (panel.isTooWide && panel.isTooWide(*answer.url)) return {};
    if (panel.delegate != nullptr && !panel.delegate->panel_shouldEnableURL(panel, answer.url)) continue;
    grant_(*answer.url);
    return answer;
  }
}

std::vector<std::string> FakeNotificationCenter::delivered() const {
  std::vector<std::string> identifiers;
  for (const auto& [identifier, notification] : delivered_) identifiers.push_back(identifier);
  return identifiers;
}

void FakeNotificationCenter::click(const std::string& identifier,
                                   platform::UserNotification::ActivationType activation) {
  platform::UserNotification notification = delivered_.at(identifier);
  notification.activationType = activation;
  if (delegate_ != nullptr) delegate_->userNotificationCenter_didActivateNotification(notification);
}

void FakeNotificationCenter::scheduleNotification(platform::UserNotification notification) {
  journal_.add("notify " + notification.title + ": " + notification.subtitle);
  notification.identifier = std::to_string(scheduled_.size() + 1);
  scheduled_.push_back(notification);
  if (delegate_ == nullptr || delegate_->userNotificationCenter_shouldPresentNotification(notification)) {
    delivered_.emplace(notification.identifier, notification);
  }
}

void FakeNotificationCenter::removeDeliveredNotification(const platform::UserNotification& notification) {
  delivered_.erase(notification.identifier);
}

void FakeWorkspace::quit(std::optional<std::string> name, std::optional<std::string> identifier,
                         std::vector<platform::Arguments> processes) {
  tell({std::move(name), std::move(identifier), std::move(processes)});
}

void FakeWorkspace::tell(const platform::ApplicationNotification& notification) {
  const auto observers = observers_;
  for (const auto& [token, observer] : observers) observer(notification);
}

FakeWorkspace::ObserverToken FakeWorkspace::addDidTerminateApplicationObserver(Observer observer) {
  observers_.emplace(++last_, std::move(observer));
  return last_;
}

FakeWorkspace::ObserverToken FakeWorkspace::addApplicationRunsObserver(RunsObserver observer) {
  runsObservers_.emplace(++last_, std::move(observer));
  return last_;
}

void FakeWorkspace::start(const std::string& identifier) {
  running.insert(identifier);
  const auto observers = runsObservers_;
  for (const auto& [token, observer] : observers) observer(identifier, true);
}

std::unique_ptr<platform::ProcessWatch> FakeWorkspace::watchProcess(int process, platform::Task ended) {
  class Watch : public platform::ProcessWatch {
   public:
    explicit Watch(Watches& all) : all_(all) {}
    ~Watch() override { all_.erase(this); }

   private:
    Watches& all_;
  };
  auto watch = std::make_unique<Watch>(watches_);
  watches_.emplace(watch.get(), std::pair(process, std::move(ended)));
  return watch;
}

void FakeWorkspace::end(int process) {
  const auto watches = watches_;
  for (const auto& [key, watch] : watches) {
    if (watch.first == process && watches_.contains(key)) watch.second();
  }
}

std::vector<int> FakeWorkspace::watched() const {
  std::vector<int> processes;
  for (const auto& [key, watch] : watches_) processes.push_back(watch.first);
  return processes;
}

void FakeWorkspace::settingsChanged() {
  const auto observers = runsObservers_;
  for (const std::string& identifier : running) {
    for (const auto& [token, observer] : observers) observer(identifier, false);
  }
}

class MemoryUserDefaults::Domain : public platform::UserDefaults {
 public:
  Domain(Journal& journal, Value::Dictionary& values, const std::set<std::string>& unreadable)
      : journal_(journal), values_(values), unreadable_(unreadable) {}

  std::optional<Value> objectForKey(const std::string& key) const override {
    const auto found = values_.find(key);
    return found != values_.end() ? std::optional(found->second) : std::nullopt;
  }
  platform::Result<std::optional<Value>> checkedObjectForKey(const std::string& key) const override {
    if (unreadable_.contains(key)) return std::errc::io_error;
    return objectForKey(key);
  }
  void setObject(const Value& value, const std::string& key) override {
    journal_.add("set " + key);
    values_.insert_or_assign(key, value);
  }
  void removeObjectForKey(const std::string& key) override { values_.erase(key); }
  Value::Dictionary dictionaryRepresentation() const override { return values_; }
  bool synchronize() override {
    journal_.add("synchronize");
    return true;
  }

 private:
  Journal& journal_;
  Value::Dictionary& values_;
  const std::set<std::string>& unreadable_;
};

std::vector<std::string> MemoryUserDefaults::keys(const std::string& name) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : domains_[name]) keys.push_back(key);
  return keys;
}

std::unique_ptr<platform::UserDefaults> MemoryUserDefaults::suite(const std::string& name) {
  journal_.add("suite " + name);
  return std::make_unique<Domain>(journal_, domains_[name], unreadable);
}

std::unique_ptr<platform::UserDefaults> MemoryUserDefaults::standardUserDefaults() {
  return std::make_unique<Domain>(journal_, domains_[""], unreadable);
}

}  // namespace testing_support
