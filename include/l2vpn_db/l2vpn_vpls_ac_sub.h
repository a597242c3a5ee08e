/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_vpls_ac_sub.toml by ./dev generate. */
/**
 * @file l2vpn_vpls_ac_sub.h
 * Sub-interface attachment circuit of a VPLS instance, identified by interface, PE and CE VLAN.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_VPLS_AC_SUB_H
#define L2VPN_DB_L2VPN_VPLS_AC_SUB_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/** Caller record, 192 bytes. The stored record is packed: 192 bytes. */
typedef struct L2vpnVplsAcSub {
    uint32_t ifIndex;         /**< Field 0 at 0: interface index. */
    uint16_t peVlan;          /**< Field 1 at 4: provider edge VLAN. */
    uint16_t ceVlan;          /**< Field 2 at 6: customer edge VLAN. */
    uint32_t vrIndex;         /**< Field 3 at 8: virtual router index. */
    uint32_t instanceId;      /**< Field 4 at 12: instance id. */
    uint8_t l2vpnType;        /**< Field 5 at 16: L2VPN type. */
    uint8_t acFlag;           /**< Field 6 at 17: attachment circuit flags. */
    uint16_t encapType;       /**< Field 7 at 18: encapsulation type. */
    uint16_t ifType;          /**< Field 8 at 20: interface type. */
    uint16_t linkState;       /**< Field 9 at 22: link state. */
    uint8_t hubSpoke;         /**< Field 10 at 24: hub or spoke role. */
    uint8_t ifSymMode;        /**< Field 11 at 25: symmetric mode of the interface. */
    uint8_t flowActType;      /**< Field 12 at 26: flow action type. */
    uint8_t state;            /**< Field 13 at 27: state. */
    uint32_t flags;           /**< Field 14 at 28: record flags. */
    uint32_t srcIfIndex;      /**< Field 15 at 32: source interface index. */
    uint16_t srcIfType;       /**< Field 16 at 36: source interface type. */
    uint16_t sharePeVlan;     /**< Field 17 at 38: provider edge VLAN of the shared interface. */
    uint16_t shareType;       /**< Field 18 at 40: type of sharing. */
    uint8_t isSelfBoard;      /**< Field 19 at 42: whether the interface is on this board. */
    uint8_t statEnable;       /**< Field 20 at 43: whether statistics are enabled. */
    uint32_t resv2;           /**< Field 21 at 44: reserved. */
    uint32_t vsi;             /**< Field 22 at 48: virtual switch instance. */
    uint32_t srcPid;          /**< Field 23 at 52: source process id. */
    uint8_t svcStatus[2];     /**< Fields 24 and 25 at 56: service status, two one-byte elements. */
    uint8_t svcErrcode[2];    /**< Fields 26 and 27 at 58: service error code, two one-byte elements. */
    uint8_t glbSvcCtx[2][12]; /**< Fields 28 and 29 at 60: global service context, two elements of opaque bytes. */
    uint8_t svcCtx[2][44];    /**< Fields 30 and 31 at 84: service context, opaque bytes. */
    uint32_t batchVersion;    /**< Field 32 at 172: batch version, the only field that partial updates change. */
    uint64_t timeStampApp;    /**< Field 33 at 176: time stamp of the application side. */
    uint64_t timeStampSvc;    /**< Field 34 at 184: time stamp of the service side. */
} L2vpnVplsAcSub;

