"""A machine whose drive is a small disk, with a line to each of its servers that can be cut."""

import ctypes
import os
import shutil
import subprocess
import types
from pathlib import Path

import disruptions
from installer import host_of
from line import Line
from world import Settings, World

DISK_BYTES = 160 << 20
NEW_MOUNTS = 0x00020000
PAGE_BYTES = 4096
CLOCK_SPEED = 20


def have_own_mounts():
    """From now on this process and its children see mounts that nobody else sees. Returns whether
    the host permits it."""
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.unshare(NEW_MOUNTS) != 0:
        return False
    return subprocess.run(['mount', '--make-rprivate', '/'], check=False).returncode == 0


class DisruptedWorld(World):
    def __init__(self, disruption, programs, folder, narrator):
        options = types.SimpleNamespace(type=disruption.type, source=disruption.source, locale='en',
                                        export_size=4 << 20)
        settings = Settings(options)
        settings.patch = {'clock': {'speed': CLOCK_SPEED},
                          'upgradeRunner': {'export': {'seconds': 10}}}
        self.lines = {'client': Line('127.0.0.1', 0)}
        self.agent = None
        self._real = {}  # the servers' own processes, by program
        scratch = Path(folder) / 'scratch'
        scratch.mkdir()
        super().__init__(settings, programs, Path(folder) / 'machine', scratch, narrator)
        self._have_small_drive()

    def _have_small_drive(self):
        """What the lab itself writes of the machine is elsewhere, and has room."""
        drive = self.machine.drive
        first = drive.rename(drive.with_name('first'))
        drive.mkdir()
        subprocess.run(['mount', '-t', 'tmpfs', '-o', f'size={DISK_BYTES}', 'none', drive], check=True)
        subprocess.run(['cp', '--archive', f'{first}/.', drive], check=True)
        shutil.rmtree(first)

    def start(self):
        if self.settings.type != 'infrastructure':
            self.start_server()
        if self.settings.type != 'embedded':
            self.start_directory()
        self.start_appliance()
        self.describe_machine()

    def end(self):
        super().end()
        for line in self.lines.values():
            line.end()
        subprocess.run(['umount', '--lazy', self.machine.drive], check=False)

    def _start(self, program, arguments):
        """The server's facts are those of the line to it, which stays when the server is another."""
        standin = super()._start(program, arguments)
        port = standin.facts['port']
        if program in self.lines:
            self.lines[program].target = ('127.0.0.1', port)
        else:
            self.lines[program] = Line('127.0.0.1', port)
        line = self.lines[program]
        standin.facts.update(port=line.port, address=line.address)
        self._real[program] = standin
        return standin

    def line_of_client(self, status):
        """What a client is to be told in the place of the agent's own status."""
        self.lines['client'].target = (host_of(status), int(status['port']))
        return {**status, 'port': str(self.lines['client'].port)}

    def processes_of(self, program):
        return disruptions.descendants(self._real[program].pid)

    def fill_disk(self):
        """Down to the last byte, while others write."""
        with open(self._ballast, 'wb') as file:
            size = 0
            piece = DISK_BYTES
            while piece >= PAGE_BYTES:
                try:
                    os.posix_fallocate(file.fileno(), size, piece)
                    size += piece
                except OSError:
                    piece //= 2

    def empty_disk(self):
        self._ballast.unlink(missing_ok=True)

    def restore(self):
        """Everything is there again, and in order."""
        self.empty_disk()
        for line in self.lines.values():
            line.mend()
        for program, start in (('kelvane-server', self.start_server),
                               ('lab-slapd', self.start_directory),
                               ('lab-sshd', self.start_appliance)):
            if program in self._real and self._real[program].has_ended():
                start()

    @property
    def _ballast(self):
        return self.machine.drive / 'ballast'
