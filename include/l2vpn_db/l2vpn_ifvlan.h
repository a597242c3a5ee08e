/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_ifvlan.toml by ./dev generate. */
/**
 * @file l2vpn_ifvlan.h
 * VLAN action of an interface.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_IFVLAN_H
#define L2VPN_DB_L2VPN_IFVLAN_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/**
 * Caller record, 48 bytes. The stored record is packed: 44 bytes. Bytes 28 to 31 are padding: no
 * function reads or writes them.
 */
typedef struct L2vpnIfvlan {
    uint32_t ifIndex;      /**< Field 0 at 0: interface index. */
    uint32_t vrIndex;      /**< Field 1 at 4: virtual router index. */
    uint8_t actionType;    /**< Field 2 at 8: VLAN action. */
    uint8_t rsv1;          /**< Field 3 at 9: reserved. */
    uint16_t vlanId;       /**< Field 4 at 10: VLAN id. */
    uint32_t srcPid;       /**< Field 5 at 12: source process id. */
    uint32_t flags;        /**< Field 6 at 16: record flags. */
    uint8_t svcStatus[2];  /**< Fields 7 and 8 at 20: service status, two one-byte elements. */
    uint8_t svcErrcode[2]; /**< Fields 9 and 10 at 22: service error code, two one-byte elements. */
    uint32_t batchVersion; /**< Field 11 at 24: batch version, the only field that partial updates change. */
    uint64_t timeStampApp; /**< Field 12 at 32: time stamp of the application side. */
    uint64_t timeStampSvc; /**< Field 13 at 40: time stamp of the service side. */
} L2vpnIfvlan;

static_assert(sizeof(L2vpnIfvlan) == 48, "l2vpn_ifvlan: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_IFVLAN_FIELD_ifIndex = 0,
    L2VPN_IFVLAN_FIELD_vrIndex = 1,
    L2VPN_IFVLAN_FIELD_actionType = 2,
    L2VPN_IFVLAN_FIELD_rsv1 = 3,
    L2VPN_IFVLAN_FIELD_vlanId = 4,
    L2VPN_IFVLAN_FIELD_srcPid = 5,
    L2VPN_IFVLAN_FIELD_flags = 6,
    L2VPN_IFVLAN_FIELD_svcStatus = 7,
    L2VPN_IFVLAN_FIELD_svcErrcode = 9,
    L2VPN_IFVLAN_FIELD_batchVersion = 11,
    L2VPN_IFVLAN_FIELD_timeStampApp = 12,
    L2VPN_IFVLAN_FIELD_timeStampSvc = 13
};

/** Key indexes. */
enum {
    L2VPN_IFVLAN_KEY_primary_key = 0
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_IFVLAN_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnIfvlanModule()) if the loaded library has this schema.
 */
#define L2VPN_IFVLAN_SCHEMA_HASH UINT64_C(0xB8D9337ECDCD3217)

/* ---- Single records -------------------------------------------------------------------------- */

/**
 * Stores a record: inserts it, or replaces the one with the same primary key (ifIndex).
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnIfvlanWrite(const L2vpnIfvlan *record);

/**
 * Reads the record with the primary key that record holds, and overwrites record with it.
 * @param record in: the key fields; out: the whole record, unchanged on failure
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnIfvlanRead(L2vpnIfvlan *record);

/**
 * Reads the record that a key request selects.
 * @param record out, unchanged on failure; must not be null (not checked)
 * @param key built by one of the Set...Key functions; must not be null (not checked)
 * @return 0; else the store's result
 */
uint32_t L2VPN_DB_L2vpnIfvlanReadByKey(L2vpnIfvlan *record, const L2vpnDbKeyData *key);

/**
 * Deletes the record with the primary key that record holds; ignores its other fields.
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnIfvlanDelete(const L2vpnIfvlan *record);

/**
 * Counts the table's records.
 * @param count out, written by the store; not checked here
 * @return the store's result
 */
uint32_t L2VPN_DB_L2vpnIfvlanCount(uint32_t *count);

/* ---- Partial update -------------------------------------------------------------------------- */

/**
 * Sets the listed fields of a stored record to their values in record. Only batchVersion (11) can
 * be updated. The record and the list must not change during the call.
 * @param record selects the stored record by its primary key
 * @param fieldIds fieldCount field ids; checked by the setter only
 * @return L2VPN_DB_ERR_PARAM if record is null; else the store's result, which reflects the
 *         setter's
 */
