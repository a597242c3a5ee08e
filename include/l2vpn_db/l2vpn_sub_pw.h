/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_sub_pw.toml by ./dev generate. */
/**
 * @file l2vpn_sub_pw.h
 * Sub-pseudowire with a bit map; identified like its pseudowire.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_SUB_PW_H
#define L2VPN_DB_L2VPN_SUB_PW_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/** Caller record, 104 bytes. The stored record is packed: 104 bytes. */
typedef struct L2vpnSubPw {
    uint32_t vrIndex;         /**< Field 0 at 0: virtual router index. */
    uint32_t pwTunnelId;      /**< Field 1 at 4: pseudowire tunnel id. */
    uint8_t pwTunnelType;     /**< Field 2 at 8: pseudowire tunnel type. */
    uint8_t rev1;             /**< Field 3 at 9: reserved. */
    uint16_t rev2;            /**< Field 4 at 10: reserved. */
    uint32_t bitMap;          /**< Field 5 at 12: bit map of the sub-pseudowire. */
    uint32_t flags;           /**< Field 6 at 16: record flags. */
    uint32_t srcPid;          /**< Field 7 at 20: source process id. */
    uint8_t svcStatus[2];     /**< Fields 8 and 9 at 24: service status, two one-byte elements. */
    uint8_t svcErrcode[2];    /**< Fields 10 and 11 at 26: service error code, two one-byte elements. */
    uint8_t glbSvcCtx[2][28]; /**< Fields 12 and 13 at 28: global service context, two elements of opaque bytes. */
    uint32_t batchVersion;    /**< Field 14 at 84: batch version, the only field that partial updates change. */
    uint64_t timeStampApp;    /**< Field 15 at 88: time stamp of the application side. */
    uint64_t timeStampSvc;    /**< Field 16 at 96: time stamp of the service side. */
} L2vpnSubPw;

static_assert(sizeof(L2vpnSubPw) == 104, "l2vpn_sub_pw: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_SUB_PW_FIELD_vrIndex = 0,
    L2VPN_SUB_PW_FIELD_pwTunnelId = 1,
    L2VPN_SUB_PW_FIELD_pwTunnelType = 2,
    L2VPN_SUB_PW_FIELD_rev1 = 3,
    L2VPN_SUB_PW_FIELD_rev2 = 4,
    L2VPN_SUB_PW_FIELD_bitMap = 5,
    L2VPN_SUB_PW_FIELD_flags = 6,
    L2VPN_SUB_PW_FIELD_srcPid = 7,
    L2VPN_SUB_PW_FIELD_svcStatus = 8,
    L2VPN_SUB_PW_FIELD_svcErrcode = 10,
    L2VPN_SUB_PW_FIELD_glbSvcCtx = 12,
    L2VPN_SUB_PW_FIELD_batchVersion = 14,
    L2VPN_SUB_PW_FIELD_timeStampApp = 15,
    L2VPN_SUB_PW_FIELD_timeStampSvc = 16
};

/** Key indexes. */
enum {
    L2VPN_SUB_PW_KEY_primary_key = 0
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_SUB_PW_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnSubPwModule()) if the loaded library has this schema.
 */
#define L2VPN_SUB_PW_SCHEMA_HASH UINT64_C(0xDF940136A9742451)

/* ---- Single records -------------------------------------------------------------------------- */

/**
 * Stores a record: inserts it, or replaces the one with the same primary key (vrIndex, pwTunnelId
 * and pwTunnelType).
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnSubPwWrite(const L2vpnSubPw *record);

/**
 * Reads the record with the primary key that record holds, and overwrites record with it.
 * @param record in: the key fields; out: the whole record, unchanged on failure
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnSubPwRead(L2vpnSubPw *record);

/**
 * Reads the record that a key request selects.
 * @param record out, unchanged on failure; must not be null (not checked)
 * @param key built by one of the Set...Key functions; must not be null (not checked)
 * @return 0; else the store's result
 */
uint32_t L2VPN_DB_L2vpnSubPwReadByKey(L2vpnSubPw *record, const L2vpnDbKeyData *key);

/**
 * Deletes the record with the primary key that record holds; ignores its other fields.
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnSubPwDelete(const L2vpnSubPw *record);

/**
 * Counts the table's records.
 * @param count out, written by the store; not checked here
 * @return the store's result
 */
uint32_t L2VPN_DB_L2vpnSubPwCount(uint32_t *count);

/* ---- Partial update -------------------------------------------------------------------------- */

