# What makes an error in the memory of a program hard to exploit: for each target, in the builds that ship.
#
# Debug builds go without, as do those with a sanitizer: it does more, and doesn't see what a checked variant of a C
# function does.
option(QAI_HARDENING "Build with the compiler's and the linker's protections" ON)
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  set(QAI_HARDENING OFF)
endif()

# Programs are linked as position-independent, too, where the compiler doesn't do it by itself.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

# qai_harden(NAME)
function(qai_harden name)
  if(NOT QAI_HARDENING)
    return()
  endif()
  if(MSVC)
    set(compile /GS /guard:cf)
    set(link /GUARD:CF /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT /CETCOMPAT)
  elseif(WIN32)
    # GCC knows no Control Flow Guard; it probes the stack by itself.
    set(compile -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
    # The guard is in a library of its own there, which the compiler names.
    set(link -fstack-protector-strong LINKER:--dynamicbase,--high-entropy-va,--nxcompat)
  else()
    # A distribution may have set the level of its own in the flags.
    set(compile -fstack-protector-strong -fstack-clash-protection -fcf-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
    set(link LINKER:-z,relro,-z,now,-z,noexecstack)
  endif()
  # The checked functions need an optimising compiler.
  set(shipped "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")
  target_compile_options(${name} PRIVATE "$<$<AND:${shipped},$<COMPILE_LANGUAGE:CXX>>:${compile}>")
  target_link_options(${name} PRIVATE "$<${shipped}:${link}>")
endfunction()
