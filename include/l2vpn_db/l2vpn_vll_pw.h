/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_vll_pw.toml by ./dev generate. */
/**
 * @file l2vpn_vll_pw.h
 * Pseudowire of a virtual leased line, identified by tunnel id and type in a virtual router.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_VLL_PW_H
#define L2VPN_DB_L2VPN_VLL_PW_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/** Caller record, 184 bytes. The stored record is packed: 184 bytes. */
typedef struct L2vpnVllPw {
    uint32_t vrIndex;         /**< Field 0 at 0: virtual router index. */
    uint32_t pwTunnelId;      /**< Field 1 at 4: pseudowire tunnel id. */
    uint8_t pwTunnelType;     /**< Field 2 at 8: pseudowire tunnel type. */
    uint8_t l2vpnType;        /**< Field 3 at 9: L2VPN type. */
    uint16_t encapType;       /**< Field 4 at 10: encapsulation type. */
    uint32_t instanceId;      /**< Field 5 at 12: instance id. */
    uint32_t inVcLabel;       /**< Field 6 at 16: incoming virtual circuit label. */
    uint32_t outVcLabel;      /**< Field 7 at 20: outgoing virtual circuit label. */
    uint16_t bakFlag;         /**< Field 8 at 24: backup flags. */
    uint16_t vccv;            /**< Field 9 at 26: virtual circuit connectivity verification capabilities. */
    uint8_t pwFlag;           /**< Field 10 at 28: pseudowire flags. */
    uint8_t labelVer;         /**< Field 11 at 29: label version. */
    uint16_t tpid;            /**< Field 12 at 30: VLAN tag protocol id. */
    uint32_t l2vpnIid;        /**< Field 13 at 32: L2VPN index. */
    uint32_t groupId;         /**< Field 14 at 36: pseudowire group id. */
    uint32_t priority;        /**< Field 15 at 40: priority. */
    uint8_t pwTtl;            /**< Field 16 at 44: pseudowire time to live. */
    uint8_t state;            /**< Field 17 at 45: state. */
    uint16_t pwAttrFlag;      /**< Field 18 at 46: pseudowire attribute flags. */
    uint32_t peerIp;          /**< Field 19 at 48: IPv4 address of the peer. */
    uint32_t vcId;            /**< Field 20 at 52: virtual circuit id. */
    uint32_t lstIndex;        /**< Field 21 at 56: label switching table index. */
    uint8_t isExistBfd;       /**< Field 22 at 60: whether a BFD session exists. */
    uint8_t rev1;             /**< Field 23 at 61: reserved. */
    uint16_t rev2;            /**< Field 24 at 62: reserved. */
    uint32_t flags;           /**< Field 25 at 64: record flags. */
    uint32_t srcPid;          /**< Field 26 at 68: source process id. */
    uint8_t svcStatus[2];     /**< Fields 27 and 28 at 72: service status, two one-byte elements. */
    uint8_t svcErrcode[2];    /**< Fields 29 and 30 at 74: service error code, two one-byte elements. */
    uint8_t glbSvcCtx[2][28]; /**< Fields 31 and 32 at 76: global service context, two elements of opaque bytes. */
    uint8_t nhpSvcCtx[2][16]; /**< Fields 33 and 34 at 132: next-hop service context, two elements of opaque bytes. */
    uint32_t batchVersion;    /**< Field 35 at 164: batch version, the only field that partial updates change. */
    uint64_t timeStampApp;    /**< Field 36 at 168: time stamp of the application side. */
    uint64_t timeStampSvc;    /**< Field 37 at 176: time stamp of the service side. */
} L2vpnVllPw;

