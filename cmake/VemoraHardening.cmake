# vemora_harden(): protections against exploited memory faults, for all targets that follow. scripts/checks/hardening reads
# the binaries and checks that they are there. The presets for development and for sanitizers turn them off.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

option(VEMORA_HARDENING "Stack protector, fortified functions, RELRO, immediate binding, control-flow protection" ON)

macro(vemora_harden)
  if(VEMORA_HARDENING)
    check_pie_supported(LANGUAGES C CXX)
    add_compile_options(-fstack-protector-strong)
    set(CMAKE_REQUIRED_FLAGS -Werror)
    foreach(flag -fstack-clash-protection -fcf-protection=full -mbranch-protection=standard)
      string(MAKE_C_IDENTIFIER "VEMORA_HAS_${flag}" has_flag)
      check_cxx_compiler_flag(${flag} ${has_flag})
      if(${has_flag})
        add_compile_options(${flag})
      endif()
    endforeach()
    unset(CMAKE_REQUIRED_FLAGS)
    # Fortified functions need optimization.
    add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    if(NOT APPLE)  # Whose linker has its own, always on.
      add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
    endif()
  endif()
endmacro()
