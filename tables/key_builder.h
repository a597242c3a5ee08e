// SPDX-License-Identifier: MIT
// Key k of a record: its identifier word, its value packed in key order, and the request for both.
#pragma once

#include <utility>

#include "frame/bytes.h"
#include "frame/requests.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

/// A run of a key's bytes that stand together in the record.
struct KeyRun {
    std::size_t record;
    std::size_t key;
    std::size_t width;
    bool plain; ///< else by memcpy_s
};

template <std::size_t Capacity>
struct KeyRuns {
    KeyRun items[Capacity]{};
    std::size_t count = 0;
};

template <class T, std::size_t K>
constexpr auto key_runs() {
    KeyRuns<T::keys[K].count> runs;
    std::size_t at = 0;
    for (std::size_t m = 0; m < T::keys[K].count; ++m) {
        const Field member = key_member<T>(K, m);
        KeyRun *last = runs.count == 0 ? nullptr : &runs.items[runs.count - 1];
        if (last != nullptr && last->plain && member.plain() &&
            last->record + last->width == member.offset)
            last->width += member.width;
        else
            runs.items[runs.count++] = {member.offset, at, member.width, member.plain()};
        at += member.width;
    }
    return runs;
}

template <KeyRun Run>
inline void copy_run(char *key, const char *record) {
    if constexpr (Run.plain)
        copy<Run.width>(key + Run.key, record + Run.record);
    else
        memcpy_s(key + Run.key, Run.width, record + Run.record, Run.width);
}

template <class T, std::size_t K>
inline void build_key(const void *record, L2vpnDbKeyData *request, std::uint32_t *key_id,
                      void *key) {
    constexpr auto runs = key_runs<T, K>();
    *key_id = key_id_word<T>(K);
    [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
        (copy_run<runs.items[I]>(static_cast<char *>(key), static_cast<const char *>(record)), ...);
    }
    (std::make_index_sequence<runs.count>{});
    request->keyId = key_id;
    request->keyIdLength = L2VPN_DB_KEY_ID_LENGTH;
    request->key = key;
    request->keyLength = key_length<T>(K);
}

/// A KeySetter; checks nothing.
template <class T, std::size_t K>
[[gnu::noinline]] void set_key(const void *record, L2vpnDbKeyData *request, std::uint32_t *key_id,
                               void *key) {
    build_key<T, K>(record, request, key_id, key);
}

} // namespace l2vpn
