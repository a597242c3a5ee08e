// SPDX-License-Identifier: MIT
// A control block whose key buffer is not the primary key's.
// message: static assertion failed.*control_block_laid_out|control_block_laid_out
#include "facts/l2vpn_stp.h"
#include "facts/l2vpn_vpls_pw.h"
#include "frame/control_block.h"

#ifdef MISTAKE
using Block = L2vpnVplsPwGlbCb;
#else
using Block = L2vpnStpGlbCb;
#endif

Block block;

struct [[gnu::visibility("hidden")]] Table : l2vpn::L2vpnStpTable {
    using ControlBlock = Block;
    static ControlBlock &control_block() {
        return block;
    }
};

std::uint32_t start() {
    return l2vpn::glb_init<Table>();
}
