# vemora_warnings(TARGET): the warnings that all code of ours is clean under.
function(vemora_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic $<$<BOOL:${VEMORA_WERROR}>:-Werror>
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
endfunction()
