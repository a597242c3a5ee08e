// SPDX-License-Identifier: MIT
// A pseudowire encoded and decoded again, as each library's users would do it where it has to be
// fast: whatever can be used again is.
#pragma once

#include "l2vpn_db/l2vpn_vpls_pw.h"

namespace l2vpn::bench {

void flatbuffers_round_trip(const L2vpnVplsPw &record, L2vpnVplsPw &result);
void capnproto_round_trip(const L2vpnVplsPw &record, L2vpnVplsPw &result);
void protobuf_round_trip(const L2vpnVplsPw &record, L2vpnVplsPw &result);

} // namespace l2vpn::bench
