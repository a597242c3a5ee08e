# SPDX-License-Identifier: MIT
"""Command lines, scripts and the interactive shell."""

import json
import os
import pathlib
import pty
import re
import shutil
import subprocess
import termios
import time

from tool import BAD_INPUT, DONE, EXAMPLE, FAILED, NO, PROGRAM, ToolTest, main

IF_INDEX = json.loads(EXAMPLE.read_text(encoding="utf-8"))["l2vpn_stp"][0]["ifIndex"]
MANUAL = EXAMPLE.parents[1] / "docs" / "man" / "l2vpn-db.1"


class CommandLine(ToolTest):
    def test_errors(self):
        stp = 'table "l2vpn_stp"'
        number = "expected a number from 0 to 18446744073709551615"
        for line, message in {
                "tabels": 'unknown command "tabels"; did you mean "tables"?',
                "nonsense": 'unknown command "nonsense"; "help" lists the commands',
                "help nonsense": 'unknown command "nonsense"; "help" lists the commands',
                "--jsn tables": 'unknown option "--jsn"; did you mean "--json"?',
                "layout l2vpn_stp --svgg x": 'unknown option "--svgg"; did you mean "--svg"?',
                "layout l2vpn_stp --colour=red": 'unknown option "--colour=red"; "help layout" lists the options',
                "describe": "describe: missing TABLE: a table name",
                "describe l2vpn_stp more": 'describe: unexpected argument "more"',
                "describe l2vpn_sttp": 'unknown table "l2vpn_sttp"; did you mean "l2vpn_stp"?',
                "get l2vpn_stp": "get: missing VALUES: all members of a key, as in vrIndex=1",
                "get l2vpn_stp ifIndex": 'argument "ifIndex": expected FIELD=VALUE',
                "get l2vpn_stp =1": 'argument "=1": expected FIELD=VALUE',
                "get l2vpn_stp ifIndx=1": f'{stp}: unknown field "ifIndx"; did you mean "ifIndex"?',
                "get l2vpn_stp ifIndex=1 ifIndex=1": f'{stp}, field "ifIndex": given twice',
                "get l2vpn_stp ifIndex=1 vrIndex=1": f'{stp}, key "primary_key": vrIndex is not a member; '
                                                     "its members are ifIndex",
                "put l2vpn_vpls_exp vrIndex=1": 'table "l2vpn_vpls_exp", key "primary_key": found no '
                                                "instanceId, expected all of vrIndex, instanceId",
                "find l2vpn_stp --key primry_key ifIndex=1":
                    f'{stp}: unknown key "primry_key"; did you mean "primary_key"?',
                "find l2vpn_stp flags=1": f"{stp}: no key has exactly these members; its keys are:\n"
                                          "  primary_key        ifIndex\n"
                                          "  stp_src_if_key     ifIndex, vrIndex",
                "get l2vpn_stp ifIndex=0x1ffffffff": f'{stp}, field "ifIndex": found 8589934591, expected a '
                                                     'number from 0 to 4294967295',
                "generate --seed -1": f'--seed: found "-1", {number}',
                "generate --instances 1e3": f'--instances: found "1e3", {number}',
                "generate --instances 18446744073709551616":
                    f'--instances: found "18446744073709551616", {number}',
                "set-batch-version l2vpn_stp ifIndex=1 3": f'VERSION: found "ifIndex=1", {number}',
                "unpack l2vpn_stp 0xg": 'unpack: "0xg" is neither hexadecimal bytes nor a file',
                "unpack l2vpn_stp 000": 'HEX: found "000", expected pairs of hexadecimal digits',
                "unpack l2vpn_stp 00": "unpack: found 1 byte, expected a caller record of 48 or a stored "
                                       "record of 44",
                "pack l2vpn_stp --layout x": '--layout: found "x", expected caller or stored',
                "dump --csv": "--csv: found 0 tables, expected one, because their fields differ",
                "dump --csv --line l2vpn_stp": "dump: --csv and --line exclude each other",
                "find --line --fields flags l2vpn_stp ifIndex=1":
                    "find: --line and --fields exclude each other",
                "dump --line --all": "dump: --line and --all exclude each other",
                "generate --store --output x": "generate: --output and --store exclude each other",
                "dump l2vpn_stp --fields flags,ifIndex,flags": f'{stp}, field "flags": given twice',
                "bench l2vpn_stp --records 0": "--records: found 0, expected a number from 1 to 10000000",
        }.items():
            self.assertEqual(self.rejected(*line.split()), message, line)

    def test_errors_as_json(self):
        out, err = self.run_tool("describe", "l2vpn_et", "--json", code=BAD_INPUT)
        self.assertEqual(out, "")
        self.assertEqual(err, '{"version":1,"error":"l2vpn-db: unknown table \\"l2vpn_et\\"; '
                         'did you mean \\"l2vpn_eth\\"?"}\n')

    def test_long_input_is_clipped_in_messages(self):
        long = "x" * 100_000
        for line in ([long], ["--" + long], ["describe", long], ["describe", "l2vpn_stp", long],
                     ["get", "l2vpn_stp", long + "=1"], ["get", "l2vpn_stp", long], ["help", long],
                     ["get", "l2vpn_stp", "ifIndex=" + long], ["find", "l2vpn_stp", "--key", long, "ifIndex=1"],
                     ["dump", "l2vpn_stp", "--fields", long], ["pack", "l2vpn_stp", "--layout", long],
                     ["generate", "--seed", long], ["unpack", "l2vpn_stp", long], ["unpack", "l2vpn_stp", "y" + long], ["load", long],
                     ["dump", "--output", "/" + long], ["unpack", "l2vpn_stp", "0" * 100_001]):
            _, err = self.run_tool(*line, code=None)
            self.assertLess(len(err), 1000, line[0][:20])

    def test_output_formats_exclude_each_other(self):
        for line, options in {"get --line l2vpn_stp ifIndex=1": "--json and --line",
                              "unpack --line l2vpn_stp 00": "--json and --line",
                              "pack --layout caller l2vpn_stp": "--json and --layout",
                              "layout --svg x l2vpn_stp": "--json and --svg",
                              "dump --csv l2vpn_stp": "--json and --csv"}.items():
            out, err = self.run_tool(*line.split(), "--json", code=BAD_INPUT)
            self.assertEqual((out, json.loads(err)["error"]), (
                "", f"l2vpn-db: {line.split()[0]}: {options} exclude each other"))

    def test_unwritable_standard_error(self):
        wrong = self.write("wrong", '{"l2vpn_stp":[{"x":1}]}')
        for redirection in ("2>&-", "2>/dev/full"):
            for line, code in {"bogus": BAD_INPUT, "--bogus": BAD_INPUT, "dump": DONE, "load /no/such": FAILED,
                               f"load {wrong}": BAD_INPUT, "find l2vpn_stp ifIndex=1": NO, "tables": DONE,
                               "--json tables x": BAD_INPUT, "shell /no/such": FAILED,
                               f"diff {wrong} {wrong}": BAD_INPUT, "generate --output x": DONE}.items():
                result = subprocess.run(f"{PROGRAM} {line} {redirection}", shell=True, cwd=self.folder,
                                        stdout=subprocess.DEVNULL, check=False, timeout=60)
                self.assertEqual(result.returncode, code, (line, redirection))
        self.assertNotIn("l2vpn-db: ", (self.folder / "x").read_text(encoding="utf-8"))

    def test_closed_standard_streams(self):
        self.write("stp", '{"l2vpn_stp":[{"ifIndex":1}]}')
        for line, redirection in (("tables", ">&-"), ("load -", "<&-"), ("diff stp -", "<&-"), ("tables", ">&- 2>&-")):
            result = subprocess.run(f"{PROGRAM} {line} {redirection}", shell=True, cwd=self.folder,
                                    check=False, timeout=60, capture_output=True)
            self.assertEqual(result.returncode, FAILED, (line, redirection))

    def test_files_with_any_name(self):
        for name in ("tables", "-x", "--json", "é\n"):
            self.write(name, '{"l2vpn_stp":[{"ifIndex":1}]}')
            for arguments in (["load", "--", name], ["load", f"./{name}"]):
                self.assertIn("1 record stored in 1 table", self.output(*arguments))

    def test_notations_of_values(self):
        for text, packed in {"peerIp=10.0.0.2": "0200000a", "peerIp=167772162": "0200000a",
                             "peerIp=0x0A000002": "0200000a"}.items():
            self.assertEqual(self.output("pack", "l2vpn_vpls_pw", text, "--layout", "stored")[120:128], packed)
        for text in ("macAddr=00:1B:44:11:3a:b7", "macAddr=0,27,68,17,58,183"):
            self.assertIn("001b44113ab7", self.output("pack", "l2vpn_vpls_vsimac", text, "--layout", "caller"))
        self.assertEqual(set(self.output("pack", "l2vpn_vpls_pw", "svcCtx=0", "svcStatus=0", "--layout",
                                         "caller").strip()), {"0"})

    def test_help_and_version(self):
        text = self.output("--help")
        for command in ("tables", "set-batch-version", "shell"):
            self.assertRegex(text, rf"\n  {command} +[a-z]")
        self.assertIn("Exit codes: 0 done;", text)
        self.assertIn("--keep-going", self.output("load", "--help"))
        self.assertIn("\nUsage: l2vpn-db find [OPTIONS] TABLE VALUES...\n", self.output("find", "--help"))
        self.assertEqual(self.output("help", "load"), self.output("load", "--help"))
        self.assertEqual(self.output("help"), text)
        self.assertEqual(self.output("--json", "help", "load"), self.output("load", "--help"))
        self.assertEqual(self.json("--version"), {"tool": self.output("--version").rstrip("\n")})
        for line in (text + self.output("help", "dump")).splitlines():
            self.assertLessEqual(len(line), 80)
        self.assertEqual(self.output("--version"),
                         "l2vpn-db " + (EXAMPLE.parents[1] / "VERSION").read_text(encoding="utf-8"))

    def test_manual_names_every_command_and_option(self):
        manual = MANUAL.read_text(encoding="utf-8").replace("\\-", "-")
        commands = re.findall(r"^  ([a-z-]+) +[a-z]", self.output("--help").split("Subcommands:")[1], re.M)
        self.assertIn("help", commands)
        for command in commands:
            self.assertIn(f"\n.SS {command}", manual)
            for option in re.findall(r"(--[a-z-]+)", self.output(command, "--help").split("Exit codes")[0]):
                self.assertIn(option, manual, command)


