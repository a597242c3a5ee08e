/* SPDX-License-Identifier: MIT */
/**
 * @file l2vpn_db.h
 * Types, result codes and the module interface common to all tables. Each table's record and
 * functions are declared in its own header, l2vpn_<table>.h.
 *
 * Conventions of the whole interface:
 *
 *  1. Records are plain structures owned by the caller. The library keeps no pointer to any
 *     argument after a call returns, allocates nothing and stores nothing.
 *  2. A function that can fail returns an unsigned 32-bit result code: one of the codes below, or
 *     the table store's own result, passed through unchanged.
 *  3. A function that opens an iterator returns a handle, or 0 on failure. The caller owns the
 *     handle and must pass it to the same table's ReleaseIter exactly once.
 *  4. Any thread may call any function at any time, unless the function's comment says otherwise.
 *  5. Integers are in native byte order; lengths and sizes are in bytes.
 */
#ifndef L2VPN_DB_L2VPN_DB_H
#define L2VPN_DB_L2VPN_DB_H

#include <assert.h>
#include <stdint.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Result codes and marker values ------------------------------------------------------- */

/** Success. */
#define L2VPN_DB_OK UINT32_C(0)
/** A required pointer is null, a key index is unknown, or a record length does not match. */
#define L2VPN_DB_ERR_PARAM UINT32_C(1)
/** End of the fast iterator. The store's iterators end with a code of the store. */
#define L2VPN_DB_NO_MORE UINT32_C(60)
/** No such entry: returned by MapUpdateFieldId and MapKeyId only, never a result code. */
#define L2VPN_DB_NO_MAPPING UINT32_C(0x3FFFFFFF)
/** Result of a formatter for a null pointer or an empty buffer. */
#define L2VPN_AST_ERR UINT32_C(0xFFFFFFFF)

/** The only format id that the formatters accept: the whole record. */
#define L2VPN_AST_WHOLE_RECORD UINT32_C(0xFFFFFFFF)
/** Number of statistics counters of a table, with identifiers 0 to 21. */
#define L2VPN_DB_STAT_COUNT UINT32_C(22)
/** Length of the key identifier area of every key request. */
#define L2VPN_DB_KEY_ID_LENGTH UINT32_C(16)

/* ---- Module interface --------------------------------------------------------------------- */

/** The platform's memory service: two words that only the platform interprets. */
typedef struct L2vpnDbMemIntf {
    uintptr_t words[2];
} L2vpnDbMemIntf;

/** The platform's log service: one word that only the platform interprets. */
typedef struct L2vpnDbLogIntf {
    uintptr_t word;
} L2vpnDbLogIntf;

/** The registered services: first argument of every store call, not used by the library itself. */
typedef struct L2vpnDbModuleIntf {
    uintptr_t memory[2]; /**< At 0: the registered L2vpnDbMemIntf, or 0. */
    uintptr_t log;       /**< At 16: the registered L2vpnDbLogIntf, or 0. */
} L2vpnDbModuleIntf;

/** The module interface block of the process; zero until the services are registered. */
extern L2vpnDbModuleIntf g_l2vpnDbModuleIntf;

/** Returns the address of g_l2vpnDbModuleIntf, never null. */
L2vpnDbModuleIntf *L2VPN_DB_ModuleIntf(void);

/**
 * Registers the platform's memory service; a later call replaces it. Call it before the first
 * table operation and before other threads use the library: the block has no lock.
 * @param service  copied; must not be null (not checked)
 */
void L2VPN_DB_MemIntfReg(const L2vpnDbMemIntf *service);

/**
 * Registers the platform's log service; a later call replaces it. Same calling rules as
 * L2VPN_DB_MemIntfReg.
 * @param service  copied; must not be null (not checked)
 */
void L2VPN_DB_LogIntfReg(const L2vpnDbLogIntf *service);

/* ---- Handles ------------------------------------------------------------------------------ */

/**
 * An opaque iterator handle. The address of a table's control block, cast to this type, is the
 * table's fast iterator; all other values are handles of the store.
 */
typedef struct L2vpnDbIter L2vpnDbIter;

/** An opaque record object of the platform: a stored record being filled or updated. */
typedef struct L2vpnDbRecObj L2vpnDbRecObj;

/* ---- Requests to the store ---------------------------------------------------------------- */

/** Record request: a record passed to or from the store. Valid for one call. */
typedef struct L2vpnDbRecData {
    void *data;        /**< At 0: the stored record (in an update: the caller record). */
    uint32_t length;   /**< At 8: its length. */
    uint32_t reserved; /**< At 12: 0. */
} L2vpnDbRecData;

