# Files and grants, on the real file system.
tidewell_test(files_tests
  SOURCES
    Platform/Linux/files/BookmarkDataTest.cpp
    Platform/Linux/files/FileCreationTest.cpp
    Platform/Linux/files/FileExchangeTest.cpp
    Platform/Linux/files/FileReplacingTest.cpp
    Platform/Linux/files/FileLocksTest.cpp
    Platform/Linux/files/FileReaderTest.cpp
    Platform/Linux/files/LinuxFileManagerTest.cpp
    Platform/Linux/files/LinuxSystemTest.cpp
    Platform/Linux/files/SecurityScopesTest.cpp
    Platform/Linux/files/SystemCalls.cpp
    Platform/Linux/files/TreeRemovalTest.cpp
  LIBRARIES test_support)
