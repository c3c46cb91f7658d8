# What the tests share: the deterministic platform, scratch folders, a private session bus.
add_library(test_support STATIC
  support/BrowserFiles.cpp
  support/Databases.cpp
  support/FakeDispatch.cpp
  support/Fakes.cpp
  support/HomeContents.cpp
  support/LinuxSampleHome.cpp
  support/SampleChrome.cpp
  support/SampleFirefox.cpp
  support/SampleHome.cpp
  support/ScratchFolder.cpp
  support/TestPlatform.cpp)
target_link_libraries(test_support PUBLIC worker platform_linux_files PRIVATE leveldb_static lz4_static)

add_library(bus_test_support STATIC support/PrivateBus.cpp)
target_link_libraries(bus_test_support PUBLIC platform_linux_bus platform_linux_host)
target_compile_definitions(bus_test_support PRIVATE
  TIDEWELL_BUS_CONFIGURATION="${CMAKE_CURRENT_SOURCE_DIR}/support/session-bus.conf")
