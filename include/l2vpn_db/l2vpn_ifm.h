/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_ifm.toml by ./dev generate. */
/**
 * @file l2vpn_ifm.h
 * Interface: type, link state, member and main interface, VLANs, STP state, statistics ids.
 *
 * This table has no typed access: its records can only be described and formatted.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_IFM_H
#define L2VPN_DB_L2VPN_IFM_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/** Caller record, 132 bytes. */
typedef struct L2vpnIfm {
    uint32_t ifIndex;          /**< Field 0 at 0: interface index. */
    uint32_t ifType;           /**< Field 1 at 4: interface type. */
    uint32_t linkState;        /**< Field 2 at 8: link state. */
    uint32_t memIfIndex;       /**< Field 3 at 12: member interface index. */
    uint32_t memIfType;        /**< Field 4 at 16: member interface type. */
    uint32_t mainIfIndex;      /**< Field 5 at 20: main interface index. */
    uint32_t mainIfType;       /**< Field 6 at 24: main interface type. */
    uint32_t peVlan;           /**< Field 7 at 28: provider edge VLAN. */
    uint32_t ceVlan;           /**< Field 8 at 32: customer edge VLAN. */
    uint8_t svcCtx[60];        /**< Field 9 at 36: service context, opaque bytes. */
    uint8_t isSelfBoard;       /**< Field 10 at 96: whether the interface is on this board. */
    uint8_t isSymmetric;       /**< Field 11 at 97: whether the interface is symmetric. */
    uint8_t stpState;          /**< Field 12 at 98: STP state. */
    uint8_t statEnable;        /**< Field 13 at 99: whether statistics are enabled. */
    uint8_t ingressStatId[32]; /**< Field 14 at 100: ingress statistics ids, opaque bytes. */
} L2vpnIfm;

static_assert(sizeof(L2vpnIfm) == 132, "l2vpn_ifm: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_IFM_FIELD_ifIndex = 0,
    L2VPN_IFM_FIELD_ifType = 1,
    L2VPN_IFM_FIELD_linkState = 2,
    L2VPN_IFM_FIELD_memIfIndex = 3,
    L2VPN_IFM_FIELD_memIfType = 4,
    L2VPN_IFM_FIELD_mainIfIndex = 5,
    L2VPN_IFM_FIELD_mainIfType = 6,
    L2VPN_IFM_FIELD_peVlan = 7,
    L2VPN_IFM_FIELD_ceVlan = 8,
    L2VPN_IFM_FIELD_svcCtx = 9,
    L2VPN_IFM_FIELD_isSelfBoard = 10,
    L2VPN_IFM_FIELD_isSymmetric = 11,
    L2VPN_IFM_FIELD_stpState = 12,
    L2VPN_IFM_FIELD_statEnable = 13,
    L2VPN_IFM_FIELD_ingressStatId = 14
};

/** Key indexes. */
enum {
    L2VPN_IFM_KEY_primary_key = 0
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_IFM_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnIfmModule()) if the loaded library has this schema.
 */
#define L2VPN_IFM_SCHEMA_HASH UINT64_C(0x891FA8EDCF41B590)

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: ifIndex. A
 * piece that does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnIfm
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnIfmFormat(uint32_t formatId, const void *record, char *buffer,
                                  uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnIfmFormatTable(const L2vpnIfm *record, char *buffer, uint32_t bufferLength,
                                       const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnIfmModule(void);

#ifdef __cplusplus
}
#endif

#endif
