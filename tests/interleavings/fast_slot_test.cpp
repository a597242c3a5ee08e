// SPDX-License-Identifier: MIT
// The library's own fast iterator, spin lock and counters under every interleaving of two and three
// threads.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <thread>

#include "tests/interleavings/calls.h"

namespace l2vpn::interleavings {
namespace {

L2vpnVplsMacpingGlbCb &block = g_l2vpnL2vpnVplsMacpingGlbCb;

L2vpnDbIter *const fast_handle = reinterpret_cast<L2vpnDbIter *>(&block);

// Indexes of a thread's notes.
constexpr std::size_t holds = 0;  ///< whether it holds the fast handle
constexpr std::size_t failed = 1; ///< whether an expectation failed
constexpr std::size_t turn = 2;   ///< progress

void expect(bool right) {
    note(failed) |= right ? 0 : 1;
}

void create() {
    L2vpnDbIter *const iterator =
        L2VPN_DB_L2vpnVplsMacpingCreateFastPriIter(&records[this_thread()]);
    expect(iterator != nullptr);
    note(holds) = iterator == fast_handle;
    ++note(turn);
    forget();
}

void read_and_release() {
    if (note(holds) == 0)
        return;
    L2vpnVplsMacping found;
    expect(L2VPN_DB_L2vpnVplsMacpingGetNext(fast_handle, &found) == L2VPN_DB_OK);
    expect(L2VPN_DB_L2vpnVplsMacpingGetNext(fast_handle, &found) == L2VPN_DB_NO_MORE);
    note(holds) = 0;
    expect(L2VPN_DB_L2vpnVplsMacpingReleaseIter(fast_handle) == L2VPN_DB_OK);
}

void iterate() {
    create();
    read_and_release();
}

void iterate_twice() {
    iterate();
    ++note(turn);
    forget();
    iterate();
}

void initialise() {
    expect(L2VPN_DB_L2vpnVplsMacpingGlbInit() == L2VPN_DB_OK);
}

/// Summary over all states.
struct Findings {
    std::uint64_t states = 0;
    std::uint64_t ends = 0;
    bool deadlock = false;
    bool race = false;
    bool failed = false;
    bool overrun = false;
    bool lock_leaked = false; ///< held at an end
    bool slot_leaked = false; ///< in use at an end, without a holder
    unsigned owners = 0;      ///< of the lock; maximum at one time
    unsigned holders = 0;     ///< of the slot; maximum at one time
    unsigned owners_before_overrun = 0;
    unsigned holders_before_overrun = 0;
    std::set<std::uint32_t> counts; ///< counter 5, at the ends
};

class Interleavings : public testing::TestWithParam<MemoryModel> {
protected:
    void SetUp() override {
        std::thread([] {}).join(); // the C library takes its multi-threaded paths from here on
        std::memset(&block, 0, sizeof block);
        for (std::size_t i = 0; i < records.size(); ++i)
            std::memset(&records[i], static_cast<int>(0x11 * (i + 1)), sizeof records[i]);
    }

    static Findings explored(const std::vector<std::function<void()>> &threads) {
        Findings found;
        const Scenario scenario{&block, sizeof block, &block.cb.spinLock, threads, GetParam()};
        found.states = explore(scenario, [&](const State &state) {
            unsigned holders = 0;
            for (const Notes &notes : state.notes) {
                holders += notes[holds];
                found.failed = found.failed || notes[failed] != 0;
            }
            found.deadlock = found.deadlock || state.deadlock;
            found.race = found.race || state.race;
            found.overrun = found.overrun || state.overrun;
            found.owners = std::max(found.owners, state.owners);
            found.holders = std::max(found.holders, holders);
            if (!state.overrun) {
                found.owners_before_overrun = std::max(found.owners_before_overrun, state.owners);
                found.holders_before_overrun = std::max(found.holders_before_overrun, holders);
            }
            if (state.end) {
                ++found.ends;
                L2vpnVplsMacpingGlbCb last;
                std::memcpy(&last, state.memory.data(), sizeof last);
                found.lock_leaked = found.lock_leaked || last.cb.spinLock != 0;
                found.slot_leaked = found.slot_leaked || (holders == 0 && last.cb.inUse != 0);
                found.counts.insert(last.cb.stat[5]);
            }
        });
        return found;
    }