class Manual(ToolTest):
    TEXT = re.sub(r"^\.(B|I|BR|IR|RB|RI) ", "", MANUAL.read_text(encoding="utf-8").replace("\\-", "-"), flags=re.M)

    def test_examples(self):
        examples = self.TEXT.split(".SH EXAMPLES\n.nf\n")[1].split(".fi")[0].splitlines()
        self.assertGreater(len(examples), 5)
        (self.folder / "l2vpn-db").symlink_to(PROGRAM)
        for line in examples:
            if "jq" in line and not shutil.which("jq"):
                continue
            result = subprocess.run(["bash", "-o", "pipefail", "-c", line], cwd=self.folder, timeout=60, check=False,
                                    env={**os.environ, "PATH": f"{self.folder}:{os.environ['PATH']}"},
                                    capture_output=True, text=True)
            negative = " diff " in line or "--explain" in line
            self.assertEqual((result.returncode, result.stderr), (NO if negative else DONE, ""), line)
            self.assertTrue(result.stdout or ">" in line, line)

    def test_members_of_json(self):
        """The manual lists exactly the members of the output."""
        json_text = self.TEXT.split(".SH JSON OUTPUT")[1].replace("\n", " ")
        network = self.write("network", self.output("generate", "--instances", 1))
        for name, command in {"tables": "tables", "table": "describe l2vpn_stp", "layout": "layout l2vpn_stp",
                              "load": f"load {network}", "pack": "pack l2vpn_stp", "key": "key l2vpn_stp ifIndex=1",
                              "diff": f"diff {network} {network}", "bench": "bench l2vpn_stp --records 9"}.items():
            value = self.json(*command.split())[name]
            members, depth = [], 0
            for token in re.findall(r"[{}]|\w+(?=[:,}])", json_text.split(f'"{name}": ')[1].replace("\\fR", "")):
                depth += {"{": 1, "}": -1}.get(token, 0)
                if depth == 1 and token.isalpha():
                    members.append(token)
                elif depth == 0:
                    break
            self.assertEqual(members, list((value[0] if isinstance(value, list) else value)), name)

    def test_fields_exist(self):
        for fields in re.findall(r"--fields=(\S+)", self.TEXT):
            lines = self.lines("-l", EXAMPLE, "dump", "l2vpn_vpls_pw", "--csv", f"--fields={fields}")
            self.assertEqual(lines[0], fields)
        for text in (self.TEXT, self.output("dump", "--help")):
            fields = re.search(r"such as (\S+?)\.|as in (\S+)", text[text.index("mtu,") - 20:])
            self.output("-l", EXAMPLE, "dump", "l2vpn_vpls_pw", "--fields", fields[1] or fields[2])


