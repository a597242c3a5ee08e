/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_vpls_pw.toml by ./dev generate. */
/**
 * @file l2vpn_vpls_pw.h
 * Pseudowire of a VPLS instance.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_VPLS_PW_H
#define L2VPN_DB_L2VPN_VPLS_PW_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/**
 * Caller record, 280 bytes. The stored record is packed: 276 bytes. Bytes 260 to 263 are padding:
 * no function reads or writes them.
 */
typedef struct L2vpnVplsPw {
    uint32_t vrIndex;         /**< Field 0 at 0: virtual router index. */
    uint32_t pwTunnelId;      /**< Field 1 at 4: pseudowire tunnel id. */
    uint8_t pwTunnelType;     /**< Field 2 at 8: pseudowire tunnel type. */
    uint8_t l2vpnType;        /**< Field 3 at 9: L2VPN type. */
    uint16_t encapType;       /**< Field 4 at 10: encapsulation type. */
    uint32_t instanceId;      /**< Field 5 at 12: instance id. */
    uint32_t inVcLabel;       /**< Field 6 at 16: incoming virtual circuit label. */
    uint32_t outVcLabel;      /**< Field 7 at 20: outgoing virtual circuit label. */
    uint8_t pwFlag;           /**< Field 8 at 24: pseudowire flags. */
    uint8_t pwPreventType;    /**< Field 9 at 25: loop prevention type of the pseudowire. */
    uint16_t mtu;             /**< Field 10 at 26: maximum transmission unit. */
    uint32_t l2vpnIid;        /**< Field 11 at 28: L2VPN index. */
    uint32_t groupId;         /**< Field 12 at 32: pseudowire group id. */
    uint32_t priority;        /**< Field 13 at 36: priority. */
    uint16_t bakFlag;         /**< Field 14 at 40: backup flags. */
    uint16_t pwAttrFlag;      /**< Field 15 at 42: pseudowire attribute flags. */
    uint32_t bakPwTunnelId;   /**< Field 16 at 44: tunnel id of the backup pseudowire. */
    uint32_t fwdTunnelId;     /**< Field 17 at 48: id of the forwarding tunnel. */
    uint32_t fwdTunnelType;   /**< Field 18 at 52: type of the forwarding tunnel. */
    uint32_t ifIndex;         /**< Field 19 at 56: interface index. */
    uint32_t peerIp;          /**< Field 20 at 60: IPv4 address of the peer. */
    uint8_t ifType;           /**< Field 21 at 64: interface type. */
    uint8_t isSelfBoard;      /**< Field 22 at 65: whether the interface is on this board. */
    uint8_t isBfdBinding;     /**< Field 23 at 66: whether a BFD session is bound. */
    uint8_t resv1;            /**< Field 24 at 67: reserved. */
    uint8_t pipeMode;         /**< Field 25 at 68: pipe or uniform mode. */
    uint8_t mplsExp;          /**< Field 26 at 69: MPLS EXP value. */
    uint8_t dsId;             /**< Field 27 at 70: differentiated services domain id. */
    uint8_t resv2;            /**< Field 28 at 71: reserved. */
    uint32_t lstIndex;        /**< Field 29 at 72: label switching table index. */
    uint32_t vcId;            /**< Field 30 at 76: virtual circuit id. */
    uint16_t vccv;            /**< Field 31 at 80: virtual circuit connectivity verification capabilities. */
    uint8_t mflpState;        /**< Field 32 at 82: MAC flapping state. */
    uint8_t labelVer;         /**< Field 33 at 83: label version. */
    uint32_t flags;           /**< Field 34 at 84: record flags. */
    uint32_t srcPid;          /**< Field 35 at 88: source process id. */
    uint8_t svcStatus[2];     /**< Fields 36 and 37 at 92: service status, two one-byte elements. */
    uint8_t svcErrcode[2];    /**< Fields 38 and 39 at 94: service error code, two one-byte elements. */
    uint8_t glbSvcCtx[2][28]; /**< Fields 40 and 41 at 96: global service context, two elements of opaque bytes. */
    uint8_t svcCtx[2][52];    /**< Fields 42 and 43 at 152: service context, opaque bytes. */
    uint32_t batchVersion;    /**< Field 44 at 256: batch version, the only field that partial updates change. */
    uint64_t timeStampApp;    /**< Field 45 at 264: time stamp of the application side. */
    uint64_t timeStampSvc;    /**< Field 46 at 272: time stamp of the service side. */
} L2vpnVplsPw;

