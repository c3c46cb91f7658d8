// The tables of today's stores, and docs/what-is-removed.md, which lists them.

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "Platform/Path.h"
#include "Worker/stores/StoreTables.h"

namespace {

using tidewell::Store;
using tidewell::StoreAge;

constexpr char kPage[] = TIDEWELL_DOCS "/what-is-removed.md";

struct Table {
  std::string heading;  // of the table's part of the page
  std::span<const Store> stores;
};

std::vector<Table> tables() {
  return {{"### In each profile of Chromium and its relatives", tidewell::kChromiumStores.profile},
          {"### In the data folder of Chromium and its relatives", tidewell::kChromiumStores.data},
          {"### In each profile of Firefox and its relatives", tidewell::kFirefoxStores.profile},
          {"### In the data folder of Firefox and its relatives", tidewell::kFirefoxStores.data},
          {"### In the cache folder of Firefox and its relatives", tidewell::kFirefoxStores.caches},
          {"### In each profile of Chromium and its relatives", tidewell::kChromiumStores.ownFlash}};
}

/// The text below a heading, down to the next one; "" when there is no such heading.
std::string partOfThePage(const std::string& heading) {
  std::ifstream file(kPage);
  const std::string page(std::istreambuf_iterator<char>(file), {});
  const std::size_t at = page.find("\n" + heading + "\n");
  if (at == std::string::npos) return "";
  const std::size_t begin = at + heading.size() + 2;
  return page.substr(begin, page.find("\n#", begin) - begin);
}

TEST(StoreTables, everyOneIsAtTheBeginningOfALineInThePageForPeople) {
  for (const auto& [heading, stores] : tables()) {
    const std::string part = partOfThePage(heading);
    ASSERT_NE(part, "") << heading;
    for (const Store& store : stores) {
      EXPECT_THAT(part, testing::HasSubstr("\n| `" + std::string(store.path) + "` | ")) << heading;
    }
  }
}

TEST(StoreTables, thePathsAreRelativeAndPlain) {
  for (const auto& [heading, stores] : tables()) {
    EXPECT_FALSE(stores.empty()) << heading;
    for (const Store& store : stores) {
      std::string_view rest = store.path;
      while (true) {
        const std::size_t slash = rest.find('/');
        EXPECT_TRUE(platform::isPlainName(rest.substr(0, slash))) << heading << ": " << store.path;
        if (slash == std::string_view::npos) break;
        rest.remove_prefix(slash + 1);
      }
    }
  }
}

TEST(StoreTables, noneIsTwiceInATable) {
  for (const auto& [heading, stores] : tables()) {
    // A store can be listed a second time, with its treatment where today's stores are not cleaned.
    std::set<std::pair<std::string_view, bool>> paths;
    for (const Store& store : stores) {
      EXPECT_TRUE(paths.emplace(store.path, store.age == StoreAge::kCurrent).second) << heading << ": " << store.path;
    }
  }
}

TEST(StoreTables, everyLineSaysWhatTheStoreHoldsAndWhatBecomesOfIt) {
  for (const auto& [heading, stores] : tables()) {
    // "The same" refers to the line above, which the first line lacks.
    EXPECT_THAT(std::string(stores.front().holds), testing::Not(testing::HasSubstr("the same"))) << heading;
    for (const Store& store : stores) {
      EXPECT_NE(store.holds, "") << heading << ": " << store.path;
    }
  }
}

}  // namespace
