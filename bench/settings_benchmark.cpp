// Measures reads and writes of a settings store with a hundred thousand keys.

#include <benchmark/benchmark.h>

#include "Platform/Linux/settings/SqliteUserDefaults.h"
#include "tests/support/Fakes.h"
#include "tests/support/ScratchFolder.h"

namespace {

constexpr int kKeys = 100'000;

std::string key(int number) {
  return "bd_file:///Users/ann/Library/Application%20Support/" + std::to_string(number) + "/";
}

class Store : public benchmark::Fixture {
 public:
  void SetUp(const benchmark::State&) override {
    if (defaults) return;
    domains.suite("large")->setObject(platform::Data(120), key(0));
    for (int number = 1; number < kKeys; ++number) domains.suite("large")->setObject(platform::Data(120), key(number));
    defaults = domains.suite("large");
  }

  testing_support::ScratchFolder folder;
  testing_support::FakeLog log;
  platform::linux_::SqliteUserDefaults domains{folder.path("settings"), "own", log};
  std::unique_ptr<platform::UserDefaults> defaults;
  int next = 0;
};

BENCHMARK_F(Store, read)(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(defaults->dataForKey(key(next = (next + 7919) % kKeys)));
}

BENCHMARK_F(Store, readOfAnAbsentKey)(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(defaults->dataForKey("absent " + key(next = (next + 7919) % kKeys)));
}

BENCHMARK_F(Store, write)(benchmark::State& state) {
  platform::Data data(120);
  for (auto _ : state) {
    data[0] = static_cast<std::byte>(static_cast<unsigned>(data[0]) + 1U);
    defaults->setObject(data, key(next = (next + 7919) % kKeys));
  }
}

BENCHMARK_F(Store, writeOfWhatIsStoredAlready)(benchmark::State& state) {
  const platform::Data data(120);
  defaults->setObject(data, "the same");
  for (auto _ : state) defaults->setObject(data, "the same");
}

}  // namespace

BENCHMARK_MAIN();
