/* SPDX-License-Identifier: MIT */
/**
 * @file memory_store.h
 * The in-memory table store of the embedded platform, libl2vpn_platform.so: what it promises
 * beyond platform.h, the result codes that it returns and the events that it counts.
 *
 * The store keeps the records of a table for as long as the process runs. It finds the table by
 * the descriptor's name; neither the module interface block nor the descriptor's address matters
 * to it.
 *
 * Records
 *  1. A table holds at most one record with a given primary key. Write inserts it, or replaces the
 *     one that is there; all secondary keys follow the record at once.
 *  2. Read takes any key of the table. By a secondary key it reads the record that an iterator
 *     over that key would deliver first.
 *  3. Update and Delete take a primary key. Update calls the setter once, on the calling thread,
 *     if the record exists; the change is kept if the setter returns 0 and dropped otherwise, and
 *     the setter's result is the result of Update. The setter must not call the store for the same
 *     table. A setter that gives the record another primary key changes nothing.
 *  4. Each call takes effect as a whole, or not at all: other threads never see a part of it, and
 *     a call that returns another code than 0 has changed no record and no caller's buffer.
 *
 * Iterators
 *  5. An iterator delivers, exactly once, every record that is in the table under the iterator's
 *     key, its contents as they are when it is delivered, from the iterator's creation to its end.
 *     A record that comes or goes in between may or may not be delivered; one that is deleted is
 *     not delivered afterwards. The order is the store's own; while nothing changes, it is the
 *     same each time.
 *  6. An iterator over a key without records is an iterator that ends at once. Handle 0 means that
 *     the request was wrong or that there was no memory; the statistics tell which.
 *  7. Once an iterator has ended, it stays at its end, whatever is written. It lives until it is
 *     released. A handle that is 0, released, of another table or of no iterator at all is refused.
 *
 * Statistics
 *  8. Each call on a table that the store knows counts exactly one event, after it has taken
 *     effect and outside all of the store's locks. If the descriptor has no statistics function,
 *     nothing is counted.
 *
 * Counts are uint32_t.
 */
#ifndef L2VPN_DB_MEMORY_STORE_H
#define L2VPN_DB_MEMORY_STORE_H

#include <stdint.h>

/* ---- Result codes ------------------------------------------------------------------------- */

/** The table has no record with that primary key or, in Read, with that key. */
#define L2VPN_STORE_NOT_FOUND UINT32_C(0x10000)
/** The iterator has delivered all its records. */
#define L2VPN_STORE_END UINT32_C(0x10001)
/** The descriptor is null, or names no table of the store. */
#define L2VPN_STORE_UNKNOWN_TABLE UINT32_C(0x10002)
/** A pointer that the operation needs is null, or a record object is not of the table. */
#define L2VPN_STORE_BAD_REQUEST UINT32_C(0x10003)
/** A record's length is not the table's stored length. */
#define L2VPN_STORE_BAD_LENGTH UINT32_C(0x10004)
/**
 * The key request is not one of the table's: its identifier area is not 16 bytes long, it has an
 * unknown key index or other flags or another length than that key, or it is a secondary key where
 * the primary one is needed. Or a setter has changed the primary key.
 */
#define L2VPN_STORE_BAD_KEY UINT32_C(0x10005)
/** The handle is not an open iterator of the table. */
#define L2VPN_STORE_BAD_ITERATOR UINT32_C(0x10006)
/** There is not enough memory. */
#define L2VPN_STORE_NO_MEMORY UINT32_C(0x10007)

/* ---- Statistics --------------------------------------------------------------------------- */

/** Identifiers of a table's statistics counters. Each counts calls, modulo 2^32. */
typedef enum L2vpnStoreStat {
    L2VPN_STORE_STAT_INSERTED = 0,         /**< Write: a new record. */
    L2VPN_STORE_STAT_REPLACED = 1,         /**< Write: a record in place of another. */
    L2VPN_STORE_STAT_READ = 2,             /**< Read by primary key: found. */
    L2VPN_STORE_STAT_READ_MISSED = 3,      /**< Read by primary key: no such record. */
    L2VPN_STORE_STAT_KEY_READ = 4,         /**< Read by secondary key: found. */
    L2VPN_STORE_STAT_KEY_READ_MISSED = 5,  /**< Read by secondary key: no such record. */
    L2VPN_STORE_STAT_DELETED = 6,          /**< Delete: done. */
    L2VPN_STORE_STAT_DELETE_MISSED = 7,    /**< Delete: no such record. */
    L2VPN_STORE_STAT_UPDATED = 8,          /**< Update: kept. */
    L2VPN_STORE_STAT_UPDATE_REFUSED = 9,   /**< Update: dropped, as the setter returned non-zero. */
    L2VPN_STORE_STAT_UPDATE_MISSED = 10,   /**< Update: no such record. */
    L2VPN_STORE_STAT_ITER_OPENED = 11,     /**< Iterator over the whole table opened. */
    L2VPN_STORE_STAT_KEY_ITER_OPENED = 12, /**< Iterator over a key opened. */
    L2VPN_STORE_STAT_ITER_RELEASED = 13,   /**< Iterator of either kind released. */
    L2VPN_STORE_STAT_DELIVERED = 14,       /**< Iterator: a record delivered. */
    L2VPN_STORE_STAT_ITER_ENDED = 15,      /**< Iterator: L2VPN_STORE_END returned. */
    L2VPN_STORE_STAT_COUNTED = 16,         /**< Records of the table counted. */
    L2VPN_STORE_STAT_KEY_COUNTED = 17,     /**< Records with a key counted. */
    L2VPN_STORE_STAT_BAD_REQUEST = 18,     /**< L2VPN_STORE_BAD_REQUEST or ..._BAD_LENGTH. */
    L2VPN_STORE_STAT_BAD_KEY = 19,         /**< L2VPN_STORE_BAD_KEY. */
    L2VPN_STORE_STAT_BAD_ITERATOR = 20,    /**< L2VPN_STORE_BAD_ITERATOR. */
    L2VPN_STORE_STAT_NO_MEMORY = 21        /**< L2VPN_STORE_NO_MEMORY. */
} L2vpnStoreStat;

#endif
