// SPDX-License-Identifier: MIT
// Destructors of thread-local objects are registered with this address, which identifies the shared
// object. The start-up files define it, but this library is linked without them.
extern "C" {

// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the compiler's name
extern void *__dso_handle [[gnu::visibility("hidden")]];
void *__dso_handle = nullptr;

} // extern "C"
