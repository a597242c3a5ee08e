/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_vpls_vsimac.toml by ./dev generate. */
/**
 * @file l2vpn_vpls_vsimac.h
 * MAC address known to a VSI, with the interface or pseudowire that leads to it.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_VPLS_VSIMAC_H
#define L2VPN_DB_L2VPN_VPLS_VSIMAC_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/**
 * Caller record, 136 bytes. The stored record is packed: 132 bytes. Bytes 116 to 119 are padding:
 * no function reads or writes them.
 */
typedef struct L2vpnVplsVsimac {
    uint32_t vrIndex;      /**< Field 0 at 0: virtual router index. */
    uint8_t macAddr[6];    /**< Field 1 at 4: MAC address. */
    uint16_t vlanId;       /**< Field 2 at 10: VLAN id. */
    uint32_t instanceId;   /**< Field 3 at 12: instance id. */
    uint8_t macType;       /**< Field 4 at 16: MAC address type. */
    uint8_t isPwIdConfig;  /**< Field 5 at 17: whether the pseudowire id is configured. */
    uint16_t vlanifId;     /**< Field 6 at 18: VLAN interface id. */
    uint32_t outIfIndex;   /**< Field 7 at 20: outgoing interface index. */
    uint16_t peVid;        /**< Field 8 at 24: provider edge VLAN id. */
    uint16_t ceVid;        /**< Field 9 at 26: customer edge VLAN id. */
    uint32_t vlanifIndex;  /**< Field 10 at 28: VLAN interface index. */
    uint32_t pwId;         /**< Field 11 at 32: pseudowire id. */
    uint32_t pwCfgIndex;   /**< Field 12 at 36: index of the pseudowire's configuration. */
    uint32_t peerIp;       /**< Field 13 at 40: IPv4 address of the peer. */
    uint32_t mainIfIndex;  /**< Field 14 at 44: main interface index. */
    uint16_t shareType;    /**< Field 15 at 48: type of sharing. */
    uint16_t shareVlan;    /**< Field 16 at 50: VLAN of the shared interface. */
    uint32_t srcPid;       /**< Field 17 at 52: source process id. */
    uint32_t flags;        /**< Field 18 at 56: record flags. */
    uint8_t svcStatus[2];  /**< Fields 19 and 20 at 60: service status, two one-byte elements. */
    uint8_t svcErrcode[2]; /**< Fields 21 and 22 at 62: service error code, two one-byte elements. */
    uint8_t svcCtx[2][24]; /**< Fields 23 and 24 at 64: service context, opaque bytes. */
    uint32_t batchVersion; /**< Field 25 at 112: batch version, the only field that partial updates change. */
    uint64_t timeStampApp; /**< Field 26 at 120: time stamp of the application side. */
    uint64_t timeStampSvc; /**< Field 27 at 128: time stamp of the service side. */
} L2vpnVplsVsimac;

