/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_vpls_ac_share.toml by ./dev generate. */
/**
 * @file l2vpn_vpls_ac_share.h
 * Attachment interface that a VPLS instance shares with others.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_VPLS_AC_SHARE_H
#define L2VPN_DB_L2VPN_VPLS_AC_SHARE_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/**
 * Caller record, 176 bytes. The stored record is packed: 172 bytes. Bytes 156 to 159 are padding:
 * no function reads or writes them.
 */
typedef struct L2vpnVplsAcShare {
    uint32_t ifIndex;         /**< Field 0 at 0: interface index. */
    uint32_t vrIndex;         /**< Field 1 at 4: virtual router index. */
    uint32_t instanceId;      /**< Field 2 at 8: instance id. */
    uint16_t peVlan;          /**< Field 3 at 12: provider edge VLAN. */
    uint16_t shareType;       /**< Field 4 at 14: type of sharing. */
    uint8_t l2vpnType;        /**< Field 5 at 16: L2VPN type. */
    uint8_t acFlag;           /**< Field 6 at 17: attachment circuit flags. */
    uint16_t encapType;       /**< Field 7 at 18: encapsulation type. */
    uint16_t ifType;          /**< Field 8 at 20: interface type. */
    uint16_t linkState;       /**< Field 9 at 22: link state. */
    uint8_t hubSpoke;         /**< Field 10 at 24: hub or spoke role. */
    uint8_t state;            /**< Field 11 at 25: state. */
    uint8_t isSelfBoard;      /**< Field 12 at 26: whether the interface is on this board. */
    uint8_t resv2;            /**< Field 13 at 27: reserved. */
    uint32_t flags;           /**< Field 14 at 28: record flags. */
    uint32_t srcPid;          /**< Field 15 at 32: source process id. */
    uint8_t svcStatus[2];     /**< Fields 16 and 17 at 36: service status, two one-byte elements. */
    uint8_t svcErrcode[2];    /**< Fields 18 and 19 at 38: service error code, two one-byte elements. */
    uint8_t glbSvcCtx[2][12]; /**< Fields 20 and 21 at 40: global service context, two elements of opaque bytes. */
    uint8_t svcCtx[2][44];    /**< Fields 22 and 23 at 64: service context, opaque bytes. */
    uint32_t batchVersion;    /**< Field 24 at 152: batch version, the only field that partial updates change. */
    uint64_t timeStampApp;    /**< Field 25 at 160: time stamp of the application side. */
    uint64_t timeStampSvc;    /**< Field 26 at 168: time stamp of the service side. */
} L2vpnVplsAcShare;

static_assert(sizeof(L2vpnVplsAcShare) == 176, "l2vpn_vpls_ac_share: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_VPLS_AC_SHARE_FIELD_ifIndex = 0,
    L2VPN_VPLS_AC_SHARE_FIELD_vrIndex = 1,
    L2VPN_VPLS_AC_SHARE_FIELD_instanceId = 2,
    L2VPN_VPLS_AC_SHARE_FIELD_peVlan = 3,
    L2VPN_VPLS_AC_SHARE_FIELD_shareType = 4,
    L2VPN_VPLS_AC_SHARE_FIELD_l2vpnType = 5,
    L2VPN_VPLS_AC_SHARE_FIELD_acFlag = 6,
    L2VPN_VPLS_AC_SHARE_FIELD_encapType = 7,
    L2VPN_VPLS_AC_SHARE_FIELD_ifType = 8,
    L2VPN_VPLS_AC_SHARE_FIELD_linkState = 9,
    L2VPN_VPLS_AC_SHARE_FIELD_hubSpoke = 10,
    L2VPN_VPLS_AC_SHARE_FIELD_state = 11,
    L2VPN_VPLS_AC_SHARE_FIELD_isSelfBoard = 12,
    L2VPN_VPLS_AC_SHARE_FIELD_resv2 = 13,
    L2VPN_VPLS_AC_SHARE_FIELD_flags = 14,
    L2VPN_VPLS_AC_SHARE_FIELD_srcPid = 15,
    L2VPN_VPLS_AC_SHARE_FIELD_svcStatus = 16,
    L2VPN_VPLS_AC_SHARE_FIELD_svcErrcode = 18,
    L2VPN_VPLS_AC_SHARE_FIELD_glbSvcCtx = 20,
    L2VPN_VPLS_AC_SHARE_FIELD_svcCtx = 22,
    L2VPN_VPLS_AC_SHARE_FIELD_batchVersion = 24,
    L2VPN_VPLS_AC_SHARE_FIELD_timeStampApp = 25,
    L2VPN_VPLS_AC_SHARE_FIELD_timeStampSvc = 26
};

