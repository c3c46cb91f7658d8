#include "Worker/cleaning/Report.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace tidewell {
namespace {

using platform::Date;
using platform::Value;

constexpr std::size_t kMostStores = 400;

template <typename T>
struct Word {
  T meaning;
  std::string_view word;
};

constexpr Word<Cause> kCauses[] = {{Cause::kQuit, "quit"},
                                   {Cause::kAnnounced, "announced"},
                                   {Cause::kOwed, "owed"},
                                   {Cause::kLogOut, "log-out"},
                                   {Cause::kPermission, "permission"}};
constexpr Word<StoreGroup> kGroups[] = {
    {StoreGroup::kCookies, "cookies"}, {StoreGroup::kSiteStorage, "site-data"}, {StoreGroup::kCaches, "caches"}};
constexpr Word<Left> kReasons[] = {{Left::kNothing, ""},
                                   {Left::kNotAllowed, "not-allowed"},
                                   {Left::kOnOtherMount, "on-other-mount"},
                                   {Left::kInUse, "in-use"},
                                   {Left::kNotOverwritten, "not-overwritten"},
                                   {Left::kNotReadable, "not-readable"},
                                   {Left::kListNotReadable, "list-not-readable"},
                                   {Left::kFailed, "failed"}};

template <typename T, std::size_t count>
std::string_view wordIn(const Word<T> (&words)[count], T meaning) {
  const auto found = std::find_if(std::begin(words), std::end(words),
                                  [meaning](const Word<T>& word) { return word.meaning == meaning; });
  return found != std::end(words) ? found->word : "";
}

template <typename T, std::size_t count>
std::optional<T> meaningIn(const Word<T> (&words)[count], std::string_view text) {
  const auto found =
      std::find_if(std::begin(words), std::end(words), [text](const Word<T>& word) { return word.word == text; });
  return found != std::end(words) ? std::optional(found->meaning) : std::nullopt;
}

/// An entry of a dictionary or an array, if it is of that type.
template <typename T>
const T* entry(const Value::Dictionary& dictionary, std::string_view key) {
  const auto found = dictionary.find(key);
  return found != dictionary.end() ? found->second.as<T>() : nullptr;
}
template <typename T>
const T* entry(const Value::Array& array, std::size_t index) {
  return index < array.size() ? array[index].as<T>() : nullptr;
}

Value valueOf(const StoreReport& store) {
  return Value::Array{store.folder,
                      store.store,
                      wordFor(store.group),
                      static_cast<std::int64_t>(store.outcome.removed),
                      static_cast<std::int64_t>(store.outcome.bytes),
                      wordFor(store.outcome.left),
                      std::int64_t{store.outcome.error}};
}

std::optional<StoreReport> storeReportOf(const Value& value) {
  const auto* fields = value.as<Value::Array>();
  if (fields == nullptr) return std::nullopt;
  const auto* folder = entry<std::string>(*fields, 0);
  const auto* store = entry<std::string>(*fields, 1);
  const auto* group = entry<std::string>(*fields, 2);
  const auto* removed = entry<std::int64_t>(*fields, 3);
  const auto* bytes = entry<std::int64_t>(*fields, 4);
  const auto* left = entry<std::string>(*fields, 5);
  const auto* error = entry<std::int64_t>(*fields, 6);
  if (!folder || !store || !group || !removed || !bytes || !left || !error) return std::nullopt;
  return StoreReport{*folder,
                     *store,
                     meaningIn(kGroups, *group).value_or(StoreGroup::kSiteStorage),
                     {meaningIn(kReasons, *left).value_or(Left::kFailed), static_cast<std::uint64_t>(*removed),
                      static_cast<std::uint64_t>(*bytes), static_cast<int>(*error)}};
}

Value::Array valueOfStores(std::vector<StoreReport> stores) {
  if (stores.size() > kMostStores) {
    const auto isLeft = [](const StoreReport& store) { return store.outcome.left != Left::kNothing; };
    std::stable_partition(stores.begin(), stores.end(), isLeft);
    stores.resize(kMostStores);
  }
  Value::Array values;
  for (const StoreReport& store : stores) values.push_back(valueOf(store));
  return values;
}

}  // namespace

void Report::note(const StoreReport& added) {
  const auto known = std::find_if(stores.begin(), stores.end(), [&added](const StoreReport& store) {
    return store.folder == added.folder && store.store == added.store;
  });
  if (known == stores.end()) {
    stores.push_back(added);
  } else {
    known->outcome += added.outcome;
  }
}

void Report::add(const Report& later) {
  runs.insert(runs.end(), later.runs.begin(), later.runs.end());
  isSpared = later.isSpared;
  held = later.held;
  if (!later.isSpared) {
    for (StoreReport& store : stores) store.outcome.left = Left::kNothing, store.outcome.error = 0;
  }
  for (const StoreReport& added : later.stores) note(added);
  std::erase_if(stores, [](const StoreReport& store) {
    return store.outcome.left == Left::kNothing && store.outcome.removed == 0;
  });
}

Outcome Report::sum(std::optional<StoreGroup> group) const {
  Outcome sum;
  for (const StoreReport& store : stores) {
    if (!group || store.group == *group) sum += store.outcome;
  }
  return sum;
}

std::vector<std::string> Report::notAllowed() const {
  std::vector<std::string> folders;
  for (const StoreReport& store : stores) {
    if (store.outcome.left == Left::kNotAllowed) folders.push_back(store.folder);
  }
  return folders;
}

bool Report::isWorthAnotherTry() const {
  return isSpared || std::any_of(stores.begin(), stores.end(), [](const StoreReport& store) {
           return store.outcome.left == Left::kInUse || store.outcome.error == ENOSPC || store.outcome.error == EDQUOT;
         });
}

std::string_view wordFor(Cause cause) {
  return wordIn(kCauses, cause);
}
std::string_view wordFor(StoreGroup group) {
  return wordIn(kGroups, group);
}
std::string_view wordFor(Left left) {
  return wordIn(kReasons, left);
}

Value valueOf(const Report& report) {
  Value::Array runs;
  for (const Report::Run& run : report.runs) runs.emplace_back(Value::Array{run.begun, run.ended});
  return Value::Dictionary{{"browser", report.browser},
                           {"cause", wordFor(report.cause)},
                           {"isSpared", report.isSpared},
                           {"runs", runs},
                           {"stores", valueOfStores(report.stores)}};
}

std::optional<Report> reportOf(const Value& value) {
  const auto* fields = value.as<Value::Dictionary>();
  if (fields == nullptr) return std::nullopt;
  const auto* browser = entry<std::string>(*fields, "browser");
  const auto* cause = entry<std::string>(*fields, "cause");
  const auto* isSpared = entry<bool>(*fields, "isSpared");
  const auto* runs = entry<Value::Array>(*fields, "runs");
  const auto* stores = entry<Value::Array>(*fields, "stores");
  if (!browser || !cause || !isSpared || !runs || !stores) return std::nullopt;
  Report report{*browser, meaningIn(kCauses, *cause).value_or(Cause::kQuit), {}, *isSpared, {}};
  for (const Value& run : *runs) {
    const auto* times = run.as<Value::Array>();
    const Date* begun = times != nullptr ? entry<Date>(*times, 0) : nullptr;
    const Date* ended = times != nullptr ? entry<Date>(*times, 1) : nullptr;
    if (begun != nullptr && ended != nullptr) report.runs.push_back({*begun, *ended});
  }
  for (const Value& store : *stores) {
    if (auto known = storeReportOf(store)) report.stores.push_back(std::move(*known));
  }
  return report;
}

}  // namespace tidewell
