/* SPDX-License-Identifier: MIT */
/* Generated from schema/catalog/l2vpn_vpls_macpingup.toml by ./dev generate. */
/**
 * @file l2vpn_vpls_macpingup.h
 * Result of a MAC ping, reported upward; it has no service fields and no batchVersion.
 *
 * The conventions at the head of l2vpn_db.h hold for every function: ownership, result codes,
 * threads.
 */
#ifndef L2VPN_DB_L2VPN_VPLS_MACPINGUP_H
#define L2VPN_DB_L2VPN_VPLS_MACPINGUP_H

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Record ---------------------------------------------------------------------------------- */

/** Caller record, 40 bytes. The stored record is packed: 40 bytes. */
typedef struct L2vpnVplsMacpingup {
    uint32_t vrId;       /**< Field 0 at 0: virtual router id. */
    uint16_t vsiInstId;  /**< Field 1 at 4: id of the virtual switch instance. */
    uint16_t userVlanId; /**< Field 2 at 6: user VLAN id. */
    uint8_t macAddr[6];  /**< Field 3 at 8: MAC address. */
    uint8_t resultFlag;  /**< Field 4 at 14: result of the MAC ping. */
    uint8_t portType;    /**< Field 5 at 15: port type. */
    uint16_t vlanId;     /**< Field 6 at 16: VLAN id. */
    uint8_t tnlType;     /**< Field 7 at 18: tunnel type. */
    uint8_t resv;        /**< Field 8 at 19: reserved. */
    uint32_t tnlId;      /**< Field 9 at 20: tunnel id. */
    uint32_t ifIndex;    /**< Field 10 at 24: interface index. */
    uint32_t vrfIndex;   /**< Field 11 at 28: VRF index. */
    uint64_t timeStamp;  /**< Field 12 at 32: time stamp. */
} L2vpnVplsMacpingup;

static_assert(sizeof(L2vpnVplsMacpingup) == 40, "l2vpn_vpls_macpingup: record size");

/** Field ids, as the schema descriptor and the update functions use them. */
enum {
    L2VPN_VPLS_MACPINGUP_FIELD_vrId = 0,
    L2VPN_VPLS_MACPINGUP_FIELD_vsiInstId = 1,
    L2VPN_VPLS_MACPINGUP_FIELD_userVlanId = 2,
    L2VPN_VPLS_MACPINGUP_FIELD_macAddr = 3,
    L2VPN_VPLS_MACPINGUP_FIELD_resultFlag = 4,
    L2VPN_VPLS_MACPINGUP_FIELD_portType = 5,
    L2VPN_VPLS_MACPINGUP_FIELD_vlanId = 6,
    L2VPN_VPLS_MACPINGUP_FIELD_tnlType = 7,
    L2VPN_VPLS_MACPINGUP_FIELD_resv = 8,
    L2VPN_VPLS_MACPINGUP_FIELD_tnlId = 9,
    L2VPN_VPLS_MACPINGUP_FIELD_ifIndex = 10,
    L2VPN_VPLS_MACPINGUP_FIELD_vrfIndex = 11,
    L2VPN_VPLS_MACPINGUP_FIELD_timeStamp = 12
};

/** Key indexes. */
enum {
    L2VPN_VPLS_MACPINGUP_KEY_primary_key = 0
};

/** Version of the schema, raised when a release appends fields or keys. */
#define L2VPN_VPLS_MACPINGUP_SCHEMA_VERSION 1

/**
 * Equal to l2vpn_schema_hash(L2VPN_AST_L2vpnVplsMacpingupModule()) if the loaded library has this
 * schema.
 */
#define L2VPN_VPLS_MACPINGUP_SCHEMA_HASH UINT64_C(0x3D13626E33A5CD7C)

/* ---- Single records -------------------------------------------------------------------------- */

/**
 * Stores a record: inserts it, or replaces the one with the same primary key (vrId, vsiInstId,
 * userVlanId and macAddr).
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupWrite(const L2vpnVplsMacpingup *record);

/**
 * Reads the record with the primary key that record holds, and overwrites record with it.
 * @param record in: the key fields; out: the whole record, unchanged on failure
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupRead(L2vpnVplsMacpingup *record);

/**
 * Reads the record that a key request selects.
 * @param record out, unchanged on failure; must not be null (not checked)
 * @param key built by one of the Set...Key functions; must not be null (not checked)
 * @return 0; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupReadByKey(L2vpnVplsMacpingup *record,
                                              const L2vpnDbKeyData *key);

/**
 * Deletes the record with the primary key that record holds; ignores its other fields.
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupDelete(const L2vpnVplsMacpingup *record);

/**
 * Counts the table's records.
 * @param count out, written by the store; not checked here
 * @return the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupCount(uint32_t *count);

/* ---- Partial update -------------------------------------------------------------------------- */

