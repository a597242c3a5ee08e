/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_bfdlnk.toml by ./dev generate. */
/**
 * @file l2vpn_bfdlnk.h
 * BFD status of the tunnel that carries a pseudowire.
 *
 * This table has no typed access: its records can only be described and formatted.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_BFDLNK_H
#define L2VPN_DB_L2VPN_BFDLNK_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/** Caller record, 16 bytes. */
typedef struct L2vpnBfdlnk {
    uint32_t vrIndex;     /**< Field 0 at 0: virtual router index. */
    uint32_t pwTunnelId;  /**< Field 1 at 4: pseudowire tunnel id. */
    uint8_t pwTunnelType; /**< Field 2 at 8: pseudowire tunnel type. */
    uint8_t bfdStatus;    /**< Field 3 at 9: BFD session status. */
    uint16_t resv;        /**< Field 4 at 10: reserved. */
    uint32_t lstIndex;    /**< Field 5 at 12: label switching table index. */
} L2vpnBfdlnk;

static_assert(sizeof(L2vpnBfdlnk) == 16, "l2vpn_bfdlnk: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_BFDLNK_FIELD_vrIndex = 0,
    L2VPN_BFDLNK_FIELD_pwTunnelId = 1,
    L2VPN_BFDLNK_FIELD_pwTunnelType = 2,
    L2VPN_BFDLNK_FIELD_bfdStatus = 3,
    L2VPN_BFDLNK_FIELD_resv = 4,
    L2VPN_BFDLNK_FIELD_lstIndex = 5
};

/** Key indexes. */
enum {
    L2VPN_BFDLNK_KEY_primary_key = 0
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_BFDLNK_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnBfdlnkModule()) if the loaded library has this schema.
 */
#define L2VPN_BFDLNK_SCHEMA_HASH UINT64_C(0x001446C10D7DAB0E)

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: vrIndex,
 * pwTunnelId, pwTunnelType. A piece that does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnBfdlnk
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnBfdlnkFormat(uint32_t formatId, const void *record, char *buffer,
                                     uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnBfdlnkFormatTable(const L2vpnBfdlnk *record, char *buffer,
                                          uint32_t bufferLength, const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnBfdlnkModule(void);

#ifdef __cplusplus
}
#endif

#endif
