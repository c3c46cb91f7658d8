# The session: queues, the bus and what is said over it, texts, the log.
add_library(platform_linux_session STATIC
  AnnouncedQuits.cpp
  BusListener.cpp
  BusNotificationCenter.cpp
  BusOpenPanel.cpp
  GettextBundle.cpp
  LineLog.cpp
  LinuxDispatch.cpp
  SessionBus.cpp
  IdleMemory.cpp
  ThreadPool.cpp)
target_link_libraries(platform_linux_session PUBLIC platform_linux_runloop)