/**
 * Sets the listed fields of a stored record to their values in record. No field of this table can
 * be updated: the setter always fails. The record and the list must not change during the call.
 * @param record selects the stored record by its primary key
 * @param fieldIds fieldCount field ids; checked by the setter only
 * @return L2VPN_DB_ERR_PARAM if record is null; else the store's result, which reflects the
 *         setter's
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupUpdateFields(const L2vpnVplsMacpingup *record,
                                                 const uint32_t *fieldIds, uint32_t fieldCount);

/** Updates one field; equivalent to UpdateFields with a list of one. */
uint32_t L2VPN_DB_L2vpnVplsMacpingupUpdateField(const L2vpnVplsMacpingup *record,
                                                uint32_t fieldId);

/* ---- Iteration and counts -------------------------------------------------------------------- */

/**
 * Opens an iterator over the records that match a key.
 * @param keyIndex L2VPN_VPLS_MACPINGUP_KEY_...
 * @param record holds the key's fields; null with the primary key means the whole table
 * @return a handle, to be released with ReleaseIter; with the primary key it can be the fast
 *         iterator (see CreateFastPriIter). 0 for an unknown key index, a null record with a
 *         secondary key, or if the store cannot open an iterator
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsMacpingupCreateIter(uint32_t keyIndex,
                                                   const L2vpnVplsMacpingup *record);

/**
 * Counts the records that match a key.
 * @param keyIndex L2VPN_VPLS_MACPINGUP_KEY_...
 * @param record holds the key's fields
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM for an unknown key index or a null record; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupCountByKey(uint32_t keyIndex, const L2vpnVplsMacpingup *record,
                                               uint32_t *count);

/**
 * Opens an iterator over one full primary key. Returns the table's fast iterator if it is free: its
 * handle is the address of the control block, and it costs one read and no iterator in the store.
 * Otherwise opens a store iterator. Only the caller that received the handle may use it.
 * @param record holds the primary-key fields; returns 0 if null
 * @return a handle, to be released with ReleaseIter; 0 on failure
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsMacpingupCreateFastPriIter(const L2vpnVplsMacpingup *record);

/**
 * Delivers an iterator's next record.
 * @param iter from one of this table's Create...Iter functions
 * @param record out, unchanged unless the result is 0
 * @return 0; L2VPN_DB_ERR_PARAM if an argument is null; L2VPN_DB_NO_MORE after the single read of
 *         the fast iterator; else the store's result, such as its end code
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupGetNext(L2vpnDbIter *iter, L2vpnVplsMacpingup *record);

/**
 * Releases an iterator. Must be called exactly once per handle, even if GetNext failed.
 * @return 0 for the fast iterator; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupReleaseIter(L2vpnDbIter *iter);

/* ---- Key 0: primary_key (vrId, vsiInstId, userVlanId, macAddr) ------------------------------- */

/**
 * Opens a store iterator over the records with the same vrId, vsiInstId, userVlanId and macAddr as
 * record.
 * @return a handle, to be released with ReleaseIter; 0 if record is null or the store cannot open
 *         one
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DB_L2vpnVplsMacpingupCreatePrimaryIter(const L2vpnVplsMacpingup *record);

/**
 * Counts the records with the same vrId, vsiInstId, userVlanId and macAddr as record.
 * @param count out, written by the store; not checked here
 * @return 0; L2VPN_DB_ERR_PARAM if record is null; else the store's result
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupCountByPrimaryKey(const L2vpnVplsMacpingup *record,
                                                      uint32_t *count);

/**
 * Builds the key request, identifier word 0x0001000E, from vrId, vsiInstId, userVlanId and macAddr.
 * No pointer is checked.
 * @param request out, zeroed by the caller; refers to keyId and key, which must outlive it
 * @param keyId out, first word of a zeroed area of 16 bytes
 * @param key out, 14 bytes
 */
void L2VPN_DB_L2vpnVplsMacpingupSetPrimaryKey(const L2vpnVplsMacpingup *record,
                                              L2vpnDbKeyData *request, uint32_t *keyId, void *key);

/* ---- Conversions, maps and callbacks --------------------------------------------------------- */

/**
 * Maps a key index to its key code, (index << 8) | flags.
 * @return the code, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupMapKeyId(uint32_t keyIndex);

/**
 * Maps the field id of an update to the store's field id.
 * @return the id, or L2VPN_DB_NO_MAPPING
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupMapUpdateFieldId(uint32_t fieldId);

/**
 * Setter, called by the store during an update. Ignores its arguments.
 * @return L2VPN_DB_ERR_PARAM: no field of this table can be updated
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupSetFields(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                                              const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Packs a caller record into 40 bytes of stored record. No pointer is checked; the two must not
 * overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupSetAllFields(const L2vpnVplsMacpingup *record, void *stored);

/**
 * Unpacks a stored record; the caller record's padding is unchanged. No pointer is checked; the two
 * must not overlap.
 * @return unspecified
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupGetAllFields(const void *stored, L2vpnVplsMacpingup *record);

/**
 * Initialises the control block's spin lock on the first call; later calls do nothing.
 * @return 0
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupGlbInit(void);

/**
 * Adds an amount to a counter, atomically and modulo 2^32. Called by the store.
 * @param statId below L2VPN_DB_STAT_COUNT; larger values are ignored
 */
void L2VPN_DB_L2vpnVplsMacpingupStat(uint32_t statId, uint32_t amount);

