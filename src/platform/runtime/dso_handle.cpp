// SPDX-License-Identifier: MIT
// Destructors of thread-local objects are registered with an address that says whose they are. The
// start-up files, which this library is linked without, would bring it.
extern "C" {

// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the compiler's name
extern void *__dso_handle [[gnu::visibility("hidden")]];
void *__dso_handle = nullptr;

} // extern "C"
