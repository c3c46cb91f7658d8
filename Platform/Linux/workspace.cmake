# Other processes: applications that quit, scripts.
add_library(platform_linux_workspace STATIC
  ExecutableFinder.cpp
  LinuxUserScripts.cpp
  LinuxWorkspace.cpp
  PathWatch.cpp
  ProcessConnector.cpp
  ProcessExit.cpp
  ProcessTable.cpp
  RunningApplication.cpp)
target_link_libraries(platform_linux_workspace PUBLIC platform_linux_runloop platform_linux_settings)
