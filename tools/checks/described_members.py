#!/usr/bin/env python3
"""Looks whether lab/README.md explains each member of the lab's descriptions:
described_members.py SOURCE_FOLDER

A member of a schema has to be named, in backticks or in quotation marks, in the section about what it
describes. Prints what is missing and exits with 1 if anything is.
"""

import json
import re
import sys
from pathlib import Path
from typing import List

SECTIONS = {'machines/machine.schema.json': 'Describing a machine',
            'standins/kelvane_server/config.schema.json': 'The Kelvane Server'}


def section(document: str, heading: str) -> str:
    """What is between the heading and the next one; empty without it."""
    found = re.search(rf'^## {re.escape(heading)}\n(.*?)(?=^## |\Z)', document,
                      re.MULTILINE | re.DOTALL)
    return found[1] if found else ''


def unexplained(members: List[str], text: str) -> List[str]:
    named = set(re.findall(r'[`"](\w+)[`"]', text))
    return [member for member in members if member not in named]


def main() -> int:
    if len(sys.argv) != 2:
        print(__doc__.strip())
        return 2
    lab = Path(sys.argv[1]) / 'lab'
    document = (lab / 'README.md').read_text(encoding='utf-8')
    missing, count = [], 0
    for name, heading in SECTIONS.items():
        members = list(json.loads((lab / name).read_text(encoding='utf-8'))['properties'])
        count += len(members)
        missing += [f'lab/README.md, {heading}: nothing about "{member}" of lab/{name}'
                    for member in unexplained(members, section(document, heading))]
    print('\n'.join(missing) or f'{count} members, each explained')
    return 1 if missing else 0


if __name__ == '__main__':
    sys.exit(main())