static_assert(sizeof(L2vpnVplsVsimac) == 136, "l2vpn_vpls_vsimac: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_VPLS_VSIMAC_FIELD_vrIndex = 0,
    L2VPN_VPLS_VSIMAC_FIELD_macAddr = 1,
    L2VPN_VPLS_VSIMAC_FIELD_vlanId = 2,
    L2VPN_VPLS_VSIMAC_FIELD_instanceId = 3,
    L2VPN_VPLS_VSIMAC_FIELD_macType = 4,
    L2VPN_VPLS_VSIMAC_FIELD_isPwIdConfig = 5,
    L2VPN_VPLS_VSIMAC_FIELD_vlanifId = 6,
    L2VPN_VPLS_VSIMAC_FIELD_outIfIndex = 7,
    L2VPN_VPLS_VSIMAC_FIELD_peVid = 8,
    L2VPN_VPLS_VSIMAC_FIELD_ceVid = 9,
    L2VPN_VPLS_VSIMAC_FIELD_vlanifIndex = 10,
    L2VPN_VPLS_VSIMAC_FIELD_pwId = 11,
    L2VPN_VPLS_VSIMAC_FIELD_pwCfgIndex = 12,
    L2VPN_VPLS_VSIMAC_FIELD_peerIp = 13,
    L2VPN_VPLS_VSIMAC_FIELD_mainIfIndex = 14,
    L2VPN_VPLS_VSIMAC_FIELD_shareType = 15,
    L2VPN_VPLS_VSIMAC_FIELD_shareVlan = 16,
    L2VPN_VPLS_VSIMAC_FIELD_srcPid = 17,
    L2VPN_VPLS_VSIMAC_FIELD_flags = 18,
    L2VPN_VPLS_VSIMAC_FIELD_svcStatus = 19,
    L2VPN_VPLS_VSIMAC_FIELD_svcErrcode = 21,
    L2VPN_VPLS_VSIMAC_FIELD_svcCtx = 23,
    L2VPN_VPLS_VSIMAC_FIELD_batchVersion = 25,
    L2VPN_VPLS_VSIMAC_FIELD_timeStampApp = 26,
    L2VPN_VPLS_VSIMAC_FIELD_timeStampSvc = 27
};

/** Key indexes. */
enum {
    L2VPN_VPLS_VSIMAC_KEY_primary_key = 0,
    L2VPN_VPLS_VSIMAC_KEY_vr_inst_key = 1,
    L2VPN_VPLS_VSIMAC_KEY_instance_key = 2,
    L2VPN_VPLS_VSIMAC_KEY_outIfIndex_key = 3,
    L2VPN_VPLS_VSIMAC_KEY_vlanifId_key = 4,
    L2VPN_VPLS_VSIMAC_KEY_vlanifIndex_key = 5,
    L2VPN_VPLS_VSIMAC_KEY_outif_vlanif_vlanifid_inst = 6,
    L2VPN_VPLS_VSIMAC_KEY_outif_pevid_cevid_inst = 7,
    L2VPN_VPLS_VSIMAC_KEY_share_mode_key = 8,
    L2VPN_VPLS_VSIMAC_KEY_if_inst = 9
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_VPLS_VSIMAC_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnVplsVsimacModule()) if the loaded library has this
 * schema.
 */
#define L2VPN_VPLS_VSIMAC_SCHEMA_HASH UINT64_C(0xADCDD87209C9695B)

/* ---- Single records -------------------------------------------------------------------------- */

/**
 * Stores a record: inserts it, or replaces the one with the same primary key (vrIndex, macAddr,
 * vlanId and instanceId).
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacWrite(const L2vpnVplsVsimac *record);

/**
 * Reads the record with the primary key that record holds, and overwrites record with it.
 * @param record in: the key fields; out: the whole record, unchanged on failure
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacRead(L2vpnVplsVsimac *record);

/**
 * Reads the record that a key request selects.
 * @param record out, unchanged on failure; must not be null (not checked)
 * @param key built by one of the Set...Key functions; must not be null (not checked)
 * @return 0; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacReadByKey(L2vpnVplsVsimac *record, const L2vpnDbKeyData *key);

/**
 * Deletes the record with the primary key that record holds; ignores its other fields.
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacDelete(const L2vpnVplsVsimac *record);

/**
 * Counts the table's records.
 * @param count out, written by the store; not checked here
 * @return the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacCount(uint32_t *count);

/* ---- Partial update -------------------------------------------------------------------------- */

/**
 * Sets the listed fields of a stored record to their values in record. Only batchVersion (25) can
 * be updated. The record and the list must not change during the call.
 * @param record selects the stored record by its primary key
 * @param fieldIds fieldCount field ids; checked by the setter only
 * @return L2VPN_DB_ERR_PARAM if record is null; else the store's result, which reflects the
 *         setter's
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacUpdateFields(const L2vpnVplsVsimac *record,
                                              const uint32_t *fieldIds, uint32_t fieldCount);

/** Updates one field; equivalent to UpdateFields with a list of one. */
uint32_t L2VPN_DB_L2vpnVplsVsimacUpdateField(const L2vpnVplsVsimac *record, uint32_t fieldId);

