# One folder, one module, one target.
#
#   wevora_module(name [SHARED] [NO_TESTS]
#     SHARED                  a shared library, installed in lib/wevora: host and bundle load it
#                             into the same process and use one copy
#     SOURCES a.cpp b.cpp     sources of this folder (empty: a header-only module)
#     DEPS    wevora::x       included by its headers
#     PRIVATE PkgConfig::Y    included by its sources only
#     TEST_DEPS wevora::z     included by its tests only
#     NO_TESTS)               it has no tests of its own
#
# All `*_test.cpp` of the folder are built into `<name>_test` and registered with CTest.
#
# Each target is recorded in the module map for scripts/check-includes: a file may include only the
# dependencies that its target declares.

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported()

add_library(wevora_options INTERFACE)
target_compile_options(wevora_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Wold-style-cast -Woverloaded-virtual -Wcast-align
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op>)
# Not by default: a new compiler may add warnings, which must not break the build of a user.
if(WEVORA_WARNINGS_ARE_ERRORS)
  target_compile_options(wevora_options INTERFACE -Werror)
endif()
target_include_directories(wevora_options INTERFACE ${PROJECT_SOURCE_DIR})
# A static module may add a library that a program does not use.
target_link_options(wevora_options INTERFACE -Wl,--as-needed)
if(WEVORA_SANITIZE)
  target_compile_options(wevora_options INTERFACE
    -fsanitize=${WEVORA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
    # A false positive of gcc in instrumented code.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(wevora_options INTERFACE -fsanitize=${WEVORA_SANITIZE})
else()
  include(cmake/Hardening.cmake)
endif()
include(cmake/PrecompiledHeaders.cmake)

# wevora_record(target FOLDER files DEPS PRIVATE TEST_DEPS): one line of the module map.
function(wevora_record kind name sources deps private test_deps)
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  string(JOIN "|" line ${kind} ${name} ${folder} "${sources}" "${deps}" "${private}" "${test_deps}")
  string(REPLACE ";" " " line "${line}")
  set_property(GLOBAL APPEND PROPERTY WEVORA_MODULE_MAP "${line}")
endfunction()

# Writes module-map.txt to the build folder. Call it after all targets are defined.
function(wevora_write_module_map)
  get_property(lines GLOBAL PROPERTY WEVORA_MODULE_MAP)
  string(REPLACE ";" "\n" text "${lines}")
  file(WRITE ${PROJECT_BINARY_DIR}/module-map.txt "${text}\n")
endfunction()

# wevora_tests(target LABEL unit|integration|host SOURCES ... DEPS ... [TIMEOUT seconds]
#              [SHARED_SUITES regex])
# Each test is a process of its own, apart from those of the shared suites: see RegisterSuites.cmake.
function(wevora_tests target)
  cmake_parse_arguments(ARG "" "LABEL;TIMEOUT;SHARED_SUITES" "SOURCES;DEPS" ${ARGN})
  if(NOT WEVORA_BUILD_TESTS OR NOT ARG_SOURCES)
    return()
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${target} ${ARG_SOURCES})
  wevora_precompiled_headers(${target} tests)
  target_link_libraries(${target} PRIVATE wevora_options ${ARG_DEPS} GTest::gmock GTest::gtest
                                          GTest::gtest_main)
  if(NOT ARG_LABEL STREQUAL unit)
    wevora_record(tests ${target} "${ARG_SOURCES}" "${ARG_DEPS}" "" "")
  endif()
  if(ARG_LABEL STREQUAL host AND NOT WEVORA_BUILD_HOST_TESTS)
    set_target_properties(${target} PROPERTIES EXCLUDE_FROM_ALL ON)
    return()
  endif()
  if(NOT ARG_SHARED_SUITES)
    gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST
      PROPERTIES LABELS ${ARG_LABEL} TIMEOUT ${ARG_TIMEOUT})
    return()
  endif()
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}-suites.cmake)
  file(GENERATE OUTPUT ${script} CONTENT "set(program [==[$<TARGET_FILE:${target}>]==])
set(shared_suites [==[${ARG_SHARED_SUITES}]==])
set(properties LABELS ${ARG_LABEL} TIMEOUT ${ARG_TIMEOUT})
include([==[${PROJECT_SOURCE_DIR}/cmake/RegisterSuites.cmake]==])
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${script})
endfunction()