static_assert(sizeof(L2vpnVplsAcSub) == 192, "l2vpn_vpls_ac_sub: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_VPLS_AC_SUB_FIELD_ifIndex = 0,
    L2VPN_VPLS_AC_SUB_FIELD_peVlan = 1,
    L2VPN_VPLS_AC_SUB_FIELD_ceVlan = 2,
    L2VPN_VPLS_AC_SUB_FIELD_vrIndex = 3,
    L2VPN_VPLS_AC_SUB_FIELD_instanceId = 4,
    L2VPN_VPLS_AC_SUB_FIELD_l2vpnType = 5,
    L2VPN_VPLS_AC_SUB_FIELD_acFlag = 6,
    L2VPN_VPLS_AC_SUB_FIELD_encapType = 7,
    L2VPN_VPLS_AC_SUB_FIELD_ifType = 8,
    L2VPN_VPLS_AC_SUB_FIELD_linkState = 9,
    L2VPN_VPLS_AC_SUB_FIELD_hubSpoke = 10,
    L2VPN_VPLS_AC_SUB_FIELD_ifSymMode = 11,
    L2VPN_VPLS_AC_SUB_FIELD_flowActType = 12,
    L2VPN_VPLS_AC_SUB_FIELD_state = 13,
    L2VPN_VPLS_AC_SUB_FIELD_flags = 14,
    L2VPN_VPLS_AC_SUB_FIELD_srcIfIndex = 15,
    L2VPN_VPLS_AC_SUB_FIELD_srcIfType = 16,
    L2VPN_VPLS_AC_SUB_FIELD_sharePeVlan = 17,
    L2VPN_VPLS_AC_SUB_FIELD_shareType = 18,
    L2VPN_VPLS_AC_SUB_FIELD_isSelfBoard = 19,
    L2VPN_VPLS_AC_SUB_FIELD_statEnable = 20,
    L2VPN_VPLS_AC_SUB_FIELD_resv2 = 21,
    L2VPN_VPLS_AC_SUB_FIELD_vsi = 22,
    L2VPN_VPLS_AC_SUB_FIELD_srcPid = 23,
    L2VPN_VPLS_AC_SUB_FIELD_svcStatus = 24,
    L2VPN_VPLS_AC_SUB_FIELD_svcErrcode = 26,
    L2VPN_VPLS_AC_SUB_FIELD_glbSvcCtx = 28,
    L2VPN_VPLS_AC_SUB_FIELD_svcCtx = 30,
    L2VPN_VPLS_AC_SUB_FIELD_batchVersion = 32,
    L2VPN_VPLS_AC_SUB_FIELD_timeStampApp = 33,
    L2VPN_VPLS_AC_SUB_FIELD_timeStampSvc = 34
};

/** Key indexes. */
enum {
    L2VPN_VPLS_AC_SUB_KEY_primary_key = 0,
    L2VPN_VPLS_AC_SUB_KEY_ifindex_key = 1,
    L2VPN_VPLS_AC_SUB_KEY_instance_key = 2,
    L2VPN_VPLS_AC_SUB_KEY_inst_src_if_key = 3,
    L2VPN_VPLS_AC_SUB_KEY_inst_src_if_pevlan_key = 4,
    L2VPN_VPLS_AC_SUB_KEY_encap_key = 5,
    L2VPN_VPLS_AC_SUB_KEY_ifindex_srcIfIndex_pevlan_inst_key = 6,
    L2VPN_VPLS_AC_SUB_KEY_if_vlan_inst_key = 7,
    L2VPN_VPLS_AC_SUB_KEY_src_if_key = 8,
    L2VPN_VPLS_AC_SUB_KEY_stp_key = 9
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_VPLS_AC_SUB_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnVplsAcSubModule()) if the loaded library has this
 * schema.
 */
#define L2VPN_VPLS_AC_SUB_SCHEMA_HASH UINT64_C(0xB476F06EA3966C3C)

/* ---- Single records -------------------------------------------------------------------------- */

/**
 * Stores a record: inserts it, or replaces the one with the same primary key (ifIndex, peVlan and
 * ceVlan).
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubWrite(const L2vpnVplsAcSub *record);

/**
 * Reads the record with the primary key that record holds, and overwrites record with it.
 * @param record in: the key fields; out: the whole record, unchanged on failure
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubRead(L2vpnVplsAcSub *record);

/**
 * Reads the record that a key request selects.
 * @param record out, unchanged on failure; must not be null (not checked)
 * @param key built by one of the Set...Key functions; must not be null (not checked)
 * @return 0; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubReadByKey(L2vpnVplsAcSub *record, const L2vpnDbKeyData *key);

/**
 * Deletes the record with the primary key that record holds; ignores its other fields.
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubDelete(const L2vpnVplsAcSub *record);

/**
 * Counts the table's records.
 * @param count out, written by the store; not checked here
 * @return the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubCount(uint32_t *count);

/* ---- Partial update -------------------------------------------------------------------------- */

