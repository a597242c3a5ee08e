/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_vpls_inst_macdraw.toml by ./dev generate. */
/**
 * @file l2vpn_vpls_inst_macdraw.h
 * MAC withdrawal of a whole VPLS instance.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_VPLS_INST_MACDRAW_H
#define L2VPN_DB_L2VPN_VPLS_INST_MACDRAW_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/** Caller record, 48 bytes. The stored record is packed: 48 bytes. */
typedef struct L2vpnVplsInstMacdraw {
    uint32_t vrIndex;      /**< Field 0 at 0: virtual router index. */
    uint32_t instanceId;   /**< Field 1 at 4: instance id. */
    uint32_t timeStamp;    /**< Field 2 at 8: time stamp. */
    uint8_t instFlag;      /**< Field 3 at 12: instance flags. */
    uint8_t macEvent;      /**< Field 4 at 13: MAC withdrawal event. */
    uint16_t rsv;          /**< Field 5 at 14: reserved. */
    uint32_t srcPid;       /**< Field 6 at 16: source process id. */
    uint32_t flags;        /**< Field 7 at 20: record flags. */
    uint8_t svcStatus[2];  /**< Fields 8 and 9 at 24: service status, two one-byte elements. */
    uint8_t svcErrcode[2]; /**< Fields 10 and 11 at 26: service error code, two one-byte elements. */
    uint32_t batchVersion; /**< Field 12 at 28: batch version, the only field that partial updates change. */
    uint64_t timeStampApp; /**< Field 13 at 32: time stamp of the application side. */
    uint64_t timeStampSvc; /**< Field 14 at 40: time stamp of the service side. */
} L2vpnVplsInstMacdraw;

static_assert(sizeof(L2vpnVplsInstMacdraw) == 48, "l2vpn_vpls_inst_macdraw: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_VPLS_INST_MACDRAW_FIELD_vrIndex = 0,
    L2VPN_VPLS_INST_MACDRAW_FIELD_instanceId = 1,
    L2VPN_VPLS_INST_MACDRAW_FIELD_timeStamp = 2,
    L2VPN_VPLS_INST_MACDRAW_FIELD_instFlag = 3,
    L2VPN_VPLS_INST_MACDRAW_FIELD_macEvent = 4,
    L2VPN_VPLS_INST_MACDRAW_FIELD_rsv = 5,
    L2VPN_VPLS_INST_MACDRAW_FIELD_srcPid = 6,
    L2VPN_VPLS_INST_MACDRAW_FIELD_flags = 7,
    L2VPN_VPLS_INST_MACDRAW_FIELD_svcStatus = 8,
    L2VPN_VPLS_INST_MACDRAW_FIELD_svcErrcode = 10,
    L2VPN_VPLS_INST_MACDRAW_FIELD_batchVersion = 12,
    L2VPN_VPLS_INST_MACDRAW_FIELD_timeStampApp = 13,
    L2VPN_VPLS_INST_MACDRAW_FIELD_timeStampSvc = 14
};

/** Key indexes. */
enum {
    L2VPN_VPLS_INST_MACDRAW_KEY_primary_key = 0,
    L2VPN_VPLS_INST_MACDRAW_KEY_smooth_hash_key = 1,
    L2VPN_VPLS_INST_MACDRAW_KEY_instance_key = 2
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_VPLS_INST_MACDRAW_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnVplsInstMacdrawModule()) if the loaded library has this
 * schema.
 */
#define L2VPN_VPLS_INST_MACDRAW_SCHEMA_HASH UINT64_C(0xD87B71125269EB24)

/* ---- Single records -------------------------------------------------------------------------- */

/**
 * Stores a record: inserts it, or replaces the one with the same primary key (vrIndex and
 * instanceId).
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawWrite(const L2vpnVplsInstMacdraw *record);

/**
 * Reads the record with the primary key that record holds, and overwrites record with it.
 * @param record in: the key fields; out: the whole record, unchanged on failure
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawRead(L2vpnVplsInstMacdraw *record);

/**
 * Reads the record that a key request selects.
 * @param record out, unchanged on failure; must not be null (not checked)
 * @param key built by one of the Set...Key functions; must not be null (not checked)
 * @return 0; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawReadByKey(L2vpnVplsInstMacdraw *record,
                                                const L2vpnDbKeyData *key);

/**
 * Deletes the record with the primary key that record holds; ignores its other fields.
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawDelete(const L2vpnVplsInstMacdraw *record);

/**
 * Counts the table's records.
 * @param count out, written by the store; not checked here
 * @return the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawCount(uint32_t *count);

/* ---- Partial update -------------------------------------------------------------------------- */

/**
 * Sets the listed fields of a stored record to their values in record. Only batchVersion (12) can
 * be updated. The record and the list must not change during the call.
 * @param record selects the stored record by its primary key
 * @param fieldIds fieldCount field ids; checked by the setter only
 * @return L2VPN_DB_ERR_PARAM if record is null; else the store's result, which reflects the
 *         setter's
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawUpdateFields(const L2vpnVplsInstMacdraw *record,
                                                   const uint32_t *fieldIds, uint32_t fieldCount);

/** Updates one field; equivalent to UpdateFields with a list of one. */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawUpdateField(const L2vpnVplsInstMacdraw *record,
                                                  uint32_t fieldId);

