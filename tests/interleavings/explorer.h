// SPDX-License-Identifier: MIT
// Runs a few threads of calls in every order that there is. The calls' code is compiled for
// ThreadSanitizer, which has it announce each access to memory; here those announcements lead not
// to a sanitizer but to a scheduler, which lets one thread at a time make one access to the shared
// object. Points from which everything has been tried are recognised, so that the threads' loops
// end.
//
// A thread that waits for a word to change, by loading it again and again, is let on when it has.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace l2vpn::interleavings {

/// When a thread's writes reach the others.
enum class Writes : std::uint8_t {
    at_once,
    /// As on x86-64: after a while, in order; locked instructions wait for those before them.
    in_time,
};

constexpr std::size_t max_threads = 3;
/// What a thread tells about itself, by names of its own.
using Notes = std::array<std::uint8_t, 3>;

/// A point that was reached: between two accesses.
struct Point {
    bool end = false;  ///< all threads have finished and all writes have arrived
    bool dead = false; ///< nobody can go on
    /// Two threads are about to access the same bytes, one of them writes, and not both access is
    /// atomic: a data race.
    bool race = false;
    /// Threads that have exchanged the watched word from 0 and whose store to it has not arrived.
    unsigned owners = 0;
    /// Whether, on the way, a thread's store to the watched word arrived while another owned it.
    bool overrun = false;
    std::vector<Notes> notes; ///< by thread
    std::span<const std::uint8_t> memory;
};

struct Scenario {
    void *object; ///< shared; as it is now, the threads find it
    std::size_t size;
    const std::uint32_t *watched; ///< a lock in it
    std::vector<std::function<void()>> threads;
    Writes writes = Writes::at_once;
};

/// Calls `visit` for each point that can be reached; their number. The object is then as it was.
std::uint64_t explore(const Scenario &scenario, const std::function<void(const Point &)> &visit);

/// In a thread of a scenario: its number and its notes.
std::size_t this_thread();
std::uint8_t &note(std::size_t name);
/// Tells that what the thread does from here on depends on its notes alone, one of which says how
/// often it has been here. What led here need not be told apart then.
void forget();

} // namespace l2vpn::interleavings
