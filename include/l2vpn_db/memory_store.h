/* SPDX-License-Identifier: MIT */
/**
 * @file memory_store.h
 * The in-memory table store of the embedded platform, libl2vpn_platform.so: its guarantees beyond
 * platform.h, its result codes, the events that it counts and the services that it uses.
 *
 * The store keeps the records of a table until the process exits; dlclose unloads neither library.
 * It finds the table by the descriptor's name, which must not be overwritten; descriptors with
 * equal names share a table.
 *
 * Records
 *  1. A table holds at most one record with a given primary key. Write inserts the record or
 *     replaces the one with its primary key; all secondary keys change with it at once.
 *  2. Read takes any key of the table. With a secondary key, it reads the record that an iterator
 *     over that key would deliver first.
 *  3. Update and Delete take a primary key. If the record exists, Update calls the request's setter
 *     once, on the calling thread and without a lock, with the record request, a record object that
 *     holds the record, the field ids and their count. The record request must carry a record; the
 *     store checks neither its length nor the field ids. If the setter returns 0, the fields that
 *     it has set are changed in the record as it is then, otherwise nothing changes; Update returns
 *     the setter's result. If the record has been deleted meanwhile, Update returns
 *     L2VPN_STORE_NOT_FOUND. If the setter changes the primary key, nothing changes, either
 *     (L2VPN_STORE_KEY_CHANGED).
 *  4. Each call is atomic: other threads never see a part of it, and a call that returns a code
 *     other than 0 has changed nothing. (One exception: a Read that finds no record because
 *     another thread is deleting it may have written to the caller's buffer.)
 *
 * Iterators
 *  5. An iterator delivers, exactly once and whole, every record that is in the table under the
 *     iterator's key from the iterator's creation until it is reached, with its contents at that
 *     time. It does not deliver records that are deleted, or whose key changes, before they are
 *     reached, nor records that are added later, even if a deleted record returns. The order is
 *     unspecified, but stable while nothing changes.
 *  6. An iterator over a key without records is valid and ends immediately. Handle 0 means that
 *     the request was invalid or an allocation failed; the log and the statistics show which.
 *  7. An iterator that has ended stays ended, even if records are written. It lives until it is
 *     released. A handle that is 0, released, of another table or not an iterator's is rejected, on
 *     any thread. Two threads may share an iterator; each record is delivered to one of them.
 *
 * Threads
 *  8. Any number of threads may use one table or several. Reads and counts never block each other,
 *     and no call waits for a setter. A read waits for a write of the same table only while that
 *     changes the table, not while it allocates memory; it spins for up to 20 microseconds before
 *     it sleeps. An iterator holds the lock while it delivers at most 32 records or skips at most
 *     1,024 that were inserted later and 65,536 deleted ones.
 *  9. A setter may call any function, store operations included, and need not return: it may throw,
 *     call longjmp or end its thread. Then no lock is held, nothing has changed and no event is
 *     counted; the memory of the record object is leaked. The memory service must return. It must
 *     not call a store operation, nor must a signal handler that has interrupted a call of the
 *     store that holds a lock: the operation returns L2VPN_STORE_REENTERED (or handle 0), on any
 *     table, has no effect and is not counted. The memory service may call functions that do not
 *     re-enter the store: memcpy_s, sprintf_s, ZAV_AtomicAdd, the library's conversions, key
 *     builders and formatters. The log service and the statistics functions are called without any
 *     lock of the store and may call any function. A thread is not cancelled while it holds a lock.
 *
 * Memory
 * 10. The store never frees the memory of records and indexes. A table reuses the memory of deleted
 *     records before it allocates more. An index takes at most 64 bytes per record, from 1,000
 *     records on, for any key values, including those that an attacker chooses. Each key of each
 *     table has random hash keys, so that the hashes of any two different values collide with a
 *     probability of 2^-32. Collisions cost time and no more memory than that.
 *
 * Statistics
 * 11. Each call on a table of the store counts one event, through the descriptor's statistics
 *     function, after it has taken effect. One thread at a time, the first to use the table, owns
 *     its statistics and reports each event immediately; when it exits, another thread takes over.
 *     Other threads that use the table batch their events: a batch is reported when it holds
 *     L2VPN_STORE_EVENT_LOT events, when the thread uses another table, and when it ends or exits
 *     the process. A thread that cannot allocate memory at its first event does not batch, nor does
 *     a statistics function or a signal handler that interrupts the counting of an event. In a
 *     single-threaded program, every event is reported immediately.
 *
 * Processes
 * 12. The child of fork() has a store of its own: a copy with all records, open iterators and
 *     counters, and with free locks, even if other threads of the parent were using the store. It
 *     lacks the events that other threads had not reported yet. The memory service must not fork,
 *     and neither must a signal handler that interrupts a call, except to call exec in the child.
 *     _Fork, vfork and clone run no fork handlers: after them, the child must not use the store. A
 *     store operation called from a fork handler of the program while the store is locked returns
 *     L2VPN_STORE_REENTERED.
 */
