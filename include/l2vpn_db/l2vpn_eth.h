/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_eth.toml by ./dev generate. */
/**
 * @file l2vpn_eth.h
 * State of one VLAN on one interface; its only key is not called primary.
 *
 * This table has no typed access: its records can only be described and formatted.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_ETH_H
#define L2VPN_DB_L2VPN_ETH_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/** Caller record, 12 bytes. */
typedef struct L2vpnEth {
    uint32_t ifIndex; /**< Field 0 at 0: interface index. */
    uint16_t vlanId;  /**< Field 1 at 4: VLAN id. */
    uint8_t state;    /**< Field 2 at 6: state. */
    uint8_t res;      /**< Field 3 at 7: reserved. */
    uint32_t vrId;    /**< Field 4 at 8: virtual router id. */
} L2vpnEth;

static_assert(sizeof(L2vpnEth) == 12, "l2vpn_eth: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_ETH_FIELD_ifIndex = 0,
    L2VPN_ETH_FIELD_vlanId = 1,
    L2VPN_ETH_FIELD_state = 2,
    L2VPN_ETH_FIELD_res = 3,
    L2VPN_ETH_FIELD_vrId = 4
};

/** Key indexes. */
enum {
    L2VPN_ETH_KEY_stp_key = 0
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_ETH_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnEthModule()) if the loaded library has this schema.
 */
#define L2VPN_ETH_SCHEMA_HASH UINT64_C(0x7C55E8AD6E6BC7E1)

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: ifIndex,
 * vlanId. A piece that does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnEth
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnEthFormat(uint32_t formatId, const void *record, char *buffer,
                                  uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnEthFormatTable(const L2vpnEth *record, char *buffer, uint32_t bufferLength,
                                       const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnEthModule(void);

#ifdef __cplusplus
}
#endif

#endif
