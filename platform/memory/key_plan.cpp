// SPDX-License-Identifier: MIT
#include "platform/memory/key_plan.h"

namespace l2vpn::platform {

std::size_t max_pieces(const KeyLayout &key) {
    std::size_t count = 0;
    for (const KeyMember &member : key.members)
        count += words_for(member.width);
    return count;
}

std::size_t make_pieces(const KeyLayout &key, KeyPiece *pieces) {
    std::size_t count = 0;
    std::uint32_t at = 0;
    for (const KeyMember &member : key.members)
        for (std::uint32_t done = 0; done < member.width; ++done, ++at) {
            const std::uint32_t offset = member.offset + done;
            KeyPiece *const last = count == 0 ? nullptr : &pieces[count - 1];
            if (last != nullptr && last->record + last->count == offset &&
                last->count < sizeof(Word))
                ++last->count;
            else
                pieces[count++] = {0, offset, at, 1};
        }
    for (std::size_t i = 0; i < count; ++i)
        pieces[i].mask = ~Word{0} >> (64 - 8 * pieces[i].count);
    return count;
}

namespace {

/// Multiplies to 128 bits and folds, so that every input bit reaches every output bit.
Word mix(Word a, Word b) {
    __extension__ using Wide = unsigned __int128;
    const Wide product = Wide{a} * b;
    return static_cast<Word>(product) ^ static_cast<Word>(product >> 64);
}

} // namespace

Hash hash_key(const void *key, std::size_t length) {
    constexpr Word odd1 = 0x9E3779B97F4A7C15, odd2 = 0xD1B54A32D192ED03; // from the golden ratio
    const char *at = static_cast<const char *>(key);
    Word hash = odd1 ^ length;
    std::size_t left = length;
    for (; left > sizeof(Word); left -= sizeof(Word), at += sizeof(Word))
        hash = mix(hash ^ load_bytes(at, sizeof(Word)), odd2);
    // The last piece may overlap the one before it.
    const Word last = length >= sizeof(Word) ? load_bytes(at + left - sizeof(Word), sizeof(Word))
                                             : load_bytes(at, left);
    return static_cast<Hash>(mix(hash ^ last, odd1) >> 32);
}

} // namespace l2vpn::platform
