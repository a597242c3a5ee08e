/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_mpls_tunnel.toml by ./dev generate. */
/**
 * @file l2vpn_mpls_tunnel.h
 * MPLS tunnel of a VRF with its service status and context.
 *
 * This table has no typed access: its records can only be described and formatted.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_MPLS_TUNNEL_H
#define L2VPN_DB_L2VPN_MPLS_TUNNEL_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/** Caller record, 56 bytes. */
typedef struct L2vpnMplsTunnel {
    uint32_t vrIndex;      /**< Field 0 at 0: virtual router index. */
    uint32_t vrfIndex;     /**< Field 1 at 4: VRF index. */
    uint32_t tunnelId;     /**< Field 2 at 8: tunnel id. */
    uint8_t tunnelType;    /**< Field 3 at 12: tunnel type. */
    uint8_t flag;          /**< Field 4 at 13: entry flags. */
    uint16_t rsv;          /**< Field 5 at 14: reserved. */
    uint32_t srcPid;       /**< Field 6 at 16: source process id. */
    uint8_t svcStatus[2];  /**< Fields 7 and 8 at 20: service status, two one-byte elements. */
    uint8_t svcErrcode[2]; /**< Fields 9 and 10 at 22: service error code, two one-byte elements. */
    uint8_t svcCtx[32];    /**< Field 11 at 24: service context, opaque bytes. */
} L2vpnMplsTunnel;

static_assert(sizeof(L2vpnMplsTunnel) == 56, "l2vpn_mpls_tunnel: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_MPLS_TUNNEL_FIELD_vrIndex = 0,
    L2VPN_MPLS_TUNNEL_FIELD_vrfIndex = 1,
    L2VPN_MPLS_TUNNEL_FIELD_tunnelId = 2,
    L2VPN_MPLS_TUNNEL_FIELD_tunnelType = 3,
    L2VPN_MPLS_TUNNEL_FIELD_flag = 4,
    L2VPN_MPLS_TUNNEL_FIELD_rsv = 5,
    L2VPN_MPLS_TUNNEL_FIELD_srcPid = 6,
    L2VPN_MPLS_TUNNEL_FIELD_svcStatus = 7,
    L2VPN_MPLS_TUNNEL_FIELD_svcErrcode = 9,
    L2VPN_MPLS_TUNNEL_FIELD_svcCtx = 11
};

/** Key indexes. */
enum {
    L2VPN_MPLS_TUNNEL_KEY_primary_key = 0
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_MPLS_TUNNEL_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnMplsTunnelModule()) if the loaded library has this
 * schema.
 */
#define L2VPN_MPLS_TUNNEL_SCHEMA_HASH UINT64_C(0x2220D14B8C64FBA4)

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: vrIndex,
 * vrfIndex, tunnelId, tunnelType, svcStatus, svcErrcode, svcCtx. A piece that does not fit is
 * omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnMplsTunnel
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnMplsTunnelFormat(uint32_t formatId, const void *record, char *buffer,
                                         uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnMplsTunnelFormatTable(const L2vpnMplsTunnel *record, char *buffer,
                                              uint32_t bufferLength, const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnMplsTunnelModule(void);

#ifdef __cplusplus
}
#endif

#endif