static_assert(sizeof(L2vpnVplsPw) == 280, "l2vpn_vpls_pw: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_VPLS_PW_FIELD_vrIndex = 0,
    L2VPN_VPLS_PW_FIELD_pwTunnelId = 1,
    L2VPN_VPLS_PW_FIELD_pwTunnelType = 2,
    L2VPN_VPLS_PW_FIELD_l2vpnType = 3,
    L2VPN_VPLS_PW_FIELD_encapType = 4,
    L2VPN_VPLS_PW_FIELD_instanceId = 5,
    L2VPN_VPLS_PW_FIELD_inVcLabel = 6,
    L2VPN_VPLS_PW_FIELD_outVcLabel = 7,
    L2VPN_VPLS_PW_FIELD_pwFlag = 8,
    L2VPN_VPLS_PW_FIELD_pwPreventType = 9,
    L2VPN_VPLS_PW_FIELD_mtu = 10,
    L2VPN_VPLS_PW_FIELD_l2vpnIid = 11,
    L2VPN_VPLS_PW_FIELD_groupId = 12,
    L2VPN_VPLS_PW_FIELD_priority = 13,
    L2VPN_VPLS_PW_FIELD_bakFlag = 14,
    L2VPN_VPLS_PW_FIELD_pwAttrFlag = 15,
    L2VPN_VPLS_PW_FIELD_bakPwTunnelId = 16,
    L2VPN_VPLS_PW_FIELD_fwdTunnelId = 17,
    L2VPN_VPLS_PW_FIELD_fwdTunnelType = 18,
    L2VPN_VPLS_PW_FIELD_ifIndex = 19,
    L2VPN_VPLS_PW_FIELD_peerIp = 20,
    L2VPN_VPLS_PW_FIELD_ifType = 21,
    L2VPN_VPLS_PW_FIELD_isSelfBoard = 22,
    L2VPN_VPLS_PW_FIELD_isBfdBinding = 23,
    L2VPN_VPLS_PW_FIELD_resv1 = 24,
    L2VPN_VPLS_PW_FIELD_pipeMode = 25,
    L2VPN_VPLS_PW_FIELD_mplsExp = 26,
    L2VPN_VPLS_PW_FIELD_dsId = 27,
    L2VPN_VPLS_PW_FIELD_resv2 = 28,
    L2VPN_VPLS_PW_FIELD_lstIndex = 29,
    L2VPN_VPLS_PW_FIELD_vcId = 30,
    L2VPN_VPLS_PW_FIELD_vccv = 31,
    L2VPN_VPLS_PW_FIELD_mflpState = 32,
    L2VPN_VPLS_PW_FIELD_labelVer = 33,
    L2VPN_VPLS_PW_FIELD_flags = 34,
    L2VPN_VPLS_PW_FIELD_srcPid = 35,
    L2VPN_VPLS_PW_FIELD_svcStatus = 36,
    L2VPN_VPLS_PW_FIELD_svcErrcode = 38,
    L2VPN_VPLS_PW_FIELD_glbSvcCtx = 40,
    L2VPN_VPLS_PW_FIELD_svcCtx = 42,
    L2VPN_VPLS_PW_FIELD_batchVersion = 44,
    L2VPN_VPLS_PW_FIELD_timeStampApp = 45,
    L2VPN_VPLS_PW_FIELD_timeStampSvc = 46
};

/** Key indexes. */
enum {
    L2VPN_VPLS_PW_KEY_primary_key = 0,
    L2VPN_VPLS_PW_KEY_instance_key = 1,
    L2VPN_VPLS_PW_KEY_l2vpniid_key = 2,
    L2VPN_VPLS_PW_KEY_vrIndex_key = 3,
    L2VPN_VPLS_PW_KEY_smooth_hash_key = 4,
    L2VPN_VPLS_PW_KEY_group_key = 5
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_VPLS_PW_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnVplsPwModule()) if the loaded library has this schema.
 */
#define L2VPN_VPLS_PW_SCHEMA_HASH UINT64_C(0x0790CAAAA8B048AF)

/* ---- Single records -------------------------------------------------------------------------- */