/** Key indexes. */
enum {
    L2VPN_VPLS_AC_SHARE_KEY_primary_key = 0,
    L2VPN_VPLS_AC_SHARE_KEY_ifindex_key = 1,
    L2VPN_VPLS_AC_SHARE_KEY_instance_key = 2,
    L2VPN_VPLS_AC_SHARE_KEY_stp_key = 3,
    L2VPN_VPLS_AC_SHARE_KEY_ifinstance_key = 4
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_VPLS_AC_SHARE_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnVplsAcShareModule()) if the loaded library has this
 * schema.
 */
#define L2VPN_VPLS_AC_SHARE_SCHEMA_HASH UINT64_C(0x85EFB46307265747)

/* ---- Single records -------------------------------------------------------------------------- */

/**
 * Stores a record: inserts it, or replaces the one with the same primary key (ifIndex, vrIndex,
 * instanceId, peVlan and shareType).
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareWrite(const L2vpnVplsAcShare *record);

/**
 * Reads the record with the primary key that record holds, and overwrites record with it.
 * @param record in: the key fields; out: the whole record, unchanged on failure
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareRead(L2vpnVplsAcShare *record);

/**
 * Reads the record that a key request selects.
 * @param record out, unchanged on failure; must not be null (not checked)
 * @param key built by one of the Set...Key functions; must not be null (not checked)
 * @return 0; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareReadByKey(L2vpnVplsAcShare *record, const L2vpnDbKeyData *key);

/**
 * Deletes the record with the primary key that record holds; ignores its other fields.
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareDelete(const L2vpnVplsAcShare *record);

/**
 * Counts the table's records.
 * @param count out, written by the store; not checked here
 * @return the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareCount(uint32_t *count);

/* ---- Partial update -------------------------------------------------------------------------- */

/**
 * Sets the listed fields of a stored record to their values in record. Only batchVersion (24) can
 * be updated. The record and the list must not change during the call.
 * @param record selects the stored record by its primary key
 * @param fieldIds fieldCount field ids; checked by the setter only
 * @return L2VPN_DB_ERR_PARAM if record is null; else the store's result, which reflects the
 *         setter's
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareUpdateFields(const L2vpnVplsAcShare *record,
                                               const uint32_t *fieldIds, uint32_t fieldCount);

/** Updates one field; equivalent to UpdateFields with a list of one. */
uint32_t L2VPN_DB_L2vpnVplsAcShareUpdateField(const L2vpnVplsAcShare *record, uint32_t fieldId);

/* ---- Iteration and counts -------------------------------------------------------------------- */

/**
 * Opens an iterator over the records that match a key.
 * @param keyIndex L2VPN_VPLS_AC_SHARE_KEY_...
 * @param record holds the key's fields; null with the primary key means the whole table
 * @return a handle, to be released with ReleaseIter; with the primary key it can be the fast
 *         iterator (see CreateFastPriIter). 0 for an unknown key index, a null record with a
 *         secondary key, or if the store cannot open an iterator
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcShareCreateIter(uint32_t keyIndex,
                                                 const L2vpnVplsAcShare *record);

/**
 * Counts the records that match a key.
 * @param keyIndex L2VPN_VPLS_AC_SHARE_KEY_...
 * @param record holds the key's fields
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM for an unknown key index or a null record; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareCountByKey(uint32_t keyIndex, const L2vpnVplsAcShare *record,
                                             uint32_t *count);

/**
 * Opens an iterator over one full primary key. Returns the table's fast iterator if it is free: its
 * handle is the address of the control block, and it costs one read and no iterator in the store.
 * Otherwise opens a store iterator. Only the caller that received the handle may use it.
 * @param record holds the primary-key fields; returns 0 if null
 * @return a handle, to be released with ReleaseIter; 0 on failure
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcShareCreateFastPriIter(const L2vpnVplsAcShare *record);

/**
 * Delivers an iterator's next record.
 * @param iter from one of this table's Create...Iter functions
 * @param record out, unchanged unless the result is 0
 * @return 0; L2VPN_DB_ERR_PARAM if an argument is null; L2VPN_DB_NO_MORE after the single read of
 *         the fast iterator; else the store's result, such as its end code
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareGetNext(L2vpnDbIter *iter, L2vpnVplsAcShare *record);

/**
 * Releases an iterator. Must be called exactly once per handle, even if GetNext failed.
 * @return 0 for the fast iterator; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareReleaseIter(L2vpnDbIter *iter);

/* ---- Key 0: primary_key (ifIndex, vrIndex, instanceId, peVlan, shareType) -------------------- */

