# SPDX-License-Identifier: MIT
"""Line numbers of TOML entries, which tomllib does not provide."""

import re

_STRING = re.compile(r'"""(?:\\.|[^\\])*?"""|\'\'\'.*?\'\'\'|"(?:\\.|[^"\\\n])*"|\'[^\'\n]*\'', re.S)
_KEY = re.compile(r"""[ \t]*(?:\[+[ \t]*)?(?:"([^"]*)"|'([^']*)'|([A-Za-z0-9_-]+))""")


def locate(text: str) -> dict:
    """
    Maps each top-level key of a valid TOML document to its line, and (key, i) to the line on
    which element i of the key's array begins.
    """
    lines, key, element, depth, line, at = {}, None, 0, 0, 1, 0
    at_line_start = True
    while at < len(text):
        if at_line_start and depth == 0:
            at_line_start = False
            if match := _KEY.match(text, at):
                key, element = match[match.lastindex], 0
                lines.setdefault(key, line)
                at = match.end()
                # A section header's brackets are not an array's.
                if "[" in match.group(0):
                    at = text.find("\n", at) if "\n" in text[at:] else len(text)
                continue
        char = text[at]
        string = _STRING.match(text, at) if char in "\"'" else None
        if depth == 1 and char not in " \t\r\n,#]}":
            lines[key, element] = line
            element += 1
            if not string and char not in "[{":
                at = re.compile(r"[^,\]}#\n]*").match(text, at).end()
                continue
        if string:
            line += string.group(0).count("\n")
            at = string.end()
            continue
        if char == "#":
            at = text.find("\n", at) if "\n" in text[at:] else len(text)
            continue
        depth += (char in "[{") - (char in "]}")
        if char == "\n":
            line += 1
            at_line_start = True
        at += 1
    return lines