/**
 * Sets the listed fields of a stored record to their values in record. Only batchVersion (32) can
 * be updated. The record and the list must not change during the call.
 * @param record selects the stored record by its primary key
 * @param fieldIds fieldCount field ids; checked by the setter only
 * @return L2VPN_DB_ERR_PARAM if record is null; else the store's result, which reflects the
 *         setter's
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubUpdateFields(const L2vpnVplsAcSub *record,
                                             const uint32_t *fieldIds, uint32_t fieldCount);

/** Updates one field; equivalent to UpdateFields with a list of one. */
uint32_t L2VPN_DB_L2vpnVplsAcSubUpdateField(const L2vpnVplsAcSub *record, uint32_t fieldId);

/* ---- Iteration and counts -------------------------------------------------------------------- */

/**
 * Opens an iterator over the records that match a key.
 * @param keyIndex L2VPN_VPLS_AC_SUB_KEY_...
 * @param record holds the key's fields; null with the primary key means the whole table
 * @return a handle, to be released with ReleaseIter; with the primary key it can be the fast
 *         iterator (see CreateFastPriIter). 0 for an unknown key index, a null record with a
 *         secondary key, or if the store cannot open an iterator
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcSubCreateIter(uint32_t keyIndex, const L2vpnVplsAcSub *record);

/**
 * Counts the records that match a key.
 * @param keyIndex L2VPN_VPLS_AC_SUB_KEY_...
 * @param record holds the key's fields
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM for an unknown key index or a null record; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubCountByKey(uint32_t keyIndex, const L2vpnVplsAcSub *record,
                                           uint32_t *count);

/**
 * Opens an iterator over one full primary key. Returns the table's fast iterator if it is free: its
 * handle is the address of the control block, and it costs one read and no iterator in the store.
 * Otherwise opens a store iterator. Only the caller that received the handle may use it.
 * @param record holds the primary-key fields; returns 0 if null
 * @return a handle, to be released with ReleaseIter; 0 on failure
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcSubCreateFastPriIter(const L2vpnVplsAcSub *record);

/**
 * Delivers an iterator's next record.
 * @param iter from one of this table's Create...Iter functions
 * @param record out, unchanged unless the result is 0
 * @return 0; L2VPN_DB_ERR_PARAM if an argument is null; L2VPN_DB_NO_MORE after the single read of
 *         the fast iterator; else the store's result, such as its end code
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubGetNext(L2vpnDbIter *iter, L2vpnVplsAcSub *record);

/**
 * Releases an iterator. Must be called exactly once per handle, even if GetNext failed.
 * @return 0 for the fast iterator; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubReleaseIter(L2vpnDbIter *iter);

/* ---- Key 0: primary_key (ifIndex, peVlan, ceVlan) -------------------------------------------- */

/**
 * Opens a store iterator over the records with the same ifIndex, peVlan and ceVlan as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcSubCreatePrimaryIter(const L2vpnVplsAcSub *record);

/**
 * Counts the records with the same ifIndex, peVlan and ceVlan as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubCountByPrimaryKey(const L2vpnVplsAcSub *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x00010008, from ifIndex, peVlan and ceVlan. No pointer
 * is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVplsAcSubSetPrimaryKey(const L2vpnVplsAcSub *record, L2vpnDbKeyData *request,
                                          uint32_t *keyId, void *key);

/* ---- Key 1: ifindex_key (ifIndex) ------------------------------------------------------------ */

/**
 * Opens a store iterator over the records with the same ifIndex as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcSubCreateIfindexIter(const L2vpnVplsAcSub *record);

/**
 * Counts the records with the same ifIndex as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubCountByIfindexKey(const L2vpnVplsAcSub *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x01090004, from ifIndex. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 4 bytes
 */
