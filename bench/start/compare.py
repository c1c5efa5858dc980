#!/usr/bin/env python3
"""The agent's start up to its first prompt, beside an empty program with the same libraries:
compare.py FOLDER EMPTY-PROGRAM, where FOLDER has the built programs.

A run is counted from before the process is made until the prompt is read; then it is killed. The runs
are interleaved. The agent's key and certificate are made later, after the operator has answered.
"""

import os
import resource
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import table  # noqa: E402  (in the folder above)

ROUNDS = int(os.environ.get('HALVARD_BENCH_ROUNDS', '9')) * 5
MACHINE = 'embedded-platform'
PROMPT = b'password: '


def processor_time():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def start(program, environment):
    """Returns milliseconds to the prompt, and of the processor until then."""
    before = processor_time()
    begin = time.perf_counter()
    with subprocess.Popen([program], stdin=subprocess.PIPE, stdout=subprocess.PIPE, env=environment) as run:
        output = b''
        while PROMPT not in output:
            piece = os.read(run.stdout.fileno(), 4096)
            if not piece:
                raise RuntimeError(f'{program} has ended: {output.decode()}')
            output += piece
        elapsed = time.perf_counter() - begin
        run.kill()
    return elapsed * 1e3, (processor_time() - before) * 1e3


def main():
    if len(sys.argv) != 3:
        sys.exit('usage: compare.py FOLDER EMPTY-PROGRAM')
    programs, empty = Path(sys.argv[1]).resolve(), sys.argv[2]
    with tempfile.TemporaryDirectory() as folder:
        machine = Path(folder) / 'machine'
        subprocess.run([programs / 'lab-machine', 'start', MACHINE, machine], check=True,
                       stdout=subprocess.DEVNULL)
        environment = {**os.environ, 'HALVARD_LAB': str(machine)}
        runs = [(start(programs / 'halvard', environment), start(empty, environment))
                for _ in range(ROUNDS)]
    for column, name in enumerate(('from start to prompt', 'processor time')):
        own = [run[0][column] for run in runs]
        theirs = [run[1][column] for run in runs]
        ratio = statistics.median(a / b for a, b in zip(own, theirs))
        table.row('start', f'agent at its first prompt: {name}', f'{statistics.median(own):.1f} ms',
                  f'empty program {statistics.median(theirs):.1f} ms ({ratio:.2f})')


if __name__ == '__main__':
    main()