uint32_t L2VPN_DB_L2vpnIfvlanUpdateFields(const L2vpnIfvlan *record, const uint32_t *fieldIds,
                                          uint32_t fieldCount);

/** Updates one field; equivalent to UpdateFields with a list of one. */
uint32_t L2VPN_DB_L2vpnIfvlanUpdateField(const L2vpnIfvlan *record, uint32_t fieldId);

/* ---- Iteration and counts -------------------------------------------------------------------- */

/**
 * Opens an iterator over the records that match a key.
 * @param keyIndex L2VPN_IFVLAN_KEY_...
 * @param record holds the key's fields; null with the primary key means the whole table
 * @return a handle, to be released with ReleaseIter; with the primary key it can be the fast
 *         iterator (see CreateFastPriIter). 0 for an unknown key index, a null record with a
 *         secondary key, or if the store cannot open an iterator
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnIfvlanCreateIter(uint32_t keyIndex, const L2vpnIfvlan *record);

/**
 * Counts the records that match a key.
 * @param keyIndex L2VPN_IFVLAN_KEY_...
 * @param record holds the key's fields
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM for an unknown key index or a null record; else the store's result
 */
uint32_t L2VPN_DB_L2vpnIfvlanCountByKey(uint32_t keyIndex, const L2vpnIfvlan *record,
                                        uint32_t *count);

/**
 * Opens an iterator over one full primary key. Returns the table's fast iterator if it is free: its
 * handle is the address of the control block, and it costs one read and no iterator in the store.
 * Otherwise opens a store iterator. Only the caller that received the handle may use it.
 * @param record holds the primary-key fields; returns 0 if null
 * @return a handle, to be released with ReleaseIter; 0 on failure
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnIfvlanCreateFastPriIter(const L2vpnIfvlan *record);

/**
 * Delivers an iterator's next record.
 * @param iter from one of this table's Create...Iter functions
 * @param record out, unchanged unless the result is 0
 * @return 0; L2VPN_DB_ERR_PARAM if an argument is null; L2VPN_DB_NO_MORE after the single read of
 *         the fast iterator; else the store's result, such as its end code
 */
uint32_t L2VPN_DB_L2vpnIfvlanGetNext(L2vpnDbIter *iter, L2vpnIfvlan *record);

/**
 * Releases an iterator. Must be called exactly once per handle, even if GetNext failed.
 * @return 0 for the fast iterator; else the store's result
 */
uint32_t L2VPN_DB_L2vpnIfvlanReleaseIter(L2vpnDbIter *iter);

/* ---- Key 0: primary_key (ifIndex) ------------------------------------------------------------ */

/**
 * Opens a store iterator over the records with the same ifIndex as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnIfvlanCreatePrimaryIter(const L2vpnIfvlan *record);

/**
 * Counts the records with the same ifIndex as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnIfvlanCountByPrimaryKey(const L2vpnIfvlan *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x00010004, from ifIndex. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 4 bytes
 */
void L2VPN_DB_L2vpnIfvlanSetPrimaryKey(const L2vpnIfvlan *record, L2vpnDbKeyData *request,
                                       uint32_t *keyId, void *key);

/* ---- Conversions, maps and callbacks --------------------------------------------------------- */

/**
 * Maps a key index to its key code, (index << 8) | flags.
 * @return the code, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnIfvlanMapKeyId(uint32_t keyIndex);

/**
 * Maps the field id of an update to the store's field id.
 * @return the id, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnIfvlanMapUpdateFieldId(uint32_t fieldId);

/**
 * Setter, called by the store during an update. Sets batchVersion in the record object, once per
 * occurrence in the list.
 * @return 0; L2VPN_DB_ERR_PARAM if record or fieldIds is null, fieldCount is 0, or at the first
 *         other field id, or record->data is null; else the bitwise OR of the record object's
 *         results
 */