#ifndef L2VPN_DB_MEMORY_STORE_H
#define L2VPN_DB_MEMORY_STORE_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "l2vpn_db/l2vpn_db.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Result codes ------------------------------------------------------------------------- */

/** The table has no record with that primary key or, in Read, with that key. */
#define L2VPN_STORE_NOT_FOUND UINT32_C(0x10000)
/** The iterator has delivered all its records. */
#define L2VPN_STORE_END UINT32_C(0x10001)
/** The descriptor is null or names no table of the store. */
#define L2VPN_STORE_UNKNOWN_TABLE UINT32_C(0x10002)
/** A required pointer is null; in Update, also the record of the record request. */
#define L2VPN_STORE_NULL_POINTER UINT32_C(0x10003)
/** A record's length is not the table's stored length. */
#define L2VPN_STORE_BAD_LENGTH UINT32_C(0x10004)
/** The key identifier area is not 16 bytes long. */
#define L2VPN_STORE_BAD_KEY_AREA UINT32_C(0x10005)
/** The table has no key with the index in the key identifier word. */
#define L2VPN_STORE_UNKNOWN_KEY UINT32_C(0x10006)
/** The flags in the key identifier word are not 1 for the primary key or 9 for a secondary key. */
#define L2VPN_STORE_BAD_KEY_FLAGS UINT32_C(0x10007)
/** The length in the key identifier word or in the key request is not that of the key. */
#define L2VPN_STORE_BAD_KEY_LENGTH UINT32_C(0x10008)
/** Update or Delete with a secondary key. */
#define L2VPN_STORE_NOT_PRIMARY UINT32_C(0x10009)
/** The setter has changed the primary key. */
#define L2VPN_STORE_KEY_CHANGED UINT32_C(0x1000A)
/** A record object is null or of another table. */
#define L2VPN_STORE_BAD_OBJECT UINT32_C(0x1000B)
/** The handle is not an open iterator of the table. */
#define L2VPN_STORE_BAD_ITERATOR UINT32_C(0x1000C)
/** The call came from the memory service or a signal handler while the store holds a lock. */
#define L2VPN_STORE_REENTERED UINT32_C(0x1000D)
/** An allocation failed, or the table is full. */
#define L2VPN_STORE_NO_MEMORY UINT32_C(0x1000E)
/** L2VPN_STORE_WriteIf: the table does not hold the expected record, or holds an unexpected one. */
#define L2VPN_STORE_CONFLICT UINT32_C(0x1000F)

/**
 * Describes a result code of l2vpn_db.h or of the store in a short English phrase. The string is
 * constant and never null; for other codes, such as a setter's, it is "unknown result code". May be
 * called by any thread.
 */
