# Compiler settings that every target of this project shares.

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

add_library(tidewell_settings INTERFACE)
target_include_directories(tidewell_settings INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(tidewell_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align)
if(TIDEWELL_WERROR)
  # Only with the compilers that the project is checked with: others may warn about other things.
  target_compile_options(tidewell_settings INTERFACE -Werror)
endif()
target_compile_definitions(tidewell_settings INTERFACE _GNU_SOURCE)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # False positives of g++ 12 when it optimises: copies of 2^63 bytes in strings, and uninitialised members of
  # alternatives that a variant doesn't hold.
  target_compile_options(tidewell_settings INTERFACE -Wno-restrict)
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    target_compile_options(tidewell_settings INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()

if(CMAKE_BUILD_TYPE STREQUAL "Release")
  target_compile_options(tidewell_settings INTERFACE -ffunction-sections -fdata-sections)
  target_link_options(tidewell_settings INTERFACE -Wl,--gc-sections -Wl,--as-needed)
endif()

if(TIDEWELL_SANITIZE)
  target_compile_options(tidewell_settings INTERFACE
    -fsanitize=${TIDEWELL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)  # g1: lines for traces
  target_link_options(tidewell_settings INTERFACE -fsanitize=${TIDEWELL_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ 12 reports false positives of these two when it instruments the standard library's own code.
    target_compile_options(tidewell_settings INTERFACE -Wno-maybe-uninitialized -Wno-tsan)
  endif()
endif()

if(TIDEWELL_FUZZ)
  # In the libraries too, or libFuzzer would not see which code an input reaches.
  target_compile_options(tidewell_settings INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(TIDEWELL_COVERAGE)
  target_compile_options(tidewell_settings INTERFACE --coverage)
  target_link_options(tidewell_settings INTERFACE --coverage)
endif()