    static void expect_exclusion(const Findings &found, unsigned holders = 1) {
        EXPECT_GE(found.ends, 1U);
        EXPECT_EQ(found.owners, 1U) << "two threads own the lock";
        EXPECT_EQ(found.holders, holders) << "two threads hold the slot";
        EXPECT_FALSE(found.overrun);
        expect_clean_end(found);
        EXPECT_FALSE(found.race);
        EXPECT_FALSE(found.failed) << "another thread's key, or a wrong result";
    }
    static void expect_clean_end(const Findings &found) {
        EXPECT_FALSE(found.deadlock);
        EXPECT_FALSE(found.lock_leaked);
        EXPECT_FALSE(found.slot_leaked);
    }
};

std::string model_name(const testing::TestParamInfo<MemoryModel> &model) {
    return model.param == MemoryModel::sequential ? "Sequential" : "TotalStoreOrder";
}

INSTANTIATE_TEST_SUITE_P(Models, Interleavings,
                         testing::Values(MemoryModel::sequential, MemoryModel::total_store_order),
                         model_name);

// The initial state is the zero-filled block of a freshly loaded library.
TEST_P(Interleavings, ZeroFilledLockAdmitsOneOfTwo) {
    expect_exclusion(explored({iterate, iterate}));
}

TEST_P(Interleavings, ZeroFilledLockAdmitsOneOfTwoRepeatedly) {
    expect_exclusion(explored({iterate_twice, iterate_twice}));
}

TEST_P(Interleavings, ZeroFilledLockAdmitsOneOfThree) {
    expect_exclusion(explored({iterate, iterate, iterate}));
}

TEST_P(Interleavings, OneOfThreeCreatorsGetsTheSlot) {
    const Findings found = explored({create, create, create});
    expect_exclusion(found);
}

TEST_P(Interleavings, CreationIsSafeDuringRelease) {
    const Findings found = explored({iterate, create});
    expect_exclusion(found);
}

// GlbInit does nothing after the first call.
TEST_P(Interleavings, InitialisedLockAdmitsOneWhileOthersInitialise) {
    block.cb.spinLockReady = 1;
    expect_exclusion(explored({iterate, iterate, initialise}));
}

// The first GlbInit changes nothing but the flag.
TEST_P(Interleavings, InitialisationHappensOnce) {
    const Findings found = explored({initialise, initialise, initialise});
    EXPECT_FALSE(found.race || found.deadlock || found.failed || found.lock_leaked);
    block.cb.spinLock = 1; // a second initialisation would clear it
    block.cb.spinLockReady = 1;
    EXPECT_TRUE(explored({initialise, initialise, initialise}).lock_leaked);
}

// The first GlbInit initialises the lock even if a thread holds it. Only then can a second thread
// enter and take the slot, too.
TEST_P(Interleavings, FirstInitialisationReleasesAHeldLock) {
    const Findings found = explored({create, create, initialise});
    EXPECT_TRUE(found.overrun);
    EXPECT_EQ(found.owners_before_overrun, 1U);
    EXPECT_EQ(found.holders_before_overrun, 1U);
    EXPECT_EQ(found.owners, 2U);
    EXPECT_EQ(found.holders, 2U);
    EXPECT_TRUE(found.race) << "on the slot's key";
    expect_clean_end(found);
}

TEST_P(Interleavings, InitialisationDuringOneUseIsSafe) {
    const Findings found = explored({iterate_twice, initialise, initialise});
    EXPECT_EQ(found.owners, 1U);
    EXPECT_EQ(found.holders, 1U);
    EXPECT_FALSE(found.race || found.failed);
    expect_clean_end(found);
}

TEST_P(Interleavings, CountersLoseNoIncrement) {
    const auto count = [] {
        L2VPN_DB_L2vpnVplsMacpingStat(5, 1);
        expect(L2VPN_DB_L2vpnVplsMacpingGetStat(5) >= 1);
        L2VPN_DB_L2vpnVplsMacpingStat(5, 2);
    };
    const Findings found = explored({count, count, count});
    EXPECT_EQ(found.counts, std::set<std::uint32_t>{9});
    EXPECT_FALSE(found.race || found.deadlock || found.failed);
}

// ---- Faults that the exploration must find -----------------------------------------------------

TEST_P(Interleavings, UseAfterReleaseRacesWithTheNextCreation) {
    const auto misuse = [] {
        iterate();
        L2vpnVplsMacping found;
        L2VPN_DB_L2vpnVplsMacpingGetNext(fast_handle, &found);
    };
    const Findings found = explored({misuse, iterate});
    EXPECT_TRUE(found.race);
    EXPECT_TRUE(found.failed) << "another thread's key was read";
}

TEST_P(Interleavings, BrokenLocksAreFound) {
    const auto enter = [] {
        broken::lock(block.cb.spinLock);
        note(holds) = 1;
        L2VPN_DB_L2vpnVplsMacpingSetPrimaryKey(&records[this_thread()], &block.cb.keyRequest,
                                               block.keyId, block.key);
        note(holds) = 0;
        broken::unlock(block.cb.spinLock);
    };
    const Findings found = explored({enter, enter});
    EXPECT_EQ(found.holders, 2U);
    EXPECT_TRUE(found.race);
    EXPECT_FALSE(found.deadlock);
}

// Two flags without a fence exclude two threads under sequential consistency only.
TEST_P(Interleavings, StoreBuffersBreakFencelessFlags) {
    const auto side = [](std::size_t own) {
        note(holds) = broken::enter(block.cb.stat[own], block.cb.stat[1 - own]) ? 1 : 0;
    };
    const Findings found = explored({[&] { side(0); }, [&] { side(1); }});
    EXPECT_EQ(found.holders, GetParam() == MemoryModel::sequential ? 1U : 2U);
}

} // namespace
} // namespace l2vpn::interleavings