/* ---- Iteration and counts -------------------------------------------------------------------- */

/**
 * Opens an iterator over the records that match a key.
 * @param keyIndex L2VPN_VPLS_INST_MACDRAW_KEY_...
 * @param record holds the key's fields; null with the primary key means the whole table
 * @return a handle, to be released with ReleaseIter; with the primary key it can be the fast
 *         iterator (see CreateFastPriIter). 0 for an unknown key index, a null record with a
 *         secondary key, or if the store cannot open an iterator
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsInstMacdrawCreateIter(uint32_t keyIndex,
                                                     const L2vpnVplsInstMacdraw *record);

/**
 * Counts the records that match a key.
 * @param keyIndex L2VPN_VPLS_INST_MACDRAW_KEY_...
 * @param record holds the key's fields
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM for an unknown key index or a null record; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawCountByKey(uint32_t keyIndex,
                                                 const L2vpnVplsInstMacdraw *record,
                                                 uint32_t *count);

/**
 * Opens an iterator over one full primary key. Returns the table's fast iterator if it is free: its
 * handle is the address of the control block, and it costs one read and no iterator in the store.
 * Otherwise opens a store iterator. Only the caller that received the handle may use it.
 * @param record holds the primary-key fields; returns 0 if null
 * @return a handle, to be released with ReleaseIter; 0 on failure
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsInstMacdrawCreateFastPriIter(const L2vpnVplsInstMacdraw *record);

/**
 * Delivers an iterator's next record.
 * @param iter from one of this table's Create...Iter functions
 * @param record out, unchanged unless the result is 0
 * @return 0; L2VPN_DB_ERR_PARAM if an argument is null; L2VPN_DB_NO_MORE after the single read of
 *         the fast iterator; else the store's result, such as its end code
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawGetNext(L2vpnDbIter *iter, L2vpnVplsInstMacdraw *record);

/**
 * Releases an iterator. Must be called exactly once per handle, even if GetNext failed.
 * @return 0 for the fast iterator; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawReleaseIter(L2vpnDbIter *iter);

/* ---- Key 0: primary_key (vrIndex, instanceId) ------------------------------------------------ */

/**
 * Opens a store iterator over the records with the same vrIndex and instanceId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsInstMacdrawCreatePrimaryIter(const L2vpnVplsInstMacdraw *record);

/**
 * Counts the records with the same vrIndex and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawCountByPrimaryKey(const L2vpnVplsInstMacdraw *record,
                                                        uint32_t *count);

/**
 * Builds the key request, identifier word 0x00010008, from vrIndex and instanceId. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVplsInstMacdrawSetPrimaryKey(const L2vpnVplsInstMacdraw *record,
                                                L2vpnDbKeyData *request, uint32_t *keyId,
                                                void *key);

/* ---- Key 1: smooth_hash_key (vrIndex, srcPid) ------------------------------------------------ */

/**
 * Opens a store iterator over the records with the same vrIndex and srcPid as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsInstMacdrawCreateSmoothHashIter(const L2vpnVplsInstMacdraw *record);

/**
 * Counts the records with the same vrIndex and srcPid as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawCountBySmoothHashKey(const L2vpnVplsInstMacdraw *record,
                                                           uint32_t *count);

/**
 * Builds the key request, identifier word 0x01090008, from vrIndex and srcPid. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVplsInstMacdrawSetSmoothHashKey(const L2vpnVplsInstMacdraw *record,
                                                   L2vpnDbKeyData *request, uint32_t *keyId,
                                                   void *key);

/* ---- Key 2: instance_key (instanceId) -------------------------------------------------------- */

/**
 * Opens a store iterator over the records with the same instanceId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsInstMacdrawCreateInstanceIter(const L2vpnVplsInstMacdraw *record);

/**
 * Counts the records with the same instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawCountByInstanceKey(const L2vpnVplsInstMacdraw *record,
                                                         uint32_t *count);

/**
 * Builds the key request, identifier word 0x02090004, from instanceId. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 4 bytes
 */
void L2VPN_DB_L2vpnVplsInstMacdrawSetInstanceKey(const L2vpnVplsInstMacdraw *record,
                                                 L2vpnDbKeyData *request, uint32_t *keyId,
                                                 void *key);

/* ---- Conversions, maps and callbacks --------------------------------------------------------- */

