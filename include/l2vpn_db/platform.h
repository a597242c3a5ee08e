/* SPDX-License-Identifier: MIT */
/**
 * @file platform.h
 * The functions that libl2vpn_db imports: the contract between the library and a platform. The
 * embedded platform (libl2vpn_platform.so), a router's and the tests' recording platform implement
 * it and are interchangeable. A platform must be loaded, with visible symbols, before the library.
 *
 * In addition to the functions below, a platform provides the record-object functions of each table
 * <t> with typed access (<t> is the table's name without "l2vpn_"), declared in the table's header
 * under "Imported from the platform":
 *
 *     db_create_l2vpn_<t>_obj           L2vpnDbCreateObjFn
 *     db_release_l2vpn_<t>_object       L2vpnDbObjFn
 *     db_reset_l2vpn_<t>_object         L2vpnDbObjFn
 *     db_set_l2vpn_<t>_all_fields       L2vpnDbSetAllFieldsFn
 *     db_set_l2vpn_<t>_batchVersion     uint32_t (L2vpnDbRecObj *, uint32_t), if it has the field
 *
 * The library calls only the last one; the store calls the others through the table descriptor.
 *
 * Rules for every store operation: the first argument is the module interface block, the second
 * identifies the table by its address and name. The library owns requests and the buffers that they
 * point to; they are valid only during the call. Results are unsigned 32-bit codes, 0 for success,
 * and reach the library's caller unchanged; a store's codes should differ from the library's
 * (l2vpn_db.h). Any thread may call. The store counts a table's events by calling the descriptor's
 * stat function with an identifier below 22.
 */
#ifndef L2VPN_DB_PLATFORM_H
#define L2VPN_DB_PLATFORM_H

#include <stddef.h>

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Inserts the record, or replaces the one with the same primary key. */
uint32_t DAL_VELD_Write(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                        const L2vpnDbRecData *record);

/** Reads the record with the given key; fills exactly record->length bytes. On failure the buffer's
 *  contents are unspecified. The key must not overlap the buffer. */
uint32_t DAL_VELD_Read(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table, const L2vpnDbKeyData *key,
                       L2vpnDbRecData *record);

/**
 * Changes fields of the record with the given primary key: calls update->setFields with record,
 * the record's object, update->fieldIds and update->fieldCount. record->data is the caller
 * record, not a stored one; only the setter reads it.
 */
uint32_t DAL_VELD_Update(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                         const L2vpnDbKeyData *key, const L2vpnDbRecData *record,
                         const L2vpnDbUpdData *update);

/** Deletes the record with the given primary key. */
uint32_t DAL_VELD_Delete(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                         const L2vpnDbKeyData *key);

/** Opens an iterator over the whole table; returns 0 on failure. */
L2vpnDbIter *DAL_VELD_CreateIterator(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table);

/** Opens an iterator over the records with the given key; returns 0 on failure. */
L2vpnDbIter *DAL_VELD_CreateIteratorByKey(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                          const L2vpnDbKeyData *key);

/** Delivers the iterator's next record; fills record->length bytes, or none on failure. */
uint32_t DAL_VELD_GetNextEntry(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table, L2vpnDbIter *iter,
                               L2vpnDbRecData *record);

/** Releases an iterator. Must reject any value that is not an open iterator, including 0. */
uint32_t DAL_VELD_ReleaseIterator(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                                  L2vpnDbIter *iter);

/** Counts the table's records. */
uint32_t DAL_VELD_Count(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table, uint32_t *count);

/** Counts the records with the given key. */
uint32_t DAL_VELD_CountByKey(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                             const L2vpnDbKeyData *key, uint32_t *count);

/**
 * Adds an amount to a counter, atomically and modulo 2^32; returns the sum. The counter may lie in
 * memory that several processes share.
 */
uint32_t ZAV_AtomicAdd(uint32_t *counter, uint32_t amount);

/**
 * Copies count bytes between buffers that do not overlap.
 * @return 0, or non-zero if a pointer is null, the buffers overlap or count exceeds
 *         destinationSize
 */
int memcpy_s(void *destination, size_t destinationSize, const void *source, size_t count);

/**
 * Prints like sprintf into a buffer of known size.
 * @return the number of characters without the terminator, or a negative value if destination or
 *         format is null or the text does not fit
 */
int sprintf_s(char *destination, size_t destinationSize, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

#ifdef __cplusplus
}
#endif

#endif
