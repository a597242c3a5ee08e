// SPDX-License-Identifier: MIT
// An implicit conversion from a lock word to a guard.
// message: conversion from|could not convert|no viable conversion
#include "library/spin_lock.h"

void hold(std::uint32_t &lock) {
#ifdef MISTAKE
    const l2vpn::SpinGuard guard = lock;
#else
    const l2vpn::SpinGuard guard(lock);
#endif
}
