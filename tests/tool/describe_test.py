# SPDX-License-Identifier: MIT
"""Compares the tool's descriptions of tables, records and keys with the expectation files."""

import random
import re
import shutil
import subprocess

from tool import DONE, EXAMPLE, FAILED, FORMAT_ONLY, NO, TABLES, TYPED, ToolTest, fields_of, keys_of, main

RANDOM = random.Random(7)


class Describe(ToolTest):
    def test_tables(self):
        listed = {row["name"]: row for row in self.json("tables")["tables"]}
        self.assertEqual(list(listed), sorted(TABLES))
        for name, row in TABLES.items():
            typed = row["access"] == "typed"
            self.assertEqual(listed[name], {
                "name": name, "recordSize": int(row["record_size"]),
                "storedSize": int(row["stored_size"]) if typed else None, "fields": int(row["fields"]),
                "keys": int(row["keys"]), "records": 0 if typed else None})

    def test_tables_as_text(self):
        lines = self.lines("tables", "-l", EXAMPLE)
        self.assertEqual(lines[0], "table                    record  stored  fields  keys  records")
        self.assertIn("l2vpn_vpls_pw               280     276      43     6       18", lines)
        self.assertIn("l2vpn_eth                    12       -       5     1        -", lines)
        self.assertEqual(len(lines), 1 + len(TABLES))

    def test_describe_all_tables(self):
        for name, row in TABLES.items():
            typed = row["access"] == "typed"
            table = self.json("describe", name)["table"]
            self.assertEqual(
                [(field["name"], field["id"], field["offset"], field["width"], field["storedOffset"])
                 for field in table["fields"]],
                [(field["name"], field["id"], field["offset"], field["width"],
                  field["stored"] if typed else None) for field in fields_of(name)])
            self.assertEqual([(key["name"], key["index"], key["members"]) for key in table["keys"]],
                             [(key["key"], int(key["index"]), key["members"]) for key in keys_of(name)])
            if typed:
                self.assertEqual([(key["word"], key["length"]) for key in table["keys"]],
                                 [(key["word"].lower(), int(key["length"])) for key in keys_of(name)])
            self.assertEqual(sum(each["width"] for each in table["fields"] + table["padding"]),
                             int(row["record_size"]))
            covered = sorted((each["offset"], each["width"])
                             for each in table["fields"] + table["padding"])
            self.assertEqual([at + width for at, width in covered[:-1]], [at for at, _ in covered[1:]])

    def test_describe_as_text(self):
        text = self.output("describe", "l2vpn_vpls_vsimac")
        for line in ("l2vpn_vpls_vsimac: caller record 136 bytes, stored record 132 bytes",
                     "macAddr        1       4      6       4  MAC address",
                     "peerIp        13      40      4      40  IPv4 address",
                     "svcCtx        23      64     48      64  2 x 24 bytes",
                     "(padding)      -     116      4       -  -",
                     "timeStampApp  26     120      8     116  number",
                     "if_inst                         9  0x09090008       8  outIfIndex, instanceId"):
            self.assertIn(line, text.splitlines())
        self.assertEqual(self.lines("describe", "l2vpn_eth", "--csv"), [
            "name,id,offset,width,storedOffset,type", "ifIndex,0,0,4,,number", "vlanId,1,4,2,,number",
            "state,2,6,1,,number", "res,3,7,1,,number", "vrId,4,8,4,,number"])
        text = self.output("describe", "l2vpn_eth")
        self.assertIn("l2vpn_eth: caller record 12 bytes, described and formatted only: "
                      "no stored record, no access", text)

    def test_layout(self):
        self.assertEqual(self.lines("layout", "l2vpn_vpls_ac_macdraw")[:9], [
            "caller record, 48 bytes                 stored record, 48 bytes                 "
            "key 0, primary_key, 0x00010004",
            *[line.replace("|", "│") for line in (
                "     ┌───────────────┬───────────────┐       ┌───────────────┬───────────────┐"
                "       ┌───────────────┐",
                "   0 |ifIndex        |vrIndex        |     0 |ifIndex        |vrIndex        |"
                "     0 |ifIndex        |",
                "     ├───────────────┼───────────────┤       ├───────────────┼───────────────┤"
                "       └───────────────┘",
                "   8 |timeStamp      |srcPid         |     8 |timeStamp      |srcPid         |",
                "     ├───────────────┼───┬───┬───────┤       ├───────────────┼───┬───┬───────┤"
                "  key 1, smooth_hash_key, 0x01090008",
                "  16 |flags          |ma…|rs…|rsv2   |    16 |flags          |ma…|rs…|rsv2   |"
                "       ┌───────────────┬───────────────┐",
                "     ├───────┬───────┼───┴───┴───────┤       ├───────┬───────┼───┴───┴───────┤"
                "     0 │vrIndex        │srcPid         │",
                "  24 |svcSta…|svcErr…|batchVersion   |    24 |svcSta…|svcErr…|batchVersion   |"
                "       └───────────────┴───────────────┘")]])

    def test_layouts_cover_every_byte(self):
        for name, row in TABLES.items():
            pictures = self.json("layout", name)["layout"]
            sizes = [int(row["record_size"])] + ([int(row["stored_size"])] if name in TYPED else [])
            for picture, size in zip(pictures, sizes):
                end, whole_row = 0, False
                for piece in picture["pieces"]:
                    if not whole_row:  # whole rows of one field are drawn as one
                        self.assertEqual(piece["at"] + piece["from"], end)
                    end = piece["at"] + piece["to"]
                    whole_row = piece["to"] - piece["from"] == 8
                self.assertLessEqual(end, size)
                self.assertIn(f"{size} bytes", picture["title"])
                named = [piece["field"] for piece in picture["pieces"] if piece["field"]]
                self.assertEqual(list(dict.fromkeys(named)), [field["name"] for field in fields_of(name)])
            self.assertEqual(len(pictures) - len(sizes), int(row["keys"]))

    def test_layout_as_svg(self):
        self.assertEqual(self.output("layout", "l2vpn_stp", "--svg", "stp.svg"), "")
        svg = (self.folder / "stp.svg").read_text(encoding="utf-8")
        self.assertTrue(svg.startswith("<svg xmlns="))
        self.assertIn("caller record, 48 bytes</text>", svg)
        self.assertIn("<title>batchVersion</title>", svg)
        self.assertIn("prefers-color-scheme:dark", svg)
        self.assertEqual(svg, self.output("layout", "l2vpn_stp", "--svg", "-"))
        self.assertEqual([path.name for path in self.folder.iterdir()], ["stp.svg"])