/**
 * Sets the listed fields of a stored record to their values in record. Only batchVersion (14) can
 * be updated. The record and the list must not change during the call.
 * @param record selects the stored record by its primary key
 * @param fieldIds fieldCount field ids; checked by the setter only
 * @return L2VPN_DB_ERR_PARAM if record is null; else the store's result, which reflects the
 *         setter's
 */
uint32_t L2VPN_DB_L2vpnSubPwUpdateFields(const L2vpnSubPw *record, const uint32_t *fieldIds,
                                         uint32_t fieldCount);

/** Updates one field; equivalent to UpdateFields with a list of one. */
uint32_t L2VPN_DB_L2vpnSubPwUpdateField(const L2vpnSubPw *record, uint32_t fieldId);

/* ---- Iteration and counts -------------------------------------------------------------------- */

/**
 * Opens an iterator over the records that match a key.
 * @param keyIndex L2VPN_SUB_PW_KEY_...
 * @param record holds the key's fields; null with the primary key means the whole table
 * @return a handle, to be released with ReleaseIter; with the primary key it can be the fast
 *         iterator (see CreateFastPriIter). 0 for an unknown key index, a null record with a
 *         secondary key, or if the store cannot open an iterator
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnSubPwCreateIter(uint32_t keyIndex, const L2vpnSubPw *record);

/**
 * Counts the records that match a key.
 * @param keyIndex L2VPN_SUB_PW_KEY_...
 * @param record holds the key's fields
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM for an unknown key index or a null record; else the store's result
 */
uint32_t L2VPN_DB_L2vpnSubPwCountByKey(uint32_t keyIndex, const L2vpnSubPw *record,
                                       uint32_t *count);

/**
 * Opens an iterator over one full primary key. Returns the table's fast iterator if it is free: its
 * handle is the address of the control block, and it costs one read and no iterator in the store.
 * Otherwise opens a store iterator. Only the caller that received the handle may use it.
 * @param record holds the primary-key fields; returns 0 if null
 * @return a handle, to be released with ReleaseIter; 0 on failure
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnSubPwCreateFastPriIter(const L2vpnSubPw *record);

/**
 * Delivers an iterator's next record.
 * @param iter from one of this table's Create...Iter functions
 * @param record out, unchanged unless the result is 0
 * @return 0; L2VPN_DB_ERR_PARAM if an argument is null; L2VPN_DB_NO_MORE after the single read of
 *         the fast iterator; else the store's result, such as its end code
 */
uint32_t L2VPN_DB_L2vpnSubPwGetNext(L2vpnDbIter *iter, L2vpnSubPw *record);

/**
 * Releases an iterator. Must be called exactly once per handle, even if GetNext failed.
 * @return 0 for the fast iterator; else the store's result
 */
uint32_t L2VPN_DB_L2vpnSubPwReleaseIter(L2vpnDbIter *iter);

/* ---- Key 0: primary_key (vrIndex, pwTunnelId, pwTunnelType) ---------------------------------- */

/**
 * Opens a store iterator over the records with the same vrIndex, pwTunnelId and pwTunnelType as
 * record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnSubPwCreatePrimaryIter(const L2vpnSubPw *record);

/**
 * Counts the records with the same vrIndex, pwTunnelId and pwTunnelType as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnSubPwCountByPrimaryKey(const L2vpnSubPw *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x00010009, from vrIndex, pwTunnelId and pwTunnelType. No
 * pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 9 bytes
 */
void L2VPN_DB_L2vpnSubPwSetPrimaryKey(const L2vpnSubPw *record, L2vpnDbKeyData *request,
                                      uint32_t *keyId, void *key);

/* ---- Conversions, maps and callbacks --------------------------------------------------------- */

/**
 * Maps a key index to its key code, (index << 8) | flags.
 * @return the code, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnSubPwMapKeyId(uint32_t keyIndex);

/**
 * Maps the field id of an update to the store's field id.
 * @return the id, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnSubPwMapUpdateFieldId(uint32_t fieldId);

/**
 * Setter, called by the store during an update. Sets batchVersion in the record object, once per
 * occurrence in the list.
 * @return 0; L2VPN_DB_ERR_PARAM if record or fieldIds is null, fieldCount is 0, or at the first
 *         other field id, or record->data is null; else the bitwise OR of the record object's
 *         results
 */
