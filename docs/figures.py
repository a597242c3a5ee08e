# SPDX-License-Identifier: MIT
"""Puts what a command has printed in the place of its last figures in docs/evidence.md."""

import argparse
import datetime
import re
import sys
from pathlib import Path

DOCUMENT = Path(__file__).with_name("evidence.md")


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("name", help="of the figures: <!-- figures: NAME --> begins their place")
    parser.add_argument("output", type=Path, help="what the command has printed")
    arguments = parser.parse_args()
    printed = arguments.output.read_text(encoding="utf-8").strip()
    block = f"<!-- figures: {arguments.name} -->\n"
    text = DOCUMENT.read_text(encoding="utf-8")
    new = f"{block}Of {datetime.date.today()}:\n\n```text\n{printed}\n```\n<!-- end -->"
    text, found = re.subn(re.escape(block) + ".*?<!-- end -->", lambda _: new, text, flags=re.S)
    if found != 1:
        print(f"{DOCUMENT}: found {found} places for the figures of {arguments.name}, expected one", file=sys.stderr)
        return 1
    DOCUMENT.write_text(text, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
