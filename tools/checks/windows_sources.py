#!/usr/bin/env python3
"""Checks the sources for what goes wrong on Windows alone: windows_sources.py [TREE].

Prints one line for each finding and exits with 1 if there is any. The checks: no call of a function
that takes narrow text, no room of MAX_PATH characters that isn't known, and no handle that is closed
by hand.
"""

import re
import sys
from pathlib import Path
from typing import Dict, Iterator, List, Tuple

FOLDERS = ('src', 'tools')
SUFFIXES = {'.h', '.cpp'}
# Comments, texts and characters.
NO_CODE = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\\n]|\\.)+\'', re.DOTALL)
NARROW_CALL = re.compile(r'(?<![\w.>])(?:::)?([A-Z]\w*[a-z0-9]A)\s*\(')
RELEASE = re.compile(r'(?<![\w.>])(?:::)?(CloseHandle|CloseServiceHandle|RegCloseKey|FindClose|LocalFree|'
                     r'FreeSid|FreeLibrary|CoTaskMemFree|SysFreeString|NetApiBufferFree|'
                     r'ldap_unbind|ldap_msgfree)\s*\(|->(Release)\s*\(\s*\)')
# Where a room of MAX_PATH characters is meant, how often the word stands there, and why the limit is
# no loss.
ROOMS: Dict[str, Tuple[int, str]] = {
    'src/core/temp_directory.cpp': (3, 'GetTempPathW answers no longer path'),
    'src/host/files.cpp': (1, 'GetTempFileNameW writes no longer path'),
    'src/host/registry.cpp': (2, 'the folder of the install parameters, a longer one is an error line'),
    'src/runner/runner_extraction.cpp': (2, 'the installer takes no longer path of a package'),
    'src/runner/runner_input.cpp': (4, 'PathAddBackslashW knows no larger room, a longer folder is an '
                                       'error line'),
    'src/runner/service_script.cpp': (5, 'the system folder and the script\'s, a longer one is an '
                                         'error line'),
    'src/security/existing_path.cpp': (4, 'PathRemoveFileSpecW knows no larger room, a longer path is an '
                                          'error line'),
    'src/service/custom_prechecks.cpp': (3, 'a longer value of the variable counts as none'),
}
# Where things are released by hand: the owners themselves, and releases whose moment or result counts.
RELEASES: Dict[str, str] = {
    'src/host/access_control_api.h': 'owners',
    'src/host/authorization_api.h': 'owners',
    'src/host/com.h': 'owners',
    'src/host/threads.cpp': 'an owner of its own',
    'src/host/unique_resource.h': 'owners',
    'tools/hvctl/host_windows.cpp': 'the arguments, once at the start',
}


def sources(tree: Path) -> Iterator[Tuple[str, str]]:
    """Path and code of each source, comments and texts blanked, lines kept."""
    for folder in FOLDERS:
        for path in sorted((tree / folder).rglob('*')):
            if path.suffix in SUFFIXES:
                code = path.read_text(encoding='utf-8')
                code = NO_CODE.sub(lambda match: ' ' + '\n' * match.group().count('\n'), code)
                yield path.relative_to(tree).as_posix(), code


def line_of(code: str, position: int) -> int:
    return code.count('\n', 0, position) + 1


def findings(tree: Path, rooms: Dict[str, Tuple[int, str]] = ROOMS,
             releases: Dict[str, str] = RELEASES) -> List[str]:
    found = []
    seen = set()
    for name, code in sources(tree):
        for match in NARROW_CALL.finditer(code):
            function = match.group(1)
            found.append(f'{name}:{line_of(code, match.start())}: {function} takes narrow text: call '
                         f'{function[:-1]}W')
        count = len(re.findall(r'\bMAX_PATH\b', code))
        known = rooms.get(name, (0, ''))[0]
        seen.add(name)
        if count != known:
            found.append(f'{name}: MAX_PATH stands {count} times here, and {known} are known: make the '
                         'room as large as the text, or say why not in windows_sources.py')
        if name in releases:
            continue
        for match in RELEASE.finditer(code):
            function = match.group(1) or match.group(2)
            found.append(f'{name}:{line_of(code, match.start())}: {function} by hand: give the thing an '
                         'owner of host/unique_resource.h')
    found.extend(f'{name}: is excused in windows_sources.py, but is not there'
                 for name in (*rooms, *releases) if name not in seen)
    return found


def main() -> int:
    tree = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).resolve().parents[2]
    found = findings(tree)
    print('\n'.join(found) or 'nothing found')
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
