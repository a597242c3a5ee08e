// SPDX-License-Identifier: MIT
// One table of the store: its records, its keys and its open iterators behind one lock. Requests
// have been checked before they come here. Without memory the functions throw std::bad_alloc and
// have changed nothing.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "l2vpn_db/l2vpn_db.h"
#include "platform/base/request.h"
#include "platform/simple/outcome.h"

namespace l2vpn::platform {

struct Record;

/// The records by one key. An entry is the key's value and, for a secondary key, the primary one
/// behind it: entries differ, and those with the same key stand side by side.
using Index = std::map<std::string, std::shared_ptr<Record>, std::less<>>;

struct Record {
    std::string bytes;
    std::vector<Index::iterator> entries; ///< one in each index
};

class Table {
public:
    explicit Table(const TableLayout &layout) : layout_(layout), indexes_(layout.keys.size()) {}

    [[nodiscard]] const TableLayout &layout() const { return layout_; }

    Outcome write(const L2vpnDbRecData &record);
    Outcome read(const Key &key, const L2vpnDbRecData &record);
    Outcome update(L2vpnDbModuleIntf *module, const L2vpnDbTblIntf &descriptor, const Key &key,
                   const L2vpnDbRecData &caller_record, const L2vpnDbUpdData &request);
    Outcome remove(const Key &key);
    Outcome open(const Key &key, L2vpnDbIter *&handle);
    Outcome next(const L2vpnDbIter *handle, const L2vpnDbRecData &record);
    Outcome release(const L2vpnDbIter *handle);
    Outcome count(const Key &key, std::uint32_t &result);

private:
    /// An iterator goes on behind the entry that it delivered last, wherever that is by now.
    struct Cursor {
        std::size_t index;
        std::string prefix; ///< of the entries to deliver; empty for all
        std::string last;   ///< empty before the first
        bool ended;
    };

    [[nodiscard]] std::string entry(std::size_t index, std::string_view bytes) const;
    [[nodiscard]] std::shared_ptr<Record> find(const Key &key) const;
    bool put(std::string_view bytes);
    void erase(const std::shared_ptr<Record> &record);

    const TableLayout &layout_;
    std::mutex mutex_;
    std::vector<Index> indexes_;
    std::map<const L2vpnDbIter *, Cursor> cursors_;
};

} // namespace l2vpn::platform