/**
 * Stores a record: inserts it, or replaces the one with the same primary key (vrIndex, pwTunnelId
 * and pwTunnelType).
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwWrite(const L2vpnVplsPw *record);

/**
 * Reads the record with the primary key that record holds, and overwrites record with it.
 * @param record in: the key fields; out: the whole record, unchanged on failure
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwRead(L2vpnVplsPw *record);

/**
 * Reads the record that a key request selects.
 * @param record out, unchanged on failure; must not be null (not checked)
 * @param key built by one of the Set...Key functions; must not be null (not checked)
 * @return 0; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwReadByKey(L2vpnVplsPw *record, const L2vpnDbKeyData *key);

/**
 * Deletes the record with the primary key that record holds; ignores its other fields.
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwDelete(const L2vpnVplsPw *record);

/**
 * Counts the table's records.
 * @param count out, written by the store; not checked here
 * @return the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwCount(uint32_t *count);

/* ---- Partial update -------------------------------------------------------------------------- */

/**
 * Sets the listed fields of a stored record to their values in record. Only batchVersion (44) can
 * be updated. The record and the list must not change during the call.
 * @param record selects the stored record by its primary key
 * @param fieldIds fieldCount field ids; checked by the setter only
 * @return L2VPN_DB_ERR_PARAM if record is null; else the store's result, which reflects the
 *         setter's
 */
uint32_t L2VPN_DB_L2vpnVplsPwUpdateFields(const L2vpnVplsPw *record, const uint32_t *fieldIds,
                                          uint32_t fieldCount);

/** Updates one field; equivalent to UpdateFields with a list of one. */
uint32_t L2VPN_DB_L2vpnVplsPwUpdateField(const L2vpnVplsPw *record, uint32_t fieldId);

/* ---- Iteration and counts -------------------------------------------------------------------- */

/**
 * Opens an iterator over the records that match a key.
 * @param keyIndex L2VPN_VPLS_PW_KEY_...
 * @param record holds the key's fields; null with the primary key means the whole table
 * @return a handle, to be released with ReleaseIter; with the primary key it can be the fast
 *         iterator (see CreateFastPriIter). 0 for an unknown key index, a null record with a
 *         secondary key, or if the store cannot open an iterator
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsPwCreateIter(uint32_t keyIndex, const L2vpnVplsPw *record);

/**
 * Counts the records that match a key.
 * @param keyIndex L2VPN_VPLS_PW_KEY_...
 * @param record holds the key's fields
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM for an unknown key index or a null record; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwCountByKey(uint32_t keyIndex, const L2vpnVplsPw *record,
                                        uint32_t *count);

/**
 * Opens an iterator over one full primary key. Returns the table's fast iterator if it is free: its
 * handle is the address of the control block, and it costs one read and no iterator in the store.
 * Otherwise opens a store iterator. Only the caller that received the handle may use it.
 * @param record holds the primary-key fields; returns 0 if null
 * @return a handle, to be released with ReleaseIter; 0 on failure
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsPwCreateFastPriIter(const L2vpnVplsPw *record);

/**
 * Delivers an iterator's next record.
 * @param iter from one of this table's Create...Iter functions
 * @param record out, unchanged unless the result is 0
 * @return 0; L2VPN_DB_ERR_PARAM if an argument is null; L2VPN_DB_NO_MORE after the single read of
 *         the fast iterator; else the store's result, such as its end code
 */
uint32_t L2VPN_DB_L2vpnVplsPwGetNext(L2vpnDbIter *iter, L2vpnVplsPw *record);

/**
 * Releases an iterator. Must be called exactly once per handle, even if GetNext failed.
 * @return 0 for the fast iterator; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwReleaseIter(L2vpnDbIter *iter);

/* ---- Key 0: primary_key (vrIndex, pwTunnelId, pwTunnelType) ---------------------------------- */

/**
 * Opens a store iterator over the records with the same vrIndex, pwTunnelId and pwTunnelType as
 * record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsPwCreatePrimaryIter(const L2vpnVplsPw *record);

/**
 * Counts the records with the same vrIndex, pwTunnelId and pwTunnelType as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwCountByPrimaryKey(const L2vpnVplsPw *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x00010009, from vrIndex, pwTunnelId and pwTunnelType. No
 * pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 9 bytes
 */
void L2VPN_DB_L2vpnVplsPwSetPrimaryKey(const L2vpnVplsPw *record, L2vpnDbKeyData *request,
                                       uint32_t *keyId, void *key);

/* ---- Key 1: instance_key (instanceId) -------------------------------------------------------- */