void L2VPN_DB_L2vpnVplsAcSubSetIfindexKey(const L2vpnVplsAcSub *record, L2vpnDbKeyData *request,
                                          uint32_t *keyId, void *key);

/* ---- Key 2: instance_key (vrIndex, instanceId) ----------------------------------------------- */

/**
 * Opens a store iterator over the records with the same vrIndex and instanceId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcSubCreateInstanceIter(const L2vpnVplsAcSub *record);

/**
 * Counts the records with the same vrIndex and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubCountByInstanceKey(const L2vpnVplsAcSub *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x02090008, from vrIndex and instanceId. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVplsAcSubSetInstanceKey(const L2vpnVplsAcSub *record, L2vpnDbKeyData *request,
                                           uint32_t *keyId, void *key);

/* ---- Key 3: inst_src_if_key (srcIfIndex, vrIndex, instanceId) -------------------------------- */

/**
 * Opens a store iterator over the records with the same srcIfIndex, vrIndex and instanceId as
 * record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcSubCreateInstSrcIfIter(const L2vpnVplsAcSub *record);

/**
 * Counts the records with the same srcIfIndex, vrIndex and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubCountByInstSrcIfKey(const L2vpnVplsAcSub *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x0309000C, from srcIfIndex, vrIndex and instanceId. No
 * pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 12 bytes
 */
void L2VPN_DB_L2vpnVplsAcSubSetInstSrcIfKey(const L2vpnVplsAcSub *record, L2vpnDbKeyData *request,
                                            uint32_t *keyId, void *key);

/* ---- Key 4: inst_src_if_pevlan_key (srcIfIndex, vrIndex, instanceId, sharePeVlan, shareType) - */

/**
 * Opens a store iterator over the records with the same srcIfIndex, vrIndex, instanceId,
 * sharePeVlan and shareType as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcSubCreateInstSrcIfPevlanIter(const L2vpnVplsAcSub *record);

/**
 * Counts the records with the same srcIfIndex, vrIndex, instanceId, sharePeVlan and shareType as
 * record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubCountByInstSrcIfPevlanKey(const L2vpnVplsAcSub *record,
                                                          uint32_t *count);

/**
 * Builds the key request, identifier word 0x04090010, from srcIfIndex, vrIndex, instanceId,
 * sharePeVlan and shareType. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 16 bytes
 */
void L2VPN_DB_L2vpnVplsAcSubSetInstSrcIfPevlanKey(const L2vpnVplsAcSub *record,
                                                  L2vpnDbKeyData *request, uint32_t *keyId,
                                                  void *key);

/* ---- Key 5: encap_key (vrIndex, instanceId, encapType) --------------------------------------- */

/**
 * Opens a store iterator over the records with the same vrIndex, instanceId and encapType as
 * record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcSubCreateEncapIter(const L2vpnVplsAcSub *record);

/**
 * Counts the records with the same vrIndex, instanceId and encapType as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubCountByEncapKey(const L2vpnVplsAcSub *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x0509000A, from vrIndex, instanceId and encapType. No
 * pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 10 bytes
 */
void L2VPN_DB_L2vpnVplsAcSubSetEncapKey(const L2vpnVplsAcSub *record, L2vpnDbKeyData *request,
                                        uint32_t *keyId, void *key);

/* ---- Key 6: ifindex_srcIfIndex_pevlan_inst_key (ifIndex, srcIfIndex, peVlan, instanceId) ----- */

/**
 * Opens a store iterator over the records with the same ifIndex, srcIfIndex, peVlan and instanceId
 * as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcSubCreateIfindexSrcifindexPevlanInstIter(
                                                                          const L2vpnVplsAcSub *record);

/**
 * Counts the records with the same ifIndex, srcIfIndex, peVlan and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubCountByIfindexSrcifindexPevlanInstKey(const L2vpnVplsAcSub *record,
                                                                      uint32_t *count);

/**
 * Builds the key request, identifier word 0x0609000E, from ifIndex, srcIfIndex, peVlan and
 * instanceId. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 14 bytes
 */