class Script(ToolTest):
    def test_lines(self):
        script = self.write("script", f"# all lines use one store\n\nload '{EXAMPLE}'\r\n"
                            f"count l2vpn_vpls_pw # 18\n  get \"l2vpn_stp\" ifInd\\ex={IF_INDEX} --line\nquit\nnonsense\n")
        lines = self.lines("shell", script)
        self.assertRegex(lines[0], rf"{EXAMPLE}: \d+ records stored in \d+ tables")
        self.assertEqual(lines[1:3], [
                                     "table          records", "l2vpn_vpls_pw       18"])
        self.assertEqual(lines, self.lines("shell", "-", stdin=script.read_text(encoding="utf-8")))
        self.assertEqual(lines, self.lines(stdin=script.read_text(encoding="utf-8")))

    def test_stops_at_the_first_failure(self):
        script = self.write("script", "count l2vpn_stp\n\ncuont\ncount l2vpn_stp\n")
        out, err = self.run_tool("shell", script, code=BAD_INPUT)
        self.assertEqual(out.count("\n"), 2)
        self.assertEqual(err, f'{script}:3: unknown command "cuont"; did you mean "count"?\n')
        out, err = self.run_tool("shell", "--keep-going", script, code=BAD_INPUT)
        self.assertEqual(out.count("\n"), 4)
        out, err = self.run_tool("shell", code=NO, stdin="tables\ndelete l2vpn_stp ifIndex=1\ntables\n")
        self.assertEqual(err, "standard input:2: stopped: the command exited with 1\n")

    def test_errors(self):
        for line, message in {
                'get "l2vpn_stp': '1: unclosed quotation mark "',
                "shell": "1: shell: already in a shell",
                "--laod x": '1: unknown option "--laod"; did you mean "--load"?',
        }.items():
            _, err = self.run_tool(stdin=line, code=BAD_INPUT)
            self.assertEqual(err, f"standard input:{message}\n")
        for line in ("load -", "unpack l2vpn_stp -"):
            _, err = self.run_tool(stdin=f"{line}\n00", code=FAILED)
            self.assertIn("standard input: cannot be read: a script or another file is read from it\n", err)
        self.assertIn("/no/such: cannot be read", self.rejected("shell", "/no/such", code=FAILED))

    def test_load_before_a_command(self):
        self.assertEqual(self.lines(stdin=f"count l2vpn_stp --load '{EXAMPLE}'\ncount l2vpn_stp\n")[1::2],
                         ["l2vpn_stp        5"] * 2)
        self.assertEqual(self.lines(stdin=f"--load '{EXAMPLE}'\ncount l2vpn_stp\n")[1:], ["l2vpn_stp        5"])

    def test_options_apply_to_all_lines(self):
        lines = self.lines("--json", "shell", stdin="count l2vpn_stp\ncount l2vpn_stp\n")
        self.assertEqual(lines, ['{"version":1,"counts":{"l2vpn_stp":0}}'] * 2)

    def test_help(self):
        self.assertEqual(self.output(stdin="help load\n"), self.output(stdin="load --help\n"))
        self.assertIn("Subcommands:", self.output(stdin="help\n"))