static_assert(sizeof(L2vpnVllPw) == 184, "l2vpn_vll_pw: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_VLL_PW_FIELD_vrIndex = 0,
    L2VPN_VLL_PW_FIELD_pwTunnelId = 1,
    L2VPN_VLL_PW_FIELD_pwTunnelType = 2,
    L2VPN_VLL_PW_FIELD_l2vpnType = 3,
    L2VPN_VLL_PW_FIELD_encapType = 4,
    L2VPN_VLL_PW_FIELD_instanceId = 5,
    L2VPN_VLL_PW_FIELD_inVcLabel = 6,
    L2VPN_VLL_PW_FIELD_outVcLabel = 7,
    L2VPN_VLL_PW_FIELD_bakFlag = 8,
    L2VPN_VLL_PW_FIELD_vccv = 9,
    L2VPN_VLL_PW_FIELD_pwFlag = 10,
    L2VPN_VLL_PW_FIELD_labelVer = 11,
    L2VPN_VLL_PW_FIELD_tpid = 12,
    L2VPN_VLL_PW_FIELD_l2vpnIid = 13,
    L2VPN_VLL_PW_FIELD_groupId = 14,
    L2VPN_VLL_PW_FIELD_priority = 15,
    L2VPN_VLL_PW_FIELD_pwTtl = 16,
    L2VPN_VLL_PW_FIELD_state = 17,
    L2VPN_VLL_PW_FIELD_pwAttrFlag = 18,
    L2VPN_VLL_PW_FIELD_peerIp = 19,
    L2VPN_VLL_PW_FIELD_vcId = 20,
    L2VPN_VLL_PW_FIELD_lstIndex = 21,
    L2VPN_VLL_PW_FIELD_isExistBfd = 22,
    L2VPN_VLL_PW_FIELD_rev1 = 23,
    L2VPN_VLL_PW_FIELD_rev2 = 24,
    L2VPN_VLL_PW_FIELD_flags = 25,
    L2VPN_VLL_PW_FIELD_srcPid = 26,
    L2VPN_VLL_PW_FIELD_svcStatus = 27,
    L2VPN_VLL_PW_FIELD_svcErrcode = 29,
    L2VPN_VLL_PW_FIELD_glbSvcCtx = 31,
    L2VPN_VLL_PW_FIELD_nhpSvcCtx = 33,
    L2VPN_VLL_PW_FIELD_batchVersion = 35,
    L2VPN_VLL_PW_FIELD_timeStampApp = 36,
    L2VPN_VLL_PW_FIELD_timeStampSvc = 37
};

/** Key indexes. */
enum {
    L2VPN_VLL_PW_KEY_primary_key = 0,
    L2VPN_VLL_PW_KEY_l2vpniid_key = 1,
    L2VPN_VLL_PW_KEY_smooth_hash_key = 2,
    L2VPN_VLL_PW_KEY_vrIndex_key = 3
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_VLL_PW_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnVllPwModule()) if the loaded library has this schema.
 */
#define L2VPN_VLL_PW_SCHEMA_HASH UINT64_C(0x47969DF19B01B2C2)

/* ---- Single records -------------------------------------------------------------------------- */

/**
 * Stores a record: inserts it, or replaces the one with the same primary key (vrIndex, pwTunnelId
 * and pwTunnelType).
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVllPwWrite(const L2vpnVllPw *record);

/**
 * Reads the record with the primary key that record holds, and overwrites record with it.
 * @param record in: the key fields; out: the whole record, unchanged on failure
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVllPwRead(L2vpnVllPw *record);

/**
 * Reads the record that a key request selects.
 * @param record out, unchanged on failure; must not be null (not checked)
 * @param key built by one of the Set...Key functions; must not be null (not checked)
 * @return 0; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVllPwReadByKey(L2vpnVllPw *record, const L2vpnDbKeyData *key);

/**
 * Deletes the record with the primary key that record holds; ignores its other fields.
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVllPwDelete(const L2vpnVllPw *record);

/**
 * Counts the table's records.
 * @param count out, written by the store; not checked here
 * @return the store's result
 */
uint32_t L2VPN_DB_L2vpnVllPwCount(uint32_t *count);

/* ---- Partial update -------------------------------------------------------------------------- */

/**
 * Sets the listed fields of a stored record to their values in record. Only batchVersion (35) can
 * be updated. The record and the list must not change during the call.
 * @param record selects the stored record by its primary key
 * @param fieldIds fieldCount field ids; checked by the setter only
 * @return L2VPN_DB_ERR_PARAM if record is null; else the store's result, which reflects the
 *         setter's
 */
uint32_t L2VPN_DB_L2vpnVllPwUpdateFields(const L2vpnVllPw *record, const uint32_t *fieldIds,
                                         uint32_t fieldCount);

/** Updates one field; equivalent to UpdateFields with a list of one. */
uint32_t L2VPN_DB_L2vpnVllPwUpdateField(const L2vpnVllPw *record, uint32_t fieldId);

/* ---- Iteration and counts -------------------------------------------------------------------- */

