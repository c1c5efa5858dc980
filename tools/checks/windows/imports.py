#!/usr/bin/python3
"""Checks what Windows programs import: imports.py PROGRAM...

Prints one line for each import that imports.txt doesn't allow and exits with 1 if there is any: a
function that the oldest supported server lacks keeps the whole program from being loaded there. What
the code looks up at run time is no import.
"""

import sys
from pathlib import Path
from typing import Dict, Iterator, List, Tuple

import pefile

OLDEST = '2008 R2'
# Of the servers that a list may name, the older ones first.
SERVERS = ('2003', '2008', '2008 R2', '2012', '2012 R2', '2016', '2019', '2022', '2025')
LIST = Path(__file__).with_name('imports.txt')
# Narrow forms of functions that have a wide one, and the libraries that call them: for names of their
# own, never with a path or a text of ours.
NARROW = {
    'CreateEventA': 'Boost.Log, Boost.Thread, libssh2, winpthreads',
    'CreateSemaphoreA': 'winpthreads',
    'CreateWaitableTimerA': 'Boost.Thread',
    'FormatMessageA': 'Boost.System',
    'GetModuleHandleA': 'Boost.Asio, Boost.Thread, winpthreads',
    'GetStartupInfoA': 'the start of a program',
    'GetSystemDirectoryA': 'libssh2',
    'LoadLibraryA': 'OpenSSL, the C runtime',
    'OpenEventA': 'Boost.Thread',
    'OutputDebugStringA': 'Boost.Log, winpthreads',
    'ReadConsoleA': 'OpenSSL',
    'WSAStringToAddressA': 'Boost.Asio',
}

Names = Dict[Tuple[str, str], str]  # library in lower case and function: the oldest server


def read_list(text: str) -> Names:
    names: Names = {}
    library = server = ''
    for number, line in enumerate(text.splitlines(), 1):
        if not line or line.startswith('#'):
            continue
        if line.startswith('['):
            library = line.strip('[]').lower()
            continue
        if not line.startswith(' '):
            server, line = line.split(':', 1)
        if server not in SERVERS or not library:
            raise ValueError(f'line {number}: no library, or "{server}" is no server')
        for name in line.split():
            names[library, name] = server
    return names


def imports(program: Path) -> Iterator[Tuple[str, str]]:
    """Library and function of each import. One without a name is given as its number."""
    image = pefile.PE(str(program), fast_load=True)
    image.parse_data_directories([pefile.DIRECTORY_ENTRY['IMAGE_DIRECTORY_ENTRY_IMPORT']])
    for library in getattr(image, 'DIRECTORY_ENTRY_IMPORT', []):
        for function in library.imports:
            name = function.name.decode() if function.name else f'#{function.ordinal}'
            yield library.dll.decode(), name


def finding(library: str, name: str, allowed: Names) -> str:
    """What is wrong with an import; empty if nothing is."""
    if library.upper() == 'WS2_32.DLL' and name.startswith('#'):
        return ''  # the numbers of Winsock are as fixed as its names
    server = allowed.get((library.lower(), name))
    if server is None:
        return f'{library} {name} is not in {LIST.name}, which says how to add it'
    if SERVERS.index(server) > SERVERS.index(OLDEST):
        return (f'{library} {name} needs Windows Server {server}: look it up at run time, since '
                f'Windows Server {OLDEST} is supported')
    if name.endswith('A') and name not in NARROW:
        return f'{library} {name} takes narrow text: call {name[:-1]}W'
    return ''


def findings(programs: List[Path], allowed: Names) -> Iterator[str]:
    for program in programs:
        found = list(imports(program))
        if not found:
            yield f'{program.name}: imports nothing, so it is no program of ours'
        for library, name in found:
            text = finding(library, name, allowed)
            if text:
                yield f'{program.name}: {text}'


def main() -> int:
    if not sys.argv[1:]:
        print(__doc__.strip())
        return 2
    allowed = read_list(LIST.read_text(encoding='utf-8'))
    found = list(findings([Path(name) for name in sys.argv[1:]], allowed))
    print('\n'.join(found) or f'{len(sys.argv) - 1} programs import what Windows Server {OLDEST} has')
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
