# SPDX-License-Identifier: MIT
"""Puts what a command has printed in the place of its last figures in the documents beside this file."""

import argparse
import datetime
import re
import sys
from pathlib import Path

DOCUMENTS = sorted(Path(__file__).parent.glob("*.md"))


def put(name: str, text: str, new: str) -> tuple[str, int]:
    """The text with what is new between the marks of these figures, and how often those were found."""
    return re.subn(rf"(<!-- figures: {name} -->\n).*?(<!-- end -->)", lambda found: found[1] + new + found[2], text,
                   flags=re.S)


def as_printed(date: str, printed: str) -> str:
    return f"Of {date}:\n\n```text\n{printed.strip()}\n```\n"


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("name", help="of the figures: <!-- figures: NAME --> begins their place")
    parser.add_argument("output", type=Path, help="what the command has printed")
    arguments = parser.parse_args()
    new = as_printed(str(datetime.date.today()), arguments.output.read_text(encoding="utf-8"))
    places = 0
    for document in DOCUMENTS:
        text, found = put(arguments.name, document.read_text(encoding="utf-8"), new)
        places += found
        if found:
            document.write_text(text, encoding="utf-8")
    if places != 1:
        print(f"{DOCUMENTS[0].parent}: found {places} places for the figures of {arguments.name}, expected one",
              file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