/* ---- Iteration and counts -------------------------------------------------------------------- */

/**
 * Opens an iterator over the records that match a key.
 * @param keyIndex L2VPN_VPLS_VSIMAC_KEY_...
 * @param record holds the key's fields; null with the primary key means the whole table
 * @return a handle, to be released with ReleaseIter; with the primary key it can be the fast
 *         iterator (see CreateFastPriIter). 0 for an unknown key index, a null record with a
 *         secondary key, or if the store cannot open an iterator
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsVsimacCreateIter(uint32_t keyIndex, const L2vpnVplsVsimac *record);

/**
 * Counts the records that match a key.
 * @param keyIndex L2VPN_VPLS_VSIMAC_KEY_...
 * @param record holds the key's fields
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM for an unknown key index or a null record; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacCountByKey(uint32_t keyIndex, const L2vpnVplsVsimac *record,
                                            uint32_t *count);

/**
 * Opens an iterator over one full primary key. Returns the table's fast iterator if it is free: its
 * handle is the address of the control block, and it costs one read and no iterator in the store.
 * Otherwise opens a store iterator. Only the caller that received the handle may use it.
 * @param record holds the primary-key fields; returns 0 if null
 * @return a handle, to be released with ReleaseIter; 0 on failure
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsVsimacCreateFastPriIter(const L2vpnVplsVsimac *record);

/**
 * Delivers an iterator's next record.
 * @param iter from one of this table's Create...Iter functions
 * @param record out, unchanged unless the result is 0
 * @return 0; L2VPN_DB_ERR_PARAM if an argument is null; L2VPN_DB_NO_MORE after the single read of
 *         the fast iterator; else the store's result, such as its end code
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacGetNext(L2vpnDbIter *iter, L2vpnVplsVsimac *record);

/**
 * Releases an iterator. Must be called exactly once per handle, even if GetNext failed.
 * @return 0 for the fast iterator; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacReleaseIter(L2vpnDbIter *iter);

/* ---- Key 0: primary_key (vrIndex, macAddr, vlanId, instanceId) ------------------------------- */

/**
 * Opens a store iterator over the records with the same vrIndex, macAddr, vlanId and instanceId as
 * record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsVsimacCreatePrimaryIter(const L2vpnVplsVsimac *record);

/**
 * Counts the records with the same vrIndex, macAddr, vlanId and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacCountByPrimaryKey(const L2vpnVplsVsimac *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x00010010, from vrIndex, macAddr, vlanId and instanceId.
 * No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 16 bytes
 */
void L2VPN_DB_L2vpnVplsVsimacSetPrimaryKey(const L2vpnVplsVsimac *record, L2vpnDbKeyData *request,
                                           uint32_t *keyId, void *key);

/* ---- Key 1: vr_inst_key (vrIndex, instanceId) ------------------------------------------------ */

/**
 * Opens a store iterator over the records with the same vrIndex and instanceId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsVsimacCreateVrInstIter(const L2vpnVplsVsimac *record);

/**
 * Counts the records with the same vrIndex and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacCountByVrInstKey(const L2vpnVplsVsimac *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x01090008, from vrIndex and instanceId. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVplsVsimacSetVrInstKey(const L2vpnVplsVsimac *record, L2vpnDbKeyData *request,
                                          uint32_t *keyId, void *key);

/* ---- Key 2: instance_key (instanceId) -------------------------------------------------------- */

/**
 * Opens a store iterator over the records with the same instanceId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsVsimacCreateInstanceIter(const L2vpnVplsVsimac *record);

/**
 * Counts the records with the same instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacCountByInstanceKey(const L2vpnVplsVsimac *record,
                                                    uint32_t *count);

/**
 * Builds the key request, identifier word 0x02090004, from instanceId. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 4 bytes
 */