/** Key request: a key and its value. Valid for one call. The Set...Key functions fill it. */
typedef struct L2vpnDbKeyData {
    /** At 0: key identifier area, 16 bytes. Its first word is the key identifier word,
     *  (key index << 24) | (flags << 16) | key length, flags 1 for the primary key and 9 for a
     *  secondary one; the rest is 0. */
    const uint32_t *keyId;
    uint32_t keyIdLength; /**< At 8: L2VPN_DB_KEY_ID_LENGTH. */
    uint32_t reserved1;   /**< At 12: 0. */
    const void *key;      /**< At 16: the members' values, packed in key order. */
    uint32_t keyLength;   /**< At 24: length of the value, as in the key identifier word. */
    uint32_t reserved2;   /**< At 28: 0. */
} L2vpnDbKeyData;

/**
 * Setter: copies the listed fields of a caller record into a record object. The store calls it
 * during an update, on the updating thread.
 * @param record      record request whose data is the caller record
 * @param object      record object of the stored record
 * @param fieldIds    field ids, fieldCount of them
 * @return 0, L2VPN_DB_ERR_PARAM, or the bitwise OR of the record object's results
 */
typedef uint32_t (*L2vpnDbSetFieldsFn)(const L2vpnDbRecData *record, L2vpnDbRecObj *object,
                                       const uint32_t *fieldIds, uint32_t fieldCount);

/** Update request: the fields to change and the setter. Valid for one call. */
typedef struct L2vpnDbUpdData {
    const uint32_t *fieldIds;     /**< At 0: the caller's field ids. */
    uint32_t fieldCount;          /**< At 8: their number. */
    uint32_t reserved;            /**< At 12: 0. */
    L2vpnDbSetFieldsFn setFields; /**< At 16: the table's setter. */
} L2vpnDbUpdData;

/* ---- Table descriptor --------------------------------------------------------------------- */

/** Creates a record object of one table; returns null if allocation fails. */
typedef L2vpnDbRecObj *(*L2vpnDbCreateObjFn)(L2vpnDbModuleIntf *module);
/** Releases or resets a record object of one table; a null object is allowed. */
typedef void (*L2vpnDbObjFn)(L2vpnDbModuleIntf *module, L2vpnDbRecObj *object);
/** Fills a record object of one table from a stored record; returns 0 or a platform code. */
typedef uint32_t (*L2vpnDbSetAllFieldsFn)(L2vpnDbRecObj *object, const L2vpnDbRecData *record);
/** Adds an amount to one of a table's 22 statistics counters. */
typedef void (*L2vpnDbStatFn)(uint32_t statId, uint32_t amount);

/**
 * Table descriptor, second argument of every store call. The exported object continues with the
 * update-field map, pairs of 32-bit {caller field id, store field id}, and the key map, pairs of
 * 32-bit {key index, key code}; neither changes after load.
 */
typedef struct L2vpnDbTblIntf {
    const char *name;                   /**< Word 0: the table's name, "l2vpn_..." */
    L2vpnDbCreateObjFn createObject;    /**< Word 1: platform's db_create_..._obj */
    L2vpnDbObjFn releaseObject;         /**< Word 2: platform's db_release_..._object */
    L2vpnDbObjFn resetObject;           /**< Word 3: platform's db_reset_..._object */
    L2vpnDbSetAllFieldsFn setAllFields; /**< Word 4: platform's db_set_..._all_fields */
    L2vpnDbStatFn stat;                 /**< Word 5: the table's L2VPN_DB_...Stat */
    uint64_t reserved[4];               /**< Words 6 to 9: 0. */
} L2vpnDbTblIntf;

/* ---- Table control block ------------------------------------------------------------------ */

/**
 * The part of the control block that is the same for all tables. In the block it follows the fast
 * iterator's 16-byte key identifier area and its key buffer (the primary key's length, rounded up
 * to a multiple of 8); each table's header declares the whole block. Only the library writes it.
 */
typedef struct L2vpnDbGlbCb {
    L2vpnDbKeyData keyRequest; /**< At 0: the fast iterator's key request. */
    uint8_t inUse;             /**< At 32: 1 while the fast iterator is handed out. */
    uint8_t delivered;         /**< At 33: its GetNext calls so far, modulo 256. */
    uint8_t spinLockReady;     /**< At 34: 1 once the spin lock has been initialised. */
    uint8_t reserved;          /**< At 35: alignment. */
    uint32_t spinLock;         /**< At 36: guards the fast iterator's slot; 0 if unlocked. */
    uint64_t mutex[6];         /**< At 40: guards the initialisation of the spin lock. */
    uint32_t stat[22];         /**< At 88: counters, defined by the store. */
} L2vpnDbGlbCb;

/* ---- Generic interface -------------------------------------------------------------------- */

/**
 * A table's operations for code that does not know its record type. The caller passes the length
 * of its record; a length that differs from the table's caller record size is rejected with
 * L2VPN_DB_ERR_PARAM or handle 0.
 */