/**
 * Opens a store iterator over the records with the same ifIndex, vrIndex, instanceId, peVlan and
 * shareType as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcShareCreatePrimaryIter(const L2vpnVplsAcShare *record);

/**
 * Counts the records with the same ifIndex, vrIndex, instanceId, peVlan and shareType as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareCountByPrimaryKey(const L2vpnVplsAcShare *record,
                                                    uint32_t *count);

/**
 * Builds the key request, identifier word 0x00010010, from ifIndex, vrIndex, instanceId, peVlan and
 * shareType. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 16 bytes
 */
void L2VPN_DB_L2vpnVplsAcShareSetPrimaryKey(const L2vpnVplsAcShare *record,
                                            L2vpnDbKeyData *request, uint32_t *keyId, void *key);

/* ---- Key 1: ifindex_key (ifIndex) ------------------------------------------------------------ */

/**
 * Opens a store iterator over the records with the same ifIndex as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcShareCreateIfindexIter(const L2vpnVplsAcShare *record);

/**
 * Counts the records with the same ifIndex as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareCountByIfindexKey(const L2vpnVplsAcShare *record,
                                                    uint32_t *count);

/**
 * Builds the key request, identifier word 0x01090004, from ifIndex. No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 4 bytes
 */
void L2VPN_DB_L2vpnVplsAcShareSetIfindexKey(const L2vpnVplsAcShare *record,
                                            L2vpnDbKeyData *request, uint32_t *keyId, void *key);

/* ---- Key 2: instance_key (vrIndex, instanceId) ----------------------------------------------- */

/**
 * Opens a store iterator over the records with the same vrIndex and instanceId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcShareCreateInstanceIter(const L2vpnVplsAcShare *record);

/**
 * Counts the records with the same vrIndex and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareCountByInstanceKey(const L2vpnVplsAcShare *record,
                                                     uint32_t *count);

/**
 * Builds the key request, identifier word 0x02090008, from vrIndex and instanceId. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVplsAcShareSetInstanceKey(const L2vpnVplsAcShare *record,
                                             L2vpnDbKeyData *request, uint32_t *keyId, void *key);

/* ---- Key 3: stp_key (ifIndex, peVlan) -------------------------------------------------------- */

/**
 * Opens a store iterator over the records with the same ifIndex and peVlan as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcShareCreateStpIter(const L2vpnVplsAcShare *record);

/**
 * Counts the records with the same ifIndex and peVlan as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareCountByStpKey(const L2vpnVplsAcShare *record, uint32_t *count);

/**
 * Builds the key request, identifier word 0x03090006, from ifIndex and peVlan. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 6 bytes
 */
void L2VPN_DB_L2vpnVplsAcShareSetStpKey(const L2vpnVplsAcShare *record, L2vpnDbKeyData *request,
                                        uint32_t *keyId, void *key);

/* ---- Key 4: ifinstance_key (ifIndex, instanceId) --------------------------------------------- */

/**
 * Opens a store iterator over the records with the same ifIndex and instanceId as record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsAcShareCreateIfinstanceIter(const L2vpnVplsAcShare *record);

/**
 * Counts the records with the same ifIndex and instanceId as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareCountByIfinstanceKey(const L2vpnVplsAcShare *record,
                                                       uint32_t *count);

/**
 * Builds the key request, identifier word 0x04090008, from ifIndex and instanceId. No pointer is
 * checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 8 bytes
 */
void L2VPN_DB_L2vpnVplsAcShareSetIfinstanceKey(const L2vpnVplsAcShare *record,
                                               L2vpnDbKeyData *request, uint32_t *keyId,
                                               void *key);

/* ---- Conversions, maps and callbacks --------------------------------------------------------- */

/**
 * Maps a key index to its key code, (index << 8) | flags.
 * @return the code, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareMapKeyId(uint32_t keyIndex);

/**
 * Maps the field id of an update to the store's field id.
 * @return the id, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareMapUpdateFieldId(uint32_t fieldId);

/**
 * Setter, called by the store during an update. Sets batchVersion in the record object, once per
 * occurrence in the list.
 * @return 0; L2VPN_DB_ERR_PARAM if record or fieldIds is null, fieldCount is 0, or at the first
 *         other field id, or record->data is null; else the bitwise OR of the record object's
 *         results
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareSetFields(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                                            const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Packs a caller record into 172 bytes of stored record. No pointer is checked; the two must not
 * overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareSetAllFields(const L2vpnVplsAcShare *record, void *stored);

/**
 * Unpacks a stored record; the caller record's padding is unchanged. No pointer is checked; the two
 * must not overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareGetAllFields(const void *stored, L2vpnVplsAcShare *record);

/**
 * Initialises the control block's spin lock on the first call; later calls do nothing.
 * @return 0
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareGlbInit(void);

/**
 * Adds an amount to a counter, atomically and modulo 2^32. Called by the store.
 * @param statId below L2VPN_DB_STAT_COUNT; larger values are ignored
 */
