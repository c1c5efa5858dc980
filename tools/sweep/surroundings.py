"""The servers around a machine, which many runs share, and a machine of its own for each run."""

import io
import itertools
import os
import shutil
import subprocess
import sys
import types
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / 'rehearsal'))

# pylint: disable=wrong-import-position
from lab_machine import LabMachine, merge  # noqa: E402
from narrator import Narrator  # noqa: E402
from world import DEFAULT_PORT, Settings, World  # noqa: E402

EXPORT_BYTES = 100_000
# Waits of seconds take hundredths of them.
CLOCK_SPEED = 50
NO_APPLIANCE = {'address': '127.0.0.1:1'}
MOST_AGENTS = 256
_numbers = itertools.count(os.getpid() * 8)


def taken_ports():
    """Has an agent that looks for a port itself begin elsewhere than others on this host."""
    return {'ports': {'tcp': {f'0.0.0.0:{DEFAULT_PORT + i}': 'listening'
                              for i in range(next(_numbers) % MOST_AGENTS + 1)}}}


class CopiedMachine(LabMachine):
    """An instance that was copied from a started one."""

    def __init__(self, programs, name, folder):  # pylint: disable=super-init-not-called
        self.folder = folder
        self.name = name
        self._tool = programs / 'lab-machine'


class Surroundings(World):
    """\\param scenario: whose machine and servers these are."""

    def __init__(self, programs, folder, scenario):
        scratch = folder / 'scratch'
        scratch.mkdir(parents=True)
        options = types.SimpleNamespace(type=scenario.type, source=scenario.source, locale='en',
                                        export_size=EXPORT_BYTES)
        super().__init__(Settings(options), programs, folder / 'first', scratch,
                         Narrator(io.StringIO()))
        self._folder = folder
        self._count = 0
        self._first = self.machine
        self.leaks_count = True  # whether the agent's memory is looked at, where a sanitizer can
        self.settings.inventory = {'hosts': 2, 'machines': 5}
        self.settings.patch = merge({'clock': {'speed': CLOCK_SPEED}, **taken_ports()},
                                    scenario.patch)
        try:
            self._surround(scenario)
        except BaseException:
            self.end()
            raise

    def _surround(self, scenario):
        if scenario.type != 'infrastructure':
            self.start_server()
        if scenario.type != 'embedded':
            self.start_directory()
        if scenario.copies:
            self.start_appliance()
        else:
            self.appliance = types.SimpleNamespace(facts=NO_APPLIANCE)
        self.describe_machine()

    def renew(self, patch):
        """A machine on which nothing has happened yet, in place of the one before."""
        self.remove_machine()
        self._count += 1
        folder = self._folder / f'machine-{self._count}'
        subprocess.run(['cp', '-a', self._first.folder, folder], check=True)
        self.machine = CopiedMachine(self.programs, self._first.name, folder)
        self.machine.describe(patch)
        if self.appliance.facts is not NO_APPLIANCE:
            for name in ('export.zip', 'logs.zip'):
                self.arrived(name).unlink(missing_ok=True)

    def remove_machine(self):
        if self.machine is self._first:
            return
        self.machine.end_processes()
        shutil.rmtree(self.machine.folder, ignore_errors=True)
        self.machine = self._first

    def end(self):
        super().end()
        shutil.rmtree(self._folder, ignore_errors=True)
