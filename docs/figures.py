# SPDX-License-Identifier: MIT
"""Replaces a command's figures in the documents of this folder with its latest output."""

import argparse
import datetime
import re
import sys
from pathlib import Path

DOCUMENTS = sorted(Path(__file__).parent.glob("*.md"))


def put(name: str, text: str, new: str) -> tuple[str, int]:
    """Replaces the text between the marks of these figures. Returns it and the number of replacements."""
    return re.subn(rf"(<!-- figures: {name} -->\n).*?(<!-- end -->)", lambda found: found[1] + new + found[2], text,
                   flags=re.S)


def as_printed(date: str, printed: str) -> str:
    return f"As of {date}:\n\n```text\n{printed.strip()}\n```\n"


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("name", help="name of the figures, as in <!-- figures: NAME -->")
    parser.add_argument("output", type=Path, help="file with the command's output")
    arguments = parser.parse_args()
    new = as_printed(str(datetime.date.today()), arguments.output.read_text(encoding="utf-8"))
    places = 0
    for document in DOCUMENTS:
        text, found = put(arguments.name, document.read_text(encoding="utf-8"), new)
        places += found
        if found:
            document.write_text(text, encoding="utf-8")
    if places != 1:
        print(f"{DOCUMENTS[0].parent}: found {places} blocks <!-- figures: {arguments.name} -->, expected one",
              file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
