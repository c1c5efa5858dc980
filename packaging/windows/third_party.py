#!/usr/bin/env python3
"""Tells whose work is in the Windows programs: third_party.py BUILD

Prints a page with each library, its version, its licence and the licence's text. What is linked is read
from the linker's maps of the two programs, and what is compiled in from the build's own record of
headers, so the page can't tell less than there is; a library without an entry here is an error.
"""

import os
import re
import subprocess
import sys
import tarfile
from pathlib import Path
from typing import Dict, Iterator, List, NamedTuple, Optional, Set, Tuple

PROGRAMS = ('halvard', 'hvctl')
# Whose objects lie where in a build.
FOLDERS = {'src/': 'halvard', 'tools/hvctl/': 'hvctl'}
MEMBER = re.compile(r'^(\S+\.a)\(', re.MULTILINE)
CACHE = Path(os.environ.get('HALVARD_CACHE') or
             Path(os.environ.get('XDG_CACHE_HOME') or Path.home() / '.cache') / 'halvard')


class Library(NamedTuple):
    name: str
    licence: str
    # A path in the prefix of our libraries, or of the machine's, matches one of these.
    paths: Tuple[str, ...]
    # Where the version stands: a header below the prefix and what to look for in it, or a package.
    version: Tuple[str, str]
    # Where the licence's text is: an archive's name in the cache and a file in it, or a package's
    # copyright file and where the text begins and ends there.
    text: Tuple[str, ...]


LIBRARIES = (
    Library('Boost', 'BSL-1.0', (r'/include/boost/', r'/libboost_\w+\.a$'),
            ('include/boost/version.hpp', r'BOOST_LIB_VERSION "([\d_]+)"'),
            ('boost1.81_*.tar.*', 'LICENSE_1_0.txt')),
    Library('CLI11', 'BSD-3-Clause', (r'/include/CLI/',),
            ('include/CLI/Version.hpp', r'CLI11_VERSION "([\d.]+)"'),
            ('/usr/share/doc/libcli11-dev/copyright', 'Files: *\n', 'Files: cmake/',
             'License: BSD-3-clause\n Red', '')),
    Library('JsonCpp', 'MIT', (r'/include/json/', r'/libjsoncpp\.a$'),
            ('include/json/version.h', r'JSONCPP_VERSION_STRING "([\d.]+)"'),
            ('libjsoncpp_*.tar.*', 'LICENSE')),
    Library('libssh2', 'BSD-3-Clause', (r'/include/libssh2\w*\.h$', r'/libssh2\.a$'),
            ('include/libssh2.h', r'LIBSSH2_VERSION\s+"([\d.]+)"'), ('libssh2_*.tar.*', 'COPYING')),
    Library('OpenSSL', 'Apache-2.0', (r'/include/openssl/', r'/lib(?:ssl|crypto)\.a$'),
            ('include/openssl/opensslv.h', r'OPENSSL_VERSION_STR "([\d.]+)"'),
            ('openssl_*.tar.*', 'LICENSE.txt')),
    Library('pugixml', 'MIT', (r'/include/pugi\w+\.hpp$', r'/libpugixml\.a$'),
            ('include/pugixml.hpp', r'version (\d+\.\d+)'), ('pugixml_*.tar.*', 'LICENSE.md')),
    Library('RapidJSON', 'MIT', (r'/include/rapidjson/',),
            ('include/rapidjson/rapidjson.h', r'RAPIDJSON_(?:MAJOR|MINOR|PATCH)_VERSION (\d+)'),
            ('/usr/share/doc/rapidjson-dev/copyright', 'Files: *\n', 'Files: debian/')),
    Library('GCC runtime libraries', 'GPL-3.0-or-later WITH GCC-exception-3.1',
            (r'/gcc/x86_64-w64-mingw32/',), ('gcc-mingw-w64-base', ''),
            ('/usr/share/doc/gcc-mingw-w64-base/copyright', 'GCC RUNTIME LIBRARY EXCEPTION',
             'The availability of this Exception')),
    Library('mingw-w64 runtime', 'ZPL-2.1 and others', (r'/x86_64-w64-mingw32/(?:lib|include)/', r'/share/mingw-w64/'),
            ('mingw-w64-common', ''), ('/usr/share/doc/mingw-w64-common/copyright', '', '')),
)

HEAD = '''# Work of others in Halvard

`Ostrel-Halvard.exe` and `hvctl.exe` contain the libraries below, in the versions that are named. Each is
used under its own licence, whose text follows. They are linked into the programs: nothing else has to be
installed.

'''


