# What makes a mistake in a program harder to use for an attack. A test reads it from the built files.

include(CheckCXXCompilerFlag)

set(hardening_compile -fstack-protector-strong)
if(WIN32)
  # DEP and address space layout randomisation with 64 bits; a relocation table is what makes the latter work.
  # mingw-w64 has no control-flow guard, and its C library no fortified calls.
  set(hardening_link -fstack-protector-strong -Wl,--nxcompat -Wl,--dynamicbase -Wl,--high-entropy-va)
else()
  # Library functions are resolved at the start, and their table is read-only from then on.
  set(hardening_link -pie -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
  list(APPEND hardening_compile -fPIE)
  check_cxx_compiler_flag(-fcf-protection=full LOFTBAY_HAS_CF_PROTECTION)
  if(LOFTBAY_HAS_CF_PROTECTION)
    list(APPEND hardening_compile -fcf-protection=full)
  endif()
  # Fortified calls need optimisation, and would hide mistakes from the sanitizers.
  set(optimised $<AND:$<CONFIG:Release,RelWithDebInfo,MinSizeRel>,$<NOT:$<BOOL:$<TARGET_PROPERTY:LOFTBAY_UNOPTIMISED>>>>)
  if(NOT LOFTBAY_SANITIZE)
    list(APPEND hardening_compile $<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>)
  endif()
endif()
target_compile_options(loftbay_options INTERFACE ${hardening_compile})
target_link_options(loftbay_options INTERFACE ${hardening_link})
