// SPDX-License-Identifier: MIT
// Builds a key of a record: its identifier word, its value packed in key order, and the request.
#pragma once

#include "library/segments.h"
#include "library/store_requests.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

/// The members of key K that are plain, or those that are not, so that memcpy_s can come last.
template <class T, std::size_t K, bool Plain>
constexpr auto key_segments() {
    Segments<T::keys[K].count> segments;
    std::size_t at = 0;
    for (std::size_t m = 0; m < T::keys[K].count; ++m) {
        const Field member = key_member<T>(K, m);
        if (member.plain() == Plain)
            segments.add({member.offset, at, member.width, Plain});
        at += member.width;
    }
    return segments;
}

/// The calls of memcpy_s come last, so that no register must be saved across them.
template <class T, std::size_t K>
inline void build_key(const void *record, L2vpnDbKeyData *request, std::uint32_t *key_id,
                      void *key) {
    *key_id = key_id_word<T>(K);
    request->keyId = key_id;
    request->keyIdLength = L2VPN_DB_KEY_ID_LENGTH;
    request->key = key;
    request->keyLength = key_length<T>(K);
    copy_segments<Direction::to_packed, key_segments<T, K, true>()>(key, record);
    copy_segments<Direction::to_packed, key_segments<T, K, false>()>(key, record);
}

/// A BuildKeyFn. Checks nothing.
template <class T, std::size_t K>
[[gnu::noinline]] void build_key_out_of_line(const void *record, L2vpnDbKeyData *request,
                                             std::uint32_t *key_id, void *key) {
    build_key<T, K>(record, request, key_id, key);
}

} // namespace l2vpn