void L2VPN_DB_L2vpnVplsAcSubSetIfindexSrcifindexPevlanInstKey(const L2vpnVplsAcSub *record,
                                                              L2vpnDbKeyData *request,
                                                              uint32_t *keyId, void *key);

/* ---- Key 7: if_vlan_inst_key (ifIndex, peVlan, ceVlan, instanceId) --------------------------- */

/**
 * Opens a store iterator over the records with the same ifIndex, peVlan, ceVlan and instanceId as
 * record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcSubCreateIfVlanInstIter(const L2vpnVplsAcSub *record);

/**
 * Counts the records with the same ifIndex, peVlan, ceVlan and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubCountByIfVlanInstKey(const L2vpnVplsAcSub *record,
                                                     uint32_t *count);

/**
 * Builds the key request, identifier word 0x0709000C, from ifIndex, peVlan, ceVlan and instanceId.
 * No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 12 bytes
 */
void L2VPN_DB_L2vpnVplsAcSubSetIfVlanInstKey(const L2vpnVplsAcSub *record, L2vpnDbKeyData *request,
                                             uint32_t *keyId, void *key);

/* ---- Key 8: src_if_key (srcIfIndex, vrIndex) ------------------------------------------------- */

/**
 * Opens a store iterator over the records with the same srcIfIndex and vrIndex as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcSubCreateSrcIfIter(const L2vpnVplsAcSub *record);

/**
 * Counts the records with the same srcIfIndex and vrIndex as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubCountBySrcIfKey(const L2vpnVplsAcSub *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x08090008, from srcIfIndex and vrIndex. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVplsAcSubSetSrcIfKey(const L2vpnVplsAcSub *record, L2vpnDbKeyData *request,
                                        uint32_t *keyId, void *key);

/* ---- Key 9: stp_key (ifIndex, peVlan) -------------------------------------------------------- */

/**
 * Opens a store iterator over the records with the same ifIndex and peVlan as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcSubCreateStpIter(const L2vpnVplsAcSub *record);

/**
 * Counts the records with the same ifIndex and peVlan as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubCountByStpKey(const L2vpnVplsAcSub *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x09090006, from ifIndex and peVlan. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 6 bytes
 */
void L2VPN_DB_L2vpnVplsAcSubSetStpKey(const L2vpnVplsAcSub *record, L2vpnDbKeyData *request,
                                      uint32_t *keyId, void *key);

/* ---- Conversions, maps and callbacks --------------------------------------------------------- */

/**
 * Maps a key index to its key code, (index << 8) | flags.
 * @return the code, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubMapKeyId(uint32_t keyIndex);

/**
 * Maps the field id of an update to the store's field id.
 * @return the id, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubMapUpdateFieldId(uint32_t fieldId);

/**
 * Setter, called by the store during an update. Sets batchVersion in the record object, once per
 * occurrence in the list.
 * @return 0; L2VPN_DB_ERR_PARAM if record or fieldIds is null, fieldCount is 0, or at the first
 *         other field id, or record->data is null; else the bitwise OR of the record object's
 *         results
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubSetFields(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                                          const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Packs a caller record into 192 bytes of stored record. No pointer is checked; the two must not
 * overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubSetAllFields(const L2vpnVplsAcSub *record, void *stored);

/**
 * Unpacks a stored record; the caller record's padding is unchanged. No pointer is checked; the two
 * must not overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubGetAllFields(const void *stored, L2vpnVplsAcSub *record);

/**
 * Initialises the control block's spin lock on the first call; later calls do nothing.
 * @return 0
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubGlbInit(void);

/**
 * Adds an amount to a counter, atomically and modulo 2^32. Called by the store.
 * @param statId below L2VPN_DB_STAT_COUNT; larger values are ignored
 */
void L2VPN_DB_L2vpnVplsAcSubStat(uint32_t statId, uint32_t amount);