/**
 * Opens a store iterator over the records with the same instanceId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsPwCreateInstanceIter(const L2vpnVplsPw *record);

/**
 * Counts the records with the same instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwCountByInstanceKey(const L2vpnVplsPw *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x01090004, from instanceId. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 4 bytes
 */
void L2VPN_DB_L2vpnVplsPwSetInstanceKey(const L2vpnVplsPw *record, L2vpnDbKeyData *request,
                                        uint32_t *keyId, void *key);

/* ---- Key 2: l2vpniid_key (l2vpnIid) ---------------------------------------------------------- */

/**
 * Opens a store iterator over the records with the same l2vpnIid as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsPwCreateL2vpniidIter(const L2vpnVplsPw *record);

/**
 * Counts the records with the same l2vpnIid as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwCountByL2vpniidKey(const L2vpnVplsPw *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x02090004, from l2vpnIid. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 4 bytes
 */
void L2VPN_DB_L2vpnVplsPwSetL2vpniidKey(const L2vpnVplsPw *record, L2vpnDbKeyData *request,
                                        uint32_t *keyId, void *key);

/* ---- Key 3: vrIndex_key (vrIndex, instanceId) ------------------------------------------------ */

/**
 * Opens a store iterator over the records with the same vrIndex and instanceId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsPwCreateVrindexIter(const L2vpnVplsPw *record);

/**
 * Counts the records with the same vrIndex and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwCountByVrindexKey(const L2vpnVplsPw *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x03090008, from vrIndex and instanceId. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVplsPwSetVrindexKey(const L2vpnVplsPw *record, L2vpnDbKeyData *request,
                                       uint32_t *keyId, void *key);

/* ---- Key 4: smooth_hash_key (vrIndex, srcPid) ------------------------------------------------ */

/**
 * Opens a store iterator over the records with the same vrIndex and srcPid as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsPwCreateSmoothHashIter(const L2vpnVplsPw *record);

/**
 * Counts the records with the same vrIndex and srcPid as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwCountBySmoothHashKey(const L2vpnVplsPw *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x04090008, from vrIndex and srcPid. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVplsPwSetSmoothHashKey(const L2vpnVplsPw *record, L2vpnDbKeyData *request,
                                          uint32_t *keyId, void *key);

/* ---- Key 5: group_key (vrIndex, instanceId, groupId) ----------------------------------------- */

/**
 * Opens a store iterator over the records with the same vrIndex, instanceId and groupId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsPwCreateGroupIter(const L2vpnVplsPw *record);

/**
 * Counts the records with the same vrIndex, instanceId and groupId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsPwCountByGroupKey(const L2vpnVplsPw *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x0509000C, from vrIndex, instanceId and groupId. No
 * pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 12 bytes
 */
void L2VPN_DB_L2vpnVplsPwSetGroupKey(const L2vpnVplsPw *record, L2vpnDbKeyData *request,
                                     uint32_t *keyId, void *key);

/* ---- Conversions, maps and callbacks --------------------------------------------------------- */

/**
 * Maps a key index to its key code, (index << 8) | flags.
 * @return the code, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVplsPwMapKeyId(uint32_t keyIndex);

/**
 * Maps the field id of an update to the store's field id.
 * @return the id, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVplsPwMapUpdateFieldId(uint32_t fieldId);

/**
 * Setter, called by the store during an update. Sets batchVersion in the record object, once per
 * occurrence in the list.
 * @return 0; L2VPN_DB_ERR_PARAM if record or fieldIds is null, fieldCount is 0, or at the first
 *         other field id, or record->data is null; else the bitwise OR of the record object's
 *         results
 */
