// SPDX-License-Identifier: MIT
// A table whose control block belongs to another table.
// message: static assertion failed.*control_block_laid_out|control_block_laid_out
#include "facts/l2vpn_stp.h"
#include "facts/l2vpn_vpls_pw.h"
#include "library/make_table_info.h"

#ifdef MISTAKE
using Block = L2vpnVplsPwGlbCb;
#else
using Block = L2vpnStpGlbCb;
#endif

Block block;

struct [[gnu::visibility("hidden")]] Table : l2vpn::L2vpnStpTable {
    using ControlBlock = Block;
    static constexpr ControlBlock &control_block() {
        return block;
    }
};

l2vpn::TableInfo access() {
    return l2vpn::make_table_info<Table>();
}