/**
 * Reads a counter. The store defines the meaning of each.
 * @return the value, which may be stale; 0 if statId is not below L2VPN_DB_STAT_COUNT
 */
uint32_t L2VPN_DB_L2vpnVplsAcSubGetStat(uint32_t statId);

/* ---- Generic interface ----------------------------------------------------------------------- */

/**
 * Initialises the control block (GlbInit) and returns the table's functions for code that does not
 * know its record type. The caller owns the copy.
 */
L2vpnDalIntf L2VPN_DB_L2vpnVplsAcSubDalIntf(void);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcSubRead.
 * @return L2VPN_DB_ERR_PARAM if length is not 192; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsAcSubRead(void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcSubWrite.
 * @return L2VPN_DB_ERR_PARAM if length is not 192; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsAcSubWrite(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcSubUpdateFields.
 * @return L2VPN_DB_ERR_PARAM if length is not 192; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsAcSubUpdate(const void *record, uint32_t length,
                                        const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcSubDelete.
 * @return L2VPN_DB_ERR_PARAM if length is not 192; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsAcSubRemove(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcSubCreateIter. The length of a null
 * record is ignored.
 * @return 0 if record is not null and length is not 192; else the result of that call
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DAL_L2vpnVplsAcSubCreateIter(uint32_t keyIndex, const void *record,
                                                uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcSubGetNext.
 * @return L2VPN_DB_ERR_PARAM if length is not 192; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsAcSubGetNext(L2vpnDbIter *iter, void *record, uint32_t length);

/** Equivalent to L2VPN_DB_L2vpnVplsAcSubCount, which is the function in the interface table. */
uint32_t L2VPN_DAL_L2vpnVplsAcSubCount(uint32_t *count);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcSubCountByKey. The length of a null
 * record is checked, too.
 * @return L2VPN_DB_ERR_PARAM if length is not 192; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsAcSubCountByKey(uint32_t keyIndex, const void *record, uint32_t length,
                                            uint32_t *count);

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: ifIndex,
 * peVlan, ceVlan, vrIndex, instanceId, encapType, flags, srcIfIndex, sharePeVlan, shareType,
 * svcStatus, svcErrcode, glbSvcCtx, svcCtx, batchVersion. A piece that does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnVplsAcSub
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnVplsAcSubFormat(uint32_t formatId, const void *record, char *buffer,
                                        uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnVplsAcSubFormatTable(const L2vpnVplsAcSub *record, char *buffer,
                                             uint32_t bufferLength, const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnVplsAcSubModule(void);

/* ---- Exported data --------------------------------------------------------------------------- */

/** Control block, 200 bytes; see L2vpnDbGlbCb. */
typedef struct L2vpnVplsAcSubGlbCb {
    uint32_t keyId[4]; /**< At 0: the fast iterator's key identifier area. */
    uint8_t key[8];    /**< At 16: its key, 8 bytes. */
    L2vpnDbGlbCb cb;   /**< At 24: the part common to all tables. */
} L2vpnVplsAcSubGlbCb;

/** The table's control block. Its address is the handle of the fast iterator. */
extern L2vpnVplsAcSubGlbCb g_l2vpnL2vpnVplsAcSubGlbCb;

/**
 * The table's descriptor, followed by its update-field map (1 pair) and its key map (10 pairs).
 */
extern L2vpnDbTblIntf g_l2vpnL2vpnVplsAcSubIntf;

/* ---- Imported from the platform (see platform.h) --------------------------------------------- */

L2vpnDbRecObj *db_create_l2vpn_vpls_ac_sub_obj(L2vpnDbModuleIntf *module);

void db_release_l2vpn_vpls_ac_sub_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

void db_reset_l2vpn_vpls_ac_sub_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

uint32_t db_set_l2vpn_vpls_ac_sub_all_fields(L2vpnDbRecObj *object, const L2vpnDbRecData *record);

uint32_t db_set_l2vpn_vpls_ac_sub_batchVersion(L2vpnDbRecObj *object, uint32_t value);

#ifdef __cplusplus
}
#endif

#endif