static inline const char *l2vpn_store_result_text(uint32_t code) {
    switch (code) {
    case L2VPN_DB_OK:
        return "success";
    case L2VPN_DB_ERR_PARAM:
        return "a pointer is null, the key index is unknown or the record's length is wrong";
    case L2VPN_DB_NO_MORE:
        return "no more records";
    case L2VPN_AST_ERR:
        return "the record is null or there is no buffer";
    case L2VPN_STORE_NOT_FOUND:
        return "no such record";
    case L2VPN_STORE_END:
        return "no more records";
    case L2VPN_STORE_UNKNOWN_TABLE:
        return "the descriptor is null or names no table of the store";
    case L2VPN_STORE_NULL_POINTER:
        return "a required pointer is null";
    case L2VPN_STORE_BAD_LENGTH:
        return "the record's length is not the table's stored length";
    case L2VPN_STORE_BAD_KEY_AREA:
        return "the key identifier area is not 16 bytes long";
    case L2VPN_STORE_UNKNOWN_KEY:
        return "the table has no key with this index";
    case L2VPN_STORE_BAD_KEY_FLAGS:
        return "the key's flags are not 1 for the primary key or 9 for a secondary key";
    case L2VPN_STORE_BAD_KEY_LENGTH:
        return "the key's length is not that of the table's key";
    case L2VPN_STORE_NOT_PRIMARY:
        return "a secondary key where the primary key is required";
    case L2VPN_STORE_KEY_CHANGED:
        return "the setter changed the primary key";
    case L2VPN_STORE_BAD_OBJECT:
        return "the record object is null or of another table";
    case L2VPN_STORE_BAD_ITERATOR:
        return "the handle is not an open iterator of the table";
    case L2VPN_STORE_REENTERED:
        return "called from a memory service or a signal handler inside the store";
    case L2VPN_STORE_NO_MEMORY:
        return "out of memory";
    case L2VPN_STORE_CONFLICT:
        return "the stored record is not the expected one";
    default:
        return "unknown result code";
    }
}

/* ---- Statistics --------------------------------------------------------------------------- */

/** Maximum number of events in a thread's batch. */
#define L2VPN_STORE_EVENT_LOT UINT32_C(64)

/** Identifiers of a table's statistics counters. Each counts calls, modulo 2^32. */
typedef enum L2vpnStoreStat {
    L2VPN_STORE_STAT_INSERTED = 0,         /**< Write: a new record. */
    L2VPN_STORE_STAT_REPLACED = 1,         /**< Write: an existing record replaced. */
    L2VPN_STORE_STAT_READ = 2,             /**< Read by primary key: found. */
    L2VPN_STORE_STAT_READ_MISSED = 3,      /**< Read by primary key: no such record. */
    L2VPN_STORE_STAT_KEY_READ = 4,         /**< Read by secondary key: found. */
    L2VPN_STORE_STAT_KEY_READ_MISSED = 5,  /**< Read by secondary key: no such record. */
    L2VPN_STORE_STAT_DELETED = 6,          /**< Delete: done. */
    L2VPN_STORE_STAT_DELETE_MISSED = 7,    /**< Delete: no such record. */
    L2VPN_STORE_STAT_UPDATED = 8,          /**< Update: kept. */
    L2VPN_STORE_STAT_UPDATE_REFUSED = 9,   /**< Update: discarded because of the setter. WriteIf:
                                                conflict. */
    L2VPN_STORE_STAT_UPDATE_MISSED = 10,   /**< Update: no such record. */
    L2VPN_STORE_STAT_ITER_OPENED = 11,     /**< Iterator over the whole table opened. */
    L2VPN_STORE_STAT_KEY_ITER_OPENED = 12, /**< Iterator over a key opened. */
    L2VPN_STORE_STAT_ITER_RELEASED = 13,   /**< Iterator of either kind released. */
    L2VPN_STORE_STAT_DELIVERED = 14,       /**< Iterator: a record delivered. */
    L2VPN_STORE_STAT_ITER_ENDED = 15,      /**< Iterator: L2VPN_STORE_END returned. */
    L2VPN_STORE_STAT_COUNTED = 16,         /**< Records of the table counted. */
    L2VPN_STORE_STAT_KEY_COUNTED = 17,     /**< Records with a key counted. */
    L2VPN_STORE_STAT_BAD_REQUEST = 18,     /**< Rejected: a null pointer, a wrong record length. */
    L2VPN_STORE_STAT_BAD_KEY = 19,         /**< Rejected: an invalid key request. */
    L2VPN_STORE_STAT_BAD_ITERATOR = 20,    /**< L2VPN_STORE_BAD_ITERATOR. */
    L2VPN_STORE_STAT_NO_MEMORY = 21        /**< L2VPN_STORE_NO_MEMORY. */
} L2vpnStoreStat;