uint32_t L2VPN_DB_L2vpnSubPwSetFields(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                                      const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Packs a caller record into 104 bytes of stored record. No pointer is checked; the two must not
 * overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnSubPwSetAllFields(const L2vpnSubPw *record, void *stored);

/**
 * Unpacks a stored record; the caller record's padding is unchanged. No pointer is checked; the two
 * must not overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnSubPwGetAllFields(const void *stored, L2vpnSubPw *record);

/**
 * Initialises the control block's spin lock on the first call; later calls do nothing.
 * @return 0
 */
uint32_t L2VPN_DB_L2vpnSubPwGlbInit(void);

/**
 * Adds an amount to a counter, atomically and modulo 2^32. Called by the store.
 * @param statId below L2VPN_DB_STAT_COUNT; larger values are ignored
 */
void L2VPN_DB_L2vpnSubPwStat(uint32_t statId, uint32_t amount);

/**
 * Reads a counter. The store defines the meaning of each.
 * @return the value, which may be stale; 0 if statId is not below L2VPN_DB_STAT_COUNT
 */
uint32_t L2VPN_DB_L2vpnSubPwGetStat(uint32_t statId);

/* ---- Generic interface ----------------------------------------------------------------------- */

/**
 * Initialises the control block (GlbInit) and returns the table's functions for code that does not
 * know its record type. The caller owns the copy.
 */
L2vpnDalIntf L2VPN_DB_L2vpnSubPwDalIntf(void);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnSubPwRead.
 * @return L2VPN_DB_ERR_PARAM if length is not 104; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnSubPwRead(void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnSubPwWrite.
 * @return L2VPN_DB_ERR_PARAM if length is not 104; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnSubPwWrite(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnSubPwUpdateFields.
 * @return L2VPN_DB_ERR_PARAM if length is not 104; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnSubPwUpdate(const void *record, uint32_t length, const uint32_t *fieldIds,
                                    uint32_t fieldCount);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnSubPwDelete.
 * @return L2VPN_DB_ERR_PARAM if length is not 104; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnSubPwRemove(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnSubPwCreateIter. The length of a null record
 * is ignored.
 * @return 0 if record is not null and length is not 104; else the result of that call
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DAL_L2vpnSubPwCreateIter(uint32_t keyIndex, const void *record,
                                            uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnSubPwGetNext.
 * @return L2VPN_DB_ERR_PARAM if length is not 104; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnSubPwGetNext(L2vpnDbIter *iter, void *record, uint32_t length);

/** Equivalent to L2VPN_DB_L2vpnSubPwCount, which is the function in the interface table. */
uint32_t L2VPN_DAL_L2vpnSubPwCount(uint32_t *count);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnSubPwCountByKey. The length of a null record
 * is checked, too.
 * @return L2VPN_DB_ERR_PARAM if length is not 104; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnSubPwCountByKey(uint32_t keyIndex, const void *record, uint32_t length,
                                        uint32_t *count);

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: vrIndex,
 * pwTunnelId, pwTunnelType, flags, svcStatus, svcErrcode, glbSvcCtx, batchVersion. A piece that
 * does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnSubPw
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnSubPwFormat(uint32_t formatId, const void *record, char *buffer,
                                    uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnSubPwFormatTable(const L2vpnSubPw *record, char *buffer,
                                         uint32_t bufferLength, const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnSubPwModule(void);

/* ---- Exported data --------------------------------------------------------------------------- */

/** Control block, 208 bytes; see L2vpnDbGlbCb. */
typedef struct L2vpnSubPwGlbCb {
    uint32_t keyId[4]; /**< At 0: the fast iterator's key identifier area. */
    uint8_t key[16];   /**< At 16: its key, 9 bytes. */
    L2vpnDbGlbCb cb;   /**< At 32: the part common to all tables. */
} L2vpnSubPwGlbCb;

/** The table's control block. Its address is the handle of the fast iterator. */
extern L2vpnSubPwGlbCb g_l2vpnL2vpnSubPwGlbCb;

/** The table's descriptor, followed by its update-field map (1 pair) and its key map (1 pair). */
extern L2vpnDbTblIntf g_l2vpnL2vpnSubPwIntf;

/* ---- Imported from the platform (see platform.h) --------------------------------------------- */

L2vpnDbRecObj *db_create_l2vpn_sub_pw_obj(L2vpnDbModuleIntf *module);

void db_release_l2vpn_sub_pw_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

void db_reset_l2vpn_sub_pw_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

uint32_t db_set_l2vpn_sub_pw_all_fields(L2vpnDbRecObj *object, const L2vpnDbRecData *record);

uint32_t db_set_l2vpn_sub_pw_batchVersion(L2vpnDbRecObj *object, uint32_t value);

#ifdef __cplusplus
}
#endif

#endif
