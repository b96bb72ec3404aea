# A summary of what is built, printed at the end of the configuration.

# wevora_summary(part YES|reason [detail]): `reason` says why the part is not built.
function(wevora_summary part state)
  string(LENGTH "${part}" length)
  math(EXPR missing "14 - ${length}")
  string(REPEAT " " ${missing} padding)
  if(state STREQUAL "YES")
    set(line "  ${part}${padding}yes")
  else()
    set(line "  ${part}${padding}no: ${state}")
  endif()
  if(ARGN)
    string(APPEND line " (${ARGN})")
  endif()
  set_property(GLOBAL APPEND PROPERTY WEVORA_SUMMARY "${line}")
endfunction()

function(wevora_print_summary)
  get_property(lines GLOBAL PROPERTY WEVORA_SUMMARY)
  list(JOIN lines "\n" text)
  message(STATUS "Wevora ${PROJECT_VERSION} for ${CMAKE_INSTALL_PREFIX}\n${text}")
endfunction()
