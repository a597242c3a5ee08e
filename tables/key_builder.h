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

/// Copies the runs that are plain, or the others.
template <class T, std::size_t K, bool Plain>
inline void copy_runs(char *key, const char *record) {
    constexpr auto runs = key_runs<T, K>();
    [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
        (
            [&] {
                constexpr KeyRun run = runs.items[I];
                if constexpr (run.plain && Plain)
                    copy<run.width>(key + run.key, record + run.record);
                else if constexpr (!run.plain && !Plain)
                    memcpy_s(key + run.key, run.width, record + run.record, run.width);
            }(),
            ...);
    }
    (std::make_index_sequence<runs.count>{});
}

/// The calls come last, so that nothing has to be kept for what follows them.
template <class T, std::size_t K>
inline void build_key(const void *record, L2vpnDbKeyData *request, std::uint32_t *key_id,
                      void *key) {
    *key_id = key_id_word<T>(K);
    request->keyId = key_id;
    request->keyIdLength = L2VPN_DB_KEY_ID_LENGTH;
    request->key = key;
    request->keyLength = key_length<T>(K);
    copy_runs<T, K, true>(static_cast<char *>(key), static_cast<const char *>(record));
    copy_runs<T, K, false>(static_cast<char *>(key), static_cast<const char *>(record));
}

/// A KeySetter; checks nothing.
template <class T, std::size_t K>
[[gnu::noinline]] void set_key(const void *record, L2vpnDbKeyData *request, std::uint32_t *key_id,
                               void *key) {
    build_key<T, K>(record, request, key_id, key);
}

} // namespace l2vpn
