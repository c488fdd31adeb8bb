# Read by ctest. The tests write many thousands of small files: in memory, where there is room for what some of them write.
execute_process(COMMAND df --output=avail -BG /dev/shm OUTPUT_VARIABLE room ERROR_QUIET)
if(NOT DEFINED ENV{TMPDIR} AND room MATCHES "([0-9]+)G" AND CMAKE_MATCH_1 GREATER_EQUAL 4)
  set(ENV{TMPDIR} /dev/shm)
endif()