/**
 * Opens an iterator over the records that match a key.
 * @param keyIndex L2VPN_VLL_PW_KEY_...
 * @param record holds the key's fields; null with the primary key means the whole table
 * @return a handle, to be released with ReleaseIter; with the primary key it can be the fast
 *         iterator (see CreateFastPriIter). 0 for an unknown key index, a null record with a
 *         secondary key, or if the store cannot open an iterator
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVllPwCreateIter(uint32_t keyIndex, const L2vpnVllPw *record);

/**
 * Counts the records that match a key.
 * @param keyIndex L2VPN_VLL_PW_KEY_...
 * @param record holds the key's fields
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM for an unknown key index or a null record; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVllPwCountByKey(uint32_t keyIndex, const L2vpnVllPw *record,
                                       uint32_t *count);

/**
 * Opens an iterator over one full primary key. Returns the table's fast iterator if it is free: its
 * handle is the address of the control block, and it costs one read and no iterator in the store.
 * Otherwise opens a store iterator. Only the caller that received the handle may use it.
 * @param record holds the primary-key fields; returns 0 if null
 * @return a handle, to be released with ReleaseIter; 0 on failure
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVllPwCreateFastPriIter(const L2vpnVllPw *record);

/**
 * Delivers an iterator's next record.
 * @param iter from one of this table's Create...Iter functions
 * @param record out, unchanged unless the result is 0
 * @return 0; L2VPN_DB_ERR_PARAM if an argument is null; L2VPN_DB_NO_MORE after the single read of
 *         the fast iterator; else the store's result, such as its end code
 */
uint32_t L2VPN_DB_L2vpnVllPwGetNext(L2vpnDbIter *iter, L2vpnVllPw *record);

/**
 * Releases an iterator. Must be called exactly once per handle, even if GetNext failed.
 * @return 0 for the fast iterator; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVllPwReleaseIter(L2vpnDbIter *iter);

/* ---- Key 0: primary_key (vrIndex, pwTunnelId, pwTunnelType) ---------------------------------- */

/**
 * Opens a store iterator over the records with the same vrIndex, pwTunnelId and pwTunnelType as
 * record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVllPwCreatePrimaryIter(const L2vpnVllPw *record);

/**
 * Counts the records with the same vrIndex, pwTunnelId and pwTunnelType as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVllPwCountByPrimaryKey(const L2vpnVllPw *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x00010009, from vrIndex, pwTunnelId and pwTunnelType. No
 * pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 9 bytes
 */
void L2VPN_DB_L2vpnVllPwSetPrimaryKey(const L2vpnVllPw *record, L2vpnDbKeyData *request,
                                      uint32_t *keyId, void *key);

/* ---- Key 1: l2vpniid_key (l2vpnIid) ---------------------------------------------------------- */

/**
 * Opens a store iterator over the records with the same l2vpnIid as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVllPwCreateL2vpniidIter(const L2vpnVllPw *record);

/**
 * Counts the records with the same l2vpnIid as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVllPwCountByL2vpniidKey(const L2vpnVllPw *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x01090004, from l2vpnIid. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 4 bytes
 */
void L2VPN_DB_L2vpnVllPwSetL2vpniidKey(const L2vpnVllPw *record, L2vpnDbKeyData *request,
                                       uint32_t *keyId, void *key);

/* ---- Key 2: smooth_hash_key (vrIndex, srcPid) ------------------------------------------------ */

/**
 * Opens a store iterator over the records with the same vrIndex and srcPid as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVllPwCreateSmoothHashIter(const L2vpnVllPw *record);

/**
 * Counts the records with the same vrIndex and srcPid as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVllPwCountBySmoothHashKey(const L2vpnVllPw *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x02090008, from vrIndex and srcPid. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVllPwSetSmoothHashKey(const L2vpnVllPw *record, L2vpnDbKeyData *request,
                                         uint32_t *keyId, void *key);

/* ---- Key 3: vrIndex_key (vrIndex, instanceId) ------------------------------------------------ */

/**
 * Opens a store iterator over the records with the same vrIndex and instanceId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVllPwCreateVrindexIter(const L2vpnVllPw *record);

/**
 * Counts the records with the same vrIndex and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVllPwCountByVrindexKey(const L2vpnVllPw *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x03090008, from vrIndex and instanceId. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVllPwSetVrindexKey(const L2vpnVllPw *record, L2vpnDbKeyData *request,
                                      uint32_t *keyId, void *key);

/* ---- Conversions, maps and callbacks --------------------------------------------------------- */

/**
 * Maps a key index to its key code, (index << 8) | flags.
 * @return the code, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVllPwMapKeyId(uint32_t keyIndex);

/**
 * Maps the field id of an update to the store's field id.
 * @return the id, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVllPwMapUpdateFieldId(uint32_t fieldId);

/**
 * Setter, called by the store during an update. Sets batchVersion in the record object, once per
 * occurrence in the list.
 * @return 0; L2VPN_DB_ERR_PARAM if record or fieldIds is null, fieldCount is 0, or at the first
 *         other field id, or record->data is null; else the bitwise OR of the record object's
 *         results
 */
