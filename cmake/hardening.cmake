# SPDX-License-Identifier: MIT
# Mitigations against memory errors, for the libraries and programs; tests/object/ verifies them.
add_library(l2vpn_hardened INTERFACE)
# All imports are bound at load time, so calls need no PLT.
target_compile_options(l2vpn_hardened INTERFACE -fstack-protector-strong -fno-plt)
target_link_options(l2vpn_hardened INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
# _FORTIFY_SOURCE needs optimisation, and hides some calls from the sanitizers.
if(NOT L2VPN_SANITIZE)
  target_compile_options(l2vpn_hardened INTERFACE
    "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
endif()

# Branch targets are marked and return addresses protected. This is effective only if every object of
# a file is built so. Debian's start-up files are not, and the libraries do without them. The linker
# rejects any other unmarked object, except those of the sanitizers.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  # Outline atomics would link unmarked code of the compiler, which runs at load time.
  target_compile_options(l2vpn_hardened INTERFACE
    -mbranch-protection=standard -mno-outline-atomics)
  set(all_marked -Wl,-z,force-bti -Wl,--fatal-warnings)
else()
  target_compile_options(l2vpn_hardened INTERFACE -fcf-protection=full)
  set(all_marked -Wl,-z,cet-report=error)
endif()
if(L2VPN_COVERAGE)
  return() # the coverage run-time library is not marked and needs the start-up files
endif()
if(L2VPN_SANITIZE)
  set(all_marked)
endif()
target_link_options(l2vpn_hardened INTERFACE
  "$<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:-nostartfiles;${all_marked}>")
