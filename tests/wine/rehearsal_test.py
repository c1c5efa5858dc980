#!/usr/bin/env python3
"""The rehearsal of tools/rehearsal with the Windows program as the agent: rehearsal_test.py TYPE SOURCE. The same
migration runs natively beside it, and both logs have to tell the same.

The machine is a described one of the lab, put into a fresh prefix of Wine; its network is one of this
test's own, with the names and addresses of the description. Servers, installer and looks at the outcome
are those of the native rehearsal.
"""

import json
import os
import secrets
import subprocess
import sys
import tempfile
import types
from pathlib import Path

TREE = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TREE / 'tools' / 'rehearsal'))

import log_comparison  # noqa: E402
import private_network  # noqa: E402
import whole_migration  # noqa: E402
import wine_machine  # noqa: E402
from narrator import Narrator, StepFailed  # noqa: E402
from wine_world import WineWorld, names_of  # noqa: E402
from world import Settings, World  # noqa: E402

SKIPPED = 77  # what CTest takes for a test that chose not to run
PROGRAMS = Path(os.environ['HALVARD_NATIVE_PROGRAMS'])
EXPORT_BYTES = 2 << 20
# What Wine's machines are like, whoever describes them.
AS_WINE = {'firewall': {'on': False},
           'fileVersions': {'C:\\Windows\\system32\\dnsapi.dll': '10.0.14393.0'}}
NEEDED = ('halvard', 'hvctl', 'kelvane-server', 'lab-machine', 'lab-slapd', 'lab-sshd')


def skip(reason):
    # In the words that the sum of all tests looks for.
    print(f'rehearsal_test.py: Skipped\n{reason}\n[  SKIPPED ] WineRehearsal')
    return SKIPPED


def why_not():
    """Why there can be no rehearsal here; empty where there can."""
    for program in NEEDED:
        if not (PROGRAMS / program).exists():
            return f'{PROGRAMS / program} is not built: run ./check --windows'
    if reason := private_network.why_not():
        return reason
    tried = subprocess.run([PROGRAMS / 'lab-sshd', '--until-input-ends'], stdin=subprocess.DEVNULL,
                           capture_output=True, text=True, check=False)
    return tried.stderr.strip() if tried.returncode != 0 else ''


def settings_of(migration_type, source):
    settings = Settings(types.SimpleNamespace(type=migration_type, source=source, locale='en',
                                              export_size=EXPORT_BYTES))
    settings.patch = AS_WINE
    return settings


def description_of(machine, folder):
    """The whole description of a machine, with those that it builds on."""
    subprocess.run([PROGRAMS / 'lab-machine', 'start', machine, folder], check=True,
                   stdout=subprocess.DEVNULL)
    return json.loads((folder / 'machine.json').read_text(encoding='utf-8'))


def rehearse(world):
    """Returns the agent's log; None when a step has failed."""
    narrator = world.narrator
    try:
        whole_migration.run(world, interactive=False)
    except StepFailed as failure:
        narrator.line(f'FAILED: {failure}')
    finally:
        world.end()
    log = world.machine.log()
    narrator.table()
    if not narrator.all_held():
        narrator.line(log)
        return None
    return log


def run_both(scratch, *kind_of_migration):
    machine = settings_of(*kind_of_migration).machine
    description = description_of(machine, scratch / 'described')
    description['dns']['names'] = names_of(description)
    password = 'p' + secrets.token_hex(12)
    with private_network.PrivateNetwork(description) as network:
        logs = []
        for kind, more in ((World, ()), (WineWorld, (network,))):
            print(f'\n==== {kind.__name__}', flush=True)
            folder = scratch / kind.__name__
            folder.mkdir()
            world = kind(settings_of(*kind_of_migration), PROGRAMS, folder / 'machine', folder,
                         Narrator(sys.stdout), *more)
            world.machine.firewall_is_on = False
            # What is logged of a property hangs on whether it reads like JSON.
            world.password = password
            try:
                logs.append(rehearse(world))
            finally:
                world.machine.remove()
    if None in logs:
        return 1
    differences = log_comparison.unexplained(*logs)
    for line in differences:
        print(line)
    return 1 if differences else 0


def main():
    if sys.argv[1] != 'inside':
        if reason := why_not():
            return skip(reason)
        wine_machine.make_pristine_machine()
        return private_network.run_inside(*sys.argv[1:])
    with tempfile.TemporaryDirectory(prefix='wine-rehearsal-') as scratch:
        return run_both(Path(scratch), *sys.argv[2:])


if __name__ == '__main__':
    sys.exit(main())
