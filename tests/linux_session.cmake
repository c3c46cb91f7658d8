# The session: run loop, queues, and everything on the bus.
tidewell_test(session_tests
  SOURCES
    Platform/Linux/BusListenerTest.cpp
    Platform/Linux/BusNotificationCenterTest.cpp
    Platform/Linux/BusOpenPanelTest.cpp
    Platform/Linux/RunLoopTest.cpp
    Platform/Linux/SessionTest.cpp
    Platform/Linux/ThreadPoolTest.cpp
    contract/DispatchContract.cpp
  LIBRARIES test_support bus_test_support platform_linux_files)
