# Settings files, and the contract that they share with those in memory.
tidewell_test(settings_tests
  SOURCES
    Platform/Linux/settings/SqliteUserDefaultsTest.cpp
    contract/UserDefaultsContract.cpp
  LIBRARIES test_support platform_linux_settings)