void L2VPN_DB_L2vpnVplsVsimacSetInstanceKey(const L2vpnVplsVsimac *record, L2vpnDbKeyData *request,
                                            uint32_t *keyId, void *key);

/* ---- Key 3: outIfIndex_key (outIfIndex) ------------------------------------------------------ */

/**
 * Opens a store iterator over the records with the same outIfIndex as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsVsimacCreateOutifindexIter(const L2vpnVplsVsimac *record);

/**
 * Counts the records with the same outIfIndex as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacCountByOutifindexKey(const L2vpnVplsVsimac *record,
                                                      uint32_t *count);

/**
 * Builds the key request, identifier word 0x03090004, from outIfIndex. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 4 bytes
 */
void L2VPN_DB_L2vpnVplsVsimacSetOutifindexKey(const L2vpnVplsVsimac *record,
                                              L2vpnDbKeyData *request, uint32_t *keyId, void *key);

/* ---- Key 4: vlanifId_key (vlanifId) ---------------------------------------------------------- */

/**
 * Opens a store iterator over the records with the same vlanifId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsVsimacCreateVlanifidIter(const L2vpnVplsVsimac *record);

/**
 * Counts the records with the same vlanifId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacCountByVlanifidKey(const L2vpnVplsVsimac *record,
                                                    uint32_t *count);

/**
 * Builds the key request, identifier word 0x04090002, from vlanifId. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 2 bytes
 */
void L2VPN_DB_L2vpnVplsVsimacSetVlanifidKey(const L2vpnVplsVsimac *record, L2vpnDbKeyData *request,
                                            uint32_t *keyId, void *key);

/* ---- Key 5: vlanifIndex_key (vlanifIndex) ---------------------------------------------------- */

/**
 * Opens a store iterator over the records with the same vlanifIndex as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsVsimacCreateVlanifindexIter(const L2vpnVplsVsimac *record);

/**
 * Counts the records with the same vlanifIndex as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacCountByVlanifindexKey(const L2vpnVplsVsimac *record,
                                                       uint32_t *count);

/**
 * Builds the key request, identifier word 0x05090004, from vlanifIndex. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 4 bytes
 */
void L2VPN_DB_L2vpnVplsVsimacSetVlanifindexKey(const L2vpnVplsVsimac *record,
                                               L2vpnDbKeyData *request, uint32_t *keyId,
                                               void *key);

/* ---- Key 6: outif_vlanif_vlanifid_inst (outIfIndex, vlanifIndex, vlanifId, instanceId) ------- */

/**
 * Opens a store iterator over the records with the same outIfIndex, vlanifIndex, vlanifId and
 * instanceId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsVsimacCreateOutifVlanifVlanifidInstIter(
                                                                       const L2vpnVplsVsimac *record);

/**
 * Counts the records with the same outIfIndex, vlanifIndex, vlanifId and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacCountByOutifVlanifVlanifidInstKey(const L2vpnVplsVsimac *record,
                                                                   uint32_t *count);

/**
 * Builds the key request, identifier word 0x0609000E, from outIfIndex, vlanifIndex, vlanifId and
 * instanceId. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 14 bytes
 */
void L2VPN_DB_L2vpnVplsVsimacSetOutifVlanifVlanifidInstKey(const L2vpnVplsVsimac *record,
                                                           L2vpnDbKeyData *request,
                                                           uint32_t *keyId, void *key);

/* ---- Key 7: outif_pevid_cevid_inst (outIfIndex, peVid, ceVid, instanceId) -------------------- */

