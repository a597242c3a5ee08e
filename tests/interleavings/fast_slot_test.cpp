// SPDX-License-Identifier: MIT
// The fast iterator's slot, its lock and the counters, by the library's own code, in every order
// that two and three threads can make.
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

// What a thread notes.
constexpr std::size_t holds = 0;  ///< the fast handle
constexpr std::size_t failed = 1; ///< whether anything was not as it should be
constexpr std::size_t turn = 2;   ///< how far it has come

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

/// What came out, over all points.
struct Findings {
    std::uint64_t points = 0;
    std::uint64_t ends = 0;
    bool dead = false;
    bool race = false;
    bool failed = false;
    bool overrun = false;
    bool lock_left = false; ///< at an end
    bool slot_left = false; ///< at an end, though nobody holds it
    unsigned owners = 0;    ///< of the lock, at once, at most
    unsigned holders = 0;   ///< of the slot
    unsigned owners_before_overrun = 0;
    unsigned holders_before_overrun = 0;
    std::set<std::uint32_t> counts; ///< counter 5, at the ends
};

class Interleavings : public testing::TestWithParam<Writes> {
protected:
    void SetUp() override {
        std::thread([] {}).join(); // from now on the C library knows of threads
        std::memset(&block, 0, sizeof block);
        for (std::size_t i = 0; i < records.size(); ++i)
            std::memset(&records[i], static_cast<int>(0x11 * (i + 1)), sizeof records[i]);
    }

    static Findings explored(const std::vector<std::function<void()>> &threads) {
        Findings found;
        const Scenario scenario{&block, sizeof block, &block.cb.spinLock, threads, GetParam()};
        found.points = explore(scenario, [&](const Point &point) {
            unsigned holders = 0;
            for (const Notes &notes : point.notes) {
                holders += notes[holds];
                found.failed = found.failed || notes[failed] != 0;
            }
            found.dead = found.dead || point.dead;
            found.race = found.race || point.race;
            found.overrun = found.overrun || point.overrun;
            found.owners = std::max(found.owners, point.owners);
            found.holders = std::max(found.holders, holders);
            if (!point.overrun) {
                found.owners_before_overrun = std::max(found.owners_before_overrun, point.owners);
                found.holders_before_overrun = std::max(found.holders_before_overrun, holders);
            }
            if (point.end) {
                ++found.ends;
                L2vpnVplsMacpingGlbCb last;
                std::memcpy(&last, point.memory.data(), sizeof last);
                found.lock_left = found.lock_left || last.cb.spinLock != 0;
                found.slot_left = found.slot_left || (holders == 0 && last.cb.inUse != 0);
                found.counts.insert(last.cb.stat[5]);
            }
        });
        return found;
    }

    static void expect_exclusion(const Findings &found, unsigned holders = 1) {
        EXPECT_GE(found.ends, 1U);
        EXPECT_EQ(found.owners, 1U) << "two threads in the lock";
        EXPECT_EQ(found.holders, holders) << "two threads with the slot";
        EXPECT_FALSE(found.overrun);
        expect_order(found);
        EXPECT_FALSE(found.race);
        EXPECT_FALSE(found.failed) << "a key that is not the holder's, or a wrong result";
    }
    static void expect_order(const Findings &found) {
        EXPECT_FALSE(found.dead);
        EXPECT_FALSE(found.lock_left);
        EXPECT_FALSE(found.slot_left);
    }
};

std::string name_of_writes(const testing::TestParamInfo<Writes> &writes) {
    return writes.param == Writes::at_once ? "AtOnce" : "InTime";
}

INSTANTIATE_TEST_SUITE_P(Writes, Interleavings, testing::Values(Writes::at_once, Writes::in_time),
                         name_of_writes);

// From the block as it is at load, with nobody having initialised anything.
TEST_P(Interleavings, ZeroFilledLockAdmitsOneOfTwo) {
    expect_exclusion(explored({iterate, iterate}));
}

