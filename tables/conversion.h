// SPDX-License-Identifier: MIT
// Caller record to stored record and back: a list of moves, made and merged at compile time, runs
// as straight-line code.
#pragma once

#include <utility>

#include "frame/bytes.h"
#include "l2vpn_db/platform.h"
#include "schema/facts.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

enum class Direction { to_stored, to_caller };

struct Move {
    std::size_t caller;
    std::size_t stored;
    std::size_t width;
    bool plain; ///< else by memcpy_s
};

template <std::size_t Capacity>
struct Moves {
    Move items[Capacity]{};
    std::size_t count = 0;

    /// Plain bytes that continue the move before them, in both layouts, join it.
    constexpr void add(const Move &move) {
        Move *last = count == 0 ? nullptr : &items[count - 1];
        if (last != nullptr && last->plain && move.plain &&
            last->caller + last->width == move.caller && last->stored + last->width == move.stored)
            last->width += move.width;
        else
            items[count++] = move;
    }
};

/// A context is copied element by element, every other field as a whole.
template <class T>
constexpr void add_field(Moves<2 * field_count<T>> &moves, std::size_t i) {
    const Field &field = T::fields[i];
    const std::size_t elements = field.kind == Kind::context ? 2 : 1;
    const std::size_t width = field.width / elements;
    for (std::size_t e = 0; e < elements; ++e)
        moves.add(
            {field.offset + e * width, stored_offset<T>(i) + e * width, width, field.plain()});
}

constexpr bool is_service_field(std::string_view name) {
    return name == "svcStatus" || name == "svcErrcode" || name == "glbSvcCtx" || name == "svcCtx";
}

/// The moves of all fields in schema order, without the service fields where those have
/// conversions of their own.
template <class T>
constexpr auto record_moves() {
    Moves<2 * field_count<T>> moves;
    for (std::size_t i = 0; i < field_count<T>; ++i)
        if (!T::svc_fields_split || !is_service_field(T::fields[i].name))
            add_field<T>(moves, i);
    return moves;
}

/// The moves of the service fields: the status bytes come last on the way to the stored record and
/// first on the way back.
template <class T, Direction To>
constexpr auto service_moves() {
    Moves<2 * field_count<T>> moves;
    for (const bool plain : {To == Direction::to_caller, To == Direction::to_stored})
        for (std::size_t i = 0; i < field_count<T>; ++i)
            if (is_service_field(T::fields[i].name) && T::fields[i].plain() == plain)
                add_field<T>(moves, i);
    return moves;
}

/// The end of the fields from `first` on that memcpy_s writes, one after the other.
template <class T>
constexpr std::size_t end_of_copied(std::size_t first) {
    while (first < field_count<T> && !T::fields[first].plain())
        ++first;
    return first;
}

/// Clears what memcpy_s, which may refuse, is to write; the moves leave nothing as it was.
template <class T, std::size_t I = 0>
inline void clear_copied(char *stored) {
    constexpr std::size_t end = end_of_copied<T>(I);
    constexpr std::size_t start = stored_offset<T>(I);
    clear<stored_offset<T>(end) - start>(stored + start);
    if constexpr (end < field_count<T>)
        clear_copied<T, end + 1>(stored);
}

template <Direction To, Move Step>
inline void run_step(char *to, const char *from, std::uint32_t &result) {
    constexpr bool storing = To == Direction::to_stored;
    to += storing ? Step.stored : Step.caller;
    from += storing ? Step.caller : Step.stored;
    if constexpr (Step.plain)
        copy<Step.width>(to, from);
    else
        result = static_cast<std::uint32_t>(memcpy_s(to, Step.width, from, Step.width));
}

/// Makes the moves; the result of the last memcpy_s, 0 without one.
template <Direction To, auto List>
inline std::uint32_t run(void *to, const void *from) {
    std::uint32_t result = 0;
    [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
        (run_step<To, List.items[I]>(static_cast<char *>(to), static_cast<const char *>(from),
                                     result),
         ...);
    }
    (std::make_index_sequence<List.count>{});
    return result;
}

template <class T, Direction To>
std::uint32_t convert_service_fields(void *to, const void *from) {
    return run<To, service_moves<T, To>()>(to, from);
}

template <class T, Direction To>
std::uint32_t convert(void *to, const void *from) {
    const std::uint32_t result = run<To, record_moves<T>()>(to, from);
    if constexpr (T::svc_fields_split)
        return convert_service_fields<T, To>(to, from);
    else
        return result;
}

template <class T>
std::uint32_t set_all_fields(const typename T::Record *record, void *stored) {
    return convert<T, Direction::to_stored>(stored, record);
}

template <class T>
std::uint32_t get_all_fields(const void *stored, typename T::Record *record) {
    return convert<T, Direction::to_caller>(record, stored);
}

template <class T>
std::uint32_t set_svc_fields(const typename T::Record *record, void *stored) {
    return convert_service_fields<T, Direction::to_stored>(stored, record);
}

template <class T>
std::uint32_t get_svc_fields(const void *stored, typename T::Record *record) {
    return convert_service_fields<T, Direction::to_caller>(record, stored);
}

} // namespace l2vpn
