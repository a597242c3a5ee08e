// SPDX-License-Identifier: MIT
// A mock platform: stores nothing, records every call of the library with deep copies of its
// requests, and returns the results set by the test.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "l2vpn_db/platform.h"
#include "tests/support/facts.h"

namespace l2vpn::test {

enum class Op : std::uint8_t {
    write,
    read,
    update,
    remove,
    create_iterator,
    create_iterator_by_key,
    get_next_entry,
    release_iterator,
    count,
    count_by_key,
};

struct KeyCopy {
    const L2vpnDbKeyData *address = nullptr;
    L2vpnDbKeyData request{};
    Bytes id;    ///< the identifier area; empty if its address is null
    Bytes value; ///< the key; empty if its address is null
};

struct RecordCopy {
    L2vpnDbRecData request{};
    Bytes bytes; ///< on entry
};

struct UpdateCopy {
    L2vpnDbUpdData request{};
    std::vector<std::uint32_t> ids;
};

struct StoreCall {
    Op op{};
    L2vpnDbModuleIntf *module = nullptr;
    L2vpnDbTblIntf *table = nullptr;
    std::optional<KeyCopy> key;
    std::optional<RecordCopy> record;
    std::optional<UpdateCopy> update;
    L2vpnDbIter *iterator = nullptr;
    std::uint32_t *count = nullptr;
};

struct CopyCall {
    void *destination;
    std::size_t size;
    const void *source;
    std::size_t count;
};

struct PrintCall {
    char *destination;
    std::size_t size;
    std::string format;
};

struct AddCall {
    std::uint32_t *counter;
    std::uint32_t amount;
};

enum class ObjectOp : std::uint8_t { create, release, reset, set_all_fields, set_batch_version };

struct ObjectCall {
    ObjectOp op;
    std::string table;
    const void *object;
    std::uint32_t value = 0;
};

/// The programmed results and the recorded calls. Any thread may make calls; a test reads the
/// records after the calls have returned.
struct RecordingPlatform {
    // ---- programmed results
    std::uint32_t result = 0;           ///< of every store call that returns a result code
    L2vpnDbIter *iterator = nullptr;    ///< of the calls that create an iterator
    std::optional<std::uint32_t> count; ///< written through the count pointer
    Bytes delivered;                    ///< written to the record of Read and GetNextEntry, even
                                        ///< if `result` is an error
    std::function<void(const StoreCall &)> during_call; ///< runs inside every store call
    /// Runs inside Update with the caller's requests and returns the store's result.
    std::function<std::uint32_t(const L2vpnDbRecData *, const L2vpnDbUpdData *)> during_update;
    std::vector<std::uint32_t> setter_results; ///< of the record-object setter calls; then 0
    std::function<void()> during_copy;         ///< runs inside every memcpy_s, before it copies
    std::map<std::size_t, int>
        copy_failures; ///< results of the n-th memcpy_s, which copies nothing
    /// Results of the n-th sprintf_s, which stores "" if the result is an error and leaves the
    /// buffer unchanged otherwise.
    std::map<std::size_t, int> print_results;

    // ---- records
    std::vector<StoreCall> calls;
    std::vector<CopyCall> copies;
    std::vector<PrintCall> prints;
    std::vector<AddCall> adds;
    std::vector<ObjectCall> objects;

    /// The descriptor that store calls must name.
    const L2vpnDbTblIntf *table = nullptr;
};

/// The process's only instance.
RecordingPlatform &platform();

/// Clears all calls and results.
void reset_platform();

} // namespace l2vpn::test
