# The whole process on a private session bus, in real time.

# system_test(NAME [PARTS n] [SECONDS n] [ONCE]): the tests in system/test_NAME.py, in parts that run at the same time.
# SECONDS is about how long a part takes: the longest start first. ONCE marks tests of other programs than the worker,
# which need not run again under each sanitizer.
function(system_test name)
  cmake_parse_arguments(ARG "ONCE" "PARTS;SECONDS" "" ${ARGN})
  if(NOT ARG_PARTS)
    set(ARG_PARTS 1)
  endif()
  set(labels system)
  if(ARG_ONCE)
    list(APPEND labels once)
  endif()
  foreach(part RANGE 1 ${ARG_PARTS})
    set(test system.${name})
    if(ARG_PARTS GREATER 1)
      set(test system.${name}.${part}of${ARG_PARTS})
    endif()
    add_test(NAME ${test} COMMAND ${TIDEWELL_APART} /usr/bin/python3 -B ${CMAKE_CURRENT_SOURCE_DIR}/system/part.py
      ${part}/${ARG_PARTS} ${CMAKE_CURRENT_SOURCE_DIR}/system/test_${name}.py)
    set_tests_properties(${test} PROPERTIES TIMEOUT 900 COST ${ARG_SECONDS} LABELS "${labels}"
      RESOURCE_LOCK "${TIDEWELL_TURNS}" ENVIRONMENT "TIDEWELL_PROGRAMS=${CMAKE_BINARY_DIR}/bin")
  endforeach()
endfunction()

system_test(worker PARTS 3 SECONDS 40)
system_test(whole_run PARTS 2 SECONDS 30)
system_test(commands SECONDS 40)
system_test(script SECONDS 2 ONCE)
system_test(demo SECONDS 40 ONCE)
system_test(real_chromium SECONDS 50 ONCE)
system_test(real_browsers PARTS 2 SECONDS 60 ONCE)
system_test(linux_homes_chromium PARTS 2 SECONDS 150 ONCE)
system_test(linux_homes_firefox PARTS 2 SECONDS 200 ONCE)
if(TIDEWELL_WINDOWS)
  system_test(open_panel SECONDS 30 ONCE)
  system_test(settings_window PARTS 2 SECONDS 50 ONCE)
endif()
