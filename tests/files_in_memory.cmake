# Read by ctest. The tests write many thousands of small files, and some start programs among them: in memory, where there is room for
# them and programs may be started.
if(NOT DEFINED ENV{TMPDIR})
  execute_process(COMMAND df --output=avail -BG /dev/shm OUTPUT_VARIABLE room ERROR_QUIET)
  execute_process(
    COMMAND sh -c "file=$(mktemp /dev/shm/eclipse_int.XXXXXX) && chmod +x $file && $file; status=$?; rm -f \"$file\"; exit $status"
    RESULT_VARIABLE status ERROR_QUIET)
  if(status EQUAL 0 AND room MATCHES "([0-9]+)G" AND CMAKE_MATCH_1 GREATER_EQUAL 4)
    set(ENV{TMPDIR} /dev/shm)
  endif()
endif()