class Completion(ToolTest):
    def complete(self, line: str) -> list[str]:
        return self.output("--complete", line).split()

    def test_commands_and_options(self):
        self.assertEqual(self.complete("desc"), ["describe"])
        self.assertEqual(self.complete("help unp"), ["unpack"])
        self.assertEqual(self.complete("find l2vpn_stp --k"), ["--key"])
        self.assertEqual(self.complete("--js"), ["--json"])
        self.assertEqual(self.complete("--json --load x tabl"), ["tables"])
        self.assertEqual(self.complete("describe l2vpn_vll_"), ["l2vpn_vll_ac", "l2vpn_vll_inst", "l2vpn_vll_pw"])

    def test_option_values(self):
        for separator in (" ", "="):
            self.assertEqual(self.complete(f"find l2vpn_stp --key{separator}stp")[0].split("=")[-1],
                             "stp_src_if_key")
            self.assertEqual(self.complete(f"pack l2vpn_stp --layout{separator}st")[0].split("=")[-1], "stored")
            self.assertEqual(self.complete(f"dump l2vpn_stp --fields{separator}flags,vrI"), ["vrIndex"])
        self.assertEqual(self.complete("find l2vpn_stp --key=stp"), ["--key=stp_src_if_key"])
        self.write("file", "")
        self.assertEqual(self.complete("--load=fi"), ["--load=file"])
        self.assertEqual(self.complete("load --table=l2vpn_st"), ["--table=l2vpn_stp"])

    def test_field_values(self):
        records = json.loads(EXAMPLE.read_text(encoding="utf-8"))["l2vpn_vpls_pw"]
        line = f"-l {EXAMPLE} find l2vpn_vpls_pw "
        self.assertEqual(self.complete(line + "instanceI"), ["instanceId="])
        self.assertEqual(self.complete(line + "instanceId="),
                         sorted({f"instanceId={each['instanceId']}" for each in records}))
        self.assertEqual(self.complete(line + "instanceId=100 pwTunnelId="), sorted(
            f"pwTunnelId={each['pwTunnelId']}" for each in records if each["instanceId"] == 100))
        self.assertEqual(self.complete("find l2vpn_vpls_pw instanceId="), [])

    def test_bash(self):
        script = EXAMPLE.parents[1] / "src" / "tool" / "completion.bash"
        for words, replies in {("find", "l2vpn_stp", "--k"): ["--key"],
                               ("find", "l2vpn_stp", "--key", "=", "stp"): ["stp_src_if_key"],
                               ("dump", "l2vpn_stp", "--fields", "flags,vrI"): ["flags,vrIndex"],
                               ("dump", "l2vpn_stp", "--fields", "=", "flags,vrI"): ["flags,vrIndex"],
                               ("-l", str(EXAMPLE), "get", "l2vpn_stp", "vrIndex", "="): ["1", "2", "3"],
                               ("get", "l2vpn_stp", "vrI"): ["vrIndex="]}.items():
            line = "l2vpn-db " + " ".join(words).replace(" = ", "=").replace(" =", "=")
            program = (f"compopt() {{ :; }}; source {script}; COMP_WORDS=(l2vpn-db {' '.join(words)}); "
                       f"COMP_CWORD={len(words)}; COMP_LINE='{line}'; COMP_POINT={len(line)}; "
                       f"_l2vpn_db {PROGRAM}; printf '%s\\n' \"${{COMPREPLY[@]}}\"")
            result = subprocess.run(["bash", "-c", program], capture_output=True, text=True, check=True, timeout=30)
            self.assertEqual(result.stdout.split(), replies, words)


