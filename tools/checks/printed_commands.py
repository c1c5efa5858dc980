#!/usr/bin/env python3
"""Runs the commands of hvctl that the documents print: printed_commands.py HVCTL DOCUMENT...

Each is given an agent that nobody can reach, so a command that is understood ends with 3, no
connection, and one that isn't with 2. Prints each that ends otherwise and exits with 1 if there is any.
"""

import os
import re
import shlex
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import Iterator, List

BLOCK = re.compile(r'^```(?:sh|bat|console)$\n(.*?)^```$', re.MULTILINE | re.DOTALL)
NO_CONNECTION = 3


def commands(text: str) -> Iterator[List[str]]:
    for block in BLOCK.findall(text):
        for line in block.replace('\\\n', ' ').splitlines():
            if line.startswith('hvctl '):
                yield shlex.split(line, comments=True)[1:]


def out_of_reach(arguments: List[str]) -> List[str]:
    """The command for an agent at a port where nobody listens."""
    moved = ['127.0.0.1' if word == 'old.example' else word for word in arguments]
    if '--port' in moved:
        moved[moved.index('--port') + 1] = '1'
        return moved
    return [*moved, '--port', '1']


def ends_with(hvctl: str, arguments: List[str], folder: str) -> int:
    environment = {**os.environ, 'HVCTL_PASSWORD': 'secret', 'HVCTL_SSH_PASSWORD': 'secret',
                   'HVCTL_AD_PASSWORD': 'secret',
                   'XDG_CONFIG_HOME': folder, 'HVCTL_KNOWN_AGENTS': f'{folder}/known_agents'}
    return subprocess.run([hvctl, *out_of_reach(arguments)], check=False, cwd=folder, env=environment,
                          stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL, timeout=60).returncode


def main() -> int:
    if len(sys.argv) < 3:
        print(__doc__.strip())
        return 2
    count = 0
    wrong = []
    with tempfile.TemporaryDirectory() as folder:
        for document in sys.argv[2:]:
            for arguments in commands(Path(document).read_text(encoding='utf-8')):
                count += 1
                status = ends_with(sys.argv[1], arguments, folder)
                if status != NO_CONNECTION:
                    wrong.append(f'{document}: ends with {status}: hvctl {" ".join(arguments)}')
    print('\n'.join(wrong) or f'{count} commands are understood')
    return 1 if wrong or count == 0 else 0


if __name__ == '__main__':
    sys.exit(main())
