# The session: run loop, queues, and everything on the bus.
tidewell_test(session_tests
  SOURCES
    Platform/Linux/bus/BusListenerTest.cpp
    Platform/Linux/bus/BusNotificationCenterTest.cpp
    Platform/Linux/bus/BusOpenPanelTest.cpp
    Platform/Linux/threads/RunLoopTest.cpp
    Platform/Linux/bus/SessionTest.cpp
    Platform/Linux/threads/ThreadPoolTest.cpp
    contract/DispatchContract.cpp
  LIBRARIES test_support bus_test_support platform_linux_files)