typedef struct L2vpnDalIntf {
    /** Slot 0: reads by the record's primary-key fields into the record. */
    uint32_t (*read)(void *record, uint32_t length);
    /** Slot 1: inserts or replaces. */
    uint32_t (*write)(const void *record, uint32_t length);
    /** Slot 2: changes the listed fields of the stored record with the same primary key. */
    uint32_t (*update)(const void *record, uint32_t length, const uint32_t *fieldIds,
                       uint32_t fieldCount);
    /** Slot 3: deletes by primary key. */
    uint32_t (*remove)(const void *record, uint32_t length);
    /** Slot 4: opens an iterator over a key; key index 0 and a null record: the whole table. */
    L2vpnDbIter *(*createIter)(uint32_t keyIndex, const void *record, uint32_t length);
    /** Slot 5: releases an iterator. */
    uint32_t (*releaseIter)(L2vpnDbIter *iter);
    /** Slot 6: delivers the next record. */
    uint32_t (*getNext)(L2vpnDbIter *iter, void *record, uint32_t length);
    /** Slot 7: counts the table's records. */
    uint32_t (*count)(uint32_t *count);
    /** Slot 8: counts the records with the same key as the record. */
    uint32_t (*countByKey)(uint32_t keyIndex, const void *record, uint32_t length, uint32_t *count);
    /** Slots 9 to 12: null. */
    void (*reserved[4])(void);
} L2vpnDalIntf;

/* ---- Schema descriptors ------------------------------------------------------------------- */

/** One field of a record. */
typedef struct L2vpnAstField {
    const char *name;  /**< Word 0. */
    uint64_t position; /**< Word 1: offset << 32 | width << 16 | field id. */
} L2vpnAstField;

/** One key of a table. */
typedef struct L2vpnAstKey {
    const char *name;     /**< Word 0. */
    uint64_t index;       /**< Word 1: 0 for the primary key. */
    const char **members; /**< Word 2: names of the member fields, in key order. */
    uint64_t memberCount; /**< Word 3. */
} L2vpnAstKey;

/** Renders a record as one line of text; see the L2VPN_AST_...Format functions. */
typedef uint32_t (*L2vpnAstFormatFn)(uint32_t formatId, const void *record, char *buffer,
                                     uint32_t bufferLength, const char *separator);

/** Schema of one table: fields, keys, formatter. Callers must not modify it. */
typedef struct L2vpnAstModule {
    const char *name;        /**< Word 0. */
    L2vpnAstField *fields;   /**< Word 1: in record order. */
    L2vpnAstKey *keys;       /**< Word 2: in key index order. */
    uint64_t sizes;          /**< Word 3: record size << 32 | number of keys << 16 | of fields. */
    L2vpnAstFormatFn format; /**< Word 4: the table's formatter; null if none. */
    uint64_t reserved[2];    /**< Words 5 and 6: 0. */
} L2vpnAstModule;

/** One step of l2vpn_schema_hash: 64-bit FNV-1a over the text and its terminator. */
static inline uint64_t l2vpn_hash_text(uint64_t hash, const char *text) {
    uint8_t byte;
    do {
        memcpy(&byte, text++, sizeof byte);
        hash = (hash ^ byte) * UINT64_C(0x100000001B3);
    } while (byte != 0);
    return hash;
}

/** One step of l2vpn_schema_hash: 64-bit FNV-1a over the word's bytes, lowest byte first. */
static inline uint64_t l2vpn_hash_word(uint64_t hash, uint64_t word) {
    for (int shift = 0; shift < 64; shift += 8)
        hash = (hash ^ (word >> shift & 0xFFU)) * UINT64_C(0x100000001B3);
    return hash;
}

/**
 * Hash of a table's schema descriptor: name and sizes; per field, name and position; per key, name,
 * index, memberCount and the members' names. A program compares it with the constant in the table's
 * header to check that the loaded library has the schema that the program was compiled with:
 *
 *     l2vpn_schema_hash(L2VPN_AST_L2vpnVplsPwModule()) == L2VPN_VPLS_PW_SCHEMA_HASH
 */
static inline uint64_t l2vpn_schema_hash(const L2vpnAstModule *module) {
    const uint64_t keys = module->sizes >> 16 & 0xFFFFU, fields = module->sizes & 0xFFFFU;
    uint64_t hash = l2vpn_hash_text(UINT64_C(0xCBF29CE484222325), module->name);
    hash = l2vpn_hash_word(hash, module->sizes);
    for (uint64_t i = 0; i < fields; ++i) {
        hash = l2vpn_hash_text(hash, module->fields[i].name);
        hash = l2vpn_hash_word(hash, module->fields[i].position);
    }
    for (uint64_t i = 0; i < keys; ++i) {
        const L2vpnAstKey *key = &module->keys[i];
        hash = l2vpn_hash_text(hash, key->name);
        hash = l2vpn_hash_word(hash, key->index);
        hash = l2vpn_hash_word(hash, key->memberCount);
        for (uint64_t m = 0; m < key->memberCount; ++m)
            hash = l2vpn_hash_text(hash, key->members[m]);
    }
    return hash;
}

#ifdef __cplusplus
}
#endif

#endif
