// SPDX-License-Identifier: MIT
// The record object of the embedded platform: a stored record, its table, the function that
// releases the memory, and a note of the changes since the store has filled it.
#pragma once

#include "platform/store/record_object_functions.h"
#include "platform/store/services.h"
#include "platform/store/shared_words.h"

struct L2vpnDbRecObj {
    enum class Changed { nothing, batch_version, everything };

    const l2vpn::platform::TableLayout *table;
    L2vpnStoreReleaseFn release;
    Changed changed;

    /// The stored record, after the structure.
    char *bytes() { return reinterpret_cast<char *>(this + 1); }

    /// Replaces all fields that have not been changed by those of a stored record.
    void merge(const l2vpn::platform::Word *stored) {
        if (changed == Changed::everything)
            return;
        std::uint32_t batch_version = 0;
        char *const field = bytes() + table->batch_version_offset;
        if (changed == Changed::batch_version)
            std::memcpy(&batch_version, field, sizeof batch_version);
        l2vpn::platform::copy_out(bytes(), stored, table->stored_length);
        if (changed == Changed::batch_version)
            std::memcpy(field, &batch_version, sizeof batch_version);
    }
};