# wevora_program(name [NO_INSTALL] SOURCES ... DEPS ... [DESTINATION folder])
function(wevora_program name)
  cmake_parse_arguments(ARG "NO_INSTALL" "DESTINATION" "SOURCES;DEPS" ${ARGN})
  if(NOT ARG_DESTINATION)
    set(ARG_DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE wevora_options ${ARG_DEPS})
  wevora_record(program ${name} "${ARG_SOURCES}" "${ARG_DEPS}" "" "")
  if(NOT ARG_NO_INSTALL)
    install(TARGETS ${name} RUNTIME DESTINATION ${ARG_DESTINATION})
  endif()
endfunction()

# wevora_plugin(target OUTPUT name [FOLDER folder] SOURCES ... DEPS ...): a library `<name>.so` that
# another program loads, built in that folder.
function(wevora_plugin target)
  cmake_parse_arguments(ARG "" "OUTPUT;FOLDER" "SOURCES;DEPS" ${ARGN})
  add_library(${target} MODULE ${ARG_SOURCES})
  wevora_precompiled_headers(${target} modules)
  set_target_properties(${target} PROPERTIES
    PREFIX "" SUFFIX ".so" OUTPUT_NAME ${ARG_OUTPUT})
  if(ARG_FOLDER)
    set_target_properties(${target} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${ARG_FOLDER})
  endif()
  target_link_libraries(${target} PRIVATE wevora_options ${ARG_DEPS})
  wevora_record(program ${target} "${ARG_SOURCES}" "${ARG_DEPS}" "" "")
endfunction()

function(wevora_module name)
  cmake_parse_arguments(ARG "SHARED;NO_TESTS" "" "SOURCES;DEPS;PRIVATE;TEST_DEPS" ${ARGN})
  if(ARG_SHARED)
    add_library(wevora_${name} SHARED ${ARG_SOURCES})
    set_target_properties(wevora_${name} PROPERTIES
      CXX_VISIBILITY_PRESET default VISIBILITY_INLINES_HIDDEN OFF INSTALL_RPATH "$ORIGIN")
    target_link_libraries(wevora_${name} PUBLIC ${ARG_DEPS} PRIVATE wevora_options ${ARG_PRIVATE})
    target_include_directories(wevora_${name} PUBLIC ${PROJECT_SOURCE_DIR})
    install(TARGETS wevora_${name} LIBRARY DESTINATION lib/wevora)
  elseif(ARG_SOURCES)
    add_library(wevora_${name} STATIC ${ARG_SOURCES})
    wevora_precompiled_headers(wevora_${name} modules)
    target_link_libraries(wevora_${name} PUBLIC ${ARG_DEPS} PRIVATE wevora_options ${ARG_PRIVATE})
    target_include_directories(wevora_${name} PUBLIC ${PROJECT_SOURCE_DIR})
  else()
    add_library(wevora_${name} INTERFACE)
    target_link_libraries(wevora_${name} INTERFACE ${ARG_DEPS})
    target_include_directories(wevora_${name} INTERFACE ${PROJECT_SOURCE_DIR})
  endif()
  add_library(wevora::${name} ALIAS wevora_${name})
  wevora_record(module ${name} "" "${ARG_DEPS}" "${ARG_PRIVATE}" "${ARG_TEST_DEPS}")

  if(ARG_NO_TESTS)
    return()
  endif()
  file(GLOB tests CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*_test.cpp")
  wevora_tests(${name}_test LABEL unit SOURCES ${tests}
               DEPS wevora::${name} ${ARG_DEPS} ${ARG_PRIVATE} ${ARG_TEST_DEPS})
endfunction()
