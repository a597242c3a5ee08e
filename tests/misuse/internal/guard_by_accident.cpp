// SPDX-License-Identifier: MIT
// A word does not turn into a guard by itself.
// message: conversion from|could not convert|no viable conversion
#include "library/spin_lock.h"

void hold(std::uint32_t &lock) {
#ifdef MISTAKE
    const l2vpn::SpinGuard guard = lock;
#else
    const l2vpn::SpinGuard guard(lock);
#endif
}