TEST_P(Interleavings, ZeroFilledLockAdmitsOneOfTwoTimeAndAgain) {
    expect_exclusion(explored({iterate_twice, iterate_twice}));
}

TEST_P(Interleavings, ZeroFilledLockAdmitsOneOfThree) {
    expect_exclusion(explored({iterate, iterate, iterate}));
}

TEST_P(Interleavings, SlotGoesToOneOfThreeThatKeepIt) {
    const Findings found = explored({create, create, create});
    expect_exclusion(found);
}

TEST_P(Interleavings, CreationMeetsRelease) {
    const Findings found = explored({iterate, create});
    expect_exclusion(found);
}

// Later calls do nothing.
TEST_P(Interleavings, InitialisedLockAdmitsOneWhileOthersInitialise) {
    block.cb.spinLockReady = 1;
    expect_exclusion(explored({iterate, iterate, initialise}));
}

// The block as a first call leaves it is the block as at load, but for the flag.
TEST_P(Interleavings, InitialisationHappensOnce) {
    const Findings found = explored({initialise, initialise, initialise});
    EXPECT_FALSE(found.race || found.dead || found.failed || found.lock_left);
    block.cb.spinLock = 1; // would be gone after another initialisation
    block.cb.spinLockReady = 1;
    EXPECT_TRUE(explored({initialise, initialise, initialise}).lock_left);
}

// The first call initialises the lock even if somebody holds it at that moment. Then, and only
// then, another one may come in beside the holder and take the slot, too.
TEST_P(Interleavings, FirstInitialisationOpensALockThatIsHeld) {
    const Findings found = explored({create, create, initialise});
    EXPECT_TRUE(found.overrun);
    EXPECT_EQ(found.owners_before_overrun, 1U);
    EXPECT_EQ(found.holders_before_overrun, 1U);
    EXPECT_EQ(found.owners, 2U);
    EXPECT_EQ(found.holders, 2U);
    EXPECT_TRUE(found.race) << "over the slot's key";
    expect_order(found);
}

TEST_P(Interleavings, InitialisationBesideOneUserHarmsNobody) {
    const Findings found = explored({iterate_twice, initialise, initialise});
    EXPECT_EQ(found.owners, 1U);
    EXPECT_EQ(found.holders, 1U);
    EXPECT_FALSE(found.race || found.failed);
    expect_order(found);
}

TEST_P(Interleavings, NoCountIsLost) {
    const auto count = [] {
        L2VPN_DB_L2vpnVplsMacpingStat(5, 1);
        expect(L2VPN_DB_L2vpnVplsMacpingGetStat(5) >= 1);
        L2VPN_DB_L2vpnVplsMacpingStat(5, 2);
    };
    const Findings found = explored({count, count, count});
    EXPECT_EQ(found.counts, std::set<std::uint32_t>{9});
    EXPECT_FALSE(found.race || found.dead || found.failed);
}

// ---- What the exploration must find ------------------------------------------------------------

TEST_P(Interleavings, UseAfterReleaseRacesWithTheNextCreation) {
    const auto misuse = [] {
        iterate();
        L2vpnVplsMacping found;
        L2VPN_DB_L2vpnVplsMacpingGetNext(fast_handle, &found);
    };
    const Findings found = explored({misuse, iterate});
    EXPECT_TRUE(found.race);
    EXPECT_TRUE(found.failed) << "another one's key was read";
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
    EXPECT_FALSE(found.dead);
}

// Two flags keep two threads apart if writes arrive at once, and only then.
TEST_P(Interleavings, WritesThatArriveInTimeDiffer) {
    const auto side = [](std::size_t own) {
        note(holds) = broken::enter(block.cb.stat[own], block.cb.stat[1 - own]) ? 1 : 0;
    };
    const Findings found = explored({[&] { side(0); }, [&] { side(1); }});
    EXPECT_EQ(found.holders, GetParam() == Writes::at_once ? 1U : 2U);
}

} // namespace
} // namespace l2vpn::interleavings
