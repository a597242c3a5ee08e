// SPDX-License-Identifier: MIT
// A setter that runs an action of the test.
#pragma once

#include <functional>

#include "l2vpn_db/l2vpn_db.h"

namespace l2vpn::test {

/// Gets the record object and returns the setter's result.
using SetterAction = std::function<std::uint32_t(L2vpnDbRecObj *)>;

/// Installs an action as this thread's setter while in scope. The destructor restores the previous
/// one, because a setter may update a record, too.
class ChosenSetter {
public:
    explicit ChosenSetter(const SetterAction &action) : previous_(current) { current = &action; }
    ~ChosenSetter() { current = previous_; }
    ChosenSetter(const ChosenSetter &) = delete;
    ChosenSetter &operator=(const ChosenSetter &) = delete;

    static std::uint32_t run(L2vpnDbRecObj *object) { return (*current)(object); }

private:
    static inline constinit thread_local const SetterAction *current = nullptr;

    const SetterAction *previous_;
};

inline std::uint32_t run_setter(const L2vpnDbRecData * /*record*/, L2vpnDbRecObj *object,
                                const std::uint32_t * /*ids*/, std::uint32_t /*id_count*/) {
    return ChosenSetter::run(object);
}

} // namespace l2vpn::test
