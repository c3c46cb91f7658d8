# Files and grants, on the real file system.
tidewell_test(files_tests
  SOURCES
    Platform/Linux/BookmarkDataTest.cpp
    Platform/Linux/FileCreationTest.cpp
    Platform/Linux/FileExchangeTest.cpp
    Platform/Linux/FileReplacingTest.cpp
    Platform/Linux/FileLocksTest.cpp
    Platform/Linux/FileReaderTest.cpp
    Platform/Linux/LinuxFileManagerTest.cpp
    Platform/Linux/LinuxSystemTest.cpp
    Platform/Linux/SecurityScopesTest.cpp
    Platform/Linux/SystemCalls.cpp
    Platform/Linux/TreeRemovalTest.cpp
  LIBRARIES test_support)