void L2VPN_DB_L2vpnVplsAcShareStat(uint32_t statId, uint32_t amount);

/**
 * Reads a counter. The store defines the meaning of each.
 * @return the value, which may be stale; 0 if statId is not below L2VPN_DB_STAT_COUNT
 */
uint32_t L2VPN_DB_L2vpnVplsAcShareGetStat(uint32_t statId);

/* ---- Generic interface ----------------------------------------------------------------------- */

/**
 * Initialises the control block (GlbInit) and returns the table's functions for code that does not
 * know its record type. The caller owns the copy.
 */
L2vpnDalIntf L2VPN_DB_L2vpnVplsAcShareDalIntf(void);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcShareRead.
 * @return L2VPN_DB_ERR_PARAM if length is not 176; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsAcShareRead(void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcShareWrite.
 * @return L2VPN_DB_ERR_PARAM if length is not 176; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsAcShareWrite(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcShareUpdateFields.
 * @return L2VPN_DB_ERR_PARAM if length is not 176; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsAcShareUpdate(const void *record, uint32_t length,
                                          const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcShareDelete.
 * @return L2VPN_DB_ERR_PARAM if length is not 176; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsAcShareRemove(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcShareCreateIter. The length of a null
 * record is ignored.
 * @return 0 if record is not null and length is not 176; else the result of that call
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DAL_L2vpnVplsAcShareCreateIter(uint32_t keyIndex, const void *record,
                                                  uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcShareGetNext.
 * @return L2VPN_DB_ERR_PARAM if length is not 176; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsAcShareGetNext(L2vpnDbIter *iter, void *record, uint32_t length);

/** Equivalent to L2VPN_DB_L2vpnVplsAcShareCount, which is the function in the interface table. */
uint32_t L2VPN_DAL_L2vpnVplsAcShareCount(uint32_t *count);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsAcShareCountByKey. The length of a null
 * record is checked, too.
 * @return L2VPN_DB_ERR_PARAM if length is not 176; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsAcShareCountByKey(uint32_t keyIndex, const void *record,
                                              uint32_t length, uint32_t *count);

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: ifIndex,
 * vrIndex, instanceId, peVlan, shareType, flags, svcStatus, svcErrcode, glbSvcCtx, svcCtx,
 * batchVersion. A piece that does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnVplsAcShare
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnVplsAcShareFormat(uint32_t formatId, const void *record, char *buffer,
                                          uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnVplsAcShareFormatTable(const L2vpnVplsAcShare *record, char *buffer,
                                               uint32_t bufferLength, const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnVplsAcShareModule(void);

/* ---- Exported data --------------------------------------------------------------------------- */

/** Control block, 208 bytes; see L2vpnDbGlbCb. */
typedef struct L2vpnVplsAcShareGlbCb {
    uint32_t keyId[4]; /**< At 0: the fast iterator's key identifier area. */
    uint8_t key[16];   /**< At 16: its key, 16 bytes. */
    L2vpnDbGlbCb cb;   /**< At 32: the part common to all tables. */
} L2vpnVplsAcShareGlbCb;

/** The table's control block. Its address is the handle of the fast iterator. */
extern L2vpnVplsAcShareGlbCb g_l2vpnL2vpnVplsAcShareGlbCb;

/** The table's descriptor, followed by its update-field map (1 pair) and its key map (5 pairs). */
extern L2vpnDbTblIntf g_l2vpnL2vpnVplsAcShareIntf;

/* ---- Imported from the platform (see platform.h) --------------------------------------------- */

L2vpnDbRecObj *db_create_l2vpn_vpls_ac_share_obj(L2vpnDbModuleIntf *module);

void db_release_l2vpn_vpls_ac_share_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

void db_reset_l2vpn_vpls_ac_share_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

uint32_t db_set_l2vpn_vpls_ac_share_all_fields(L2vpnDbRecObj *object,
                                               const L2vpnDbRecData *record);

uint32_t db_set_l2vpn_vpls_ac_share_batchVersion(L2vpnDbRecObj *object, uint32_t value);

#ifdef __cplusplus
}
#endif

#endif
