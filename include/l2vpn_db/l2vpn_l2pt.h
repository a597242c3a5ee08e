/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_l2pt.toml by ./dev generate. */
/**
 * @file l2vpn_l2pt.h
 * Layer-2 protocol tunnelling switch of an interface and instance.
 *
 * This table has no typed access: its records can only be described and formatted.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_L2PT_H
#define L2VPN_DB_L2VPN_L2PT_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/** Caller record, 16 bytes. */
typedef struct L2vpnL2pt {
    uint32_t ifIndex;     /**< Field 0 at 0: interface index. */
    uint32_t mainIfIndex; /**< Field 1 at 4: main interface index. */
    uint32_t instId;      /**< Field 2 at 8: instance id. */
    uint32_t l2ptEnable;  /**< Field 3 at 12: whether layer-2 protocol tunnelling is enabled. */
} L2vpnL2pt;

static_assert(sizeof(L2vpnL2pt) == 16, "l2vpn_l2pt: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_L2PT_FIELD_ifIndex = 0,
    L2VPN_L2PT_FIELD_mainIfIndex = 1,
    L2VPN_L2PT_FIELD_instId = 2,
    L2VPN_L2PT_FIELD_l2ptEnable = 3
};

/** Key indexes. */
enum {
    L2VPN_L2PT_KEY_primary_key = 0,
    L2VPN_L2PT_KEY_mainIfIns_ker = 1
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_L2PT_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnL2ptModule()) if the loaded library has this schema.
 */
#define L2VPN_L2PT_SCHEMA_HASH UINT64_C(0x83582B84C5C93804)

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: ifIndex,
 * mainIfIndex, instId. A piece that does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnL2pt
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnL2ptFormat(uint32_t formatId, const void *record, char *buffer,
                                   uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnL2ptFormatTable(const L2vpnL2pt *record, char *buffer,
                                        uint32_t bufferLength, const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnL2ptModule(void);

#ifdef __cplusplus
}
#endif

#endif
