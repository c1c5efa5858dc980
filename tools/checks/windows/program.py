#!/usr/bin/python3
"""Checks the headers and the resources of Windows programs: program.py PROGRAM...

Prints one line for each finding and exits with 1 if there is any. A program has to be safe to load, to
carry no time, and to tell the system and a reader what it is.
"""

import re
import sys
from pathlib import Path
from typing import Iterator, List, Optional

import pefile

FLAGS = ('IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE', 'IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA',
         'IMAGE_DLLCHARACTERISTICS_NX_COMPAT')
CONSOLE = pefile.SUBSYSTEM_TYPE['IMAGE_SUBSYSTEM_WINDOWS_CUI']
X64 = pefile.MACHINE_TYPE['IMAGE_FILE_MACHINE_AMD64']
OLDEST = (6, 1)
VERSION = '6.0.0 build-14510545'
# What the manifest has to hold, and what for.
MANIFEST = {
    'level="asInvoker"': 'the program tells itself when its rights do not suffice',
    '<longPathAware': 'paths beyond 260 characters',
    '{35138b9a-5d96-4fbd-8e2d-a2440225f93a}': 'Windows Server 2008 R2',
    '{4a2f28e3-53b9-4441-ba9c-d69d4a4a6e38}': 'Windows Server 2012',
    '{1f676c76-80e1-4239-95bb-83d0f6d0da78}': 'Windows Server 2012 R2',
    '{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}': 'Windows Server 2016 and later',
}


def header_findings(image: pefile.PE) -> Iterator[str]:
    header = image.OPTIONAL_HEADER
    if image.FILE_HEADER.Machine != X64:
        yield 'is not made for x64'
    if header.Subsystem != CONSOLE:
        yield 'is no console program'
    for flag in FLAGS:
        if not getattr(header, flag):
            yield f'lacks {flag}'
    # Without them it can only be loaded where it was linked for, whatever its flags say.
    if not header.DATA_DIRECTORY[pefile.DIRECTORY_ENTRY['IMAGE_DIRECTORY_ENTRY_BASERELOC']].Size:
        yield 'has no relocations'
    for section in image.sections:
        if section.IMAGE_SCN_MEM_WRITE and section.IMAGE_SCN_MEM_EXECUTE:
            yield f'has a section that is written and run: {section.Name.decode().strip(chr(0))}'
    if image.FILE_HEADER.TimeDateStamp:
        yield 'carries the time of its making'
    oldest = (header.MajorSubsystemVersion, header.MinorSubsystemVersion)
    if oldest != OLDEST:
        yield f'is made for Windows {oldest[0]}.{oldest[1]}, not {OLDEST[0]}.{OLDEST[1]}'


def resource(image: pefile.PE, kind: str) -> Optional[bytes]:
    """The first resource of a kind."""
    for entry in image.DIRECTORY_ENTRY_RESOURCE.entries:
        if entry.id == pefile.RESOURCE_TYPE[kind]:
            data = entry.directory.entries[0].directory.entries[0].data.struct
            return image.get_data(data.OffsetToData, data.Size)
    return None


def texts_of_version(image: pefile.PE) -> dict:
    return {key.decode(): text.decode()
            for info in getattr(image, 'FileInfo', []) for block in info
            if block.name == 'StringFileInfo' for table in block.StringTable
            for key, text in table.entries.items()}


def resource_findings(image: pefile.PE, name: str) -> Iterator[str]:
    if not hasattr(image, 'DIRECTORY_ENTRY_RESOURCE'):
        yield 'has no resources'
        return
    if resource(image, 'RT_GROUP_ICON') is None:
        yield 'has no icon'
    texts = texts_of_version(image)
    for key, wanted in (('FileVersion', VERSION), ('ProductVersion', VERSION),
                        ('OriginalFilename', name)):
        if texts.get(key) != wanted:
            yield f'has {texts.get(key)!r} as its {key}, not {wanted!r}'
    manifest = re.sub(r'\s+', ' ', (resource(image, 'RT_MANIFEST') or b'').decode())
    for text, purpose in MANIFEST.items():
        if text not in manifest:
            yield f'has no {text} in its manifest ({purpose})'


def findings(program: Path) -> List[str]:
    image = pefile.PE(str(program), fast_load=True)
    image.parse_data_directories([pefile.DIRECTORY_ENTRY['IMAGE_DIRECTORY_ENTRY_RESOURCE']])
    return [f'{program.name} {text}'
            for text in (*header_findings(image), *resource_findings(image, program.name))]


def main() -> int:
    if not sys.argv[1:]:
        print(__doc__.strip())
        return 2
    found = [line for name in sys.argv[1:] for line in findings(Path(name))]
    print('\n'.join(found) or f'{len(sys.argv) - 1} programs are as they have to be')
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
