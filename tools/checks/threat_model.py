#!/usr/bin/env python3
"""Looks whether each claim of the threat model has a test, and each test that it names is there:
threat_model.py SOURCE_FOLDER [DOCUMENT]

A claim is a row of a table whose last column is headed "Test". It names tests as `Suite.Name` or as
`file.py:Class.function`. Prints what is missing and exits with 1 if anything is.
"""

import ast
import re
import sys
from pathlib import Path
from typing import Iterator, List, Set

NAME = re.compile(r'`([^`]+)`')
GOOGLE_TEST = re.compile(r'^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)', re.MULTILINE)


def rows(document: str) -> Iterator[List[str]]:
    """The cells of each row of the tables of claims, without the heads."""
    in_claims = False
    for line in document.splitlines():
        if not line.startswith('|'):
            in_claims = False
            continue
        cells = [cell.strip() for cell in line.strip('|').split('|')]
        if cells[-1] == 'Test':
            in_claims = True
        elif in_claims and not all(set(cell) == {'-'} for cell in cells):
            yield cells


def python_tests(path: Path) -> Iterator[str]:
    for item in ast.parse(path.read_text(encoding='utf-8')).body:
        if isinstance(item, ast.ClassDef):
            for function in item.body:
                if isinstance(function, ast.FunctionDef):
                    yield f'{path.name}:{item.name}.{function.name}'


def known_tests(folder: Path) -> Set[str]:
    known = set()
    for path in folder.rglob('*.cpp'):
        known.update('.'.join(names)
                     for names in GOOGLE_TEST.findall(path.read_text(encoding='utf-8')))
    for path in folder.rglob('*.py'):
        known.update(python_tests(path))
    return known


def faults(document: str, known: Set[str]) -> List[str]:
    found = []
    for cells in rows(document):
        names = NAME.findall(cells[-1])
        if not names:
            found.append(f'no test behind: {cells[0]}')
        found += [f'no such test: {name}' for name in names if name not in known]
    return found


def main() -> int:
    if len(sys.argv) < 2:
        print(__doc__.strip())
        return 2
    root = Path(sys.argv[1])
    path = Path(sys.argv[2]) if len(sys.argv) > 2 else root / 'docs' / 'threat-model.md'
    document = path.read_text(encoding='utf-8')
    count = len(list(rows(document)))
    found = faults(document, known_tests(root / 'tests'))
    print('\n'.join(found) or f'{count} claims, each with a test')
    return 1 if found or count == 0 else 0


if __name__ == '__main__':
    sys.exit(main())
