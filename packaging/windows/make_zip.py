#!/usr/bin/env python3
"""Makes a zip file that depends on nothing but the content: make_zip.py FOLDER FILE.zip

The files of the folder go into a folder of the same name, sorted, all with the time of
SOURCE_DATE_EPOCH, and SHA256SUMS with them, which names each.
"""

import hashlib
import os
import sys
import time
import zipfile
from pathlib import Path
from typing import Dict

CHECKSUMS = 'SHA256SUMS'
# What a zip file can tell begins here.
EARLIEST = 315532800  # 1980-01-01


def contents(folder: Path) -> Dict[str, bytes]:
    files = {path.relative_to(folder).as_posix(): path.read_bytes()
             for path in folder.rglob('*') if path.is_file()}
    sums = ''.join(f'{hashlib.sha256(files[name]).hexdigest()} *{name}\n' for name in sorted(files))
    return {**files, CHECKSUMS: sums.encode()}


def make_zip(folder: Path, target: Path, epoch: int) -> None:
    moment = time.gmtime(max(epoch, EARLIEST))[:6]
    part = target.with_name(target.name + '.part')
    with zipfile.ZipFile(part, 'w') as archive:
        for name, content in sorted(contents(folder).items()):
            entry = zipfile.ZipInfo(f'{folder.name}/{name}', moment)
            entry.create_system = 0  # whoever makes it, wherever
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, content, compresslevel=9)
    part.replace(target)


def main() -> int:
    if len(sys.argv) != 3:
        print(__doc__.strip())
        return 2
    make_zip(Path(sys.argv[1]), Path(sys.argv[2]), int(os.environ['SOURCE_DATE_EPOCH']))
    return 0


if __name__ == '__main__':
    sys.exit(main())
