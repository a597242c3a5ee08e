/* SPDX-License-Identifier: MIT */
/* Linked with the library but with no platform: the loader must not let it begin. */
#include <stdio.h>

#include "l2vpn_db/l2vpn_db.h"

int main(void) {
    puts("the program runs without a platform");
    return L2VPN_DB_ModuleIntf() == NULL;
}
