"""The programs of a build, for tests that start them."""

import subprocess
import sys
from pathlib import Path

TREE = Path(__file__).resolve().parents[2]
REHEARSE = TREE / 'rehearse'
SKIPPED = 77


def take_folder():
    """The first argument of the test, before the test's own runner looks at the others."""
    return Path(sys.argv.pop(1))


def skip_without_appliance(folder):
    """Ends the test, with the reason, where the host permits no appliance."""
    tried = subprocess.run([folder / 'lab-sshd', '--until-input-ends'], stdin=subprocess.DEVNULL,
                           capture_output=True, text=True, check=False)
    if tried.returncode != 0:
        print(f'Skipped: {tried.stderr.strip()}')
        sys.exit(SKIPPED)


def url_host(address):
    """An address as it stands in a URL."""
    return f'[{address}]' if ':' in address else address
