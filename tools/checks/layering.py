#!/usr/bin/env python3
"""Checks who includes whom: layering.py [TREE].

Prints one line for each finding and exits with 1 if there is any. The rules are those of
docs/architecture.md; RULES below holds them as a table.
"""

import re
import sys
from pathlib import Path
from typing import Dict, Iterator, List, NamedTuple, Optional

INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]')
PLATFORM_TEST = re.compile(r'^\s*#\s*(?:el)?if\w*\b.*\b(?:_WIN32|_WIN64|__linux__|__unix__)\b')
SUFFIXES = {'.h', '.cpp', '.c', '.hpp'}
# Folders whose quoted includes are looked up, in this order, after the including file's own.
INCLUDE_ROOTS = ('src', 'lab/include', 'lab', 'tests', 'tools', '.')
# A library that could stand in a tree of its own, and the folders of src/ that it may include.
LIBRARIES = {
    'pion': {'pion'},
    'krova': {'krova', 'pion'},
    'tunrak': {'tunrak'},
    'zelmo': {'zelmo', 'tunrak'},
    'quen': {'quen', 'zelmo', 'tunrak'},
    'lookup': {'lookup', 'quen', 'zelmo', 'tunrak'},
}
WINDOWS_UMBRELLA = 'src/host/windows_api.h'
# What few files need and the umbrella leaves out.
WINDOWS_EXTRAS = {'src/host/access_control_api.h', 'src/host/authorization_api.h',
                  'src/host/firewall_api.h'}
DRIVER = 'src/core/startup/'
GROUND_FLOOR = ('core', 'host')
# Headers that no file of src/ names but the umbrella.
WINDOWS_HEADERS = {'windows.h', 'winsock2.h', 'ws2tcpip.h', 'winldap.h', 'msi.h', 'msiquery.h',
                   'shlobj.h', 'shldisp.h', 'shlwapi.h', 'shellapi.h', 'netfw.h', 'iphlpapi.h',
                   'winreg.h', 'winsvc.h', 'aclapi.h', 'authz.h', 'dsgetdc.h', 'lm.h', 'windns.h'}


class Include(NamedTuple):
    source: str  # path in the tree of the file that includes
    line: int
    quoted: bool
    name: str  # as written
    target: Optional[str]  # path in the tree of the file included, if it is one of ours


def source_files(tree: Path) -> Iterator[Path]:
    for folder in ('src', 'lab', 'tools'):
        for path in sorted((tree / folder).rglob('*')):
            if path.suffix in SUFFIXES and path.is_file():
                yield path


def resolve(tree: Path, source: Path, name: str) -> Optional[str]:
    for root in (source.parent, *(tree / root for root in INCLUDE_ROOTS)):
        candidate = root / name
        if candidate.is_file():
            resolved = candidate.resolve()
            return resolved.relative_to(tree.resolve()).as_posix()
    return None


def read_includes(tree: Path) -> List[Include]:
    found = []
    for path in source_files(tree):
        source = path.relative_to(tree).as_posix()
        for number, text in enumerate(path.read_text(encoding='utf-8').splitlines(), 1):
            match = INCLUDE.match(text)
            if match:
                quoted = match.group(1) == '"'
                target = resolve(tree, path, match.group(2)) if quoted else None
                found.append(Include(source, number, quoted, match.group(2), target))
    return found


def misplaced(include: Include) -> Optional[str]:
    """The rule that an include breaks, in words, or nothing."""
    source, target = include.source, include.target
    if not source.startswith('src/'):
        return None
    folder = source.split('/')[1]
    is_windows_header = not include.quoted and include.name.lower() in WINDOWS_HEADERS
    if folder in LIBRARIES:
        if is_windows_header:
            return f'{folder}/ knows nothing of Windows'
        if target and not any(target.startswith(f'src/{allowed}/') for allowed in LIBRARIES[folder]):
            return f'{folder}/ includes nothing of {"/".join(target.split("/")[:2])}/'
    if target and target.startswith('lab/'):
        return 'src/ never includes lab/'
    if is_windows_header and source not in {WINDOWS_UMBRELLA, *WINDOWS_EXTRAS}:
        return f'Windows headers come through {WINDOWS_UMBRELLA}'
    if target and target.startswith(DRIVER) and not source.startswith(DRIVER):
        return f'nothing includes {DRIVER}'
    if target and reaches_up(source, target):
        return f'{folder}/ is the ground floor, and includes no subsystem'
    return None


def reaches_up(source: str, target: str) -> bool:
    """Whether a file of the ground floor includes one of a subsystem."""
    folder, wanted = source.split('/')[1], target.split('/')[1]
    return (folder in GROUND_FLOOR and not source.startswith(DRIVER)
            and wanted not in (*GROUND_FLOOR, *LIBRARIES))


def find_circle(includes: List[Include]) -> Optional[List[str]]:
    """The files of one circle of includes, first and last the same, or nothing."""
    graph: Dict[str, List[str]] = {}
    for include in includes:
        if include.target:
            graph.setdefault(include.source, []).append(include.target)
    done = set()
    for start in graph:
        trail: List[str] = []
        work = [(start, False)]
        while work:
            node, leaving = work.pop()
            if leaving:
                trail.pop()
                done.add(node)
            elif node in trail:
                return trail[trail.index(node):] + [node]
            elif node not in done:
                trail.append(node)
                work.append((node, True))
                work.extend((target, False) for target in graph.get(node, ()))
    return None


def platform_tests(tree: Path) -> Iterator[str]:
    for path in source_files(tree):
        source = path.relative_to(tree).as_posix()
        if not source.startswith('src/'):
            continue
        for number, text in enumerate(path.read_text(encoding='utf-8').splitlines(), 1):
            if PLATFORM_TEST.match(text):
                yield f'{source}:{number}: src/ is one source for both builds: {text.strip()}'


def findings(tree: Path) -> List[str]:
    includes = read_includes(tree)
    found = [f'{include.source}:{include.line}: {rule}: {include.name}'
             for include in includes for rule in [misplaced(include)] if rule]
    found.extend(platform_tests(tree))
    circle = find_circle(includes)
    if circle:
        found.append('circle of includes: ' + ' -> '.join(circle))
    return found


def main() -> int:
    tree = Path(sys.argv[1] if len(sys.argv) > 1 else '.')
    if not any(source_files(tree)):
        print(f'{tree}: no sources to check')
        return 1
    found = findings(tree)
    for line in found:
        print(line)
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