/* ---- Operations --------------------------------------------------------------------------- */

/**
 * Reads records of one table by their keys, several times as fast as single calls of DAL_VELD_Read
 * where the records are not in the processor's cache. Each record is read, checked, counted and
 * logged as by a call of its own. The call as a whole is not atomic.
 * @param keys     count key requests, with any of the table's keys
 * @param records  count record requests; their buffers overlap neither each other nor the keys
 * @param codes    count result codes, as of DAL_VELD_Read; may be null
 * @return 0 if all reads returned 0, otherwise the first other code; if the call is rejected as a
 *         whole, because of the table or because keys or records is null and count is not 0, all
 *         codes are that one
 */
uint32_t L2VPN_STORE_ReadMany(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                              const L2vpnDbKeyData *keys, const L2vpnDbRecData *records,
                              uint32_t count, uint32_t *codes);

/**
 * Delivers an iterator's next records, as successive calls of DAL_VELD_GetNextEntry would, one
 * after the other without gaps. Writers may proceed between them.
 * @param first      the first record's request: data has room for capacity records, length is the
 *                   stored length
 * @param delivered  set to the number of records, 0 on failure; each counts one event
 * @return 0 if there are any, or capacity is 0; L2VPN_STORE_END if there are none left
 */
uint32_t L2VPN_STORE_NextMany(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table, L2vpnDbIter *iter,
                              const L2vpnDbRecData *first, uint32_t capacity, uint32_t *delivered);

/**
 * Writes a record only if the table holds the expected one: a compare-and-swap of records.
 * @param expected  the record that the table must hold under the primary key of `record`, compared
 *                  byte for byte; null if it must hold none
 * @return 0 if the record has been written; L2VPN_STORE_CONFLICT, with nothing changed, if the
 *         stored record differs, is missing or is unexpected (counted as
 *         L2VPN_STORE_STAT_UPDATE_REFUSED)
 */
uint32_t L2VPN_STORE_WriteIf(L2vpnDbModuleIntf *module, L2vpnDbTblIntf *table,
                             const L2vpnDbRecData *expected, const L2vpnDbRecData *record);

/* ---- Services ----------------------------------------------------------------------------- */

/**
 * Word 0 of the memory service: returns memory aligned for any type, or null, like malloc. Both
 * words must be registered before the first table is used; otherwise the store uses malloc and
 * free.
 */
typedef void *(*L2vpnStoreAllocateFn)(size_t size);
/** Word 1 of the memory service: frees memory that word 0 has allocated. */
typedef void (*L2vpnStoreReleaseFn)(void *memory);
/** The word of the log service: logs a line of text, which is valid until the function returns. */
typedef void (*L2vpnStoreLogFn)(const char *text);

/** Makes a memory service of two functions, for L2VPN_DB_MemIntfReg. */
static inline L2vpnDbMemIntf l2vpn_store_memory_service(L2vpnStoreAllocateFn allocate,
                                                        L2vpnStoreReleaseFn release) {
    L2vpnDbMemIntf service;
    memcpy(&service.words[0], &allocate, sizeof allocate);
    memcpy(&service.words[1], &release, sizeof release);
    return service;
}

/** Makes a log service of a function, for L2VPN_DB_LogIntfReg. */
static inline L2vpnDbLogIntf l2vpn_store_log_service(L2vpnStoreLogFn log) {
    L2vpnDbLogIntf service;
    memcpy(&service.word, &log, sizeof log);
    return service;
}

#ifdef __cplusplus
}
#endif

#endif
