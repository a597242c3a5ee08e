// SPDX-License-Identifier: MIT
// A model checker for a few threads of library calls: explores every interleaving of their accesses
// to one shared object. The code is compiled with -fsanitize=thread, which calls a hook before each
// memory access; the hooks here enter a scheduler that lets one thread at a time make one access.
// Visited states are recognised, so that the exploration terminates.
//
// A thread that spins on a word is scheduled again when the word has changed.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace l2vpn::interleavings {

enum class MemoryModel : std::uint8_t {
    sequential,        ///< sequential consistency: a store is visible immediately
    total_store_order, ///< x86-64: FIFO store buffers, drained by locked instructions
};

constexpr std::size_t max_threads = 3;
/// Bytes in which a thread records its progress; the scenario gives the indexes a meaning.
using Notes = std::array<std::uint8_t, 3>;

/// A reachable state, between two accesses.
struct State {
    bool end = false;      ///< all threads have finished and all store buffers are empty
    bool deadlock = false; ///< no thread can run
    /// A data race: the next accesses of two threads overlap, one of them writes, and at least one
    /// is not atomic.
    bool race = false;
    /// Threads that have exchanged the watched word from 0 and whose store to it is not visible
    /// yet.
    unsigned owners = 0;
    /// Whether, on this path, one thread's store to the watched word became visible while another
    /// thread owned it.
    bool overrun = false;
    std::vector<Notes> notes; ///< by thread
    std::span<const std::uint8_t> memory;
};

struct Scenario {
    void *object; ///< shared; its present contents are the initial state
    std::size_t size;
    const std::uint32_t *watched; ///< a lock in it
    std::vector<std::function<void()>> threads;
    MemoryModel memory_model = MemoryModel::sequential;
};

/// Calls `visit` once for each reachable state and restores the object.
/// @return the number of states
std::uint64_t explore(const Scenario &scenario, const std::function<void(const State &)> &visit);

/// The calling thread's index and notes. Only within a scenario.
std::size_t this_thread();
std::uint8_t &note(std::size_t name);
/// Declares that the calling thread's future depends only on its notes, one of which counts how
/// often it has been here. Merges the states that differ in its history only.
void forget();

} // namespace l2vpn::interleavings
