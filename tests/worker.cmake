# The worker's logic, on the deterministic platform.
tidewell_test(worker_tests
  SOURCES
    Worker/AccessRequestTest.cpp
    Worker/CleaningRunTest.cpp
    Worker/NotificationTest.cpp
    Worker/PluginDataTest.cpp
    Worker/ServiceEntryTest.cpp
    Worker/UserProfilesTest.cpp
    Worker/sandbox/AppSandboxFileAccessTest.cpp
    Worker/sandbox/BookmarkStoreTest.cpp
    Worker/sandbox/SandboxAccessTest.cpp
    Worker/sandbox/SandboxReadingTest.cpp
    Worker/sandbox/SandboxRemovingTest.cpp
  
    Worker/sandbox/SecureDeleteTest.cpp
  LIBRARIES test_support)