/**
 * Opens a store iterator over the records with the same outIfIndex, peVid, ceVid and instanceId as
 * record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsVsimacCreateOutifPevidCevidInstIter(const L2vpnVplsVsimac *record);

/**
 * Counts the records with the same outIfIndex, peVid, ceVid and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacCountByOutifPevidCevidInstKey(const L2vpnVplsVsimac *record,
                                                               uint32_t *count);

/**
 * Builds the key request, identifier word 0x0709000C, from outIfIndex, peVid, ceVid and instanceId.
 * No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 12 bytes
 */
void L2VPN_DB_L2vpnVplsVsimacSetOutifPevidCevidInstKey(const L2vpnVplsVsimac *record,
                                                       L2vpnDbKeyData *request, uint32_t *keyId,
                                                       void *key);

/* ---- Key 8: share_mode_key (mainIfIndex, vrIndex, instanceId, shareVlan, shareType) ---------- */

/**
 * Opens a store iterator over the records with the same mainIfIndex, vrIndex, instanceId, shareVlan
 * and shareType as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsVsimacCreateShareModeIter(const L2vpnVplsVsimac *record);

/**
 * Counts the records with the same mainIfIndex, vrIndex, instanceId, shareVlan and shareType as
 * record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacCountByShareModeKey(const L2vpnVplsVsimac *record,
                                                     uint32_t *count);

/**
 * Builds the key request, identifier word 0x08090010, from mainIfIndex, vrIndex, instanceId,
 * shareVlan and shareType. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 16 bytes
 */
void L2VPN_DB_L2vpnVplsVsimacSetShareModeKey(const L2vpnVplsVsimac *record,
                                             L2vpnDbKeyData *request, uint32_t *keyId, void *key);

/* ---- Key 9: if_inst (outIfIndex, instanceId) ------------------------------------------------- */

/**
 * Opens a store iterator over the records with the same outIfIndex and instanceId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsVsimacCreateIfInstIter(const L2vpnVplsVsimac *record);

/**
 * Counts the records with the same outIfIndex and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacCountByIfInstKey(const L2vpnVplsVsimac *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x09090008, from outIfIndex and instanceId. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVplsVsimacSetIfInstKey(const L2vpnVplsVsimac *record, L2vpnDbKeyData *request,
                                          uint32_t *keyId, void *key);

/* ---- Conversions, maps and callbacks --------------------------------------------------------- */

/**
 * Maps a key index to its key code, (index << 8) | flags.
 * @return the code, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacMapKeyId(uint32_t keyIndex);

/**
 * Maps the field id of an update to the store's field id.
 * @return the id, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacMapUpdateFieldId(uint32_t fieldId);

/**
 * Setter, called by the store during an update. Sets batchVersion in the record object, once per
 * occurrence in the list.
 * @return 0; L2VPN_DB_ERR_PARAM if record or fieldIds is null, fieldCount is 0, or at the first
 *         other field id, or record->data is null; else the bitwise OR of the record object's
 *         results
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacSetFields(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                                           const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Packs a caller record into 132 bytes of stored record. No pointer is checked; the two must not
 * overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacSetAllFields(const L2vpnVplsVsimac *record, void *stored);

/**
 * Unpacks a stored record; the caller record's padding is unchanged. No pointer is checked; the two
 * must not overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacGetAllFields(const void *stored, L2vpnVplsVsimac *record);

/**
 * Initialises the control block's spin lock on the first call; later calls do nothing.
 * @return 0
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacGlbInit(void);

/**
 * Adds an amount to a counter, atomically and modulo 2^32. Called by the store.
 * @param statId below L2VPN_DB_STAT_COUNT; larger values are ignored
 */
void L2VPN_DB_L2vpnVplsVsimacStat(uint32_t statId, uint32_t amount);

/**
 * Reads a counter. The store defines the meaning of each.
 * @return the value, which may be stale; 0 if statId is not below L2VPN_DB_STAT_COUNT
 */
uint32_t L2VPN_DB_L2vpnVplsVsimacGetStat(uint32_t statId);

