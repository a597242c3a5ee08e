# SPDX-License-Identifier: MIT
"""Tests the gdb pretty-printers, which gdb loads automatically with the library.

usage: debugger_test.py FOLDER PROGRAM OTHER_VERSION
"""

import json
import subprocess
import sys
import unittest

FOLDER, PROGRAM, OTHER_VERSION = sys.argv[1:]

# Prints the output of each command.
ASK = """python
import gdb, json
def ask(command):
    try:
        return gdb.execute(command, to_string=True)
    except gdb.error as error:
        return str(error)
answers = [ask(command) for command in json.loads({commands!r})]
print("answers:" + json.dumps(answers))
end"""

PW = ("l2vpn_vpls_pw (34 of 43 fields are 0) = {vrIndex = 1, pwTunnelId = 7001, pwTunnelType = 3, mtu = 1500, "
      "peerIp = 10.0.0.2, svcStatus = {0, 65}, svcCtx = {52 zero bytes, c000ee + 49 zero bytes}, "
      "batchVersion = 1, timeStampSvc = 1099511627776}")
KEY = "primary_key of l2vpn_vpls_pw: vrIndex 1, pwTunnelId 7001, pwTunnelType 3"


class Debugger(unittest.TestCase):
    maxDiff = None

    def ask(self, program: str, place: str, *commands: str) -> list:
        result = subprocess.run(
            ["gdb", "--batch", "-nx", "-iex", f"add-auto-load-safe-path {FOLDER}",
             "-ex", "set breakpoint pending on", "-ex", f"break {place}", "-ex", "run",
             "-ex", ASK.format(commands=json.dumps(commands)), program],
            capture_output=True, text=True, timeout=60, check=False)
        for line in result.stdout.splitlines():
            if line.startswith("answers:"):
                return json.loads(line.removeprefix("answers:"))
        self.fail(result.stdout + result.stderr)

    def check(self, program: str, place: str, move: str, expected: dict) -> None:
        _, *answers = self.ask(program, place, move, *expected)
        for (command, text), answer in zip(expected.items(), answers, strict=True):
            with self.subTest(command):
                self.assertEqual(answer, text)

    def test_everything_in_one_frame(self):
        _, handle, block = self.ask(PROGRAM, "look", "up", "output/x (unsigned long)of_the_store",
                                    "output/x (unsigned long)block")
        self.check(PROGRAM, "look", "up", {
            "output pw": PW,
            "output found": PW,
            "output empty": "l2vpn_vpls_pw (all fields are 0)",
            "output ping": "l2vpn_vpls_macping (11 of 14 fields are 0) = {vrId = 1, vsiInstId = 100, "
                           "macAddr = 00:1b:21:ab:cd:ef}",
            "output/x ping": "l2vpn_vpls_macping (11 of 14 fields are 0) = {vrId = 0x1, vsiInstId = 0x64, "
                             "macAddr = 00:1b:21:ab:cd:ef}",

            'output $l2vpn_stored("l2vpn_vpls_pw", stored)': PW,
            "output $l2vpn_stored(table, &whole)": PW,
            "output $l2vpn_stored(*table, whole)": PW,
            'output $l2vpn_stored("l2vpn_vpls_pw", stored).mtu': "1500",
            "output $l2vpn_stored(table, part)":
                "found a record of 4 bytes, expected 276, the stored size of l2vpn_vpls_pw",
            'output $l2vpn_stored("l2vpn_vpls_pv", stored)':
                'found "l2vpn_vpls_pv", expected a table; did you mean "l2vpn_vpls_pw"?',
            'output $l2vpn_stored("x", stored)': 'found "x", expected a table',
            'output $l2vpn_stored("l2vpn_bfdlnk", stored)':
                "l2vpn_bfdlnk has no stored records: it can only be described and formatted",

            "output key": "key 0: 9 bytes 01000000591b000003",
            "output no_key": "no key",
            "output too_short": "key 0: 8 bytes 01000000591b0000, but length 9 in word 0x00010009",
            "output flawed": "key 7: 9 bytes 01000000591b000003, but flags 5, but length 8 in word 0x07050008",
            "output $l2vpn_key(table, key)": f'"{KEY}"',
            'output $l2vpn_key("l2vpn_vpls_macping", &ping_key)':
                '"primary_key of l2vpn_vpls_macping: vrId 1, vsiInstId 100, userVlanId 0, macAddr 00:1b:21:ab:cd:ef"',
            "output $l2vpn_key(table, too_short)":
                '"primary_key of l2vpn_vpls_pw, which has 9 bytes: 8 bytes 01000000591b0000, '
                'but length 9 in word 0x00010009"',
            "output $l2vpn_key(table, flawed)":
                '"key 7, which l2vpn_vpls_pw does not have: 9 bytes 01000000591b000003, '
                'but flags 5, but length 8 in word 0x07050008"',
            "output $l2vpn_key(table, stored)": "found a char *, expected a L2vpnDbKeyData or a pointer to one",

            "python print(DISPLAYS['ipv6'](bytes.fromhex('20010db8' + 23 * '0' + '1')))": "2001:db8::1\n",
            "output none": "0x0, no iterator",
            "output of_the_store": f"{handle}, a store iterator",
            "output fast": f"{block}, the fast iterator of l2vpn_vpls_pw",
            "output *table": "descriptor of l2vpn_vpls_pw",
            "output *block": f"control block of l2vpn_vpls_pw = {{fast iterator = in use, GetNext called 1 times "
                             f"(modulo 256), its key = {KEY}, spin lock = free, not initialised, mutex = free, "
                             "counters = {inserted 1, read 1, key_iter_opened 1}}",
            "output locked": "control block of l2vpn_vpls_macping = {fast iterator = free, its key = no key, "
                             "spin lock = held, mutex = held by thread 4242, counters = all 0}",
            "output locked.cb": "control block = {fast iterator = free, its key = no key, "
                                "spin lock = held, mutex = held by thread 4242, counters = all 0}",
        })

    def test_requests_inside_the_store(self):
        self.check(PROGRAM, "DAL_VELD_Write", "frame", {"output $l2vpn_stored(table, record)": PW})
        self.check(PROGRAM, "DAL_VELD_Read", "frame", {"output *key": KEY, "output $l2vpn_key(table, key)": f'"{KEY}"'})

    def test_record_of_another_version(self):
        self.check(OTHER_VERSION, "look", "next", {
            "output link": "l2vpn_bfdlnk (3 of 6 fields are 0) = {vrIndex = 1, pwTunnelId = 7001, bfdStatus = 255}",
            "output *&shorter": "{vrIndex = 1}",
            'output $l2vpn_stored("l2vpn_vpls_pw", bytes)':
                "found a L2vpnVplsPw of 4 bytes, expected 280: the program was built for another version",
        })

    def test_without_debug_information(self):
        *_, answer = self.ask(OTHER_VERSION, "look", "next", "nosharedlibrary",
                              'output $l2vpn_stored("l2vpn_vpls_inst", bytes)')
        self.assertEqual(answer, "found no debug information for L2vpnVplsInst; "
                                 "load it, for example with symbol-file")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
