#!/usr/bin/env python3
"""hv_util.py beside what one would use instead: compare.py HV_UTIL.

Makes a folder like an export, zips it, and compares both: `hv_util.py --compare` against
`python3 -m zipfile -t` and one reading of the folder. The runs take turns, and a ratio is the median of
the ratios within a round. HALVARD_BENCH_MIB is the size of the folder (2048), HALVARD_BENCH_ROUNDS the
number of rounds (3). See docs/performance.md.
"""

import os
import random
import statistics
import subprocess
import sys
import tempfile
import time
import zipfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import table  # noqa: E402  (in the folder above)

MIB = int(os.environ.get('HALVARD_BENCH_MIB', '2048'))
ROUNDS = int(os.environ.get('HALVARD_BENCH_ROUNDS', '3'))
FILES = 16
PIECE = 1 << 20


def make_export(folder):
    """Files of which half can't be packed, as databases and archives are."""
    folder.mkdir()
    random.seed(1)
    text = (' '.join(str(random.getrandbits(16)) for _ in range(PIECE // 5)).encode())[:PIECE]
    for number in range(FILES):
        with open(folder / f'file {number}.bin', 'wb') as file:
            for piece in range(MIB // FILES):
                file.write(text if piece % 2 else random.randbytes(PIECE))


def make_zip(zip_file, folder):
    with zipfile.ZipFile(zip_file, 'w', zipfile.ZIP_DEFLATED, compresslevel=1) as archive:
        for path in sorted(folder.iterdir()):
            archive.write(path, f'{folder.name}/{path.name}')


def read_once(folder):
    for path in folder.iterdir():
        with open(path, 'rb') as file:
            while file.read(PIECE):
                pass


def run(*command):
    """Runs a command to its end. Returns its time in seconds."""
    begin = time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return time.monotonic() - begin


def compare(hv_util, zip_file, folder):
    own, theirs = [], []
    for _ in range(ROUNDS):
        own.append(run(sys.executable, hv_util, '--compare', str(zip_file), str(folder)))
        begin = time.monotonic()
        read_once(folder)
        run(sys.executable, '-m', 'zipfile', '-t', str(zip_file))
        theirs.append(time.monotonic() - begin)
    ratio = statistics.median(a / b for a, b in zip(own, theirs))
    table.row('hv_util', f'comparing an export of {MIB} MiB', f'{statistics.median(own):.1f} s',
              f'zipfile -t and one reading {statistics.median(theirs):.1f} s ({ratio:.2f})')


def main():
    if len(sys.argv) != 2:
        sys.exit('usage: compare.py HV_UTIL')
    with tempfile.TemporaryDirectory() as scratch:
        folder, zip_file = Path(scratch) / 'export', Path(scratch) / 'export.zip'
        make_export(folder)
        make_zip(zip_file, folder)
        compare(sys.argv[1], zip_file, folder)


if __name__ == '__main__':
    main()
