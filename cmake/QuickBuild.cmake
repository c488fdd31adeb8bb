# What makes a build of everything take less time: headers that are compiled once, and several sources in one unit.

# GCC's form of precompiled headers cannot be cached, so a compiler launcher such as ccache excludes them.
option(ECLIPSE_INT_PRECOMPILED_HEADER "Precompile the headers that most sources include, unless a compiler launcher is set" ON)
# For builds that are made once and whole: after a change, all sources of a unit are compiled again.
option(ECLIPSE_INT_UNITY_BUILD "Compile several sources of the command and its tests as one unit" OFF)

# eclipse_int_precompiled_header(TARGET OWNER [HEADER...]): compiles TARGET with the precompiled headers of OWNER, which has the same
# flags. OWNER itself is given the HEADERs, besides those of the standard library.
function(eclipse_int_precompiled_header target owner)
  if(NOT ECLIPSE_INT_PRECOMPILED_HEADER OR CMAKE_CXX_COMPILER_LAUNCHER)
    return()
  elseif(target STREQUAL owner)
    target_precompile_headers(${target} PRIVATE
      <algorithm> <array> <filesystem> <fstream> <functional> <iostream> <map> <memory> <optional> <set> <sstream> <string>
      <string_view> <system_error> <utility> <vector> ${ARGN})
  else()
    target_precompile_headers(${target} REUSE_FROM ${owner})
  endif()
  # GCC 12 takes the move of a std::string for an access out of bounds when <string> comes from a precompiled header.
  target_compile_options(${target} PRIVATE "$<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds;-Wno-stringop-overflow>")
endfunction()

# eclipse_int_precompile_tests(DIRECTORY): lets the test programs below it share precompiled headers.
function(eclipse_int_precompile_tests directory)
  get_property(subdirectories DIRECTORY ${directory} PROPERTY SUBDIRECTORIES)
  foreach(subdirectory IN LISTS subdirectories)
    eclipse_int_precompile_tests(${subdirectory})
  endforeach()
  get_property(targets DIRECTORY ${directory} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(libraries ${target} LINK_LIBRARIES)
    if(libraries MATCHES "child_command")
      eclipse_int_precompiled_header(${target} child_command)
    elseif(libraries MATCHES "fake_host|GTest::gtest_main")
      eclipse_int_precompiled_header(${target} fake_host)
    endif()
  endforeach()
endfunction()

# eclipse_int_unity_build(TARGET): its sources must not define the same name twice in unnamed namespaces.
function(eclipse_int_unity_build target)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ${ECLIPSE_INT_UNITY_BUILD} UNITY_BUILD_BATCH_SIZE 8)
endfunction()
