# Included by CTest, before each run: registers the tests of a program. The tests of a suite that
# shares a resource (SHARED_SUITES of wevora_tests) are one entry, which runs them in one process;
# every other test is an entry of its own. The output of an entry names each of its tests.
#   program, shared_suites, properties

if(NOT EXISTS "${program}")
  get_filename_component(name "${program}" NAME)
  add_test("${name}_NOT_BUILT" "${name}_NOT_BUILT")
  return()
endif()
execute_process(COMMAND "${program}" --gtest_list_tests
                OUTPUT_VARIABLE lines RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "cannot list the tests of ${program}: ${result}")
endif()
string(REGEX REPLACE " *#[^\n]*" "" lines "${lines}")
string(REPLACE "\n" ";" lines "${lines}")
foreach(line IN LISTS lines)
  if(line MATCHES "^([^ ]+)\\.$")
    set(suite "${CMAKE_MATCH_1}")
    string(REGEX MATCH "${shared_suites}" is_shared "${suite}")
    if(is_shared)
      add_test("${suite}" "${program}" "--gtest_filter=${suite}.*")
      # Long entries start first.
      set_tests_properties("${suite}" PROPERTIES ${properties} COST 10)
    endif()
  elseif(NOT is_shared AND line MATCHES "^ +(.+)$")
    set(test "${suite}.${CMAKE_MATCH_1}")
    add_test("${test}" "${program}" "--gtest_filter=${test}")
    set_tests_properties("${test}" PROPERTIES ${properties} COST 1)
  endif()
endforeach()
