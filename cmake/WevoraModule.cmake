# One folder, one module, one target.
#
#   wevora_module(name [SHARED] [NO_TESTS]
#     SHARED                  one copy in a process into which host and bundle both bring it: a
#                             library of its own, installed in lib/wevora
#     SOURCES a.cpp b.cpp     sources of this folder (none: a header-only module)
#     DEPS    wevora::x       what its headers may include: the layer diagram
#     PRIVATE PkgConfig::Y    what only its sources may include
#     TEST_DEPS wevora::z     what only its tests may include
#     NO_TESTS)               the folder's tests are another module's
#
# Every `*_test.cpp` of the folder is built into `<name>_test` and registered with CTest; none has
# to be listed, so none can be forgotten.

add_library(wevora_options INTERFACE)
target_compile_options(wevora_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Wold-style-cast -Woverloaded-virtual -Wcast-align
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op>)
# Where the checks are made; a newer compiler, other optimizations or a sanitizer's code may bring
# warnings that keep nobody from building.
if(WEVORA_WARNINGS_ARE_ERRORS)
  target_compile_options(wevora_options INTERFACE -Werror)
endif()
target_include_directories(wevora_options INTERFACE ${PROJECT_SOURCE_DIR})
if(WEVORA_SANITIZE)
  target_compile_options(wevora_options INTERFACE
    -fsanitize=${WEVORA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g
    # gcc sees uninitialized members where a sanitizer's checks stand between.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(wevora_options INTERFACE -fsanitize=${WEVORA_SANITIZE})
endif()

# wevora_tests(target LABEL unit|integration|host SOURCES ... DEPS ... [TIMEOUT seconds])
function(wevora_tests target)
  cmake_parse_arguments(ARG "" "LABEL;TIMEOUT" "SOURCES;DEPS;ENVIRONMENT" ${ARGN})
  if(NOT WEVORA_BUILD_TESTS OR NOT ARG_SOURCES)
    return()
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${target} ${ARG_SOURCES})
  target_link_libraries(${target} PRIVATE wevora_options ${ARG_DEPS} GTest::gmock GTest::gtest
                                          GTest::gtest_main)
  gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST
    PROPERTIES LABELS ${ARG_LABEL} TIMEOUT ${ARG_TIMEOUT})
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
    target_link_libraries(wevora_${name} PUBLIC ${ARG_DEPS} PRIVATE wevora_options ${ARG_PRIVATE})
    target_include_directories(wevora_${name} PUBLIC ${PROJECT_SOURCE_DIR})
  else()
    add_library(wevora_${name} INTERFACE)
    target_link_libraries(wevora_${name} INTERFACE ${ARG_DEPS})
    target_include_directories(wevora_${name} INTERFACE ${PROJECT_SOURCE_DIR})
  endif()
  add_library(wevora::${name} ALIAS wevora_${name})

  if(ARG_NO_TESTS)
    return()
  endif()
  file(GLOB tests CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*_test.cpp")
  wevora_tests(${name}_test LABEL unit SOURCES ${tests} DEPS wevora::${name} ${ARG_TEST_DEPS})
endfunction()
