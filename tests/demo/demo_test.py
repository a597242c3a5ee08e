# SPDX-License-Identifier: MIT
"""Runs the demo as its user does: output and exit status.

usage: demo_test.py EXAMPLE COMMAND...
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

EXAMPLE, *COMMAND = sys.argv[1:]


class Demo(unittest.TestCase):
    def run_demo(self, *arguments):
        return subprocess.run([*COMMAND, *arguments], capture_output=True, text=True, timeout=60,
                              check=False)

    def run_on(self, text):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "records.json")
            path.write_text(text, encoding="utf-8")
            return str(path), self.run_demo(str(path))

    def test_output(self):
        result = self.run_demo(EXAMPLE)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        tables = json.loads(pathlib.Path(EXAMPLE).read_text(encoding="utf-8"))
        total = sum(len(records) for records in tables.values())
        self.assertIn(f"{EXAMPLE}: {total} records in {len(tables)} tables\n", result.stdout)
        for table, records in tables.items():
            self.assertRegex(result.stdout, rf"{table} +{len(records)}\b")
        lines = result.stdout.splitlines()
        for line in (
                "       10001  carrying  in       10.0.0.2   100      1025       4001    7002     6      4",
                "       10001  standby   out      10.0.0.2   100      1025       4001    7002     0      5",
                "       10002  standby   in       10.0.0.3   100      1026       6002    7003     0      4",
                "       10002  carrying  in       10.0.0.3   100      1026       6002    7003     0      5",
                "  6 MAC addresses withdrawn:",
                "  the group's traffic is on its working pseudowire, 10001",
                "  the group's traffic is on its backup pseudowire, 10002",
                "    pseudowire 10001 in VR 1                    4 -> 5",
                "    vrIndex:1 pwTunnelId:10001 pwTunnelType:1 srcPid:301 flags:0 svcStatus:0 0 svcErrcode:0 0",
                "    batchVersion:5",
                "    vrIndex:1 instanceId:100 srcPid:301 flags:0 svcStatus:0 0 svcErrcode:0 0 batchVersion:5"):
            self.assertIn(line, lines)
        self.assertLessEqual(len(lines), 90)
        self.assertLessEqual(max(map(len, lines)), 98)

    def test_withdraws_the_addresses_learnt_over_the_failed_pseudowire(self):
        macs = json.loads(pathlib.Path(EXAMPLE).read_text(encoding="utf-8"))["l2vpn_vpls_vsimac"]
        learnt = [f"    {mac['macAddr']}  VLAN {mac['vlanId']}" for mac in macs
                  if (mac["vrIndex"], mac["instanceId"], mac.get("peerIp"), mac.get("pwId"))
                  == (1, 100, "10.0.0.2", 100)]
        lines = self.run_demo(EXAMPLE).stdout.splitlines()
        start = lines.index("  6 MAC addresses withdrawn:") + 1
        self.assertEqual(lines[start:start + 6], learnt)
        self.assertEqual(len(learnt), 6)

    def test_output_is_deterministic(self):
        self.assertEqual(self.run_demo(EXAMPLE).stdout, self.run_demo(EXAMPLE).stdout)

    def test_file_with_errors(self):
        path, result = self.run_on('{"l2vpn_vpls_pw": [\n  {"mtu": 70000, "vrindex": 1}]}\n')
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertEqual(result.stderr.splitlines(), [
            f'{path}:2: table "l2vpn_vpls_pw", field "mtu": found 70000, '
            "expected a number from 0 to 65535",
            f'{path}:2: table "l2vpn_vpls_pw": unknown field "vrindex"; did you mean "vrIndex"?'])

    def test_malformed_file(self):
        path, result = self.run_on('{"l2vpn_vpls_pw": [\n')
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn(f"{path}:1: syntax error", result.stderr)

    def test_missing_file(self):
        result = self.run_demo("/no/such/file")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn("/no/such/file: cannot be read: No such file", result.stderr)

    def test_usage(self):
        for arguments in (["one", "two"], ["--option"]):
            result = self.run_demo(*arguments)
            self.assertEqual((result.returncode, result.stdout), (2, ""))
            self.assertIn("usage: l2vpn_demo [FILE]", result.stderr)

    def test_valid_file_without_a_protection_group(self):
        _, result = self.run_on('{"l2vpn_vpls_inst": [{"vrIndex": 1, "instanceId": 100}]}')
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr, "l2vpn_demo: no protection group has its traffic on the "
                         "working pseudowire\n")

    def test_protection_group_without_its_pseudowire(self):
        _, result = self.run_on('{"l2vpn_vpls_pwred_pg": [{"vrIndex": 1, "instanceId": 100, '
                                '"pgId": 3, "pwTunnelId": 7}]}')
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr, "l2vpn_demo: protection group 3 of instance 100 in VR 1: "
                         "no pseudowire 7\n")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