uint32_t L2VPN_DB_L2vpnVllPwSetFields(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                                      const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Packs a caller record into 184 bytes of stored record. No pointer is checked; the two must not
 * overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVllPwSetAllFields(const L2vpnVllPw *record, void *stored);

/**
 * Unpacks a stored record; the caller record's padding is unchanged. No pointer is checked; the two
 * must not overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVllPwGetAllFields(const void *stored, L2vpnVllPw *record);

/**
 * Initialises the control block's spin lock on the first call; later calls do nothing.
 * @return 0
 */
uint32_t L2VPN_DB_L2vpnVllPwGlbInit(void);

/**
 * Adds an amount to a counter, atomically and modulo 2^32. Called by the store.
 * @param statId below L2VPN_DB_STAT_COUNT; larger values are ignored
 */
void L2VPN_DB_L2vpnVllPwStat(uint32_t statId, uint32_t amount);

/**
 * Reads a counter. The store defines the meaning of each.
 * @return the value, which may be stale; 0 if statId is not below L2VPN_DB_STAT_COUNT
 */
uint32_t L2VPN_DB_L2vpnVllPwGetStat(uint32_t statId);

/* ---- Generic interface ----------------------------------------------------------------------- */

/**
 * Initialises the control block (GlbInit) and returns the table's functions for code that does not
 * know its record type. The caller owns the copy.
 */
L2vpnDalIntf L2VPN_DB_L2vpnVllPwDalIntf(void);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVllPwRead.
 * @return L2VPN_DB_ERR_PARAM if length is not 184; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVllPwRead(void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVllPwWrite.
 * @return L2VPN_DB_ERR_PARAM if length is not 184; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVllPwWrite(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVllPwUpdateFields.
 * @return L2VPN_DB_ERR_PARAM if length is not 184; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVllPwUpdate(const void *record, uint32_t length, const uint32_t *fieldIds,
                                    uint32_t fieldCount);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVllPwDelete.
 * @return L2VPN_DB_ERR_PARAM if length is not 184; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVllPwRemove(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVllPwCreateIter. The length of a null record
 * is ignored.
 * @return 0 if record is not null and length is not 184; else the result of that call
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DAL_L2vpnVllPwCreateIter(uint32_t keyIndex, const void *record,
                                            uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVllPwGetNext.
 * @return L2VPN_DB_ERR_PARAM if length is not 184; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVllPwGetNext(L2vpnDbIter *iter, void *record, uint32_t length);

/** Equivalent to L2VPN_DB_L2vpnVllPwCount, which is the function in the interface table. */
uint32_t L2VPN_DAL_L2vpnVllPwCount(uint32_t *count);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVllPwCountByKey. The length of a null record
 * is checked, too.
 * @return L2VPN_DB_ERR_PARAM if length is not 184; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVllPwCountByKey(uint32_t keyIndex, const void *record, uint32_t length,
                                        uint32_t *count);

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: vrIndex,
 * pwTunnelId, pwTunnelType, instanceId, l2vpnIid, flags, srcPid, svcStatus, svcErrcode, glbSvcCtx,
 * nhpSvcCtx, batchVersion. A piece that does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnVllPw
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnVllPwFormat(uint32_t formatId, const void *record, char *buffer,
                                    uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnVllPwFormatTable(const L2vpnVllPw *record, char *buffer,
                                         uint32_t bufferLength, const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnVllPwModule(void);

/* ---- Exported data --------------------------------------------------------------------------- */

/** Control block, 208 bytes; see L2vpnDbGlbCb. */
typedef struct L2vpnVllPwGlbCb {
    uint32_t keyId[4]; /**< At 0: the fast iterator's key identifier area. */
    uint8_t key[16];   /**< At 16: its key, 9 bytes. */
    L2vpnDbGlbCb cb;   /**< At 32: the part common to all tables. */
} L2vpnVllPwGlbCb;

/** The table's control block. Its address is the handle of the fast iterator. */
extern L2vpnVllPwGlbCb g_l2vpnL2vpnVllPwGlbCb;

/** The table's descriptor, followed by its update-field map (1 pair) and its key map (4 pairs). */
extern L2vpnDbTblIntf g_l2vpnL2vpnVllPwIntf;

/* ---- Imported from the platform (see platform.h) --------------------------------------------- */

L2vpnDbRecObj *db_create_l2vpn_vll_pw_obj(L2vpnDbModuleIntf *module);

void db_release_l2vpn_vll_pw_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

void db_reset_l2vpn_vll_pw_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

uint32_t db_set_l2vpn_vll_pw_all_fields(L2vpnDbRecObj *object, const L2vpnDbRecData *record);

uint32_t db_set_l2vpn_vll_pw_batchVersion(L2vpnDbRecObj *object, uint32_t value);

#ifdef __cplusplus
}
#endif

#endif
