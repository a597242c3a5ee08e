// SPDX-License-Identifier: MIT
// fmt, compiled here once: Debian has its library for one processor at a time, and its headers
// alone would compile all of it into every file that prints.
#include <fmt/format-inl.h>

namespace fmt::detail {

template auto thousands_sep_impl(locale_ref) -> thousands_sep_result<char>;
template auto decimal_point_impl(locale_ref) -> char;

} // namespace fmt::detail
