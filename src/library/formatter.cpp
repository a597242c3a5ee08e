// SPDX-License-Identifier: MIT
#include "library/formatter.h"

namespace l2vpn {

std::uint32_t format(std::uint32_t format_id, const void *record, char *buffer,
                     std::uint32_t buffer_length, const char *separator, TableFormat whole) {
    if (buffer_length == 0 || record == nullptr || buffer == nullptr || separator == nullptr)
        return L2VPN_AST_ERR;
    if (format_id == L2VPN_AST_WHOLE_RECORD)
        return whole(record, buffer, buffer_length, separator);
    return static_cast<std::uint32_t>(sprintf_s(buffer, buffer_length, "not support"));
}

} // namespace l2vpn