/**
 * Maps a key index to its key code, (index << 8) | flags.
 * @return the code, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawMapKeyId(uint32_t keyIndex);

/**
 * Maps the field id of an update to the store's field id.
 * @return the id, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawMapUpdateFieldId(uint32_t fieldId);

/**
 * Setter, called by the store during an update. Sets batchVersion in the record object, once per
 * occurrence in the list.
 * @return 0; L2VPN_DB_ERR_PARAM if record or fieldIds is null, fieldCount is 0, or at the first
 *         other field id, or record->data is null; else the bitwise OR of the record object's
 *         results
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawSetFields(const L2vpnDbRecData *record,
                                                L2vpnDbRecObj *object, const uint32_t *fieldIds,
                                                uint32_t fieldCount);

/**
 * Packs a caller record into 48 bytes of stored record. No pointer is checked; the two must not
 * overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawSetAllFields(const L2vpnVplsInstMacdraw *record,
                                                   void *stored);

/**
 * Unpacks a stored record; the caller record's padding is unchanged. No pointer is checked; the two
 * must not overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawGetAllFields(const void *stored,
                                                   L2vpnVplsInstMacdraw *record);

/**
 * Initialises the control block's spin lock on the first call; later calls do nothing.
 * @return 0
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawGlbInit(void);

/**
 * Adds an amount to a counter, atomically and modulo 2^32. Called by the store.
 * @param statId below L2VPN_DB_STAT_COUNT; larger values are ignored
 */
void L2VPN_DB_L2vpnVplsInstMacdrawStat(uint32_t statId, uint32_t amount);

/**
 * Reads a counter. The store defines the meaning of each.
 * @return the value, which may be stale; 0 if statId is not below L2VPN_DB_STAT_COUNT
 */
uint32_t L2VPN_DB_L2vpnVplsInstMacdrawGetStat(uint32_t statId);

/* ---- Generic interface ----------------------------------------------------------------------- */

/**
 * Initialises the control block (GlbInit) and returns the table's functions for code that does not
 * know its record type. The caller owns the copy.
 */
L2vpnDalIntf L2VPN_DB_L2vpnVplsInstMacdrawDalIntf(void);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsInstMacdrawRead.
 * @return L2VPN_DB_ERR_PARAM if length is not 48; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsInstMacdrawRead(void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsInstMacdrawWrite.
 * @return L2VPN_DB_ERR_PARAM if length is not 48; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsInstMacdrawWrite(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsInstMacdrawUpdateFields.
 * @return L2VPN_DB_ERR_PARAM if length is not 48; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsInstMacdrawUpdate(const void *record, uint32_t length,
                                              const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsInstMacdrawDelete.
 * @return L2VPN_DB_ERR_PARAM if length is not 48; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsInstMacdrawRemove(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsInstMacdrawCreateIter. The length of a
 * null record is ignored.
 * @return 0 if record is not null and length is not 48; else the result of that call
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DAL_L2vpnVplsInstMacdrawCreateIter(uint32_t keyIndex, const void *record,
                                                      uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsInstMacdrawGetNext.
 * @return L2VPN_DB_ERR_PARAM if length is not 48; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsInstMacdrawGetNext(L2vpnDbIter *iter, void *record, uint32_t length);

/**
 * Equivalent to L2VPN_DB_L2vpnVplsInstMacdrawCount, which is the function in the interface table.
 */
uint32_t L2VPN_DAL_L2vpnVplsInstMacdrawCount(uint32_t *count);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsInstMacdrawCountByKey. The length of a
 * null record is checked, too.
 * @return L2VPN_DB_ERR_PARAM if length is not 48; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsInstMacdrawCountByKey(uint32_t keyIndex, const void *record,
                                                  uint32_t length, uint32_t *count);

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: vrIndex,
 * instanceId, srcPid, flags, svcStatus, svcErrcode, batchVersion. A piece that does not fit is
 * omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnVplsInstMacdraw
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnVplsInstMacdrawFormat(uint32_t formatId, const void *record, char *buffer,
                                              uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnVplsInstMacdrawFormatTable(const L2vpnVplsInstMacdraw *record,
                                                   char *buffer, uint32_t bufferLength,
                                                   const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnVplsInstMacdrawModule(void);

/* ---- Exported data --------------------------------------------------------------------------- */

/** Control block, 200 bytes; see L2vpnDbGlbCb. */
typedef struct L2vpnVplsInstMacdrawGlbCb {
    uint32_t keyId[4]; /**< At 0: the fast iterator's key identifier area. */
    uint8_t key[8];    /**< At 16: its key, 8 bytes. */
    L2vpnDbGlbCb cb;   /**< At 24: the part common to all tables. */
} L2vpnVplsInstMacdrawGlbCb;

/** The table's control block. Its address is the handle of the fast iterator. */
extern L2vpnVplsInstMacdrawGlbCb g_l2vpnL2vpnVplsInstMacdrawGlbCb;

/** The table's descriptor, followed by its update-field map (1 pair) and its key map (3 pairs). */
extern L2vpnDbTblIntf g_l2vpnL2vpnVplsInstMacdrawIntf;

/* ---- Imported from the platform (see platform.h) --------------------------------------------- */

L2vpnDbRecObj *db_create_l2vpn_vpls_inst_macdraw_obj(L2vpnDbModuleIntf *module);

void db_release_l2vpn_vpls_inst_macdraw_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

void db_reset_l2vpn_vpls_inst_macdraw_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

uint32_t db_set_l2vpn_vpls_inst_macdraw_all_fields(L2vpnDbRecObj *object,
                                                   const L2vpnDbRecData *record);

uint32_t db_set_l2vpn_vpls_inst_macdraw_batchVersion(L2vpnDbRecObj *object, uint32_t value);

#ifdef __cplusplus
}
#endif

#endif
