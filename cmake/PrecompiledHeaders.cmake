# Precompiled headers of the standard library and of GoogleTest, for builds that are made as a whole.
# They halve clang's time; gcc's are slower than none. A header that a file forgets to include is
# found by the builds without them.

option(WEVORA_PRECOMPILED_HEADERS "Precompile the headers of the standard library and GoogleTest" OFF)

set(WEVORA_STANDARD_HEADERS
  <algorithm> <array> <atomic> <chrono> <condition_variable> <cstdint> <cstdlib> <cstring> <deque>
  <filesystem> <fstream> <functional> <future> <map> <memory> <mutex> <optional> <set> <sstream>
  <string> <string_view> <thread> <unordered_map> <unordered_set> <utility> <variant> <vector>)

# One target owns the headers of the modules, another those of the tests: programs are compiled with
# -fPIE, and clang refuses headers that were compiled with other options.
if(WEVORA_PRECOMPILED_HEADERS)
  # GLib's users are compiled with -pthread, so all are. A time in the file would keep ccache from
  # using its results again.
  target_compile_options(wevora_options INTERFACE
    -pthread $<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>)
  set(source ${PROJECT_BINARY_DIR}/precompiled.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "int main() {}\n")
  add_library(wevora_module_headers STATIC EXCLUDE_FROM_ALL ${source})
  target_link_libraries(wevora_module_headers PRIVATE wevora_options)
  target_precompile_headers(wevora_module_headers PRIVATE ${WEVORA_STANDARD_HEADERS})
  if(WEVORA_BUILD_TESTS)
    add_executable(wevora_test_headers EXCLUDE_FROM_ALL ${source})
    target_link_libraries(wevora_test_headers PRIVATE wevora_options GTest::gmock GTest::gtest)
    target_precompile_headers(wevora_test_headers PRIVATE
      ${WEVORA_STANDARD_HEADERS} <gmock/gmock.h> <gtest/gtest.h>)
  endif()
endif()

# wevora_precompiled_headers(target modules|tests)
function(wevora_precompiled_headers target kind)
  if(NOT WEVORA_PRECOMPILED_HEADERS)
    return()
  elseif(CMAKE_CURRENT_SOURCE_DIR MATCHES "/(Nautilus|PCManFMQt|QtApplication)[A-Za-z]*$")
    return()  # GTK and Qt add compiler options of their own (-msse2, -fPIC)
  elseif(kind STREQUAL "modules")
    target_precompile_headers(${target} REUSE_FROM wevora_module_headers)
  else()
    target_precompile_headers(${target} REUSE_FROM wevora_test_headers)
  endif()
endfunction()