/**
 * Reads a counter. The store defines the meaning of each.
 * @return the value, which may be stale; 0 if statId is not below L2VPN_DB_STAT_COUNT
 */
uint32_t L2VPN_DB_L2vpnVplsMacpingupGetStat(uint32_t statId);

/* ---- Generic interface ----------------------------------------------------------------------- */

/**
 * Initialises the control block (GlbInit) and returns the table's functions for code that does not
 * know its record type. The caller owns the copy.
 */
L2vpnDalIntf L2VPN_DB_L2vpnVplsMacpingupDalIntf(void);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsMacpingupRead.
 * @return L2VPN_DB_ERR_PARAM if length is not 40; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsMacpingupRead(void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsMacpingupWrite.
 * @return L2VPN_DB_ERR_PARAM if length is not 40; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsMacpingupWrite(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsMacpingupUpdateFields.
 * @return L2VPN_DB_ERR_PARAM if length is not 40; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsMacpingupUpdate(const void *record, uint32_t length,
                                            const uint32_t *fieldIds, uint32_t fieldCount);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsMacpingupDelete.
 * @return L2VPN_DB_ERR_PARAM if length is not 40; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsMacpingupRemove(const void *record, uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsMacpingupCreateIter. The length of a null
 * record is ignored.
 * @return 0 if record is not null and length is not 40; else the result of that call
 */
__attribute__((warn_unused_result))
L2vpnDbIter *L2VPN_DAL_L2vpnVplsMacpingupCreateIter(uint32_t keyIndex, const void *record,
                                                    uint32_t length);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsMacpingupGetNext.
 * @return L2VPN_DB_ERR_PARAM if length is not 40; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsMacpingupGetNext(L2vpnDbIter *iter, void *record, uint32_t length);

/**
 * Equivalent to L2VPN_DB_L2vpnVplsMacpingupCount, which is the function in the interface table.
 */
uint32_t L2VPN_DAL_L2vpnVplsMacpingupCount(uint32_t *count);

/**
 * Checks the record length, then calls L2VPN_DB_L2vpnVplsMacpingupCountByKey. The length of a null
 * record is checked, too.
 * @return L2VPN_DB_ERR_PARAM if length is not 40; else the result of that call
 */
uint32_t L2VPN_DAL_L2vpnVplsMacpingupCountByKey(uint32_t keyIndex, const void *record,
                                                uint32_t length, uint32_t *count);

/* ---- Formatting and schema ------------------------------------------------------------------- */

/**
 * Formats a record as one line of text, "name:value" items joined by the separator: vrId,
 * vsiInstId, userVlanId, macAddr. A MAC field shows the low 32 bits of its address in memory, not
 * its contents. A piece that does not fit is omitted.
 * @param formatId L2VPN_AST_WHOLE_RECORD; other values print "not support"
 * @param record a L2vpnVplsMacpingup
 * @param buffer out, terminated text of at most bufferLength bytes
 * @return the number of characters without the terminator; L2VPN_AST_ERR if a pointer is null or
 *         bufferLength is 0; for another formatId the result of sprintf_s
 */
uint32_t L2VPN_AST_L2vpnVplsMacpingupFormat(uint32_t formatId, const void *record, char *buffer,
                                            uint32_t bufferLength, const char *separator);

/**
 * Formats like Format with L2VPN_AST_WHOLE_RECORD. No argument is checked.
 * @return the number of characters without the terminator
 */
uint32_t L2VPN_AST_L2vpnVplsMacpingupFormatTable(const L2vpnVplsMacpingup *record, char *buffer,
                                                 uint32_t bufferLength, const char *separator);

/** Returns the table's schema descriptor. The library owns it; do not modify it. */
L2vpnAstModule *L2VPN_AST_L2vpnVplsMacpingupModule(void);

/* ---- Exported data --------------------------------------------------------------------------- */

/** Control block, 208 bytes; see L2vpnDbGlbCb. */
typedef struct L2vpnVplsMacpingupGlbCb {
    uint32_t keyId[4]; /**< At 0: the fast iterator's key identifier area. */
    uint8_t key[16];   /**< At 16: its key, 14 bytes. */
    L2vpnDbGlbCb cb;   /**< At 32: the part common to all tables. */
} L2vpnVplsMacpingupGlbCb;

/** The table's control block. Its address is the handle of the fast iterator. */
extern L2vpnVplsMacpingupGlbCb g_l2vpnL2vpnVplsMacpingupGlbCb;

/** The table's descriptor, followed by its update-field map (empty) and its key map (1 pair). */
extern L2vpnDbTblIntf g_l2vpnL2vpnVplsMacpingupIntf;

/* ---- Imported from the platform (see platform.h) --------------------------------------------- */

L2vpnDbRecObj *db_create_l2vpn_vpls_macpingup_obj(L2vpnDbModuleIntf *module);

void db_release_l2vpn_vpls_macpingup_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

void db_reset_l2vpn_vpls_macpingup_object(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);

uint32_t db_set_l2vpn_vpls_macpingup_all_fields(L2vpnDbRecObj *object,
                                                const L2vpnDbRecData *record);

#ifdef __cplusplus
}
#endif

#endif
