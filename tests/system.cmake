# The whole process on a private session bus, in real time.
function(system_test name)
  add_test(NAME system.${name} COMMAND /usr/bin/python3 -B ${CMAKE_CURRENT_SOURCE_DIR}/system/test_${name}.py)
  set_tests_properties(system.${name} PROPERTIES TIMEOUT 300 RESOURCE_LOCK browsers
    ENVIRONMENT "TIDEWELL_PROGRAMS=${CMAKE_BINARY_DIR}/bin")
endfunction()

system_test(worker)
system_test(real_chromium)
system_test(real_browsers)
system_test(linux_homes_chromium)
system_test(linux_homes_firefox)
system_test(open_panel)
system_test(settings_window)
system_test(script)
system_test(whole_run)
system_test(commands)
# Five ways to end, each with two starts of a real browser.
set_tests_properties(system.linux_homes_chromium system.linux_homes_firefox PROPERTIES TIMEOUT 600)
