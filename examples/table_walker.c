/* SPDX-License-Identifier: MIT */
/*
 * Walks over any table without knowing its record type.
 *
 *     table_walker TABLE RECORD...
 *     table_walker l2vpn_vpls_inst vrIndex=1,instanceId=100
 *
 * Writes the records, because the store belongs to the process and begins empty. Then prints every
 * record of the table and, for each key, the number of records with the same key. Two exported
 * functions, found by the table's name, return the schema descriptor with fields and keys, and the
 * table's interface. New tables need no change here.
 */
#include <ctype.h>
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <l2vpn_db/l2vpn_db.h>

typedef L2vpnAstModule *(*SchemaFn)(void);
typedef L2vpnDalIntf (*InterfaceFn)(void);

static _Noreturn void fail(const char *what, const char *which) {
    fprintf(stderr, "table_walker: %s %s\n", what, which);
    exit(EXIT_FAILURE);
}

/* L2VPN_AST_L2vpnVplsPwModule for l2vpn_vpls_pw, "L2VPN_AST_" and "Module"; null if there is none.
 */
static void *exported(const char *table, const char *family, const char *function) {
    char name[256];
    size_t length = (size_t)snprintf(name, sizeof name, "%s", family);
    int first = 1; /* of a word */
    for (const char *c = table; *c != '\0' && length < sizeof name - 32; ++c) {
        if (*c != '_')
            name[length++] = (char)(first ? toupper((unsigned char)*c) : *c);
        first = *c == '_';
    }
    snprintf(name + length, sizeof name - length, "%s", function);
    return dlsym(RTLD_DEFAULT, name);
}

/* ---- Descriptors ---- */

static size_t record_size(const L2vpnAstModule *schema) {
    return schema->sizes >> 32;
}
static size_t key_count(const L2vpnAstModule *schema) {
    return schema->sizes >> 16 & 0xFFFF;
}
static size_t field_count(const L2vpnAstModule *schema) {
    return schema->sizes & 0xFFFF;
}
static size_t offset_of(const L2vpnAstField *field) {
    return field->position >> 32;
}
static size_t width_of(const L2vpnAstField *field) {
    return field->position >> 16 & 0xFFFF;
}

/* A pair of bytes has the width of an integer and is treated as one. */
static int is_integer(const L2vpnAstField *field) {
    const size_t width = width_of(field);
    return width == 1 || width == 2 || width == 4 || width == 8;
}

static const L2vpnAstField *field_named(const L2vpnAstModule *schema, const char *name) {
    for (size_t i = 0; i < field_count(schema); ++i)
        if (strcmp(schema->fields[i].name, name) == 0)
            return &schema->fields[i];
    fail("no such field:", name);
}

/* ---- Records ---- */

/* "vrIndex=1,instanceId=100": the other fields stay 0. */
static void fill(const L2vpnAstModule *schema, unsigned char *record, char *text) {
    for (char *item = strtok(text, ","); item != NULL; item = strtok(NULL, ",")) {
        char *value = strchr(item, '='), *end;
        if (value == NULL)
            fail("expected field=number:", item);
        *value++ = '\0';
        const L2vpnAstField *field = field_named(schema, item);
        const uint64_t number = strtoull(value, &end, 0);
        if (!is_integer(field) || *value == '\0' || *end != '\0')
            fail("expected a number for", item);
        if (width_of(field) < 8 && number >> 8 * width_of(field) != 0)
            fail("too large for its field:", item);
        memcpy(record + offset_of(field), &number, width_of(field)); /* little-endian */
    }
}

static void show(const L2vpnAstModule *schema, const unsigned char *record) {
    for (size_t i = 0; i < field_count(schema); ++i) {
        const L2vpnAstField *field = &schema->fields[i];
        const unsigned char *at = record + offset_of(field);
        uint64_t number = 0;
        if (is_integer(field)) {
            memcpy(&number, at, width_of(field));
            if (number != 0)
                printf(" %s=%llu", field->name, (unsigned long long)number);
            continue;
        }
        for (size_t byte = 0; byte < width_of(field); ++byte)
            number |= at[byte];
        if (number != 0)
            printf(" %s=%zu bytes", field->name, width_of(field));
    }
    printf("\n");
}

static void show_keys(const L2vpnAstModule *schema, const L2vpnDalIntf *table, const void *record) {
    for (uint32_t i = 0; i < key_count(schema); ++i) {
        const L2vpnAstKey *key = &schema->keys[i];
        uint32_t count = 0;
        if (table->countByKey(i, record, (uint32_t)record_size(schema), &count) != L2VPN_DB_OK)
            fail("cannot count by", key->name);
        printf("    %u with the same", count);
        for (uint64_t m = 0; m < key->memberCount; ++m)
            printf("%s %s", m > 0 ? "," : "", key->members[m]);
        printf("\n");
    }
}

int main(int argc, char **argv) {
    if (argc < 2)
        fail("usage: table_walker", "TABLE field=number,field=number... ...");
    /* ISO C has no cast from an object pointer to a function pointer. */
    SchemaFn schema_function;
    InterfaceFn interface_function;
    *(void **)&schema_function = exported(argv[1], "L2VPN_AST_", "Module");
    *(void **)&interface_function = exported(argv[1], "L2VPN_DB_", "DalIntf");
    if (schema_function == NULL || strcmp(schema_function()->name, argv[1]) != 0)
        fail("no such table:", argv[1]);
    if (interface_function == NULL)
        fail("can be described and formatted only:", argv[1]);
    const L2vpnAstModule *schema = schema_function();
    const L2vpnDalIntf table = interface_function();
    const uint32_t size = (uint32_t)record_size(schema);

    unsigned char *record = malloc(size);
    if (record == NULL)
        fail("no memory for a record of", argv[1]);
    for (int i = 2; i < argc; ++i) {
        memset(record, 0, size);
        fill(schema, record, argv[i]);
        if (table.write(record, size) != L2VPN_DB_OK)
            fail("cannot write", argv[i]);
    }

    /* Key 0 without a record is the whole table. Result codes that end a walk are the store's. */
    L2vpnDbIter *iter = table.createIter(0, NULL, size);
    while (table.getNext(iter, record, size) == L2VPN_DB_OK) {
        printf("%s", schema->name);
        show(schema, record);
        show_keys(schema, &table, record);
    }
    free(record);
    return table.releaseIter(iter) == L2VPN_DB_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}