/* ---- Generic interface ----------------------------------------------------------------------- */

/**
 * Initialises the control block (GlbInit) and returns the table's functions for code that does not
 * know its record type. The caller owns the copy.
 */
L2vpnDalIntf L2VPN_DB_L2vpnVplsVsimacDalIntf(void);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsVsimacRead.
 * @return L2VPN_DB_ERR_PARAM if length is not 136; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsVsimacRead(void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsVsimacWrite.
 * @return L2VPN_DB_ERR_PARAM if length is not 136; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsVsimacWrite(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsVsimacUpdateFields.
 * @return L2VPN_DB_ERR_PARAM if length is not 136; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsVsimacUpdate(const void *record, uint32_t length,
                                         const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsVsimacDelete.
 * @return L2VPN_DB_ERR_PARAM if length is not 136; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsVsimacRemove(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsVsimacCreateIter. The length of a null
 * record is ignored.
 * @return 0 if record is not null and length is not 136; else the result of that call
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DAL_L2vpnVplsVsimacCreateIter(uint32_t keyIndex, const void *record,
                                                 uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsVsimacGetNext.
 * @return L2VPN_DB_ERR_PARAM if length is not 136; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsVsimacGetNext(L2vpnDbIter *iter, void *record, uint32_t length);

/** Equivalent to L2VPN_DB_L2vpnVplsVsimacCount, which is the function in the interface table. */
uint32_t L2VPN_DAL_L2vpnVplsVsimacCount(uint32_t *count);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsVsimacCountByKey. The length of a null
 * record is checked, too.
 * @return L2VPN_DB_ERR_PARAM if length is not 136; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsVsimacCountByKey(uint32_t keyIndex, const void *record,
                                             uint32_t length, uint32_t *count);

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: vrIndex,
 * macAddr, vlanId, instanceId, vlanifId, outIfIndex, peVid, ceVid, vlanifIndex, mainIfIndex,
 * shareType, shareVlan, flags, svcStatus, svcErrcode, svcCtx, batchVersion. A MAC field shows the
 * low 32 bits of its address in memory, not its contents. A piece that does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnVplsVsimac
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnVplsVsimacFormat(uint32_t formatId, const void *record, char *buffer,
                                         uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnVplsVsimacFormatTable(const L2vpnVplsVsimac *record, char *buffer,
                                              uint32_t bufferLength, const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnVplsVsimacModule(void);

/* ---- Exported data --------------------------------------------------------------------------- */

/** Control block, 208 bytes; see L2vpnDbGlbCb. */
typedef struct L2vpnVplsVsimacGlbCb {
    uint32_t keyId[4]; /**< At 0: the fast iterator's key identifier area. */
    uint8_t key[16];   /**< At 16: its key, 16 bytes. */
    L2vpnDbGlbCb cb;   /**< At 32: the part common to all tables. */
} L2vpnVplsVsimacGlbCb;

/** The table's control block. Its address is the handle of the fast iterator. */
extern L2vpnVplsVsimacGlbCb g_l2vpnL2vpnVplsVsimacGlbCb;

/**
 * The table's descriptor, followed by its update-field map (1 pair) and its key map (10 pairs).
 */
extern L2vpnDbTblIntf g_l2vpnL2vpnVplsVsimacIntf;

/* ---- Imported from the platform (see platform.h) --------------------------------------------- */

L2vpnDbRecObj *db_create_l2vpn_vpls_vsimac_obj(L2vpnDbModuleIntf *module);

void db_release_l2vpn_vpls_vsimac_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

void db_reset_l2vpn_vpls_vsimac_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

uint32_t db_set_l2vpn_vpls_vsimac_all_fields(L2vpnDbRecObj *object, const L2vpnDbRecData *record);

uint32_t db_set_l2vpn_vpls_vsimac_batchVersion(L2vpnDbRecObj *object, uint32_t value);

#ifdef __cplusplus
}
#endif

#endif
