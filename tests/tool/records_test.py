# SPDX-License-Identifier: MIT
"""Records through the tool: load, get, find, dump, put, delete, diff, generate."""

import csv
import fcntl
import json
import os
import pathlib
import random
import resource
import signal
import struct
import subprocess
import termios
import time

from tool import (BAD_INPUT, EXAMPLE, EXAMPLE_LOADED, FAILED, NO, PROGRAM, RECORDS, TYPED, ToolTest, fields_of, keys_of,
                  main)

PW = ("l2vpn_vpls_pw", "vrIndex=1", "pwTunnelId=10001", "pwTunnelType=1")


class Show(ToolTest):
    def test_count(self):
        counts = self.json("count", "--load", EXAMPLE)["counts"]
        self.assertEqual(counts, {name: len(RECORDS.get(name, [])) for name in sorted(TYPED)})
        self.assertEqual(self.lines("-l", EXAMPLE, "count", "l2vpn_vpls_pw"),
                         ["table          records", "l2vpn_vpls_pw       18"])

    def test_get(self):
        given = next(each for each in RECORDS[PW[0]] if each["pwTunnelId"] == 10001)
        record = self.json("-l", EXAMPLE, "get", *PW)[PW[0]][0]
        self.assertEqual({name: value for name, value in record.items() if name in given}, given)
        self.assertEqual(list(record), [field["name"] for field in fields_of(PW[0])])
        lines = self.lines("-l", EXAMPLE, "get", *PW)
        self.assertIn("  peerIp         10.0.0.2", lines)
        self.assertIn("  svcStatus      1,0", lines)
        self.assertIn("  svcCtx         0", lines)
        self.assertIn("  peerIp         167772162", self.lines("-l", EXAMPLE, "get", *PW, "--raw"))
        self.assertTrue(self.output("-l", EXAMPLE, "get", *PW, "--line").startswith(
            "vrIndex:1, pwTunnelId:10001, pwTunnelType:1, instanceId:100, l2vpnIid:1, "))

    def test_get_nothing(self):
        out, err = self.run_tool("get", *PW, code=NO)
        self.assertEqual(err, "")
        self.assertEqual(out, "l2vpn_vpls_pw: vrIndex 1, pwTunnelId 10001, pwTunnelType 1: "
                         "no such record\n")
        self.assertEqual(self.json("get", *PW, code=NO), {"found": False})

    def test_find_by_every_key(self):
        path, records = self.generated("--instances", 3)
        for table in TYPED:
            for key in keys_of(table):
                sample = records[table][-1]
                members = {name: sample.get(name, 0) for name in key["members"]}
                arguments = [f"{name}={value}" for name, value in members.items()]
                random.Random(3).shuffle(arguments)
                found = self.json_lines("-l", path, "find", table, "--key", key["key"], *arguments)
                expected = [each for each in records[table]
                            if all(each.get(name, 0) == value for name, value in members.items())]
                self.assertEqual(len(found), len(expected), (table, key["key"]))
                for each in found:
                    shown = each[table][0]
                    self.assertEqual({name: shown[name] for name in members if name in sample},
                                     {name: value for name, value in members.items() if name in sample})

    def test_find_chooses_the_key(self):
        lines = self.lines("-l", EXAMPLE, "find", "l2vpn_vpls_pw", "instanceId=100",
                           "--fields", "pwTunnelId,peerIp")
        self.assertEqual(lines, ["pwTunnelId  peerIp", "     10001  10.0.0.2", "     10002  10.0.0.3",
                                 "     10003  10.0.0.4", "     10004  10.0.0.2", "     10005  10.0.0.3"])

    def test_find_nothing(self):
        out, err = self.run_tool("find", "l2vpn_vpls_pw", "instanceId=1", code=NO)
        self.assertEqual((out, err), ("", "l2vpn_vpls_pw: no record with this instance_key; key --explain shows the closest\n"))

    def test_dump_omits_zero_fields(self):
        lines = self.lines("-l", EXAMPLE, "dump", "l2vpn_stp")
        self.assertTrue(lines[0].startswith("ifIndex  vrIndex  "), lines[0])
        self.assertNotIn("flags", lines[0])
        self.assertTrue(lines[-1].startswith("0 in all: "))
        self.assertIn("flags", lines[-1])
        self.assertEqual(len(lines), 2 + len(RECORDS["l2vpn_stp"]))
        names = self.lines("-l", EXAMPLE, "dump", "l2vpn_stp", "--all")[0].split()
        self.assertEqual(names, [field["name"] for field in fields_of("l2vpn_stp")])
        for arguments, tables in (([], "all tables"), (["l2vpn_stp", "l2vpn_vpls_ac"], "l2vpn_stp, l2vpn_vpls_ac")):
            self.assertEqual(self.run_tool("dump", *arguments), ("", f"{tables}: no records\n"))
            self.assertEqual(self.run_tool("dump", *arguments, "--json"), ("", ""))

    def test_dump_line(self):
        lines = self.lines("-l", EXAMPLE, "dump", "l2vpn_stp", "--line")
        self.assertEqual(len(lines), 1 + len(RECORDS["l2vpn_stp"]) - 1)
        self.assertTrue(all(line.startswith("ifIndex:") for line in lines))

    def test_dumps_can_be_loaded(self):
        source, records = self.generated("--instances", 3)
        total = sum(map(len, records.values()))
        for options in (["--json"], ["--json", "--raw"]):
            text = self.output("-l", source, "dump", *options)
            path = self.write("dump.jsonl", text)
            self.assertEqual(self.lines("diff", source, path),
                             [f"0 removed, 0 added, 0 changed, {total} the same"])
            self.assertEqual(self.output("-l", path, "dump", *options), text)
        for table in TYPED:
            same = len(records[table])
            for options in (["--csv"], ["--csv", "--raw"]):
                self.output("-l", source, "dump", table, *options, "--output", f"{table}.csv")
                with (self.folder / f"{table}.csv").open(encoding="utf-8", newline="") as file:
                    rows = list(csv.reader(file))
                self.assertEqual(rows[0], [field["name"] for field in fields_of(table)])
                self.assertEqual(self.json("-l", f"{table}.csv", "count", table)["counts"], {table: same})
                self.assertEqual(self.json_lines("diff", source, f"{table}.csv", code=NO)[-1]["diff"], {
                    "removed": total - same, "added": 0, "changed": 0, "same": same})

    def test_output_file_is_complete_or_absent(self):
        self.assertIn("/no/such/folder/x: cannot be written: No such file",
                      self.rejected("dump", "--output", "/no/such/folder/x", code=FAILED))
        self.write("kept", "old")
        self.assertIn('unknown field "mtuu"', self.rejected("dump", "l2vpn_stp", "--fields", "mtuu",
                                                              "--output", "kept"))
        self.assertEqual((self.folder / "kept").read_text(encoding="utf-8"), "old")
        self.assertEqual([path.name for path in self.folder.iterdir()], ["kept"])

    def test_output_into_existing_files(self):
        text = self.output("-l", EXAMPLE, "dump", "l2vpn_stp", "--csv")
        target = self.write("target", "old")
        target.chmod(0o640)
        (self.folder / "link").symlink_to("target")
        self.output("-l", EXAMPLE, "dump", "l2vpn_stp", "--csv", "--output", "link")
        self.assertTrue((self.folder / "link").is_symlink())
        self.assertEqual((target.read_text(encoding="utf-8"), target.stat().st_mode & 0o777), (text, 0o640))
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        reader = os.open(pipe, os.O_RDONLY | os.O_NONBLOCK)
        self.output("-l", EXAMPLE, "dump", "l2vpn_stp", "--csv", "--output", "pipe")
        self.assertEqual(os.read(reader, 65536).decode("utf-8"), text)
        os.close(reader)
        self.assertTrue(pipe.is_fifo())
        self.assertEqual(self.output("-l", EXAMPLE, "dump", "l2vpn_stp", "--csv", "--output", "-"), text)
        self.assertEqual({path.name for path in self.folder.iterdir()}, {"link", "pipe", "target"})

    def test_interrupted_output_leaves_nothing(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            with subprocess.Popen([PROGRAM, "generate", "--instances", "1000000", "--output", "file"],
                                  cwd=self.folder) as process:
                while not list(self.folder.iterdir()):
                    time.sleep(0.01)
                process.send_signal(number)
                self.assertEqual(process.wait(timeout=60), -number)
            self.assertEqual(list(self.folder.iterdir()), [])

    def test_output_to_a_full_device(self):
        script = self.write("script", "tables\n")
        with open("/dev/full", "wb") as full:
            for arguments in (["tables"], ["shell", script], ["dump", "--json", "-l", EXAMPLE], ["--help"],
                              ["--version"]):
                result = subprocess.run([PROGRAM, *arguments], stdout=full, stderr=subprocess.PIPE,
                                        timeout=60, check=False)
                self.assertEqual(result.returncode, FAILED, arguments)
                self.assertIn(b"No space left on device", result.stderr)


class Changes(ToolTest):
    def test_put_get_update_delete(self):
        key = "vrIndex=1 instanceId={} macAddr=00:1b:44:11:3a:b7"
        script = "\n".join((
            f"put l2vpn_oam_staticmac {key.format('0x10')}",
            f"set l2vpn_oam_staticmac {key.format(16)} srcPid=2",
            f"set-batch-version l2vpn_oam_staticmac 9 {key.format(16)}",
            f"get l2vpn_oam_staticmac {key.format(16)} --json",
            f"delete l2vpn_oam_staticmac {key.format(16)}",
            "count l2vpn_oam_staticmac",
            "stats l2vpn_oam_staticmac --json"))
        key = "l2vpn_oam_staticmac: vrIndex 1, instanceId 16, macAddr 00:1b:44:11:3a:b7: "
        lines = self.lines("shell", stdin=script)
        self.assertEqual(lines[:3], [key + "inserted", key + "updated", key + "updated"])
        record = json.loads(lines[3])["l2vpn_oam_staticmac"][0]
        self.assertEqual((record["batchVersion"], record["srcPid"], record["macAddr"]),
                         (9, 2, "00:1b:44:11:3a:b7"))
        self.assertEqual(lines[4], key + "deleted")
        self.assertTrue(lines[6].endswith(" 0"))
        stats = json.loads(lines[7])["stats"]["l2vpn_oam_staticmac"]
        self.assertEqual({name: times for name, times in stats.items() if times}, {
            "inserted": 1, "replaced": 1, "read": 2, "readMissed": 1, "deleted": 1, "updated": 1,
            "counted": 1})

    def test_put_replaces_whole_records_only(self):
        fields = " ".join(f"{field['name']}=0" for field in fields_of("l2vpn_stp")
                          if field["name"] not in ("ifIndex", "vrIndex"))
        out, err = self.run_tool("shell", "--keep-going", code=BAD_INPUT, stdin=(
            "put l2vpn_stp ifIndex=1 vrIndex=3\nput l2vpn_stp ifIndex=1 flags=2\n"
            "dump l2vpn_stp --fields ifIndex,vrIndex,flags\n"
            f"put l2vpn_stp ifIndex=1 vrIndex=4 {fields}\ndump l2vpn_stp --fields ifIndex,vrIndex\n"))
        self.assertRegex(err, r"^standard input:2: l2vpn_stp: ifIndex 1: the record exists, and put would set "
                         r"\d+ fields to 0; set changes only the fields that it names\n$")
        self.assertEqual([line.split() for line in out.splitlines()], [
            "l2vpn_stp: ifIndex 1: inserted".split(), ["ifIndex", "vrIndex", "flags"], ["1", "3", "0"],
            "l2vpn_stp: ifIndex 1: replaced".split(), ["ifIndex", "vrIndex"], ["1", "4"]])

    def test_set_changes_the_named_fields_only(self):
        table, key = PW[0], PW[1:]
        before = self.json("-l", EXAMPLE, "get", *PW)[table][0]
        script = (f"set {table} {' '.join(key)} mtu=1400 vcId=7 --json\nget {table} {' '.join(key)} --json\n"
                  f"count {table}\n")
        lines = self.lines("-l", EXAMPLE, "shell", stdin=script)
        self.assertEqual(json.loads(lines[0]), {"version": 1, "updated": True})
        self.assertEqual(json.loads(lines[1])[table][0], {**before, "mtu": 1400, "vcId": 7})
        self.assertTrue(lines[-1].endswith(f" {len(RECORDS[table])}"))
        self.assertEqual(self.run_tool("set", *PW, "mtu=1", code=NO), (
            f"{table}: vrIndex 1, pwTunnelId 10001, pwTunnelType 1: no such record\n", ""))
        self.assertEqual(self.rejected("set", *PW[:3], "mtu=1"), f'table "{table}", key "primary_key": found no '
                         "pwTunnelType, expected all of vrIndex, pwTunnelId, pwTunnelType")

    def test_change_of_a_missing_record(self):
        for command in (["delete", "l2vpn_stp", "ifIndex=1"],
                        ["set-batch-version", "l2vpn_stp", "3", "ifIndex=1"]):
            out, err = self.run_tool(*command, code=NO)
            self.assertEqual((out, err), ("l2vpn_stp: ifIndex 1: no such record\n", ""))

    def test_invalid_batch_versions(self):
        self.assertEqual(self.rejected("set-batch-version", "l2vpn_vpls_macpingup", 3, "vrId=1"),
                         'table "l2vpn_vpls_macpingup": found no batchVersion, expected a table whose '
                         "records have one")
        self.assertEqual(self.rejected("set-batch-version", "l2vpn_stp", 2**32, "ifIndex=1"),
                         "batch version: found 4294967296, expected a number from 0 to 4294967295")


class Load(ToolTest):
    def test_forms(self):
        record = {"ifIndex": 7, "vrIndex": 2, "svcStatus": [1, 0]}
        csv_text = 'ifIndex,vrIndex,svcStatus\r\n7,0x2,"1,0"\r\n'
        for text in (json.dumps({"l2vpn_stp": [record]}),
                     json.dumps({"version": 1, "l2vpn_stp": [record]}, indent=1),
                     "\ufeff" + json.dumps({"l2vpn_stp": [record]}),
                     "{}\n\n" + json.dumps({"l2vpn_stp": [record]}) + "\r\n" + "{}", csv_text,
                     '"ifIndex","vrIndex","svcStatus"\n\n"7","2","1,0"', "\ufeff" + csv_text):
            self.write("l2vpn_stp.x", text)
            found = self.json("-l", "l2vpn_stp.x", "get", "l2vpn_stp", "ifIndex=7")["l2vpn_stp"][0]
            self.assertEqual({name: found[name] for name in record}, record, text)
            self.assertEqual(self.lines("load", "-", "--table", "l2vpn_stp", stdin=text),
                             ["-: 1 record stored in 1 table"])

    def test_slow_input(self):
        """The first line decides the format, even if it arrives in pieces."""
        with subprocess.Popen([PROGRAM, "load", "-"], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as load:
            for piece in (b"\n \n{", b'"l2vpn_st', b'p":[{"ifIndex":1}]}', b"\n{}", b'\n{"l2vpn_stp":',
                          b'[{"ifIndex":2}]}'):
                load.stdin.write(piece)
                load.stdin.flush()
                time.sleep(0.02)
            load.stdin.close()
            self.assertEqual(load.stdout.read(), b"-: 2 records stored in 1 table\n")

    def reject(self, text: str, *messages: str, name: str = "l2vpn_stp.csv", code: int = BAD_INPUT):
        """Expects these diagnostics, and none of the file's records stored."""
        self.write(name, text)
        out, err = self.run_tool("load", name, code=code)
        self.assertEqual(err.splitlines(), [f"{name}:{message}" for message in messages], text)
        self.assertIn(f"{name}: 0 records stored in 0 tables", out)

    def test_invalid_csv(self):
        stp = ' table "l2vpn_stp"'
        self.reject("ifIndex,mtuu\n1,2\n", f'1:{stp}: unknown field "mtuu"')
        self.reject("ifIndex,ifIndex\n1,2\n", f'1:{stp}, field "ifIndex": found a second column, '
                    "expected one")
        self.reject('ifIndex,vrIndex\n1,2\n3\n4,5,6\n7,"8\n9,1\n',
                    f"3:{stp}: found 1 cell, expected 2 cells as in the first line",
                    f"4:{stp}: found 3 cells, expected 2 cells as in the first line",
                    f"5:{stp}: found an unclosed quotation mark, expected 2 cells as in the "
                    "first line")
        self.reject('ifIndex\n1"2\n"3"4\n5\n',
                    f"2:{stp}: found a quotation mark within a cell, expected 1 cell as in the first line",
                    f"3:{stp}: found a quotation mark within a cell, expected 1 cell as in the first line")
        self.reject("ifIndex\n" + "1" * 70000 + "\n", f"2:{stp}: found a cell of more than 65536 "
                    "characters, expected 1 cell as in the first line")
        self.reject("ifIndex,svcStatus\n-1,\"1,0\"\n1,1\n2,\"1,256\"\n",
                    f'2:{stp}, field "ifIndex": found "-1", expected a number from 0 to 4294967295',
                    f'3:{stp}, field "svcStatus": found "1", expected a list of two numbers from 0 to 255',
                    f'4:{stp}, field "svcStatus": found [1, 256], expected a list of two '
                    "numbers from 0 to 255")
        self.reject("ifIndex\n1\n", "1: found text that is not JSON, expected an object of tables, or "
                    "CSV in a file or with --table that names its table", name="other.csv")
        self.reject("ifIndex\n1\n", '1: table "l2vpn_eth": found a table that can only be formatted, '
                    "expected one that is stored", name="l2vpn_eth.csv")
        self.reject("", "1: found an empty file, expected an object of tables")

    def test_invalid_json_lines(self):
        self.reject('{"l2vpn_stp":[{"ifIndex":1}]}\n{"l2vpn_stp":[{"ifIndex":2]}\nnonsense\n'
                    '{"l2vpn_stpp":[{"ifIndex":2}]}\n{"l2vpn_stp":[{"ifIndex":3},{"flagss":1}]}\n'
                    '{"version":2}\n{"version":[1]}\n',
                    "2: syntax error while parsing object - unexpected ']'; expected '}'",
                    "3: syntax error while parsing value - invalid literal; last read: 'no'",
                    '4: unknown table "l2vpn_stpp"; did you mean "l2vpn_stp"?',
                    '5: table "l2vpn_stp": unknown field "flagss"; did you mean "flags"?',
                    "6: version: found 2, expected 1",
                    "7: version: found [1], expected 1", name="lines")

    def test_invalid_first_line(self):
        """An invalid line does not affect the next one. JSON that spans lines is one text."""
        stp = '{"l2vpn_stp":[{"ifIndex":%d}]}\n'
        self.reject(stp[:-3] % 1 + "}]}\n" + stp % 2 + "{]\n", "1: syntax error while parsing array - "
                    "unexpected '}'; expected ']'", "3: syntax error while parsing object key - "
                    "unexpected ']'; expected string literal", name="lines")
        self.assertEqual(self.lines("load", "-", stdin='{"l2vpn_stp":[{"ifIndex":1}\n,{"ifIndex":2}]}'),
                         ["-: 2 records stored in 1 table"])

    def test_text_after_nul(self):
        stp = '{"l2vpn_stp":[{"ifIndex":1}]}'
        self.reject(stp + "\0" + stp, "1: found a NUL character, expected the end of the text", name="x")
        self.reject("{\n" + stp[1:] + "\0" + stp, "2: found a NUL character, expected the end of the text",
                    name="x")

    def test_each_file_is_all_or_nothing(self):
        good = self.write("good", '{"l2vpn_stp":[{"ifIndex":1,"vrIndex":1},{"ifIndex":2}]}\n')
        bad = self.write("bad", '{"l2vpn_stp":[{"ifIndex":1,"vrIndex":9},{"ifIndex":1,"vrIndex":8},'
                         '{"ifIndex":3}]}\n{"l2vpn_stp":[{"ifIndex":-1}]}\n{"l2vpn_stp":[{"ifIndex":4}]}\n')
        out, err = self.run_tool("shell", "--keep-going", code=BAD_INPUT, stdin=f"load {good} {bad}\n"
                                 "dump l2vpn_stp --fields ifIndex,vrIndex\n")
        self.assertEqual(out.splitlines(), [
            f"{good}: 2 records stored in 1 table", f"{bad}: 0 records stored in 0 tables, 1 error",
            "ifIndex  vrIndex", "      1        1", "      2        0"])
        self.assertEqual(err.count("\n"), 1)
        out, err = self.run_tool("shell", "--keep-going", code=NO,
                                 stdin=f"load {good} {bad} --keep-going\n"
                                 "dump l2vpn_stp --fields ifIndex,vrIndex\n")
        self.assertEqual(sorted(out.splitlines()[3:]), ["      1        8", "      2        0",
                                                        "      3        0", "      4        0"])
        self.assertIn("4 records stored in 1 table, 2 of them replaced, 1 error", out)

    def test_merge(self):
        self.write("l2vpn_stp.csv", "ifIndex,vrIndex\n1,5\n3,6\n")
        first = '{"l2vpn_stp":[{"ifIndex":1,"vrIndex":1,"flags":7},{"ifIndex":2,"flags":8}]}'
        self.write("first", first)
        dump = "dump l2vpn_stp --fields ifIndex,vrIndex,flags --csv\n"
        for option, word, flags in (("--merge", "merged", 7), ("", "replaced", 0)):
            lines = self.lines("shell", stdin=f"load first\nload l2vpn_stp.csv {option}\n{dump}")
            self.assertEqual(lines[1], f"l2vpn_stp.csv: 2 records stored in 1 table, 1 of them {word}")
            self.assertEqual(sorted(lines[2:]), [f"1,5,{flags}", "2,0,8", "3,6,0", "ifIndex,vrIndex,flags"])
            loaded = json.loads(self.lines("shell", stdin=f"load first\nload l2vpn_stp.csv {option} --json\n")[-1])
            self.assertEqual({word: loaded["load"].get(word)}, {word: 1})

    def test_primary_keys_are_whole(self):
        missing = 'table "l2vpn_vpls_exp", key "primary_key": found no instanceId, expected all of vrIndex, instanceId'
        self.reject("vrIndex,mplsExp\n1,2\n1,3\n", f"1: {missing}", name="l2vpn_vpls_exp.csv")
        self.reject('{"l2vpn_vpls_exp":[{"vrIndex":1}]}\n{"l2vpn_vpls_exp":[{"vrIndex":1,"instanceId":1}]}\n'
                    '{"l2vpn_vpls_exp":[{"vrIndex":1,"mplsExp":2}]}', f"1: {missing}", f"3: {missing}", name="x")
        self.assertEqual(self.rejected("put", "l2vpn_vpls_exp", "vrIndex=1"), missing)
        self.write("x", '{"l2vpn_vpls_exp":[{"vrIndex":1}]}')
        self.assertIn(missing, self.rejected("diff", "x", "x"))

    def test_out_of_memory_stores_nothing(self):
        network = self.folder / "network"
        self.output("generate", "--instances", 2500, "--output", network)
        script = f"load {EXAMPLE}\ncount --json\nload {network}%s\ncount --json\n"
        for option in ("", " --keep-going", " --merge"):
            result = subprocess.run(
                [PROGRAM, "shell", "--keep-going"], input=script % option, capture_output=True, text=True,
                timeout=120, check=False, cwd=self.folder,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (48 << 20, 48 << 20)))
            self.assertEqual((result.returncode, result.stderr), (FAILED, f"{network}: out of memory\n"))
            _, before, rejected, after = result.stdout.splitlines()
            self.assertEqual(rejected, f"{network}: 0 records stored in 0 tables")
            self.assertEqual(before, after)

    def test_records_that_cannot_be_restored(self):
        """The undo log's temporary file loses its contents before a load fails."""
        with subprocess.Popen([PROGRAM, "load", "-"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE) as load:
            for number in range(40000):
                load.stdin.write(b'{"l2vpn_stp":[{"ifIndex":%d}]}\n' % number)
            load.stdin.flush()
            process = pathlib.Path(f"/proc/{load.pid}")
            while (struct.unpack("i", fcntl.ioctl(load.stdin, termios.FIONREAD, bytes(4))) != (0,)
                   or ") S " not in (process / "stat").read_text(encoding="utf-8")):
                time.sleep(0.01) # until it waits for more
            logs = [file for file in (process / "fd").iterdir() if os.readlink(file).endswith(" (deleted)")]
            os.truncate(logs[0], 0)
            out, err = load.communicate(b"{]\n")
        self.assertEqual(load.returncode, FAILED)
        self.assertRegex(err.decode(), r"(?m)^standard input: \d+ records could not be restored after: errors in the "
                         "input$")
        self.assertEqual(out, b"-: 0 records stored in 0 tables, 1 error\n")

    def test_summary_of_many_errors(self):
        lines = [json.dumps({"l2vpn_stp": [{"ifIndex": number, "flags": -1 if number % 3 else 0,
                                            "vrIndex": "x" if number % 50 == 0 else 0}]})
                 for number in range(300)]
        self.write("many", "\n".join(lines))
        _, err = self.run_tool("load", "many", "--keep-going", code=NO)
        shown = err.splitlines()
        self.assertEqual(len(shown), 23)
        self.assertEqual(shown[20], "and 186 more; in all:")
        expected = 'expected a number from 0 to 4294967295'
        self.assertEqual(shown[21:], [
            f'  200 times, first in line 2: table "l2vpn_stp", field "flags": {expected}',
            f'  6 times, first in line 1: table "l2vpn_stp", field "vrIndex": {expected}'])
        report = self.json("load", "many", "--keep-going", code=NO)["load"]
        self.assertEqual((report["stored"], report["refused"], len(report["messages"])), (98, 206, 20))
        self.assertEqual([kind["times"] for kind in report["kinds"]], [200, 6])

    def test_unreadable_files(self):
        reason = "/no/such: cannot be read: No such file or directory"
        out, err = self.run_tool("load", "/no/such", EXAMPLE, code=FAILED)
        self.assertEqual((out, err), ("/no/such: 0 records stored in 0 tables\n"
                                      f"{EXAMPLE_LOADED}\n", reason + "\n"))
        self.assertEqual(self.json("load", "/no/such", code=FAILED)["load"]["messages"], [reason])
        self.assertEqual(self.rejected("tables", "-l", "/", code=FAILED),
                         "nothing is loaded:\n/: cannot be read: Is a directory")
        self.write("bad", "{]")
        self.assertEqual(self.rejected("tables", "-l", "bad"), "nothing is loaded:\nbad:1: syntax error "
                         "while parsing object key - unexpected ']'; expected string literal")

    def test_binary_input(self):
        out, err = self.run_tool("load", "-", code=BAD_INPUT, stdin="\udcff\udcfe\0{}")
        self.assertEqual(err, "standard input:1: syntax error while parsing value - invalid literal; "
                         "last read: '\\xff'\n")
        out, err = self.run_tool("load", "-", "--table", "l2vpn_stp", "--json", code=BAD_INPUT,
                                 stdin="if\udcffIndex\n1\n")
        self.assertIn("unknown field", json.loads(out)["load"]["messages"][0])


class Diff(ToolTest):
    def test_changes(self):
        before = self.write("before", json.dumps({"l2vpn_vpls_pw": [
            {"vrIndex": 1, "pwTunnelId": 1, "pwTunnelType": 0, "mtu": 1500, "peerIp": "10.0.0.1"},
            *({"vrIndex": 1, "pwTunnelId": number, "pwTunnelType": 0} for number in (2, 3))]}))
        after = self.write("after", json.dumps({"l2vpn_vpls_pw": [
            *({"vrIndex": 1, "pwTunnelId": number, "pwTunnelType": 0} for number in (4, 2)),
            {"vrIndex": 1, "pwTunnelId": 1, "pwTunnelType": 0, "mtu": 1400, "peerIp": "10.0.0.9"}]}))
        pw = "l2vpn_vpls_pw vrIndex 1, pwTunnelId"
        self.assertEqual(self.lines("diff", before, after, code=NO), [
            f"~ {pw} 1, pwTunnelType 0: mtu 1500 -> 1400, peerIp 10.0.0.1 -> 10.0.0.9",
            f"- {pw} 3, pwTunnelType 0", f"+ {pw} 4, pwTunnelType 0",
            "1 removed, 1 added, 1 changed, 1 the same"])
        changes = self.json_lines("diff", before, after, code=NO)
        self.assertEqual(changes[0], {
            "change": "changed", "table": "l2vpn_vpls_pw",
            "key": {"vrIndex": 1, "pwTunnelId": 1, "pwTunnelType": 0},
            "fields": {"mtu": {"from": 1500, "to": 1400}, "peerIp": {"from": "10.0.0.1", "to": "10.0.0.9"}}})
        self.assertEqual(changes[-1], {"diff": {"removed": 1, "added": 1, "changed": 1, "same": 1}})
        self.assertEqual(self.lines("diff", before, before),
                         ["0 removed, 0 added, 0 changed, 3 the same"])

    def test_invalid_files(self):
        self.assertEqual(self.rejected("diff", EXAMPLE), "diff: found 1 file, expected 2")
        self.write("bad", '{"l2vpn_stp":[{"x":1}]}')
        self.assertIn('nothing is compared:\nbad:1: table "l2vpn_stp": unknown field "x"',
                      self.rejected("diff", EXAMPLE, "bad"))
        self.write("bad", '{"l2vpn_stp":[{"x":1}]}\n' * 25)
        self.assertRegex(self.rejected("diff", EXAMPLE, "bad"), r'\nand 5 more; in all:\n  25 times, first in line 1: '
                         r'table "l2vpn_stp": unknown field "x"')
        self.assertIn("a script or another file is read from it",
                      self.rejected("diff", "-", "-", code=FAILED, stdin="{}"))


class Generate(ToolTest):
    def test_same_seed_same_network(self):
        text = self.output("generate", "--instances", 3, "--seed", 5)
        self.assertEqual(text, self.output("generate", "--instances", 3, "--seed", 5))
        self.assertNotEqual(text, self.output("generate", "--instances", 3, "--seed", 6))
        self.assertEqual(self.output("generate", "--instances", 3, "--seed", 5, "--output", "x"), "")
        self.assertEqual((self.folder / "x").read_text(encoding="utf-8"), text)

    def test_keys_are_unique_and_references_valid(self):
        path, made = self.generated("--instances", 120)
        for table, records in made.items():
            members = keys_of(table)[0]["members"]
            keys = {tuple(record[name] for name in members) for record in records}
            self.assertEqual(len(keys), len(records), table)
            self.assertGreater(len(records), 0, table)
        self.assertEqual(self.json("load", path)["load"]["replaced"], 0)
        # References name existing records.
        instances = {(each["vrIndex"], each["instanceId"]) for each in made["l2vpn_vpls_inst"]}
        pseudowires = {each["pwTunnelId"]: each for each in made["l2vpn_vpls_pw"]}
        self.assertGreater(len(pseudowires), len(instances))
        self.assertGreater(len(made["l2vpn_vpls_vsimac"]), len(pseudowires))
        for records in made.values():
            for each in records:
                if "vrIndex" in each and "instanceId" in each:
                    self.assertIn((each["vrIndex"], each["instanceId"]), instances)
                for name in ("pwTunnelId", "bakPwTunnelId"):
                    if name in each:
                        self.assertEqual(pseudowires[each[name]]["vrIndex"], each["vrIndex"])
        self.assertEqual(self.lines("shell", stdin="generate --instances 120 --store\ncount --json\n"), [
            f"{sum(map(len, made.values()))} records in {len(TYPED)} tables are stored",
            json.dumps({"version": 1, "counts": {name: len(made[name]) for name in sorted(TYPED)}},
                       separators=(",", ":"))])

    def test_range(self):
        for number in (0, 10**7 + 1):
            self.assertEqual(self.rejected("generate", "--instances", number),
                             f"--instances: found {number}, expected a number from 1 to 10000000")

    def test_bench(self):
        results = self.json("bench", "l2vpn_vpls_pw", "l2vpn_stp", "--records", 50)["bench"]
        self.assertEqual({each["table"] for each in results}, {"l2vpn_vpls_pw", "l2vpn_stp"})
        for each in results:
            self.assertEqual(each["calls"], 50)
            self.assertGreater(each["nanoseconds"], 0)
        lines = self.lines("bench", "l2vpn_stp", "--records", 50)
        self.assertRegex(lines[0], r"table +operation +calls +ns each +million/s")
        self.assertEqual([line.split()[1] for line in lines[1:4]], ["insert", "read", "replace"])
        self.assertEqual(self.lines("shell", stdin="bench l2vpn_stp --records 9\ncount l2vpn_stp\n")[-1],
                         "l2vpn_stp        0")
        self.assertIn("expected an empty table to measure with",
                      self.rejected("-l", EXAMPLE, "bench", "l2vpn_stp"))


if __name__ == "__main__":
    main()
