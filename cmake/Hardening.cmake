# Compiler and linker hardening; scripts/check-elf checks the installed files for it.
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER "WEVORA_HAS${flag}" known)
  check_cxx_compiler_flag(${flag} ${known})  # -fcf-protection is x86 only
  if(${known})
    target_compile_options(wevora_options INTERFACE ${flag})
  endif()
endforeach()
# _FORTIFY_SOURCE needs optimization.
target_compile_options(wevora_options INTERFACE
  $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
  $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
target_link_options(wevora_options INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack
  $<$<CONFIG:Release>:-s>)
