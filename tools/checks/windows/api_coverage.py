#!/usr/bin/python3
"""Counts the Windows functions that have a conformance test: api_coverage.py TREE PROGRAM

Looks at the functions that the agent's own sources call, by import or by a name looked up at run time,
and at those that tests/windows_api/ calls. Prints what no test calls, with the reason where one is
known, and the count. Exits with 1 if a function lacks a test without a known reason, or has one and a
reason too.
"""

import re
import sys
from pathlib import Path
from typing import Dict, Iterable, List, NamedTuple, Set

import imports

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))
import layering  # noqa: E402
import windows_sources  # noqa: E402

TEXT = re.compile(r'"(\w+)"')
WORD = re.compile(r'\w+')
# A call, not of a member and not of another library's function.
CALL = re.compile(r'(?<![\w.>:])(?:::)?(\w+)\s*\(')
LOOKED_UP = re.compile(r'(?:GetProcAddress|FindFunction<\w+>)\([^;"]*"(\w+)"')
# An owner of a handle, and what releases it: a test that uses the owner calls the function.
TRAITS = re.compile(r'struct (\w+Traits) \{(.*?)\n\};', re.DOTALL)
OWNER = re.compile(r'using (\w+) = UniqueResource<(\w+)>')
# Functions that have no conformance test, and why.
REASONS: Dict[str, str] = {}


class Coverage(NamedTuple):
    called: Set[str]
    tested: Set[str]

    @property
    def missing(self) -> List[str]:
        return sorted(self.called - self.tested)


def texts(folder: Path) -> Iterable[str]:
    for path in sorted(folder.rglob('*')):
        if path.suffix in ('.h', '.cpp'):
            yield path.read_text(encoding='utf-8')


def names(folder: Path) -> Set[str]:
    """What sources name or call. A short name of the sockets is a word of many meanings, so only a call
    counts."""
    found = set()
    for text in texts(folder):
        code = windows_sources.NO_CODE.sub(' ', text)
        found.update(word for word in WORD.findall(code) if not word.islower() or '_' in word)
        found.update(CALL.findall(code))
    return found


def release_functions(tree: Path) -> Dict[str, Set[str]]:
    """The functions that each owner of a handle calls to release it."""
    headers = '\n'.join(texts(tree / 'src' / 'host'))
    bodies = dict(TRAITS.findall(headers))
    return {owner: set(CALL.findall(bodies.get(traits, ''))) for owner, traits in OWNER.findall(headers)}


def looked_up_names(folder: Path) -> Set[str]:
    return {name for text in texts(folder) for name in LOOKED_UP.findall(text)}


def coverage(tree: Path, imported: Set[str]) -> Coverage:
    """What the runtime library exports as well as the system is no function of Windows' API."""
    called = set()
    for folder in sorted((tree / 'src').iterdir()):
        if folder.is_dir() and folder.name not in layering.LIBRARIES:
            called |= (imported & names(folder)) | looked_up_names(folder)
    tests = tree / 'tests' / 'windows_api'
    tested = names(tests) | set(TEXT.findall('\n'.join(texts(tests))))
    for owner, functions in release_functions(tree).items():
        if owner in tested:
            tested |= functions
    return Coverage(called, called & tested)


def report(result: Coverage, reasons: Dict[str, str]) -> List[str]:
    lines = []
    for name in result.missing:
        lines.append(f'no conformance test: {name}: {reasons.get(name, "and no reason is known")}')
    lines.extend(f'needs no reason any more: {name}' for name in sorted(reasons)
                 if name not in result.missing)
    excused = sum(name in reasons for name in result.missing)
    lines.append(f'{len(result.tested)} of {len(result.called)} Windows functions that the agent calls '
                 f'have a conformance test, {excused} lack one for a known reason')
    return lines


def main() -> int:
    if len(sys.argv) != 3:
        print(__doc__.strip())
        return 2
    imported = {name for library, name in imports.imports(Path(sys.argv[2]))
                if library.lower() != 'msvcrt.dll' or name.startswith('_') or name.endswith('_s')}
    result = coverage(Path(sys.argv[1]), imported)
    print('\n'.join(report(result, REASONS)))
    return 0 if set(result.missing) == set(REASONS) else 1


if __name__ == '__main__':
    sys.exit(main())
