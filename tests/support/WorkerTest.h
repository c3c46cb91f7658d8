// The fixture of the worker's tests: the worker on the deterministic platform.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Worker/Identity.h"
#include "Worker/WorkerAppDelegate.h"
#include "tests/support/TestPlatform.h"

namespace testing_support {

class WorkerTest : public ::testing::Test {
 protected:
  /// The worker as the process creates it. Tests of the set-up itself create their own.
  std::shared_ptr<tidewell::WorkerAppDelegate> makeWorker() { return tidewell::WorkerAppDelegate::create(); }

  void useHome() { platform.shared().insert_or_assign("userFolder", platform.home.path()); }
  void enable(platform::Value::Array identifiers) {
    platform.shared().insert_or_assign("enabledBrowsers", std::move(identifiers));
  }
  std::string home(const std::string& below) const { return platform.home.path(below); }

  TestPlatform platform;
};

/// The fixture with the home folder set and granted.
class GrantedHomeTest : public WorkerTest {
 protected:
  GrantedHomeTest() {
    useHome();
    platform.grant(platform.home.path());
  }
};

}  // namespace testing_support
