# eclipse_int_warnings(TARGET): the warnings that this project keeps itself free of. Whether they are errors is the preset's.
function(eclipse_int_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wcast-qual -Wformat=2 -Wnon-virtual-dtor
    -Wold-style-cast -Woverloaded-virtual -Wundef
    # g++ 12 takes the concatenation of texts for an overlapping copy when it optimizes.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
endfunction()

# eclipse_int_uses_regex(SOURCE...): g++ 12 takes parts of std::regex for uninitialized when it compiles for the sanitizers.
function(eclipse_int_uses_regex)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "$<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>")
endfunction()