def linked(build: Path) -> Iterator[Tuple[str, str]]:
    """Archives that something was taken from, each with its program."""
    for program in PROGRAMS:
        text = (build / 'bin' / f'{program}.map').read_text(encoding='utf-8', errors='replace')
        taken, _, _ = text.partition('\nDiscarded input sections')
        for path in set(MEMBER.findall(taken)):
            yield os.path.normpath(build / path), program


def compiled(build: Path) -> Iterator[Tuple[str, str]]:
    """Headers that the programs' own sources include."""
    record = subprocess.run(['ninja', '-C', build, '-t', 'deps'], check=True, capture_output=True,
                            text=True).stdout
    program: Optional[str] = None
    for line in record.splitlines():
        if not line.startswith(' '):
            program = next((name for folder, name in FOLDERS.items() if line.startswith(folder)), None)
        elif program:
            yield os.path.normpath(build / line.strip()), program


def owner(path: str) -> Optional[Library]:
    return next((library for library in LIBRARIES
                 if any(re.search(pattern, path) for pattern in library.paths)), None)


def used(build: Path, tree: Path) -> Dict[Library, Set[str]]:
    """The libraries and the programs that have something of them."""
    found: Dict[Library, Set[str]] = {}
    for path, program in set((*linked(build), *compiled(build))):
        library = owner(path)
        if library:
            found.setdefault(library, set()).add(program)
        elif not path.startswith(f'{tree}/'):
            raise LookupError(f'whose is {path}? It has no entry in {Path(__file__).name}')
    return found


def prefix(build: Path) -> Path:
    cache = (build / 'CMakeCache.txt').read_text(encoding='utf-8')
    return Path(re.search(r'^HALVARD_FORMER_PREFIX:INTERNAL=(.*)$', cache, re.MULTILINE).group(1))


def version(library: Library, folder: Path) -> str:
    where, pattern = library.version
    if not pattern:
        return subprocess.run(['dpkg-query', '-W', '-f', '${Version}', where], check=True,
                              capture_output=True, text=True).stdout
    found = re.findall(pattern, (folder / where).read_text(encoding='utf-8'))
    if not found:
        raise LookupError(f'no version in {folder / where}')
    return '.'.join(found if len(found) == 3 else found[:1]).replace('_', '.')


def text_of_archive(pattern: str, name: str) -> str:
    archives = sorted((CACHE / 'downloads').glob(pattern))
    if not archives:
        raise LookupError(f'no {pattern} in {CACHE}/downloads: cmake/setup/build-dependencies fetches it')
    with tarfile.open(archives[-1]) as archive:
        for member in archive:
            if member.name.count('/') == 1 and member.name.endswith(f'/{name}'):
                return archive.extractfile(member).read().decode('utf-8')
    raise LookupError(f'no {name} in {archives[-1]}')


def text_of_package(path: str, *ends: str) -> str:
    """Parts of a copyright file. Each goes from one text to another; an empty one is the file's end."""
    whole = Path(path).read_text(encoding='utf-8')
    parts = []
    for start, end in zip(ends[::2], ends[1::2]):
        begin = whole.index(start)
        parts.append(whole[begin:whole.index(end, begin) if end else len(whole)])
    return re.sub(r'^ \.?', '', '\n'.join(parts), flags=re.MULTILINE)


def licence_text(library: Library) -> str:
    read = text_of_package if library.text[0].startswith('/') else text_of_archive
    return '\n'.join(line.rstrip() for line in read(*library.text).strip('\n').splitlines())


def page(build: Path, tree: Path) -> str:
    libraries = sorted(used(build, tree).items(), key=lambda pair: pair[0].name.lower())
    folder = prefix(build)
    lines: List[str] = [HEAD, '| Library | Version | Licence | In |\n|---|---|---|---|\n']
    names = {'halvard': '`Ostrel-Halvard.exe`', 'hvctl': '`hvctl.exe`'}
    for library, programs in libraries:
        where = ', '.join(names[program] for program in sorted(programs))
        lines.append(f'| {library.name} | {version(library, folder)} | {library.licence} | {where} |\n')
    for library, _ in libraries:
        lines.append(f'\n## {library.name}\n\n```text\n{licence_text(library)}\n```\n')
    return ''.join(lines)


def main() -> int:
    if len(sys.argv) != 2:
        print(__doc__.strip())
        return 2
    try:
        print(page(Path(sys.argv[1]).resolve(), Path(__file__).resolve().parents[2]), end='')
    except (LookupError, OSError) as error:
        print(f'third_party.py: {error}', file=sys.stderr)
        return 1
    return 0


if __name__ == '__main__':
    sys.exit(main())
