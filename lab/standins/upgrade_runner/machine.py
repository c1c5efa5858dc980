"""The machine that the runner runs on, as its description and its files tell."""

import json
import os
import re
import subprocess
import sys
from pathlib import Path


WINE = '/usr/lib/wine/wine64'


class Machine:
    def __init__(self, folder):
        self.folder = Path(folder)
        with open(self.folder / 'machine.json', encoding='utf-8') as file:
            self.description = json.load(file)

    @classmethod
    def of_environment(cls):
        folder = os.environ.get('HALVARD_LAB')
        if folder is None:
            sys.exit('UpgradeRunner: HALVARD_LAB names no machine of the lab')
        return cls(folder)

    @property
    def is_wines(self):
        """Whether the machine is one of Wine, with a service manager of its own."""
        return (self.folder / 'system.reg').exists()

    def run(self, *command):
        """Runs a program of a machine of Wine to its end."""
        subprocess.run([WINE, *command], check=False, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       env={**os.environ, 'WINEPREFIX': str(self.folder), 'WINEDEBUG': '-all',
                            'DISPLAY': ''})

    def scenario(self, mode):
        """What is to be played in a phase."""
        return self.description.get('upgradeRunner', {}).get(mode, {})

    def place(self, path):
        """Where a Windows path lies on the host. Names have no case; new ones keep theirs."""
        drive, _, rest = path.partition(':')
        place = self.folder / f'drive_{drive.lower()}'
        for name in re.split(r'[\\/]+', rest):
            if name:
                place = entry_named(place, name)
        return place

    def windows_path(self, place):
        """The Windows path of a place below one of the machine's drives."""
        drive, *names = Path(os.path.abspath(place)).relative_to(self.folder.absolute()).parts
        return '\\'.join([f'{drive[-1].upper()}:', *names])

    def seconds(self, count):
        """Seconds of the machine in those of the host."""
        return count / self.description.get('clock', {}).get('speed', 1)

    def system_name(self):
        """The full name by which the machine is known: the installer's, or the computer's own, which
        ends in the domain that it has joined."""
        folder = os.environ.get('OSTREL_CFG_DIR', '')
        if folder:
            parameter = self.place(folder + '\\install-defaults\\system.hostname')
            if parameter.is_file():
                lines = parameter.read_text(encoding='utf-8').splitlines()
                if lines and lines[0]:
                    return lines[0]
        computer = self.description['computer']
        domain = self.description.get('domain', {}).get('name', '')
        name = computer['name'].lower()
        return computer.get('fullName', f'{name}.{domain}' if domain else name)

    def addresses(self):
        """The IPv4 addresses by which others reach the machine."""
        return [entry['address'] for adapter in self.description.get('adapters', [])
                for entry in adapter.get('addresses', [])
                if '.' in entry['address'] and entry.get('dnsEligible', True)]


def entry_named(folder, name):
    exact = folder / name
    if exact.exists() or not folder.is_dir():
        return exact
    return next((entry for entry in folder.iterdir() if entry.name.upper() == name.upper()), exact)
