// SPDX-License-Identifier: MIT
// Encodes and decodes a pseudowire with each serialization library in its fastest way: builders,
// messages and memory are reused.
#pragma once

#include "l2vpn_db/l2vpn_vpls_pw.h"

namespace l2vpn::bench {

void flatbuffers_round_trip(const L2vpnVplsPw &record, L2vpnVplsPw &result);
void capnproto_round_trip(const L2vpnVplsPw &record, L2vpnVplsPw &result);
void protobuf_round_trip(const L2vpnVplsPw &record, L2vpnVplsPw &result);

} // namespace l2vpn::bench
