// SPDX-License-Identifier: MIT
// Conversions between caller records and stored records.
#pragma once

#include "library/segments.h"
#include "library/table_facts.h"

namespace [[gnu::visibility("hidden")]] l2vpn {

/// A context is copied element by element, every other field as a whole.
template <class T>
constexpr void add_field(Segments<2 * field_count<T>> &segments, std::size_t i) {
    const Field &field = T::fields[i];
    const std::size_t elements = field.kind == Kind::context ? 2 : 1;
    const std::size_t width = field.width / elements;
    for (std::size_t e = 0; e < elements; ++e)
        segments.add(
            {field.offset + e * width, stored_offset<T>(i) + e * width, width, field.plain()});
}

constexpr bool is_service_field(std::string_view name) {
    return name == "svcStatus" || name == "svcErrcode" || name == "glbSvcCtx" || name == "svcCtx";
}

/// All fields in schema order, without the service fields if the table converts them separately.
template <class T>
constexpr auto record_segments() {
    Segments<2 * field_count<T>> segments;
    for (std::size_t i = 0; i < field_count<T>; ++i)
        if (!T::svc_fields_split || !is_service_field(T::fields[i].name))
            add_field<T>(segments, i);
    return segments;
}

/// The service fields: the status bytes last when packing, first when unpacking.
template <class T, Direction To>
constexpr auto service_segments() {
    Segments<2 * field_count<T>> segments;
    for (const bool plain : {To == Direction::to_caller, To == Direction::to_packed})
        for (std::size_t i = 0; i < field_count<T>; ++i)
            if (is_service_field(T::fields[i].name) && T::fields[i].plain() == plain)
                add_field<T>(segments, i);
    return segments;
}

/// The end of the run of fields from `first` on that memcpy_s writes.
template <class T>
constexpr std::size_t end_of_copied(std::size_t first) {
    while (first < field_count<T> && !T::fields[first].plain())
        ++first;
    return first;
}

/// Zeroes the fields that memcpy_s writes, because memcpy_s can fail; plain copies write all
/// others.
template <class T, std::size_t I = 0>
inline void clear_copied(char *stored) {
    constexpr std::size_t end = end_of_copied<T>(I);
    constexpr std::size_t start = stored_offset<T>(I);
    clear<stored_offset<T>(end) - start>(stored + start);
    if constexpr (end < field_count<T>)
        clear_copied<T, end + 1>(stored);
}

template <class T, Direction To>
std::uint32_t convert_service_fields(void *to, const void *from) {
    return copy_segments<To, service_segments<T, To>()>(to, from);
}

template <class T, Direction To>
std::uint32_t convert(void *to, const void *from) {
    const std::uint32_t result = copy_segments<To, record_segments<T>()>(to, from);
    if constexpr (T::svc_fields_split)
        return convert_service_fields<T, To>(to, from);
    else
        return result;
}

template <class T>
std::uint32_t set_all_fields(const typename T::Record *record, void *stored) {
    return convert<T, Direction::to_packed>(stored, record);
}

template <class T>
std::uint32_t get_all_fields(const void *stored, typename T::Record *record) {
    return convert<T, Direction::to_caller>(record, stored);
}

template <class T>
std::uint32_t set_svc_fields(const typename T::Record *record, void *stored) {
    return convert_service_fields<T, Direction::to_packed>(stored, record);
}

template <class T>
std::uint32_t get_svc_fields(const void *stored, typename T::Record *record) {
    return convert_service_fields<T, Direction::to_caller>(record, stored);
}

} // namespace l2vpn
