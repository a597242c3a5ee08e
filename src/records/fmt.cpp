// SPDX-License-Identifier: MIT
// Compiles fmt once. Debian installs its library for one architecture at a time, and header-only
// use would compile it into every file that prints.
#include <fmt/format-inl.h>

namespace fmt::detail {

template auto thousands_sep_impl(locale_ref) -> thousands_sep_result<char>;
template auto decimal_point_impl(locale_ref) -> char;

} // namespace fmt::detail
