/* SPDX-License-Identifier: MIT */
/* Linked with the library but without a platform: the loader must refuse to start it. */
#include <stdio.h>

#include "l2vpn_db/l2vpn_db.h"

int main(void) {
    puts("the program runs without a platform");
    return L2VPN_DB_ModuleIntf() == NULL;
}