class Terminal(ToolTest):
    """Interactive sessions in a terminal emulator."""

    def setUp(self) -> None:
        super().setUp()
        self.tmux("new-session", "-d", "-x", 120, "-y", 50,
                  f"env HOME={self.folder} NO_COLOR= {PROGRAM} -l {EXAMPLE}")
        self.addCleanup(self.hang_up)
        self.wait("l2vpn-db> ")

    def tmux(self, *arguments: object, check: bool = True) -> str:
        return subprocess.run(["tmux", "-f", "/dev/null", "-S", str(self.folder / "tmux"), *map(str, arguments)],
                              capture_output=True, text=True, check=check, timeout=30).stdout

    def hang_up(self) -> None:
        """Closes the terminal and waits for the tool to exit."""
        process = self.tmux("display-message", "-p", "#{pane_pid}", check=False).strip()
        self.tmux("kill-server", check=False)
        while process and pathlib.Path("/proc", process).exists():
            time.sleep(0.01)

    def keys(self, *keys: str) -> None:
        self.tmux("send-keys", *keys)

    def enter(self, line: str) -> list[str]:
        """Types and runs a line. Returns the screen afterwards."""
        self.keys(line)
        self.wait(f"l2vpn-db> {line}")
        self.keys("Enter")
        return self.wait("l2vpn-db>")

    def screen(self) -> list[str]:
        text = self.tmux("capture-pane", "-p")
        return [line.rstrip() for line in text.splitlines() if line.strip()]

    def wait(self, last_line: str) -> list[str]:
        deadline = time.monotonic() + 20
        while time.monotonic() < deadline:
            screen = self.screen()
            if screen and screen[-1] == last_line.rstrip():
                return screen
            time.sleep(0.02)
        self.fail(f"{last_line!r} is not the last line of {screen}")

    def test_session(self):
        self.keys("desc", "Tab")
        self.wait("l2vpn-db> describe")
        self.keys("l2vpn_vpls_in", "Tab", "Tab")
        self.wait("l2vpn-db> describe l2vpn_vpls_inst")
        self.keys("C-u", "find l2vpn_vpls_inst --k", "Tab")
        self.wait("l2vpn-db> find l2vpn_vpls_inst --key")
        self.keys("ins", "Tab")
        self.wait("l2vpn-db> find l2vpn_vpls_inst --key instance_key")
        self.keys("instanc", "Tab")
        self.wait("l2vpn-db> find l2vpn_vpls_inst --key instance_key instanceId=")
        self.keys("100 --fields mac", "Tab")
        self.wait("l2vpn-db> find l2vpn_vpls_inst --key instance_key instanceId=100 --fields mac")
        self.keys("A", "Tab", "C-h", ",vr", "Tab")
        self.wait("l2vpn-db> find l2vpn_vpls_inst --key instance_key instanceId=100 --fields macAgeTime,vrIndex")
        self.keys("Enter")
        screen = self.wait("l2vpn-db>")
        self.assertEqual(screen[-3:-1], ["macAgeTime  vrIndex", "       300        1"])
        self.assertEqual(self.enter("put l2vpn_stp ifIndex=9")[-2], "l2vpn_stp: ifIndex 9: inserted")
        self.assertIn("unknown command", self.enter("nonsense")[-2])
        self.keys("Up", "Up")
        self.wait("l2vpn-db> put l2vpn_stp ifIndex=9")
        self.keys("Enter")
        self.assertIn("the record exists", "".join(self.wait("l2vpn-db>")))
        self.keys("quit", "Enter")
        deadline = time.monotonic() + 20
        history = self.folder / ".l2vpn-db_history"
        while not history.exists() and time.monotonic() < deadline:
            time.sleep(0.02)
        time.sleep(0.1)
        self.assertIn("nonsense", history.read_text(encoding="utf-8"))
        self.assertEqual(history.stat().st_mode & 0o777, 0o600)

    def test_text_beyond_ascii(self):
        self.assertEqual(self.enter("count é日本ß")[-2], 'l2vpn-db: unknown table "é日本ß"')

    def test_interrupted_while_typing(self):
        self.keys("count l2vpn_st")
        self.wait("l2vpn-db> count l2vpn_st")
        self.keys("C-c")
        self.assertEqual(self.wait("l2vpn-db>")[-2], "l2vpn-db> count l2vpn_st^C")
        self.assertEqual(self.enter("count l2vpn_stp")[-2].split(), ["l2vpn_stp", "5"])

    def test_interrupted(self):
        many = self.write("many", '{"l2vpn_stp":[{"ifIndex":1}]}\n' * 3_000_000)
        self.keys("count l2vpn_st")
        self.wait("l2vpn-db> count l2vpn_st")
        self.keys("C-c")
        self.wait("l2vpn-db>")
        for command in (f"load {many}", f"load {many} --keep-going", "load -", "generate --instances 1000000 --store"):
            self.keys(command)
            self.wait(f"l2vpn-db> {command}")
            self.keys("Enter")
            time.sleep(0.5)
            self.keys("C-c")
            self.assertIn("l2vpn-db: interrupted", self.wait("l2vpn-db>")[-2])
        self.assertEqual(self.enter("count l2vpn_stp")[-2].split(), ["l2vpn_stp", "5"])

    def test_history_of_the_previous_session(self):
        self.enter("count l2vpn_stp")
        self.keys("quit", "Enter")
        while self.tmux("list-sessions", check=False):
            time.sleep(0.02)
        self.tmux("new-session", "-d", "-x", 120, "-y", 50, f"env HOME={self.folder} {PROGRAM}")
        self.wait("l2vpn-db> ")
        self.keys("Up", "Up")
        self.wait("l2vpn-db> count l2vpn_stp")


