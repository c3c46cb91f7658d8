# Applications that quit, with real processes: as whoever runs the tests, and as an ordinary user.
add_executable(stand_in support/stand_in.cpp)
target_link_libraries(stand_in PRIVATE Threads::Threads)
target_link_options(stand_in PRIVATE -static)

add_library(process_test_support STATIC support/HeldStart.cpp support/Processes.cpp support/WatchMoments.cpp)
target_link_libraries(process_test_support PUBLIC tidewell_settings)

tidewell_test(workspace_tests
  SOURCES
    Platform/Linux/processes/InstalledApplicationsTest.cpp
    Platform/Linux/processes/LinuxUserScriptsTest.cpp
    Platform/Linux/processes/LinuxWorkspaceTest.cpp
    Platform/Linux/processes/ProcessTableTest.cpp
    Platform/Linux/processes/QuitArgumentsTest.cpp
    Platform/Linux/processes/StartsAtOnceTest.cpp
  LIBRARIES test_support bus_test_support process_test_support platform_linux_processes
  APART
  NOT_APART "*.areNoticedThoughTheirProgramLiesNowhereWhenTheyAreWanted:*.areWantedAnewWhenTheSettingsChange")
add_dependencies(workspace_tests stand_in)
add_test(NAME workspace_tests_as_an_ordinary_user
  COMMAND ${TIDEWELL_APART} ${CMAKE_CURRENT_SOURCE_DIR}/system/as-ordinary-user
    $<TARGET_FILE:workspace_tests> $<TARGET_FILE:stand_in>)
set_tests_properties(workspace_tests_as_an_ordinary_user PROPERTIES
  TIMEOUT 300 COST 50 RESOURCE_LOCK "${TIDEWELL_TURNS}")

# For tests/system/starts_at_once.py, which runs by hand.
add_library(slow_watch SHARED support/slow_watch.cpp)
target_link_libraries(slow_watch PRIVATE tidewell_settings ${CMAKE_DL_LIBS})
set_target_properties(slow_watch PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
