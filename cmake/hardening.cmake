# SPDX-License-Identifier: MIT
# What the libraries and the demo are built with so that a memory error is harder to make use of;
# tests/object/ looks for it in the files.
add_library(l2vpn_hardened INTERFACE)
# As every import is bound at load, calls need no stub to bind it later.
target_compile_options(l2vpn_hardened INTERFACE -fstack-protector-strong -fno-plt)
target_link_options(l2vpn_hardened INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
# It wants an optimiser, and would hide some calls from the sanitizers.
if(NOT L2VPN_SANITIZE)
  target_compile_options(l2vpn_hardened INTERFACE
    "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
endif()

# Indirect calls go to marked places only, and returns to where the call came from. A file has that
# only if all of it is built so, which Debian's start-up files are not; the libraries run nothing at
# load and need none. The linker is to refuse anything else that is not; what a sanitizer brings may
# not be.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  # Outline atomics would bring code of the compiler's that is not, to be run at load.
  target_compile_options(l2vpn_hardened INTERFACE
    -mbranch-protection=standard -mno-outline-atomics)
  set(all_marked -Wl,-z,force-bti -Wl,--fatal-warnings)
else()
  target_compile_options(l2vpn_hardened INTERFACE -fcf-protection=full)
  set(all_marked -Wl,-z,cet-report=error)
endif()
if(L2VPN_COVERAGE)
  return() # what counts is not, and needs the start-up files
endif()
if(L2VPN_SANITIZE)
  set(all_marked)
endif()
target_link_options(l2vpn_hardened INTERFACE
  "$<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:-nostartfiles;${all_marked}>")