uint32_t L2VPN_DB_L2vpnIfvlanSetFields(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                                       const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Packs a caller record into 44 bytes of stored record. No pointer is checked; the two must not
 * overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnIfvlanSetAllFields(const L2vpnIfvlan *record, void *stored);

/**
 * Unpacks a stored record; the caller record's padding is unchanged. No pointer is checked; the two
 * must not overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnIfvlanGetAllFields(const void *stored, L2vpnIfvlan *record);

/**
 * Initialises the control block's spin lock on the first call; later calls do nothing.
 * @return 0
 */
uint32_t L2VPN_DB_L2vpnIfvlanGlbInit(void);

/**
 * Adds an amount to a counter, atomically and modulo 2^32. Called by the store.
 * @param statId below L2VPN_DB_STAT_COUNT; larger values are ignored
 */
void L2VPN_DB_L2vpnIfvlanStat(uint32_t statId, uint32_t amount);

/**
 * Reads a counter. The store defines the meaning of each.
 * @return the value, which may be stale; 0 if statId is not below L2VPN_DB_STAT_COUNT
 */
uint32_t L2VPN_DB_L2vpnIfvlanGetStat(uint32_t statId);

/* ---- Generic interface ----------------------------------------------------------------------- */

/**
 * Initialises the control block (GlbInit) and returns the table's functions for code that does not
 * know its record type. The caller owns the copy.
 */
L2vpnDalIntf L2VPN_DB_L2vpnIfvlanDalIntf(void);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnIfvlanRead.
 * @return L2VPN_DB_ERR_PARAM if length is not 48; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnIfvlanRead(void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnIfvlanWrite.
 * @return L2VPN_DB_ERR_PARAM if length is not 48; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnIfvlanWrite(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnIfvlanUpdateFields.
 * @return L2VPN_DB_ERR_PARAM if length is not 48; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnIfvlanUpdate(const void *record, uint32_t length, const uint32_t *fieldIds,
                                     uint32_t fieldCount);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnIfvlanDelete.
 * @return L2VPN_DB_ERR_PARAM if length is not 48; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnIfvlanRemove(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnIfvlanCreateIter. The length of a null record
 * is ignored.
 * @return 0 if record is not null and length is not 48; else the result of that call
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DAL_L2vpnIfvlanCreateIter(uint32_t keyIndex, const void *record,
                                             uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnIfvlanGetNext.
 * @return L2VPN_DB_ERR_PARAM if length is not 48; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnIfvlanGetNext(L2vpnDbIter *iter, void *record, uint32_t length);

/** Equivalent to L2VPN_DB_L2vpnIfvlanCount, which is the function in the interface table. */
uint32_t L2VPN_DAL_L2vpnIfvlanCount(uint32_t *count);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnIfvlanCountByKey. The length of a null record
 * is checked, too.
 * @return L2VPN_DB_ERR_PARAM if length is not 48; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnIfvlanCountByKey(uint32_t keyIndex, const void *record, uint32_t length,
                                         uint32_t *count);

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: ifIndex, flags,
 * svcStatus, svcErrcode, batchVersion. A piece that does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnIfvlan
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnIfvlanFormat(uint32_t formatId, const void *record, char *buffer,
                                     uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnIfvlanFormatTable(const L2vpnIfvlan *record, char *buffer,
                                          uint32_t bufferLength, const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnIfvlanModule(void);

/* ---- Exported data --------------------------------------------------------------------------- */

/** Control block, 200 bytes; see L2vpnDbGlbCb. */
typedef struct L2vpnIfvlanGlbCb {
    uint32_t keyId[4]; /**< At 0: the fast iterator's key identifier area. */
    uint8_t key[8];    /**< At 16: its key, 4 bytes. */
    L2vpnDbGlbCb cb;   /**< At 24: the part common to all tables. */
} L2vpnIfvlanGlbCb;

/** The table's control block. Its address is the handle of the fast iterator. */
extern L2vpnIfvlanGlbCb g_l2vpnL2vpnIfvlanGlbCb;

/** The table's descriptor, followed by its update-field map (1 pair) and its key map (1 pair). */
extern L2vpnDbTblIntf g_l2vpnL2vpnIfvlanIntf;

/* ---- Imported from the platform (see platform.h) --------------------------------------------- */

L2vpnDbRecObj *db_create_l2vpn_ifvlan_obj(L2vpnDbModuleIntf *module);

void db_release_l2vpn_ifvlan_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

void db_reset_l2vpn_ifvlan_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

uint32_t db_set_l2vpn_ifvlan_all_fields(L2vpnDbRecObj *object, const L2vpnDbRecData *record);

uint32_t db_set_l2vpn_ifvlan_batchVersion(L2vpnDbRecObj *object, uint32_t value);

#ifdef __cplusplus
}
#endif

#endif
