// SPDX-License-Identifier: MIT
// Checked calls: every result code is looked at, and every iterator is released.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "l2vpn_db/l2vpn_db.h"

namespace l2vpn::demo {

/// A call failed; what() says which, on what, and with which result.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// @param what  the call and its object: "write of pseudowire 10001 in VR 1"
void check(std::uint32_t result, const std::string &what);

/// Whether GetNext has said that there are no more records: the fast iterator and the store's
/// iterators say so with codes of their own.
bool is_end(std::uint32_t result);

using Iterator = std::unique_ptr<L2vpnDbIter, std::uint32_t (*)(L2vpnDbIter *)>;

/// Takes charge of a handle that a Create...Iter function has returned.
Iterator opened(L2vpnDbIter *handle, std::uint32_t (*release)(L2vpnDbIter *),
                const std::string &what);

/// Releases the handle and checks the result.
void release(Iterator iterator, const std::string &what);

/// All records that an iterator delivers, in the store's order.
template <class Record>
std::vector<Record> records(L2vpnDbIter *handle, std::uint32_t (*get_next)(L2vpnDbIter *, Record *),
                            std::uint32_t (*release_iter)(L2vpnDbIter *), const std::string &what) {
    Iterator iterator = opened(handle, release_iter, what);
    std::vector<Record> result;
    Record record{};
    std::uint32_t code = get_next(iterator.get(), &record);
    for (; code == L2VPN_DB_OK; code = get_next(iterator.get(), &record)) {
        result.push_back(record);
    }
    if (!is_end(code)) {
        check(code, "next of " + what);
    }
    release(std::move(iterator), what);
    return result;
}

/// The number of records with the same key as the given one.
template <class Record>
std::uint32_t count(std::uint32_t (*count_by_key)(const Record *, std::uint32_t *),
                    const Record &key, const std::string &what) {
    std::uint32_t result = 0;
    check(count_by_key(&key, &result), "count of " + what);
    return result;
}

} // namespace l2vpn::demo