uint32_t L2VPN_DB_L2vpnVplsPwSetFields(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                                       const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Packs a caller record into 276 bytes of stored record. No pointer is checked; the two must not
 * overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsPwSetAllFields(const L2vpnVplsPw *record, void *stored);

/**
 * Unpacks a stored record; the caller record's padding is unchanged. No pointer is checked; the two
 * must not overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsPwGetAllFields(const void *stored, L2vpnVplsPw *record);

/**
 * Packs only the service fields; the rest of the stored record is unchanged.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsPwSetSvcFields(const L2vpnVplsPw *record, void *stored);

/**
 * Unpacks only the service fields; the rest of the caller record is unchanged.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsPwGetSvcFields(const void *stored, L2vpnVplsPw *record);

/**
 * Initialises the control block's spin lock on the first call; later calls do nothing.
 * @return 0
 */
uint32_t L2VPN_DB_L2vpnVplsPwGlbInit(void);

/**
 * Adds an amount to a counter, atomically and modulo 2^32. Called by the store.
 * @param statId below L2VPN_DB_STAT_COUNT; larger values are ignored
 */
void L2VPN_DB_L2vpnVplsPwStat(uint32_t statId, uint32_t amount);

/**
 * Reads a counter. The store defines the meaning of each.
 * @return the value, which may be stale; 0 if statId is not below L2VPN_DB_STAT_COUNT
 */
uint32_t L2VPN_DB_L2vpnVplsPwGetStat(uint32_t statId);

/* ---- Generic interface ----------------------------------------------------------------------- */

/**
 * Initialises the control block (GlbInit) and returns the table's functions for code that does not
 * know its record type. The caller owns the copy.
 */
L2vpnDalIntf L2VPN_DB_L2vpnVplsPwDalIntf(void);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsPwRead.
 * @return L2VPN_DB_ERR_PARAM if length is not 280; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsPwRead(void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsPwWrite.
 * @return L2VPN_DB_ERR_PARAM if length is not 280; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsPwWrite(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsPwUpdateFields.
 * @return L2VPN_DB_ERR_PARAM if length is not 280; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsPwUpdate(const void *record, uint32_t length, const uint32_t *fieldIds,
                                     uint32_t fieldCount);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsPwDelete.
 * @return L2VPN_DB_ERR_PARAM if length is not 280; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsPwRemove(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsPwCreateIter. The length of a null record
 * is ignored.
 * @return 0 if record is not null and length is not 280; else the result of that call
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DAL_L2vpnVplsPwCreateIter(uint32_t keyIndex, const void *record,
                                             uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsPwGetNext.
 * @return L2VPN_DB_ERR_PARAM if length is not 280; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsPwGetNext(L2vpnDbIter *iter, void *record, uint32_t length);

/** Equivalent to L2VPN_DB_L2vpnVplsPwCount, which is the function in the interface table. */
uint32_t L2VPN_DAL_L2vpnVplsPwCount(uint32_t *count);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsPwCountByKey. The length of a null record
 * is checked, too.
 * @return L2VPN_DB_ERR_PARAM if length is not 280; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsPwCountByKey(uint32_t keyIndex, const void *record, uint32_t length,
                                         uint32_t *count);

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: vrIndex,
 * pwTunnelId, pwTunnelType, instanceId, l2vpnIid, groupId, flags, srcPid, svcStatus, svcErrcode,
 * glbSvcCtx, svcCtx, batchVersion. A piece that does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnVplsPw
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnVplsPwFormat(uint32_t formatId, const void *record, char *buffer,
                                     uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnVplsPwFormatTable(const L2vpnVplsPw *record, char *buffer,
                                          uint32_t bufferLength, const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnVplsPwModule(void);

/* ---- Exported data --------------------------------------------------------------------------- */

/** Control block, 208 bytes; see L2vpnDbGlbCb. */
typedef struct L2vpnVplsPwGlbCb {
    uint32_t keyId[4]; /**< At 0: the fast iterator's key identifier area. */
    uint8_t key[16];   /**< At 16: its key, 9 bytes. */
    L2vpnDbGlbCb cb;   /**< At 32: the part common to all tables. */
} L2vpnVplsPwGlbCb;

/** The table's control block. Its address is the handle of the fast iterator. */
extern L2vpnVplsPwGlbCb g_l2vpnL2vpnVplsPwGlbCb;

/** The table's descriptor, followed by its update-field map (1 pair) and its key map (6 pairs). */
extern L2vpnDbTblIntf g_l2vpnL2vpnVplsPwIntf;

/* ---- Imported from the platform (see platform.h) --------------------------------------------- */

L2vpnDbRecObj *db_create_l2vpn_vpls_pw_obj(L2vpnDbModuleIntf *module);

void db_release_l2vpn_vpls_pw_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

void db_reset_l2vpn_vpls_pw_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

uint32_t db_set_l2vpn_vpls_pw_all_fields(L2vpnDbRecObj *object, const L2vpnDbRecData *record);

uint32_t db_set_l2vpn_vpls_pw_batchVersion(L2vpnDbRecObj *object, uint32_t value);

#ifdef __cplusplus
}
#endif

#endif
