/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_iid.toml by ./dev generate. */
/**
 * @file l2vpn_iid.h
 * L2VPN index with its path and index flags.
 *
 * This table has no typed access: its records can only be described and formatted.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_IID_H
#define L2VPN_DB_L2VPN_IID_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/** Caller record, 40 bytes. */
typedef struct L2vpnIid {
    uint32_t l2vpnIid;     /**< Field 0 at 0: L2VPN index. */
    uint32_t vrIndex;      /**< Field 1 at 4: virtual router index. */
    uint16_t pathFlag;     /**< Field 2 at 8: path flags. */
    uint16_t l2vpnIidFlag; /**< Field 3 at 10: flags of the L2VPN index. */
    uint32_t flags;        /**< Field 4 at 12: record flags. */
    uint32_t srcPid;       /**< Field 5 at 16: source process id. */
    uint32_t batchVersion; /**< Field 6 at 20: batch version, the only field that partial updates change. */
    uint64_t timeStampApp; /**< Field 7 at 24: time stamp of the application side. */
    uint64_t timeStampSvc; /**< Field 8 at 32: time stamp of the service side. */
} L2vpnIid;

static_assert(sizeof(L2vpnIid) == 40, "l2vpn_iid: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_IID_FIELD_l2vpnIid = 0,
    L2VPN_IID_FIELD_vrIndex = 1,
    L2VPN_IID_FIELD_pathFlag = 2,
    L2VPN_IID_FIELD_l2vpnIidFlag = 3,
    L2VPN_IID_FIELD_flags = 4,
    L2VPN_IID_FIELD_srcPid = 5,
    L2VPN_IID_FIELD_batchVersion = 6,
    L2VPN_IID_FIELD_timeStampApp = 7,
    L2VPN_IID_FIELD_timeStampSvc = 8
};

/** Key indexes. */
enum {
    L2VPN_IID_KEY_primary_key = 0
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_IID_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnIidModule()) if the loaded library has this schema.
 */
#define L2VPN_IID_SCHEMA_HASH UINT64_C(0xD5F849D9B74A8927)

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: l2vpnIid,
 * flags, batchVersion. A piece that does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnIid
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnIidFormat(uint32_t formatId, const void *record, char *buffer,
                                  uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnIidFormatTable(const L2vpnIid *record, char *buffer, uint32_t bufferLength,
                                       const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnIidModule(void);

#ifdef __cplusplus
}
#endif

#endif