class Bytes(ToolTest):
    def record(self, table: str) -> tuple[list[str], bytes, bytes]:
        """Random values as arguments, and the caller and stored record that this test packs them to."""
        arguments, caller, stored = [], bytearray(int(TABLES[table]["record_size"])), b""
        for field in fields_of(table):
            value = RANDOM.randbytes(field["width"])
            if field["elements"] == "-" and field["width"] in (1, 2, 4, 8):
                text = str(int.from_bytes(value, "little"))
            elif field["elements"] == "2x1":
                text = f"{value[0]},{value[1]}"
            else:
                text = value.hex(":")
            arguments.append(f"{field['name']}={text}")
            caller[field["offset"]:field["offset"] + field["width"]] = value
            stored += value
        return arguments, bytes(caller), stored

    def test_pack_and_unpack_all_tables(self):
        for table in TABLES:
            arguments, caller, stored = self.record(table)
            typed = table in TYPED
            self.assertEqual(self.json("pack", table, *arguments)["pack"], {
                "table": table, "caller": caller.hex(), "stored": stored.hex() if typed else None})
            layouts = {"caller": caller} | ({"stored": stored} if typed else {})
            for layout, data in layouts.items():
                self.assertEqual(self.lines("pack", table, *arguments, "--layout", layout), [data.hex()])
                record = self.json("unpack", table, "--raw", data.hex())[table][0]
                again = [f"{name}={','.join(map(str, value)) if isinstance(value, list) else value}"
                         for name, value in record.items()]
                self.assertEqual(self.lines("pack", table, *again, "--layout", "caller"), [caller.hex()])

    def test_keys_of_all_tables(self):
        for table in TYPED:
            arguments, caller, _ = self.record(table)
            fields = {field["name"]: field for field in fields_of(table)}
            for key in keys_of(table):
                members = [fields[name] for name in key["members"]]
                values = [caller[each["offset"]:each["offset"] + each["width"]] for each in members]
                shown = self.json("key", table, "--key", key["key"], *arguments)["key"]
                self.assertEqual(shown["word"], key["word"].lower())
                self.assertEqual(shown["bytes"], b"".join(values).hex())
                self.assertEqual([(each["name"], each["bytes"]) for each in shown["members"]],
                                 [(name, value.hex()) for name, value in zip(key["members"], values)])

    def test_key_as_text(self):
        lines = self.lines("key", "l2vpn_extnhp", "tunnelType=3", "tVrfIndex=0x0201", "vrIndex=1",
                           "tunnelId=65536")
        self.assertEqual(lines[0], "l2vpn_extnhp: key tunnel_key, index 3, flags 9, 13 bytes: "
                         "identifier word 0x0309000d")
        self.assertEqual(lines[2:], ["member      at  bytes     value", "vrIndex      0  01000000  1",
                                     "tVrfIndex    4  01020000  513", "tunnelType   8  03        3",
                                     "tunnelId     9  00000100  65536"])

    def test_pack_as_text(self):
        lines = self.lines("pack", "l2vpn_vpls_pw", "peerIp=10.0.0.2", "svcStatus=1,0")
        self.assertEqual(lines[0], "caller record, 280 bytes")
        row = " 60  02 00 00 0a                                      peerIp         "
        self.assertEqual(lines.count(row + "10.0.0.2"), 2)
        self.assertIn("260  00 00 00 00                                      (padding)", lines)
        self.assertIn(row + "167772162", self.lines("pack", "l2vpn_vpls_pw", "peerIp=10.0.0.2", "--raw"))

    def test_unpack_as_text(self):
        data = self.output("pack", "l2vpn_vpls_macping", "macAddr=00:1b:44:11:3a:b7", "--layout", "stored")
        spaced = " ".join(re.findall("..", data)) + "\n"
        for arguments, stdin in ((("-",), spaced), ((data.strip(),), "")):
            lines = self.lines("unpack", "l2vpn_vpls_macping", *arguments, stdin=stdin)
            self.assertIn("  macAddr         00:1b:44:11:3a:b7", lines)
        self.assertIn("vrId:0, ", self.output("unpack", "l2vpn_vpls_macping", "--line", data.strip()))

    def test_unpack_dumps(self):
        data = bytes.fromhex(self.output("pack", "l2vpn_vpls_vsimac", "macAddr=00:1b:44:11:3a:b7", "ceVid=7",
                                         "--layout", "stored"))
        expected = self.json("unpack", "l2vpn_vpls_vsimac", data.hex())
        (self.folder / "raw").write_bytes(data)
        gdb = "\n".join(f"0x7ffe{at:04x} <record+{at}>:\t" + "\t".join(f"0x{each:02x}" for each in data[at:at + 8])
                        for at in range(0, len(data), 8))
        rows = [f"{at:08x}: {data[at:at + 16].hex(' ', 2):<39}  "
                + "".join(chr(each) if 32 <= each < 127 else "." for each in data[at:at + 16]) + "\n"
                for at in range(0, len(data), 16)]
        dumps = {"xxd": "".join(rows), "gdb": gdb, "hex": data.hex(), "words": data.hex(" ", 4),
                 "colons": data.hex(":"), "xxd -p": "\n".join(re.findall(".{1,60}", data.hex())),
                 "C": ", ".join(f"0x{each:02x}" for each in data)}
        for options in (["hexdump", "-C"], ["hexdump", "-v", "-C"], ["od", "-t", "x1"], ["od", "-A", "x", "-t", "x1z"],
                        ["od", "-v", "-A", "n", "-t", "x1"], ["xxd"], ["xxd", "-g1"], ["xxd", "-p"]):
            if shutil.which(options[0]):
                dumps[" ".join(options)] = subprocess.run([*options, "raw"], cwd=self.folder, check=True, text=True,
                                                          capture_output=True).stdout
        self.assertIn("*\n", dumps["od -t x1"])
        for name, text in dumps.items():
            self.write("dump", text)
            for arguments, stdin in ((["dump"], ""), (["-"], text)):
                self.assertEqual(self.json("unpack", "l2vpn_vpls_vsimac", *arguments, stdin=stdin), expected, name)
        self.assertEqual(self.json("unpack", "l2vpn_vpls_vsimac", "raw"), expected)
        caller = bytes.fromhex(self.output("pack", "l2vpn_vpls_vsimac", "macAddr=00:1b:44:11:3a:b7", "ceVid=7",
                                           "--layout", "caller"))
        (self.folder / "raw").write_bytes(caller)
        self.assertEqual(self.json("unpack", "l2vpn_vpls_vsimac", "raw"), expected)

    def test_unpack_rejects_other_input(self):
        for text, message in {
                "0200 zz": 'dump: found "zz", expected pairs of hexadecimal digits',
                "00\n*\n00\n": "dump:3: found * without offsets, expected a dump of all bytes, as with -v",
                "00\n0200 000\n": 'dump:2: found "000", expected pairs of hexadecimal digits',
                "0000000 0002 0a00\n": 'dump:1: found the word "0002", whose byte order is unknown, expected bytes '
                                       "as of gdb's x/xb, hexdump -C, od -t x1 or xxd",
                "0x7ffe:\t0x00000002": 'dump: found the word "00000002", whose byte order is unknown, expected bytes '
                                       "as of gdb's x/xb, hexdump -C, od -t x1 or xxd",
                "00000000  02 00  |..|\n": "unpack: found 2 bytes, expected a caller record of 48 or a stored "
                                           "record of 44",
                "": "unpack: found 0 bytes, expected a caller record of 48 or a stored record of 44",
                "\0\1": "unpack: found 2 bytes, expected a caller record of 48 or a stored record of 44"}.items():
            self.write("dump", text)
            self.assertEqual(self.rejected("unpack", "l2vpn_stp", "dump"), message)
        self.assertEqual(self.rejected("unpack", "l2vpn_stp", "/dev/zero"), "/dev/zero: too long for a record")
        self.assertIn("Is a directory", self.rejected("unpack", "l2vpn_stp", "/", code=FAILED))

    def test_key_explained(self):
        pw = ["l2vpn_vpls_pw", "vrIndex=1", "pwTunnelId=10001"]
        found = self.json("-l", EXAMPLE, "key", "--explain", *pw, "pwTunnelType=1")["key"]
        self.assertEqual(found["matches"], 1)
        missed = self.json("-l", EXAMPLE, "key", "--explain", *pw, "pwTunnelType=2", code=NO)["key"]
        self.assertEqual(missed["matches"], 0)
        self.assertEqual(missed["closest"][0], {
            "record": "vrIndex 1, pwTunnelId 10001, pwTunnelType 1", "member": "pwTunnelType", "given": "2",
            "found": "1"})
        lines = self.run_tool("-l", EXAMPLE, "key", "--explain", *pw, "pwTunnelType=2", code=NO)[0].splitlines()
        at = lines.index("0 records with this key; the closest other records:")
        self.assertEqual(lines[at + 1].split(), ["record", "member", "given", "found"])
        self.assertEqual(lines[at + 2].split()[-3:], ["pwTunnelType", "2", "1"])
        self.assertTrue(self.run_tool("key", "--explain", *pw, "pwTunnelType=2", code=NO)[0].endswith(
            "\n0 records with this key\n"))

    def test_tables_without_typed_access(self):
        for table in FORMAT_ONLY:
            for command in ("get", "find", "put", "delete", "key", "count", "stats", "dump", "bench"):
                more = [] if command in ("count", "stats", "dump", "bench") else ["vrIndex=1"]
                self.assertEqual(self.rejected(command, table, *more),
                                 f'table "{table}": not stored, only described and formatted; "tables" '
                                 "lists the stored tables")
            self.assertIn("not stored", self.rejected("pack", table, "--layout", "stored"))
            size = int(TABLES[table]["record_size"])
            self.assertEqual(self.rejected("unpack", table, "00"),
                             f"unpack: found 1 byte, expected a caller record of {size}")
            self.run_tool("unpack", table, "00" * size, code=DONE)


if __name__ == "__main__":
    main()
