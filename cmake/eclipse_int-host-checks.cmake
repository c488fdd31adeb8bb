# eclipse_int_add_host_checks(TARGET PROGRAM [ARGS ARGUMENT...] [OPTIONS OPTION...])
#
# Adds one test of CTest for each check of a host, with the name PROGRAM/CHECK. PROGRAM is the target of the host; it is run with the
# arguments ARGS, among which {plugin} becomes the path of the library that checks it, and ends after the check. A check that does
# not apply is a skipped test. OPTIONS are those of "eclipse-int check-host", such as "--log FILE" and "--waivers FILE".
function(eclipse_int_add_host_checks)
  cmake_parse_arguments(PARSE_ARGV 0 given "" "TARGET" "ARGS;OPTIONS")
  if(NOT TARGET "${given_TARGET}")
    message(FATAL_ERROR "eclipse_int_add_host_checks: TARGET \"${given_TARGET}\" is not a target; name the program of the host")
  endif()
  execute_process(COMMAND ${ECLIPSE_INT_COMMAND} check-host --list --format names
    OUTPUT_VARIABLE checks RESULT_VARIABLE result OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "eclipse_int_add_host_checks: ${ECLIPSE_INT_COMMAND} cannot list the checks (${result}); install the command")
  endif()
  string(REPLACE "\n" ";" checks "${checks}")
  # What is observed in the host's own run needs that run.
  list(FILTER checks EXCLUDE REGEX "^observed/")
  foreach(check IN LISTS checks)
    set(drill)
    if(check MATCHES "^drill/")
      set(drill --drill)
    endif()
    add_test(NAME ${given_TARGET}/${check}
      COMMAND ${ECLIPSE_INT_COMMAND} check-host --checks-only ${drill} --only ${check} ${given_OPTIONS} -- $<TARGET_FILE:${given_TARGET}> ${given_ARGS})
    # One at a time: two of the host at once would write to the same log.
    set_tests_properties(${given_TARGET}/${check} PROPERTIES
      TIMEOUT 60 SKIP_REGULAR_EXPRESSION "skipped ${check}:" RESOURCE_LOCK ${given_TARGET})
  endforeach()
endfunction()
