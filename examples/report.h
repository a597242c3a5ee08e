// SPDX-License-Identifier: MIT
// The demo's output: headed sections of aligned columns.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "failover.h"
#include "records/record_loader.h"

namespace l2vpn::demo {

/// Numbers the sections as they come.
void print_heading(const std::string &text);

/// The number of records in each table.
void print_loaded(const std::string &path, const records::LoadResult &loaded);

/// What each VPLS instance has.
void print_instances();

/// All pseudowires of the group's instance: where they lead, what they carry.
void print_group(const L2vpnVplsPwredPg &group);

void print_withdrawn(const std::vector<L2vpnVplsVsimac> &macs);
void print_batch(const std::vector<BatchChange> &changes);

/// The records that the failover has written, as the library renders them.
void print_written(const L2vpnVplsPwredPg &group, const L2vpnVplsPw &failed);

/// Two iterations over one primary key at the same time.
void print_fast_iterator(const L2vpnVplsPwredPg &group);

/// Each MAC ping with its result, and whether the address is known now.
void print_mac_pings();

/// What the store has counted for the tables that the demo has worked on.
void print_statistics();

} // namespace l2vpn::demo