class Pseudoterminal(ToolTest):
    """Output that depends on a terminal: colours, width, progress."""

    def run_on_terminal(self, *arguments: object, feed=None, columns: int = 0, **environment) -> str:
        primary, secondary = pty.openpty()
        termios.tcsetwinsize(secondary, (24, columns))
        with subprocess.Popen([PROGRAM, *map(str, arguments)], stdin=subprocess.PIPE, stdout=secondary,
                              stderr=secondary, cwd=self.folder,
                              env={**os.environ, "TERM": "xterm", **environment}) as process:
            os.close(secondary)
            if feed:
                feed(process.stdin)
            process.stdin.close()
            text = b""
            while True:
                try:
                    piece = os.read(primary, 65536)
                except OSError:
                    break
                text += piece
            os.close(primary)
            self.assertEqual(process.wait(), DONE, text)
        return text.decode("utf-8")

    def test_colours(self):
        self.assertIn("\x1b[1mtable", self.run_on_terminal("tables"))
        self.assertIn("\x1b[36mvrIndex", self.run_on_terminal("layout", "l2vpn_bfdlnk"))
        self.assertNotIn("\x1b", self.run_on_terminal("tables", NO_COLOR="1"))
        self.assertNotIn("\x1b", self.run_on_terminal("tables", TERM="dumb"))
        self.assertNotIn("\x1b", self.output("tables", TERM="xterm"))

    def narrow(self, *arguments: object, columns: int = 80) -> list[str]:
        """Returns the lines. Expects none wider than the terminal."""
        text = self.run_on_terminal(*arguments, columns=columns, NO_COLOR="1").replace("\r", "")
        for line in text.splitlines():
            self.assertLessEqual(len(line), columns)
        return text.splitlines()

    def test_narrow_columns(self):
        lines = self.narrow("-l", EXAMPLE, "find", "l2vpn_vpls_pw", "instanceId=100")
        titles = [line.split() for line in lines if line.startswith("vrIndex")]
        self.assertGreater(len(titles), 2)
        for title in titles:
            self.assertEqual(title[:3], ["vrIndex", "pwTunnelId", "pwTunnelType"])
        wide = self.lines("-l", EXAMPLE, "find", "l2vpn_vpls_pw", "instanceId=100")
        self.assertEqual([name for title in titles for name in title[3:]], wide[0].split()[3:])
        self.assertEqual(len([line for line in lines if line.startswith("      1       1000")]), 5 * len(titles))
        left_out = next(at for at, line in enumerate(lines) if line.startswith("0 in all: "))
        self.assertEqual(" ".join(line.strip() for line in lines[left_out:]), wide[-1])
        self.assertIn(" " * 63 + "vrIndex,", self.narrow("describe", "l2vpn_vpls_ac_sub"))

    def test_wide_values_wrap(self):
        context = ":".join(f"{byte:02x}" for byte in range(48))
        file = self.write("file", json.dumps({"l2vpn_vpls_vsimac": [
            {"vrIndex": 1, "macAddr": "00:1b:44:11:3a:b7", "vlanId": 1, "instanceId": 1, "svcCtx": context}]}))
        key = ("vrIndex=1", "macAddr=00:1b:44:11:3a:b7", "vlanId=1", "instanceId=1")
        for columns in (70, 80, 120):
            self.narrow("-l", file, "get", "l2vpn_vpls_vsimac", *key, "--raw", columns=columns)
            for line in (("get", "l2vpn_vpls_vsimac", *key), ("find", "l2vpn_vpls_vsimac", *key), ("dump",)):
                words = " ".join(self.narrow("-l", file, *line, columns=columns)).split()
                parts = [word for word in words if re.fullmatch(r"(\w\w:)+(\w\w)?", word) and word != key[1][8:]]
                self.assertEqual("".join(parts), context)

    def test_narrow_layout(self):
        lines = self.narrow("layout", "l2vpn_vpls_vsimac")
        self.assertIn("     ┌" + "─" * 31 + "┬" + "─" * 31 + "┐", lines)
        self.narrow("layout", "l2vpn_stp", columns=24)

    def test_progress(self):
        def slowly(stdin):
            for number in range(0, 4000, 2000):
                stdin.write("".join(f'{{"l2vpn_stp":[{{"ifIndex":{each}}}]}}\n'
                                    for each in range(number, number + 2000)).encode())
                stdin.flush()
                time.sleep(1.1)

        text = self.run_on_terminal("load", "-", feed=slowly)
        self.assertRegex(text, r"\r\x1b\[K\d+ records, \d+/s: standard input\r\x1b\[K-: 4000 records stored")
        self.assertNotIn("\r\x1b", self.run_on_terminal("load", EXAMPLE))

    def test_progress_in_a_narrow_terminal(self):
        primary, secondary = pty.openpty()
        termios.tcsetwinsize(secondary, (24, 40))
        with subprocess.Popen([PROGRAM, "generate", "--instances", "10000000", "--output", "/dev/null"],
                              stderr=secondary) as process:
            text = ""
            while text.count("\r") < 3:
                text += os.read(primary, 65536).decode("utf-8")
            process.terminate()
        os.close(primary)
        os.close(secondary)
        for line in re.findall(r"\x1b\[K([^\r]+)\r", text):
            self.assertRegex(line, r"^\[[# ]{24}\] \d+ %, (\d+:)*\d")
            self.assertEqual(len(line), 39)


if __name__ == "__main__":
    main()
